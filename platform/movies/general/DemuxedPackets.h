// The packets of a file's sound stream, as libavformat gives them, one after the other.
#pragma once

#include "general/Component.h"

#include <memory>

namespace toolbox::movies::general {

// Readers read on from packet to packet; going back opens the file anew and reads from its beginning.
[[nodiscard]] std::shared_ptr<const PacketStore> NewDemuxedPackets(std::shared_ptr<const ByteSource> inSource,
                                                                   const ImportOptions& inOptions,
                                                                   std::uint32_t inPacketCount);

}  // namespace toolbox::movies::general

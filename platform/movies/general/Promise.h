// What a container promises of its sound, and whether the file holds it.
#pragma once

#include "general/Component.h"

#include <cstddef>
#include <cstdint>

struct AVInputFormat;
struct AVStream;

namespace toolbox::movies::general {

// What was found in the file, to be compared with the promise.
struct FoundSound {
    std::uint32_t packetCount = 0;
    std::int64_t frameCount = 0;
    std::uint32_t rateHz = 0;
    std::uint32_t lastPacketHead = 0;  // its first four bytes, big-endian
    std::size_t lastPacketBytes = 0;
};

// Whether the file ends before the sound does that its container, or its codec's header, tells of. Sizes of 0
// and of all ones, which writers into pipes leave, promise nothing; what is missing behind the sound is no
// matter. An MP3 file promises by a Xing, Info or VBRI header only.
bool IsCutOff(const ByteSource& inSource, const AVInputFormat& inFormat, AVStream& inStream,
              const FoundSound& inFound);

}  // namespace toolbox::movies::general

// The border between the toolbox and the loadable component of the general importer. Both are built from one
// tree with one compiler, so C++ types cross it; the version number catches a component left over from
// another build.
#pragma once

#include "track/ImportOptions.h"
#include "track/SoundTrack.h"

#include <toolbox/MacTypes.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

namespace toolbox::movies::general {

// The file to import, as the component sees it: reading is safe on several threads at once.
class ByteSource {
  public:
    virtual ~ByteSource() = default;
    virtual std::int64_t SizeBytes() const = 0;
    // As MediaFile::ReadAt.
    [[nodiscard]] virtual OSStatus ReadAt(std::int64_t inOffset, void* outBytes, std::size_t inByteCount,
                                          std::size_t* outRead) const = 0;
    // While the file is imported: whether that is to end. Reading then answers userCanceledErr.
    virtual bool MustStop() const = 0;
};

// Raised with every change of this header, of SoundTrack.h or of ImportOptions.h.
constexpr std::uint32_t kInterfaceVersion = 4;

struct Interface {
    std::uint32_t version = kInterfaceVersion;
    // As ImportFunction, over a ByteSource. Nothing is thrown: memFullErr when memory runs out.
    OSStatus (*import)(const std::shared_ptr<const ByteSource>& inSource, ImportedMovie& outMovie,
                       std::string& outProblem, const ImportOptions& inOptions) = nullptr;
};

// The component's only exported name. Null when it does not speak the version asked for.
using InterfaceFunction = const Interface* (*)(std::uint32_t inVersion);
constexpr const char* kInterfaceFunctionName = "MirtalGeneralImporterInterface";

}  // namespace toolbox::movies::general

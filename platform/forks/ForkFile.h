// The bytes of one opening of a fork.
//
// One thread at a time. Functions may throw std::bad_alloc.
#pragma once

#include "catalogue/Catalogue.h"
#include "places/ForkUses.h"

#include <toolbox/Forks.h>

#include <cstddef>
#include <memory>
#include <span>

namespace toolbox::files {

struct ForkSizes {
    UInt64 byteCount = 0;
    UInt64 allocatedByteCount = 0;  // on the volume
};

class ForkFile {
  public:
    ForkFile() = default;
    virtual ~ForkFile() = default;
    ForkFile(const ForkFile&) = delete;
    ForkFile& operator=(const ForkFile&) = delete;

    [[nodiscard]] virtual OSStatus GetSizes(ForkSizes& outSizes) = 0;
    // Until inByteCount bytes are there or the fork ends; outCount: how many there were, also on failure.
    [[nodiscard]] virtual OSStatus Read(UInt64 inOffsetBytes, void* outBytes, std::size_t inByteCount,
                                        std::size_t& outCount) = 0;
    // Where it is open to write. outCount as above.
    [[nodiscard]] virtual OSStatus Write(UInt64 inOffsetBytes, std::span<const UInt8> inBytes,
                                         std::size_t& outCount) = 0;
    [[nodiscard]] virtual OSStatus SetSize(UInt64 inByteCount) = 0;
    // outIsReserved false: it cannot be done here.
    [[nodiscard]] virtual OSStatus Allocate(UInt64 inOffsetBytes, UInt64 inByteCount,
                                            bool& outIsReserved) = 0;
    [[nodiscard]] virtual OSStatus Flush() = 0;
    // Once; the status is for what was written.
    [[nodiscard]] virtual OSStatus Close() = 0;
};

enum class MayRead { kMust, kNeedNot };

// Open a fork of a file that was just found. opWrErr when somebody else has it open to write. outFile is
// untouched on failure.
//   inMayRead  whether the one opening that writes alone must be able to read, too
[[nodiscard]] OSStatus OpenDataFork(const FoundItem& inFile, ForkAccess inAccess, MayRead inMayRead,
                                    std::unique_ptr<ForkFile>& outFile);
[[nodiscard]] OSStatus OpenResourceFork(const FoundItem& inFile, const FSRef& inRef, ForkAccess inAccess,
                                        std::unique_ptr<ForkFile>& outFile);

// Keeps other processes from writing the resource fork, as far as they ask, until the file is closed. opWrErr
// when another does so; what FileAccess.h tells when the file cannot be opened to write.
[[nodiscard]] OSStatus LockResourceFork(const FoundItem& inFile, ForkAccess inAccess,
                                        os::Descriptor& outLocked);

}  // namespace toolbox::files

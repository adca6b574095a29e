#include "ApplicationEncoding.h"

#include "Regions.h"
#include "companions/Companions.h"
#include "formats/AppleDouble.h"
#include "formats/ResourceFork.h"
#include "os/BigEndian.h"
#include "os/FileRange.h"
#include "os/OwnPaths.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <new>
#include <string>
#include <utility>
#include <vector>

namespace toolbox::text {

namespace {

constexpr ResType kVersionType = FourChars("vers");
constexpr SInt16 kFileVersionID = 1;  // 2 is that of the set which the file belongs to
constexpr UInt32 kRegionOffset = 4;
constexpr UInt32 kBytesWithRegion = 6;

// Of no encoding.
constexpr CFStringEncoding kNotLookedUp = kCFStringEncodingInvalidId;

std::atomic<CFStringEncoding> sEncoding{kNotLookedUp};

// 0 or an errno. The resource fork in the companion of the file at inPath; ENOENT when there is none.
int OpenForkInCompanion(const std::string& inPath, os::FileRange& outFork) {
    files::Place place;
    const int error = files::OpenPlaceOf(inPath, place);
    return error != 0 ? error : files::OpenEntry(place, files::AppleDoubleEntry::kResourceFork, outFork);
}

// 0 or an errno. The file beside the program that holds a resource fork as its contents.
int OpenForkBeside(const std::string& inPath, os::FileRange& outFork) {
    os::Descriptor file;
    const int error =
        os::OpenFile(os::ResourceFileBeside(inPath).c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY, file);
    return error == 0 ? outFork.Adopt(std::move(file)) : error;
}

struct Map {
    resources::ForkHeader header;
    std::vector<resources::Reference> references;
};

// 0 or an errno.
int ReadMap(const os::FileRange& inFork, Map& outMap) {
    UInt16 attributes = 0;
    outMap = {};
    return resources::ReadForkMap(inFork, outMap.header, attributes, outMap.references);
}

// 0 or an errno; ENOENT when the fork has no version that tells a region.
int ReadRegion(const os::FileRange& inFork, const Map& inMap, SInt16& outRegion) {
    const auto found = std::find_if(
        inMap.references.begin(), inMap.references.end(), [](const resources::Reference& inReference) {
            return inReference.type == kVersionType && inReference.id == kFileVersionID;
        });
    if (found == inMap.references.end()) return ENOENT;
    UInt64 offset = 0;
    UInt32 byteCount = 0;
    const int error = resources::FindForkData(inFork, inMap.header, *found, offset, byteCount);
    if (error != 0) return error;
    if (byteCount < kBytesWithRegion) return ENOENT;
    UInt8 bytes[kBytesWithRegion];
    const int readError = inFork.Read(offset, bytes, sizeof bytes);
    if (readError == 0) outRegion = static_cast<SInt16>(os::Load16(bytes + kRegionOffset));
    return readError;
}

// Whether what could not be had will not be there the next time either. Anything else may be a want of
// descriptors or memory, or a disk that comes back.
bool IsFinal(int inErrno) {
    switch (inErrno) {
        case ENOENT:
        case ENOTDIR:
        case ELOOP:
        case ENAMETOOLONG:
        case EACCES:
        case EPERM:
        case EISDIR:  // no file, here and below
        case EINVAL:
        case ENXIO:
        case EBADMSG:  // no companion, or no resource fork
        case ENODATA:
            return true;
        default:
            return false;
    }
}

// 0 or an errno. The region of the application's `vers` resource: of its own resource fork, or else of the
// file beside it.
int FindRegion(SInt16& outRegion) {
    std::string path;
    os::FileRange fork;
    Map map;
    int error = os::GetExecutablePath(path);
    if (error != 0) return error;
    error = OpenForkInCompanion(path, fork);
    if (error == 0) error = ReadMap(fork, map);
    if (error != 0 && IsFinal(error)) {
        error = OpenForkBeside(path, fork);
        if (error == 0) error = ReadMap(fork, map);
    }
    return error == 0 ? ReadRegion(fork, map, outRegion) : error;
}

}  // namespace

// No lock is held meanwhile: two threads that come first both look, and find the same.
CFStringEncoding ApplicationEncoding() try {
    const CFStringEncoding known = sEncoding.load(std::memory_order_relaxed);
    if (known != kNotLookedUp) return known;
    SInt16 region = 0;
    const int error = FindRegion(region);
    const CFStringEncoding encoding =
        error == 0 ? EncodingOfRegion(region) : CFStringEncoding{kCFStringEncodingUTF8};
    if (error == 0 || IsFinal(error)) sEncoding.store(encoding, std::memory_order_relaxed);
    return encoding;
} catch (const std::bad_alloc&) {
    return kCFStringEncodingUTF8;  // for now
}

void ForgetApplicationEncoding() {
    sEncoding.store(kNotLookedUp, std::memory_order_relaxed);
}

}  // namespace toolbox::text

#include "ApplicationEncoding.h"

#include "Regions.h"

#include "resources/Application.h"

#include <toolbox/MacErrors.h>

#include <algorithm>
#include <atomic>
#include <new>

namespace toolbox::text {

namespace {

constexpr ResType kVersionType = FourChars("vers");
constexpr SInt16 kFileVersionID = 1;  // 2 is that of the set which the file belongs to
constexpr UInt32 kRegionOffset = 4;
constexpr UInt32 kBytesWithRegion = 6;

// Of no encoding.
constexpr CFStringEncoding kNotLookedUp = kCFStringEncodingInvalidId;

std::atomic<CFStringEncoding> sEncoding{kNotLookedUp};

// The region of the application's `vers` resource. False when it has none that can be read.
bool ReadRegion(SInt16& outRegion) {
    std::unique_ptr<resources::ResourceFile> file;
    if (resources::OpenResourcesOfApplication(file) != noErr || file == nullptr) return false;
    const auto& all = file->Resources();
    const auto found = std::find_if(all.begin(), all.end(), [](const auto& inResource) {
        return inResource->reference.type == kVersionType && inResource->reference.id == kFileVersionID;
    });
    UInt32 byteCount = 0;
    if (found == all.end() || file->ReadSize(**found, byteCount) != noErr || byteCount < kBytesWithRegion) {
        return false;
    }
    UInt8 bytes[kBytesWithRegion];
    if (file->ReadData(**found, bytes, kBytesWithRegion) != noErr) return false;
    outRegion = static_cast<SInt16>(bytes[kRegionOffset] << 8 | bytes[kRegionOffset + 1]);
    return true;
}

}  // namespace

// No lock is held meanwhile: two threads that come first both look, and find the same.
CFStringEncoding ApplicationEncoding() try {
    const CFStringEncoding known = sEncoding.load(std::memory_order_relaxed);
    if (known != kNotLookedUp) return known;
    SInt16 region = 0;
    CFStringEncoding encoding = kCFStringEncodingUTF8;
    if (ReadRegion(region)) encoding = EncodingOfRegion(region);
    sEncoding.store(encoding, std::memory_order_relaxed);
    return encoding;
} catch (const std::bad_alloc&) {
    return kCFStringEncodingUTF8;  // for now
}

void ForgetApplicationEncoding() {
    sEncoding.store(kNotLookedUp, std::memory_order_relaxed);
}

}  // namespace toolbox::text

#include "VolumeFeatures.h"

#include "VolumeFeatures_test_access.h"
#include "os/Mutex.h"

#include <algorithm>
#include <iterator>
#include <new>
#include <vector>

namespace toolbox::files {

namespace {

struct NamedFeatures {
    std::string_view type;
    VolumeFeatures features;
};

//  exchange, owners, links, long files, journal, server; new names told
constexpr NamedFeatures kFeatures[] = {
    {"9p", {false, true, true, true, false, true}},
    {"afs", {false, true, true, true, false, true}},
    {"bcachefs", {true, true, true, true, true, false}},
    {"btrfs", {true, true, true, true, false, false, true}},
    {"ceph", {false, true, true, true, false, true}},
    {"cifs", {false, true, true, true, false, true}},
    {"exfat", {false, false, false, true, false, false}},
    {"ext2", {false, true, true, false, false, false, true}},
    {"ext3", {true, true, true, false, true, false, true}},
    {"ext4", {true, true, true, true, true, false, true}},
    {"f2fs", {true, true, true, true, false, false, true}},
    {"fuse.sshfs", {false, true, true, true, false, true}},
    {"gfs2", {true, true, true, true, true, false}},
    {"hfs", {false, false, false, false, false, false}},
    {"hfsplus", {false, true, true, true, false, false}},
    {"iso9660", {false, true, true, false, false, false}},
    {"jfs", {false, true, true, true, true, false}},
    {"msdos", {false, false, false, false, false, false}},
    {"nfs", {false, true, true, true, false, true}},
    {"nfs4", {false, true, true, true, false, true}},
    {"ntfs3", {false, true, true, true, true, false}},
    {"overlay", {true, true, true, true, false, false}},
    {"smb3", {false, true, true, true, false, true}},
    {"tmpfs", {true, true, true, true, false, false, true}},
    {"ubifs", {true, true, true, false, true, false}},
    {"vfat", {false, false, false, false, false, false}},
    {"xfs", {true, true, true, true, true, false, true}},
};

struct Refusals {
    os::Mutex mutex;
    std::vector<os::VolumeKey> volumes GUARDED_BY(mutex);

    bool Has(const os::VolumeKey& inVolume) const NEEDS_LOCK(mutex) {
        return std::find(volumes.begin(), volumes.end(), inVolume) != volumes.end();
    }
};

Refusals& SharedRefusals() {
    static Refusals& refusals = *new Refusals;  // never destroyed: used until the process ends
    return refusals;
}

}  // namespace

VolumeFeatures FeaturesOf(std::string_view inType) {
    const auto* const found =
        std::find_if(std::begin(kFeatures), std::end(kFeatures),
                     [inType](const NamedFeatures& inNamed) { return inNamed.type == inType; });
    return found == std::end(kFeatures) ? VolumeFeatures() : found->features;
}

void ForbidExchange(const os::VolumeKey& inVolume) noexcept {
    try {
        Refusals& refusals = SharedRefusals();
        const os::MutexLock lock(refusals.mutex);
        if (!refusals.Has(inVolume)) refusals.volumes.push_back(inVolume);
    } catch (const std::bad_alloc&) {
        // Then the next refusal tells it.
    }
}

void AllowExchanges() noexcept {
    Refusals& refusals = SharedRefusals();
    const os::MutexLock lock(refusals.mutex);
    refusals.volumes.clear();
}

bool IsExchangeForbidden(const os::VolumeKey& inVolume) {
    Refusals& refusals = SharedRefusals();
    const os::MutexLock lock(refusals.mutex);
    return refusals.Has(inVolume);
}

}  // namespace toolbox::files

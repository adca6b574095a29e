#include "VolumeFeatures.h"

#include "VolumeFeatures_test_access.h"
#include "os/Mutex.h"

#include <algorithm>
#include <iterator>
#include <new>
#include <vector>

namespace toolbox::files {

namespace {

struct FileSystemType {
    std::string_view name;
    std::uint16_t id;
    VolumeFeatures features;
};

// The number that statfs(2) tells of it, its lower half; exchange, owners, links, long files, journal,
// server; new names told
constexpr FileSystemType kTypes[] = {
    {"9p", 0x1997, {false, true, true, true, false, true}},
    {"afs", 0x414F, {false, true, true, true, false, true}},
    {"bcachefs", 0x1A4E, {true, true, true, true, true, false}},
    {"btrfs", 0x683E, {true, true, true, true, false, false, true}},
    {"ceph", 0x6400, {false, true, true, true, false, true}},
    {"cifs", 0x4D42, {false, true, true, true, false, true}},
    {"exfat", 0xBAB0, {false, false, false, true, false, false}},
    {"ext2", 0xEF53, {false, true, true, false, false, false, true}},
    {"ext3", 0xEF53, {true, true, true, false, true, false, true}},
    {"ext4", 0xEF53, {true, true, true, true, true, false, true}},
    {"f2fs", 0x2010, {true, true, true, true, false, false, true}},
    {"fuse", 0x5546, {}},
    {"fuse.sshfs", 0x5546, {false, true, true, true, false, true}},
    {"fuseblk", 0x5546, {}},
    {"gfs2", 0x1970, {true, true, true, true, true, false}},
    {"hfs", 0x4244, {false, false, false, false, false, false}},
    {"hfsplus", 0x482B, {false, true, true, true, false, false}},
    {"iso9660", 0x9660, {false, true, true, false, false, false}},
    {"jfs", 0x464A, {false, true, true, true, true, false}},
    {"msdos", 0x4D44, {false, false, false, false, false, false}},
    {"nfs", 0x6969, {false, true, true, true, false, true}},
    {"nfs4", 0x6969, {false, true, true, true, false, true}},
    {"ntfs3", 0x746E, {false, true, true, true, true, false}},
    {"overlay", 0x7630, {true, true, true, true, false, false}},
    {"smb3", 0x4D42, {false, true, true, true, false, true}},
    {"tmpfs", 0x1994, {true, true, true, true, false, false, true}},
    {"ubifs", 0x1905, {true, true, true, false, true, false}},
    {"vfat", 0x4D44, {false, false, false, false, false, false}},
    {"xfs", 0x5342, {true, true, true, true, true, false, true}},
};

// Null for a new one.
const FileSystemType* FindType(std::string_view inName) {
    const auto* const found =
        std::find_if(std::begin(kTypes), std::end(kTypes),
                     [inName](const FileSystemType& inType) { return inType.name == inName; });
    return found == std::end(kTypes) ? nullptr : found;
}

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
    const FileSystemType* const type = FindType(inType);
    return type == nullptr ? VolumeFeatures() : type->features;
}

std::uint16_t FileSystemIDOf(std::string_view inType) {
    const FileSystemType* const type = FindType(inType);
    return type == nullptr ? std::uint16_t{0} : type->id;
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

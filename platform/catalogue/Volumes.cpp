#include "catalogue/Volumes.h"

#include "Finding.h"
#include "catalogue/DescriptorPaths.h"
#include "os/Mutex.h"
#include "status/StatusOfErrno.h"

#include <algorithm>
#include <cerrno>
#include <vector>

namespace toolbox::files {

namespace {

// Far from the numbers that mean domains.
constexpr std::size_t kMaxVolumes = 32000;

struct Table {
    os::Mutex mutex;
    std::vector<Volume> volumes GUARDED_BY(mutex);  // the boot volume first
};

Table& SharedTable() {
    static Table& table = *new Table;  // never destroyed: used until the process ends
    return table;
}

bool IsAt(const os::VolumeKey& inKey, const std::string& inRootPath) {
    os::ItemStatus root;
    return os::GetKnownStatus(inRootPath.c_str(), root) == 0 && root.Volume() == inKey;
}

// The path of the topmost folder of a volume, from that of an item on it.
OSStatus FindRootPath(const os::VolumeKey& inKey, std::string inItemPath, std::string& outRootPath) {
    for (outRootPath = std::move(inItemPath); outRootPath != "/";) {
        std::string folder = FolderPathOf(outRootPath);
        os::ItemStatus status;
        const int error = os::GetKnownStatus(folder.c_str(), status);
        if (error != 0) return StatusOfErrno(error);
        if (status.Volume() != inKey) break;
        outRootPath = std::move(folder);
    }
    return noErr;
}

SInt16 NumberAt(std::size_t inIndex) {
    return static_cast<SInt16>(kBootVolume - static_cast<SInt16>(inIndex));
}

std::vector<Volume>::iterator FindKey(std::vector<Volume>& ioVolumes, const os::VolumeKey& inKey) {
    return std::find_if(ioVolumes.begin(), ioVolumes.end(),
                        [&inKey](const Volume& inVolume) { return inVolume.key == inKey; });
}

// The number of a volume that was met, and is where it was then; false when there is none.
bool FindKnown(const os::VolumeKey& inKey, SInt16& outNumber) {
    std::string rootPath;
    {
        Table& table = SharedTable();
        const os::MutexLock lock(table.mutex);
        const auto known = FindKey(table.volumes, inKey);
        if (known == table.volumes.end()) return false;
        outNumber = NumberAt(static_cast<std::size_t>(known - table.volumes.begin()));
        rootPath = known->rootPath;
    }
    return IsAt(inKey, rootPath);
}

// The number of a volume that is new, or elsewhere than before.
OSStatus Meet(const Volume& inBoot, const Volume& inVolume, SInt16& outNumber) {
    Table& table = SharedTable();
    const os::MutexLock lock(table.mutex);
    std::vector<Volume>& volumes = table.volumes;
    if (volumes.empty()) volumes.push_back(inBoot);
    volumes[0] = inBoot;
    auto known = FindKey(volumes, inVolume.key);
    if (known == volumes.end()) {
        if (volumes.size() == kMaxVolumes) return nsvErr;
        known = volumes.insert(known, inVolume);
    } else if (known != volumes.begin()) {
        known->rootPath = inVolume.rootPath;
    }
    outNumber = NumberAt(static_cast<std::size_t>(known - volumes.begin()));
    return noErr;
}

OSStatus GetBootVolume(Volume& outVolume) {
    os::ItemStatus root;
    const int error = os::GetKnownStatus("/", root);
    if (error == 0) outVolume = {root.Volume(), "/"};
    return StatusOfErrno(error);
}

}  // namespace

OSStatus GetVolumeKey(const FoundItem& inItem, os::VolumeKey& outKey) {
    outKey = inItem.status.Volume();
    if (inItem.status.kind == os::ItemKind::kFolder || IsDescriptorPath(inItem.path)) return noErr;
    if (inItem.status.isMountRoot || inItem.status.mount == 0) {
        os::ItemStatus folder;
        const int error = os::GetKnownStatus(FolderPathOf(inItem.path).c_str(), folder);
        if (error == 0) outKey = folder.Volume();
        return StatusOfErrno(error);
    }
    // Where layers are united, files have other devices than their folders.
    if (inItem.facts.hasParent) outKey.device = inItem.facts.parent.device;
    return noErr;
}

OSStatus GetVolumeNumber(const FoundItem& inItem, SInt16& outNumber) {
    Volume volume;
    OSStatus status = GetVolumeKey(inItem, volume.key);
    if (status != noErr || FindKnown(volume.key, outNumber)) return status;
    Volume boot;
    status = GetBootVolume(boot);
    if (status == noErr) status = FindRootPath(volume.key, inItem.path, volume.rootPath);
    return status == noErr ? Meet(boot, volume, outNumber) : status;
}

OSStatus NumberOfMount(const Volume& inVolume, SInt16& outNumber) {
    Volume boot;
    const OSStatus status = GetBootVolume(boot);
    return status == noErr ? Meet(boot, inVolume, outNumber) : status;
}

OSStatus GetVolume(SInt16 inNumber, Volume& outVolume) {
    if (inNumber == kBootVolume) return GetBootVolume(outVolume);
    {
        Table& table = SharedTable();
        const os::MutexLock lock(table.mutex);
        const auto index = static_cast<std::size_t>(kBootVolume - inNumber);
        if (inNumber > kBootVolume || index >= table.volumes.size()) return nsvErr;
        outVolume = table.volumes[index];
    }
    os::ItemStatus root;
    const int error = os::GetKnownStatus(outVolume.rootPath.c_str(), root);
    if (error != 0) return error == ENOENT ? static_cast<OSStatus>(nsvErr) : StatusOfErrno(error);
    return root.Volume() == outVolume.key ? noErr : nsvErr;
}

}  // namespace toolbox::files

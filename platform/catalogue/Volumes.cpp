#include "catalogue/Volumes.h"

#include "os/Mutex.h"
#include "status/StatusOfErrno.h"

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

// The path of the topmost folder above an item that is on its volume.
std::string RootPathOf(const FoundItem& inItem) {
    std::string root = inItem.path;
    while (root != "/") {
        const std::size_t slash = root.rfind('/');
        const std::string folder = root.substr(0, slash == 0 ? 1 : slash);
        os::ItemStatus status;
        if (os::GetPathStatus(folder.c_str(), status) != 0 ||
            status.identity.device != inItem.status.identity.device)
            break;
        root = folder;
    }
    return root;
}

SInt16 NumberAt(std::size_t inIndex) {
    return static_cast<SInt16>(kBootVolume - static_cast<SInt16>(inIndex));
}

// The number of a volume, which is added if it is new.
OSStatus FindNumber(std::vector<Volume>& ioVolumes, const Volume& inVolume, SInt16& outNumber) {
    for (std::size_t i = 0; i < ioVolumes.size(); ++i) {
        if (ioVolumes[i].device != inVolume.device) continue;
        if (i != 0) ioVolumes[i].rootPath = inVolume.rootPath;  // it may be mounted elsewhere by now
        outNumber = NumberAt(i);
        return noErr;
    }
    if (ioVolumes.size() == kMaxVolumes) return nsvErr;
    ioVolumes.push_back(inVolume);
    outNumber = NumberAt(ioVolumes.size() - 1);
    return noErr;
}

}  // namespace

OSStatus GetVolumeNumber(const FoundItem& inItem, SInt16& outNumber) {
    os::ItemStatus boot;
    const int error = os::GetPathStatus("/", boot);
    if (error != 0) return StatusOfErrno(error);
    const Volume volume = {inItem.status.identity.device, RootPathOf(inItem)};
    Table& table = SharedTable();
    const os::MutexLock lock(table.mutex);
    if (table.volumes.empty()) table.volumes.push_back({boot.identity.device, "/"});
    return FindNumber(table.volumes, volume, outNumber);
}

OSStatus GetVolume(SInt16 inNumber, Volume& outVolume) {
    os::ItemStatus root;
    if (inNumber == kBootVolume) {
        const int error = os::GetPathStatus("/", root);
        if (error != 0) return StatusOfErrno(error);
        outVolume = {root.identity.device, "/"};
        return noErr;
    }
    {
        Table& table = SharedTable();
        const os::MutexLock lock(table.mutex);
        const auto index = static_cast<std::size_t>(kBootVolume - inNumber);
        if (inNumber > kBootVolume || index >= table.volumes.size()) return nsvErr;
        outVolume = table.volumes[index];
    }
    const int error = os::GetPathStatus(outVolume.rootPath.c_str(), root);
    if (error != 0) return error == ENOENT ? static_cast<OSStatus>(nsvErr) : StatusOfErrno(error);
    return root.identity.device == outVolume.device ? noErr : nsvErr;
}

}  // namespace toolbox::files

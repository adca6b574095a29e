#include "MountedVolumes.h"

#include "FolderItems.h"
#include "VolumeFeatures.h"
#include "catalogue/Catalogue.h"
#include "catalogue/Volumes.h"
#include "names/CatalogueNames.h"
#include "os/SystemCalls.h"
#include "status/StatusOfErrno.h"

#include <sys/statvfs.h>
#include <sys/sysmacros.h>

#include <algorithm>
#include <cerrno>
#include <iterator>
#include <string_view>
#include <vector>

namespace toolbox::files {

namespace {

constexpr std::size_t kMaxVolumeNameBytes = 27;
constexpr std::uint64_t kMaxBlockBytes = std::uint64_t{1} << 31;

// File systems that the kernel makes up, and places where others would be mounted by a look.
constexpr std::string_view kMadeUpTypes[] = {
    "autofs", "binder",   "binfmt_misc", "bpf",        "cgroup",    "cgroup2", "configfs", "debugfs",
    "devpts", "devtmpfs", "efivarfs",    "fusectl",    "mqueue",    "nfsd",    "nsfs",     "proc",
    "pstore", "resctrl",  "rpc_pipefs",  "securityfs", "selinuxfs", "smackfs", "sysfs",    "tracefs"};

using Mounts = std::vector<MountEntry>;

bool LiesIn(const std::string& inPath, const std::string& inFolder) {
    return inPath == inFolder || inPath.starts_with(PathInFolder(inFolder, ""));
}

// noErr also for what is no volume; a status where nothing can be told of any.
OSStatus GetNumber(const Mounts& inMounts, Mounts::const_iterator inMount, SInt16& outNumber) {
    outNumber = 0;
    if (FeaturesOf(inMount->type).isOfServer) {
        const bool isHidden = std::any_of(inMount + 1, inMounts.end(), [inMount](const MountEntry& inLater) {
            return LiesIn(inMount->folder, inLater.folder);
        });
        return isHidden ? noErr
                        : NumberOfMount({{inMount->mount, inMount->device}, inMount->folder}, outNumber);
    }
    FoundItem item;
    if (FindByPath(inMount->folder.c_str(), item) != noErr) return noErr;
    return item.status.kind == os::ItemKind::kFolder ? GetVolumeNumber(item, outNumber) : OSStatus{noErr};
}

OSStatus AddVolume(const Mounts& inMounts, Mounts::const_iterator inMount, std::vector<SInt16>& ioVolumes) {
    SInt16 volume = 0;
    const OSStatus status = GetNumber(inMounts, inMount, volume);
    if (status != noErr || volume == 0) return status;
    if (std::find(ioVolumes.begin(), ioVolumes.end(), volume) == ioVolumes.end()) ioVolumes.push_back(volume);
    return noErr;
}

std::string DevicePath(std::uint64_t inDevice) {
    return "/sys/dev/block/" + std::to_string(major(inDevice)) + ':' + std::to_string(minor(inDevice));
}

// Whether what the kernel tells there begins so; false where it tells nothing.
bool Begins(const std::string& inPath, char inChar) {
    std::string contents;
    return ReadKernelFile(inPath.c_str(), contents) == 0 && contents.starts_with(inChar);
}

}  // namespace

bool HoldsData(const MountEntry& inMount) {
    return std::find(std::begin(kMadeUpTypes), std::end(kMadeUpTypes), inMount.type) ==
           std::end(kMadeUpTypes);
}

OSStatus ListVolumes(std::vector<SInt16>& outVolumes) {
    outVolumes.assign(1, kBootVolume);
    Mounts mounts;
    OSStatus status = ReadMounts(mounts);
    for (auto mount = mounts.cbegin(); mount != mounts.cend(); ++mount)
        if (status == noErr && HoldsData(*mount)) status = AddVolume(mounts, mount, outVolumes);
    return status;
}

OSStatus ChooseVolume(SInt16 inNumber, std::size_t inIndex, SInt16& outNumber) {
    outNumber = inNumber == 0 ? kBootVolume : inNumber;
    if (inIndex == 0) return noErr;
    std::vector<SInt16> volumes;
    const OSStatus status = ListVolumes(volumes);
    if (status != noErr) return status;
    if (inIndex > volumes.size()) return nsvErr;
    outNumber = volumes[inIndex - 1];
    return noErr;
}

OSStatus GetVolumeSizes(const Volume& inVolume, VolumeSizes& outSizes) {
    struct statvfs sizes = {};
    if (os::Calls().statvfs(inVolume.rootPath.c_str(), &sizes) != 0) return StatusOfErrno(errno);
    outSizes = {sizes.f_frsize, sizes.f_blocks, sizes.f_bavail, sizes.f_files - sizes.f_ffree};
    return noErr;
}

VolumeSizes SizesInBlocks(const VolumeSizes& inSizes, std::uint64_t inMaxBlocks) {
    std::uint64_t factor = 1;
    while (inSizes.blockCount / factor > inMaxBlocks && inSizes.blockBytes * factor < kMaxBlockBytes)
        factor *= 2;
    return {inSizes.blockBytes * factor, std::min(inSizes.blockCount / factor, inMaxBlocks),
            std::min(inSizes.freeBlockCount / factor, inMaxBlocks), inSizes.itemCount};
}

void GetVolumeName(const Volume& inVolume, Str255 outName) {
    FoundItem root;
    root.path = inVolume.rootPath;  // which alone tells it
    SpecName(NameInCatalogue(root), kRootID, outName, kMaxVolumeNameBytes);
}

bool IsDeviceRemovable(std::uint64_t inDevice) {
    const std::string path = DevicePath(inDevice);
    // Of a part of a device, the whole tells it.
    return Begins(path + "/removable", '1') || Begins(path + "/../removable", '1');
}

OSStatus GetVolumeLocks(const Volume& inVolume, VolumeLocks& outLocks) {
    MountEntry mount;
    const OSStatus status = FindMount(inVolume, mount);
    if (status != noErr && status != nsvErr) return status;
    outLocks.isDeviceReadOnly = Begins(DevicePath(inVolume.key.device) + "/ro", '1');
    if (status == noErr) {
        outLocks.isReadOnly = HasOption(mount.options, "ro") || HasOption(mount.superOptions, "ro");
        return noErr;
    }
    // Of a mount that the kernel does not show to this process the file system itself can be asked.
    struct statvfs facts = {};
    if (os::Calls().statvfs(inVolume.rootPath.c_str(), &facts) != 0) return StatusOfErrno(errno);
    outLocks.isReadOnly = (facts.f_flag & ST_RDONLY) != 0;
    return noErr;
}

OSStatus StatusOfChange(int inErrno, const FoundItem& inItem) {
    if (inErrno != EROFS) return StatusOfErrno(inErrno);
    SInt16 number = 0;
    Volume volume;
    VolumeLocks locks;
    OSStatus status = GetVolumeNumber(inItem, number);
    if (status == noErr) status = GetVolume(number, volume);
    if (status == noErr) status = GetVolumeLocks(volume, locks);
    return status == noErr && !locks.isDeviceReadOnly ? vLckdErr : wPrErr;
}

}  // namespace toolbox::files

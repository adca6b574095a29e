#include "MountedVolumes.h"
#include "ParamBlocks.h"
#include "catalogue/DescriptorPaths.h"
#include "catalogue/FileAccess.h"
#include "os/SystemCalls.h"
#include "status/StatusOfErrno.h"

#include <fcntl.h>
#include <sys/mount.h>
#include <toolbox/MountRecords.h>

#include <cerrno>
#include <cstddef>
#include <cstring>
#include <limits>
#include <string>
#include <string_view>

namespace toolbox::files {

namespace {

struct FlagName {
    int flag;
    unsigned long systemFlag;
    const char* option;  // in the table of mounts
};
constexpr FlagName kFlags[] = {{kVolMountReadOnly, MS_RDONLY, "ro"},
                               {kVolMountNoSetUserID, MS_NOSUID, "nosuid"},
                               {kVolMountNoDevices, MS_NODEV, "nodev"},
                               {kVolMountNoPrograms, MS_NOEXEC, "noexec"}};
constexpr int kAllFlags = kVolMountReadOnly | kVolMountNoSetUserID | kVolMountNoDevices | kVolMountNoPrograms;

// What is read of a record, or is to be written.
struct Record {
    int flags = 0;
    std::string type;
    std::string source;
    std::string folder;

    std::size_t ByteCount() const {
        return sizeof(SystemVolMountInfo) + type.size() + source.size() + folder.size() + 3;
    }
};

OSStatus RecordOf(SInt16 inVolume, Record& outRecord) {
    SInt16 number = 0;
    Volume volume;
    MountEntry mount;
    OSStatus status = ChooseVolume(inVolume, 0, number);
    if (status == noErr) status = GetVolume(number, volume);
    if (status != noErr) return status;
    status = FindMount(volume, mount);
    // A subvolume lies within its mount, whose record would mount the whole.
    const bool isWhole = mount.rootInside == "/" && mount.folder == volume.rootPath;
    if (status == nsvErr || (status == noErr && !isWhole)) return paramErr;
    if (status != noErr) return status;
    outRecord = {0, mount.type, mount.source, mount.folder};
    for (const FlagName& flag : kFlags)
        if (HasOption(mount.options, flag.option)) outRecord.flags |= flag.flag;
    if (HasOption(mount.superOptions, "ro")) outRecord.flags |= kVolMountReadOnly;
    return outRecord.ByteCount() <= std::numeric_limits<SInt16>::max() ? noErr : OSStatus{paramErr};
}

OSStatus GetSize(HIOParam& ioBlock) {
    Record record;
    if (ioBlock.ioBuffer == nullptr) return paramErr;
    const OSStatus status = RecordOf(ioBlock.ioVRefNum, record);
    if (status != noErr) return status;
    const auto byteCount = static_cast<SInt16>(record.ByteCount());
    std::memcpy(ioBlock.ioBuffer, &byteCount, sizeof byteCount);
    return noErr;
}

SInt16 PutText(const std::string& inText, char* outRecord, std::size_t& ioEnd) {
    const auto offset = static_cast<SInt16>(ioEnd);
    std::memcpy(outRecord + ioEnd, inText.c_str(), inText.size() + 1);
    ioEnd += inText.size() + 1;
    return offset;
}

OSStatus GetRecord(HIOParam& ioBlock) {
    Record record;
    if (ioBlock.ioBuffer == nullptr) return paramErr;
    const OSStatus status = RecordOf(ioBlock.ioVRefNum, record);
    if (status != noErr) return status;
    SystemVolMountInfo info = {};
    info.header = {static_cast<SInt16>(record.ByteCount()), kSystemMountMedia,
                   static_cast<SInt16>(record.flags)};
    std::size_t end = sizeof info;
    info.typeOffset = PutText(record.type, ioBlock.ioBuffer, end);
    info.sourceOffset = PutText(record.source, ioBlock.ioBuffer, end);
    info.folderOffset = PutText(record.folder, ioBlock.ioBuffer, end);
    std::memcpy(ioBlock.ioBuffer, &info, sizeof info);
    return noErr;
}

// False for one that begins or ends outside of the record.
bool ReadText(const char* inRecord, SInt16 inLength, SInt16 inOffset, std::string& outText) {
    if (inOffset < static_cast<SInt16>(sizeof(SystemVolMountInfo)) || inOffset >= inLength) return false;
    const std::string_view rest(inRecord + inOffset, static_cast<std::size_t>(inLength - inOffset));
    const std::size_t byteCount = rest.find('\0');
    outText = rest.substr(0, byteCount);
    return byteCount != std::string_view::npos;
}

OSStatus ReadRecord(const char* inBytes, Record& outRecord) {
    VolumeMountInfoHeader header;
    std::memcpy(&header, inBytes, sizeof header);
    if (header.media != kSystemMountMedia || header.length < static_cast<SInt16>(sizeof(SystemVolMountInfo)))
        return paramErr;
    SystemVolMountInfo info;
    std::memcpy(&info, inBytes, sizeof info);
    outRecord.flags = header.flags;
    const bool isWhole = (header.flags & ~kAllFlags) == 0 &&
                         ReadText(inBytes, header.length, info.typeOffset, outRecord.type) &&
                         ReadText(inBytes, header.length, info.sourceOffset, outRecord.source) &&
                         ReadText(inBytes, header.length, info.folderOffset, outRecord.folder);
    return isWhole && outRecord.folder.starts_with('/') ? noErr : OSStatus{paramErr};
}

// Upon the very folder that was found, whatever has its path by then.
OSStatus MountUpon(const FoundItem& inFolder, const Record& inRecord) {
    os::Descriptor folder;
    const OSStatus status = OpenFound(inFolder, O_PATH | O_DIRECTORY, folder);
    if (status != noErr) return status;
    unsigned long flags = 0;
    for (const FlagName& flag : kFlags)
        if ((inRecord.flags & flag.flag) != 0) flags |= flag.systemFlag;
    const std::string path = PathOfDescriptor(folder.Number());
    return os::Calls().mount(inRecord.source.c_str(), path.c_str(), inRecord.type.c_str(), flags, nullptr) ==
                   0
               ? noErr
               : StatusOfErrno(errno);
}

OSStatus Mount(HIOParam& ioBlock) {
    Record record;
    FoundItem folder;
    FoundItem root;
    SInt16 volume = 0;
    if (ioBlock.ioBuffer == nullptr) return paramErr;
    OSStatus status = ReadRecord(ioBlock.ioBuffer, record);
    if (status != noErr) return status;
    status = FindByPath(record.folder.c_str(), folder);
    if (status == fnfErr) status = dirNFErr;
    if (status == noErr && folder.status.kind != os::ItemKind::kFolder) status = dirNFErr;
    if (status == noErr) status = MountUpon(folder, record);
    if (status == noErr) status = FindByPath(record.folder.c_str(), root);
    if (status == noErr) status = GetVolumeNumber(root, volume);
    if (status == noErr) ioBlock.ioVRefNum = volume;
    return status;
}

}  // namespace

}  // namespace toolbox::files

using namespace toolbox::files;

OSErr PBGetVolMountInfoSize(ParmBlkPtr ioBlock) {
    return AnswerBlock(ioBlock, &ParamBlockRec::ioParam, GetSize);
}

OSErr PBGetVolMountInfo(ParmBlkPtr ioBlock) {
    return AnswerBlock(ioBlock, &ParamBlockRec::ioParam, GetRecord);
}

OSErr PBVolumeMount(ParmBlkPtr ioBlock) {
    return AnswerBlock(ioBlock, &ParamBlockRec::ioParam, Mount);
}

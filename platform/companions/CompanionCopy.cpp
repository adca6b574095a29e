#include "companions/CompanionCopy.h"

#include "CompanionFile.h"
#include "CompanionParts.h"
#include "companions/Companions.h"
#include "os/CopyContents.h"
#include "os/SystemCalls.h"

#include <toolbox/Companions.h>

#include <algorithm>
#include <cerrno>
#include <span>
#include <vector>

namespace toolbox::files {

namespace {

constexpr std::size_t kBlockBytes = 65536;
constexpr mode_t kReadAndWrite = 0666;
constexpr mode_t kOwners = 0600;

// What a copy is to hold. The fork is not read into memory.
struct Contents {
    Companion from;  // not open where there is none
    AppleDoubleEntry fork;
    CompanionInfo info;
    std::vector<AppleDoublePart> others;  // beside the fork, the information included
};

int Read(const Place& inItem, Contents& outContents) {
    int error = OpenNamed(inItem.folder.Number(), CompanionName(inItem.name), outContents.from);
    if (error != 0) return IsNoCompanion(error) ? 0 : error;
    for (const AppleDoubleEntry& entry : outContents.from.entries)
        if (entry.id == AppleDoubleEntry::kResourceFork) outContents.fork = entry;
    CompanionSizes sizes;
    error = ReadInfoOf(outContents.from, outContents.info, sizes);
    if (error == 0) error = ReadParts(outContents.from, AppleDoubleEntry::kResourceFork, outContents.others);
    // It tells of neither the file nor the copy.
    std::erase_if(outContents.others,
                  [](const AppleDoublePart& inPart) { return inPart.id == AppleDoubleEntry::kForkIntent; });
    return error;
}

// Whether nothing would be lost by having none, but for that date.
bool AreWorthless(const Contents& inContents, SInt32 inCreationSeconds) {
    CompanionInfo info = inContents.info;
    info.creationSeconds = inCreationSeconds;
    std::vector<AppleDoublePart> parts = inContents.others;
    PutInfo(info, parts);
    return inContents.fork.lengthBytes == 0 && AreDefault(parts);
}

int CopyFork(const Contents& inContents, int inTo, UInt64 inOffsetBytes) {
    const AppleDoubleEntry& fork = inContents.fork;
    std::vector<UInt8> block(std::min<std::size_t>(fork.lengthBytes, kBlockBytes));
    for (UInt64 done = 0; done < fork.lengthBytes; done += block.size()) {
        block.resize(static_cast<std::size_t>(std::min<UInt64>(block.size(), fork.lengthBytes - done)));
        int error = inContents.from.file.Read(fork.offsetBytes + done, block.data(), block.size());
        if (error == 0) error = os::WriteAt(inTo, block, inOffsetBytes + done);
        if (error != 0) return error;
    }
    return 0;
}

int Write(const Contents& inContents, int inTo) {
    std::vector<UInt8> head;
    if (!EncodeAppleDoubleHead(inContents.others, inContents.fork.lengthBytes, head)) return ENOSPC;
    const int error = os::WriteAt(inTo, head);
    return error == 0 ? CopyFork(inContents, inTo, head.size()) : error;
}

int GiveAccess(const Contents& inContents, int inNewFile, int inTo) {
    os::ItemStatus file;
    os::ItemStatus old;
    int error = os::GetDescriptorStatus(inNewFile, file);
    old.mode = kReadAndWrite;
    if (error == 0 && inContents.from.file.IsOpen())
        error = os::GetDescriptorStatus(inContents.from.file.DescriptorNumber(), old);
    return error == 0 ? os::CopyAccess(inNewFile, inTo, file.mode & (old.mode | kOwners) & kReadAndWrite)
                      : error;
}

// Something that no item has beside it.
bool IsForeign(int inFolder, const std::string& inName) {
    Companion companion;
    const int error = OpenNamed(inFolder, inName, companion);
    return error != ENOENT && IsNoCompanion(error);
}

}  // namespace

CompanionCopy::~CompanionCopy() {
    os::ItemStatus named;
    if (mFolder >= 0 && os::GetStatusAt(mFolder, mName.c_str(), named) == 0 &&
        named.identity.IsSameItem(mIdentity))
        (void)os::Calls().unlinkat(mFolder, mName.c_str(), 0);
}

int CompanionCopy::Make(const Place& inItem, const FileToCome& inNewItem, SInt32 inCreationSeconds) {
    const int newFolder = inNewItem.place.folder.Number();
    mName = CompanionName(inNewItem.place.name);
    Contents contents;
    int error = Read(inItem, contents);
    if (error != 0) return error;
    CompanionInfo& info = contents.info;
    info.isLocked = false;
    if (info.creationSeconds == CompanionInfo::kNoDate) info.creationSeconds = inCreationSeconds;
    if (AreWorthless(contents, info.creationSeconds)) return 0;
    const bool isForDateAlone = AreWorthless(contents, CompanionInfo::kNoDate);
    if (AreCompanionsAllowed() == 0) return isForDateAlone ? 0 : kNotAllowed;
    PutInfo(info, contents.others);

    os::ItemStatus made;
    error = mFile.Make(newFolder);
    if (error == 0) error = Write(contents, mFile.Number());
    if (error == 0) error = GiveAccess(contents, inNewItem.file, mFile.Number());
    if (error == 0) error = os::GetDescriptorStatus(mFile.Number(), made);
    if (error != 0) return error;
    // Where files cannot be locked, others may set it aside; then the name is free for who has it next.
    (void)LockFile(mFile.Number(), 0);
    mIdentity = made.identity;
    error = mFile.GiveName(mName);
    if (error == 0) mFolder = newFolder;
    const bool isInVain = error == ENAMETOOLONG || (error == EEXIST && IsForeign(newFolder, mName));
    return isForDateAlone && isInVain ? 0 : error;
}

}  // namespace toolbox::files

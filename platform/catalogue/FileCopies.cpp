#include "CatalogDates.h"
#include "MovedItems.h"
#include "NameWriter.h"
#include "ParamBlocks.h"
#include "catalogue/DescriptorPaths.h"
#include "catalogue/FileAccess.h"
#include "catalogue/Volumes.h"
#include "companions/CompanionCopy.h"
#include "companions/CompanionNames.h"
#include "companions/Companions.h"
#include "names/CatalogueNames.h"
#include "os/CopyContents.h"
#include "os/UnnamedFile.h"
#include "status/StatusOfErrno.h"

#include <fcntl.h>
#include <toolbox/FileCopies.h>

#include <cerrno>
#include <string>

namespace toolbox::files {

namespace {

constexpr std::size_t kMaxNameBytes = 255;
constexpr mode_t kCopiedMode = 0777;  // what a file may do in its owner's name is not another's

// The place where an item goes, with the name that it is to have there.
OSStatus OpenNewPlace(const CopyParam& inBlock, SInt16 inVolume, const std::string& inOldName,
                      FoundItem& outFolder, Place& outPlace) {
    OSStatus status = FindNamed(inVolume, inBlock.ioNewDirID, inBlock.ioNewName, outFolder);
    if (status == fnfErr) status = dirNFErr;
    if (status == noErr && outFolder.status.kind != os::ItemKind::kFolder) status = dirNFErr;
    if (status == noErr) status = OpenFoundFolder(outFolder, outPlace);
    if (status != noErr) return status;
    outPlace.name = inOldName;
    if (inBlock.ioCopyName == nullptr) return noErr;
    std::u16string name;
    const bool isName = inBlock.ioCopyName[0] <= kMaxSpecNameBytes && NameOfSpec(inBlock.ioCopyName, name) &&
                        DiskName(name, outPlace.name) && outPlace.name.size() <= kMaxNameBytes;
    return isName ? noErr : OSStatus{bdNamErr};
}

// When it was created, as its companion is to tell; the file system tells when the copy was made.
SInt32 CreationSecondsOf(const os::ItemStatus& inStatus) {
    SInt32 seconds = CompanionInfo::kNoDate;
    return CompanionSecondsOf(DateOf(CreationOf(inStatus)), seconds) ? seconds : CompanionInfo::kNoDate;
}

int FillCopy(int inFile, const os::ItemStatus& inStatus, const os::UnnamedFile& inCopy) {
    const int copy = inCopy.Number();
    int error = os::CopyContents(inFile, copy);
    // While the file may be written: who owns it need not be allowed to by the mode that it gets.
    if (error == 0) error = os::CopyAttributes(inFile, copy);
    if (error == 0) error = os::CopyAccess(inFile, copy, inStatus.mode & kCopiedMode);
    if (error != 0) return error;
    const std::string path = PathOfDescriptor(copy);
    return os::SetDatesAt(AT_FDCWD, path.c_str(), os::LastLink::kFollowed, &inStatus.accessDate,
                          &inStatus.contentDate);
}

int CopyTo(const Place& inPlace, const os::ItemStatus& inStatus, int inFile, Place& ioNewPlace) {
    os::ItemStatus taken;
    int error = GetStatus(ioNewPlace, taken);
    if (error != ENOENT) return error == 0 ? EEXIST : error;
    if (WouldBeCompanion(inPlace, {}, ioNewPlace)) return EEXIST;
    AsideOrphan orphan;
    CompanionCopy companion;
    os::UnnamedFile copy;
    error = CheckNewName(ioNewPlace, {});
    if (error == 0) error = copy.Make(ioNewPlace.folder.Number());
    if (error == 0) error = FillCopy(inFile, inStatus, copy);
    if (error == 0) error = orphan.SetAside(ioNewPlace);
    if (error == 0) error = companion.Make(inPlace, {ioNewPlace, copy.Number()}, CreationSecondsOf(inStatus));
    if (error == 0) error = copy.GiveName(ioNewPlace.name);
    if (error != 0) return error;
    companion.Stay();
    orphan.StayAside();
    return 0;
}

OSStatus Copy(const CopyParam& inBlock) {
    FoundItem item;
    FoundItem folder;
    Place place;
    Place newPlace;
    os::Descriptor file;
    OSStatus status = FindNamed(inBlock.ioVRefNum, inBlock.ioDirID, inBlock.ioNamePtr, item);
    if (status == noErr && item.status.kind == os::ItemKind::kFolder) status = notAFileErr;
    if (status == noErr && item.status.kind != os::ItemKind::kFile) status = errFSForkNotFound;
    if (status == noErr) status = OpenPlace(item, place);
    if (status == noErr) status = OpenNewPlace(inBlock, inBlock.ioDstVRefNum, place.name, folder, newPlace);
    if (status == noErr) status = OpenFound(item, O_RDONLY, file);
    if (status != noErr) return status;
    return StatusOfChange(CopyTo(place, item.status, file.Number(), newPlace), folder);
}

OSStatus MoveRename(const CopyParam& inBlock) {
    FoundItem item;
    FoundItem folder;
    Place place;
    Place newPlace;
    OSStatus status = FindNamed(inBlock.ioVRefNum, inBlock.ioDirID, inBlock.ioNamePtr, item);
    if (status == noErr) status = OpenItem(item, place);
    if (status == noErr) status = OpenNewPlace(inBlock, inBlock.ioVRefNum, place.name, folder, newPlace);
    return status == noErr ? MoveTo(item, place, folder.path, newPlace, nullptr) : status;
}

}  // namespace

}  // namespace toolbox::files

using namespace toolbox::files;

OSErr PBHCopyFileSync(HParmBlkPtr ioBlock) {
    return AnswerBlock(ioBlock, &HParamBlockRec::copyParam, Copy);
}

OSErr PBHMoveRenameSync(HParmBlkPtr ioBlock) {
    return AnswerBlock(ioBlock, &HParamBlockRec::copyParam, MoveRename);
}

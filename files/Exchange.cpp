#include <files/Exchange.h>
#include <files/References.h>
#include <toolbox/CatalogInfo.h>
#include <toolbox/CatalogItems.h>
#include <toolbox/Folders.h>
#include <toolbox/MacErrors.h>
#include <toolbox/Timer.h>

#include <algorithm>
#include <string>

namespace {

// An item as it was: its name, the hint that came with it, and the folder that it was in.
struct Origin {
    SInt16 volume = 0;
    TextEncoding hint = 0;
    HFSUniStr255 name = {};
    FSRef folder = {};
};

struct NewName {
    UniCharCount length;
    const UniChar* units;
    TextEncoding hint;
};

OSErr GetOrigin(const FSRef& inItem, Origin& outOrigin) {
    FSCatalogInfo info = {};
    const OSErr error = FSGetCatalogInfo(&inItem, kFSCatInfoVolume | kFSCatInfoTextEncoding, &info,
                                         &outOrigin.name, nullptr, &outOrigin.folder);
    outOrigin.volume = info.volume;
    outOrigin.hint = info.textEncodingHint;
    return error;
}

// A folder for one item on its way.
class ScratchFolder {
  public:
    // In a temporary folder, under a name that nothing there has.
    OSErr Make(SInt16 inVolume, UInt32 inTemporaryID) {
        Str63 name = {};
        const std::string text = std::to_string(TickCount()) + 'A';
        name[0] = static_cast<unsigned char>(text.size());
        std::copy(text.begin(), text.end(), name + 1);
        mVolume = inVolume;
        for (unsigned char& letter = name[name[0]];; ++letter) {
            const OSErr error = DirCreate(inVolume, static_cast<SInt32>(inTemporaryID), name, &mID);
            if (error != dupFNErr || letter == 'Z') return error;
        }
    }

    OSErr GetRef(FSRef& outRef) const { return FSMakeFSRef(mVolume, mID, nullptr, &outRef); }

    // By its id, for the name may be another folder's by now. One that is not empty stays.
    void Delete() const { (void)HDelete(mVolume, mID, nullptr); }

  private:
    SInt16 mVolume = 0;
    SInt32 mID = 0;
};

OSErr MoveThrough(const ScratchFolder& inScratch, const Origin& inOrigin, const FSRef& inFolder,
                  const NewName& inName, FSRef& ioItem) {
    FSRef scratch = {};
    OSErr error = inScratch.GetRef(scratch);
    if (error == noErr) error = FSMoveObject(&ioItem, &scratch, &ioItem);
    if (error != noErr) return error;
    error = FSRenameUnicode(&ioItem, inName.length, inName.units, inName.hint, &ioItem);
    if (error == noErr) {
        error = FSMoveObject(&ioItem, &inFolder, &ioItem);
        if (error == noErr) return noErr;
        (void)FSRenameUnicode(&ioItem, inOrigin.name.length, inOrigin.name.unicode, inOrigin.hint, &ioItem);
    }
    (void)FSMoveObject(&ioItem, &inOrigin.folder, &ioItem);
    return error;
}

// What can be done without a scratch folder, because only one of its calls meets other names; inError where
// it cannot.
OSErr MoveOrRename(const Origin& inOrigin, const FSRef& inFolder, const NewName& inName, OSErr inError,
                   FSRef& ioItem) {
    const UniChar* const oldName = inOrigin.name.unicode;
    if (std::equal(oldName, oldName + inOrigin.name.length, inName.units, inName.units + inName.length)) {
        OSErr error = FSMoveObject(&ioItem, &inFolder, &ioItem);
        if (error != noErr || inName.hint == inOrigin.hint) return error;
        error = FSRenameUnicode(&ioItem, inName.length, inName.units, inName.hint, &ioItem);
        if (error != noErr) (void)FSMoveObject(&ioItem, &inOrigin.folder, &ioItem);
        return error;
    }
    if (FSCompareFSRefs(&inOrigin.folder, &inFolder) == noErr)
        return FSRenameUnicode(&ioItem, inName.length, inName.units, inName.hint, &ioItem);
    return inError;
}

}  // namespace

OSErr FSMoveRenameObjectUnicode(const FSRef* inItem, const FSRef* inFolder, UniCharCount inNameLength,
                                const UniChar* inName, TextEncoding inEncodingHint, FSRef* outItem) {
    if (inItem == nullptr || inFolder == nullptr || outItem == nullptr) return paramErr;
    const FSRef folder = *inFolder;  // which may be outItem
    *outItem = *inItem;
    SInt16 volume = 0;
    Origin origin;
    OSErr error = FSGetVRefNum(&folder, &volume);
    if (error == noErr) error = GetOrigin(*outItem, origin);
    if (error != noErr) return error;
    if (volume != origin.volume) return diffVolErr;
    if (inName == nullptr) return FSMoveObject(outItem, &folder, outItem);

    const NewName name = {inNameLength, inName, inEncodingHint};
    UInt32 temporaryID = 0;
    error = FindFolder(volume, kTemporaryFolderType, kCreateFolder, &volume, &temporaryID);
    if (error != noErr) return MoveOrRename(origin, folder, name, error, *outItem);
    ScratchFolder scratch;
    error = scratch.Make(volume, temporaryID);
    if (error != noErr) return error;
    error = MoveThrough(scratch, origin, folder, name, *outItem);
    scratch.Delete();
    return error;
}

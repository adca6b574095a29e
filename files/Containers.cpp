#include <files/Containers.h>
#include <foundation/LException.h>
#include <toolbox/CatalogItems.h>
#include <toolbox/Iterators.h>
#include <toolbox/MacErrors.h>
#include <toolbox/MacMemory.h>

#include <new>
#include <utility>
#include <vector>

namespace {

constexpr ItemCount kRefsInBatch = 10;

// A folder that is being emptied, which is to be deleted itself after that.
struct OpenFolder {
    FSIterator iterator;
    FSRef folder;
    UInt16 nodeFlags;
};

OSErr Delete(const FSRef& inItem, UInt16 inNodeFlags, FSCatalogInfo& ioInfo) {
    if ((inNodeFlags & kFSNodeLockedMask) != 0) {
        ioInfo.nodeFlags = static_cast<UInt16>(inNodeFlags & ~kFSNodeLockedMask);
        const OSErr error = FSSetCatalogInfo(&inItem, kFSCatInfoNodeFlags, &ioInfo);
        if (error != noErr) return error;
    }
    return FSDeleteObject(&inItem);
}

// May throw std::bad_alloc, before anything is opened.
OSErr Open(const FSRef& inFolder, UInt16 inNodeFlags, std::vector<OpenFolder>& ioFolders) {
    ioFolders.push_back({nullptr, inFolder, inNodeFlags});
    const OSErr error = FSOpenIterator(&inFolder, kFSIterateDelete, &ioFolders.back().iterator);
    if (error != noErr) ioFolders.pop_back();
    return error;
}

void Close(std::vector<OpenFolder>& ioFolders) {
    (void)FSCloseIterator(ioFolders.back().iterator);
    ioFolders.pop_back();
}

// Deletes the next item of the innermost folder; of a folder, what is in it comes first.
void Step(std::vector<OpenFolder>& ioFolders, FSDeleteContainerGlobals& ioGlobals) {
    ioGlobals.result =
        FSGetCatalogInfoBulk(ioFolders.back().iterator, 1, &ioGlobals.actualItems, nullptr,
                             kFSCatInfoNodeFlags, &ioGlobals.info, &ioGlobals.item, nullptr, nullptr);
    if (ioGlobals.result == noErr && ioGlobals.actualItems == 1) {
        const UInt16 nodeFlags = ioGlobals.info.nodeFlags;
        ioGlobals.result = (nodeFlags & kFSNodeIsDirectoryMask) != 0
                               ? Open(ioGlobals.item, nodeFlags, ioFolders)
                               : Delete(ioGlobals.item, nodeFlags, ioGlobals.info);
        return;
    }
    if (ioGlobals.result != errFSNoMoreItems) return;
    const OpenFolder emptied = ioFolders.back();
    Close(ioFolders);
    ioGlobals.result =
        ioFolders.empty() ? OSErr{noErr} : Delete(emptied.folder, emptied.nodeFlags, ioGlobals.info);
}

// An iterator that is closed whatever is thrown.
class HeldIterator {
  public:
    explicit HeldIterator(const FSRef& inFolder) {
        const OSErr error = FSOpenIterator(&inFolder, kFSIterateFlat, &mIterator);
        if (error != noErr) LException::Throw(error);
    }
    ~HeldIterator() {
        if (mIterator != nullptr) (void)FSCloseIterator(mIterator);
    }
    HeldIterator(const HeldIterator&) = delete;
    HeldIterator& operator=(const HeldIterator&) = delete;

    FSIterator Get() const { return mIterator; }
    void Close() {
        const OSErr error = FSCloseIterator(std::exchange(mIterator, nullptr));
        if (error != noErr) LException::Throw(error);
    }

  private:
    FSIterator mIterator = nullptr;
};

// Meets the next item, and what is in it.
void Meet(FSIterator inIterator, FSIterateContainerGlobals& ioGlobals) {
    ItemCount count = 0;
    Boolean isChanged = false;
    ioGlobals.result = FSGetCatalogInfoBulk(inIterator, 1, &count, &isChanged, ioGlobals.whichInfo,
                                            &ioGlobals.info, &ioGlobals.item, ioGlobals.spec, ioGlobals.name);
    if ((ioGlobals.result != noErr && ioGlobals.result != errFSNoMoreItems) || count == 0) return;
    ioGlobals.quits = ioGlobals.filter(isChanged, ioGlobals.level, &ioGlobals.info, &ioGlobals.item,
                                       ioGlobals.spec, ioGlobals.name, ioGlobals.userData);
    if (!ioGlobals.quits && (ioGlobals.info.nodeFlags & kFSNodeIsDirectoryMask) != 0)
        FSIterateContainerLevel(&ioGlobals);
}

// noErr at the end.
OSErr AppendItems(FSIterator inIterator, Handle ioItems, ItemCount& ioCount, Boolean& ioChanged) {
    for (;;) {
        FSRef refs[kRefsInBatch];
        ItemCount count = 0;
        Boolean isChanged = false;
        const OSErr error = FSGetCatalogInfoBulk(inIterator, kRefsInBatch, &count, &isChanged, kFSCatInfoNone,
                                                 nullptr, refs, nullptr, nullptr);
        if (isChanged) ioChanged = true;
        if (error != noErr && error != errFSNoMoreItems) return error;
        (void)PtrAndHand(refs, ioItems, static_cast<Size>(count * sizeof(FSRef)));
        const OSErr memoryError = MemError();
        if (memoryError != noErr) return memoryError;
        ioCount += count;
        if (error == errFSNoMoreItems) return noErr;
    }
}

}  // namespace

// What would be a call of this for each folder in a folder is a list of folders, which may be long.
void FSDeleteContainerLevel(const FSRef* inFolder, FSDeleteContainerGlobals* outGlobals) {
    std::vector<OpenFolder> folders;
    try {
        outGlobals->result = Open(*inFolder, 0, folders);
        while (outGlobals->result == noErr && !folders.empty())
            Step(folders, *outGlobals);
    } catch (const std::bad_alloc&) {
        outGlobals->result = memFullErr;
    }
    while (!folders.empty())
        Close(folders);
}

OSErr FSDeleteContainerContents(const FSRef* inFolder) {
    if (inFolder == nullptr) return paramErr;
    FSDeleteContainerGlobals globals = {};
    FSDeleteContainerLevel(inFolder, &globals);
    return globals.result;
}

OSErr FSDeleteContainer(const FSRef* inFolder) {
    if (inFolder == nullptr) return paramErr;
    FSCatalogInfo info = {};
    OSErr error = FSGetCatalogInfo(inFolder, kFSCatInfoNodeFlags, &info, nullptr, nullptr, nullptr);
    if (error != noErr) return error;
    if ((info.nodeFlags & kFSNodeIsDirectoryMask) == 0) return dirNFErr;
    error = FSDeleteContainerContents(inFolder);
    return error == noErr ? Delete(*inFolder, info.nodeFlags, info) : error;
}

void FSIterateContainerLevel(FSIterateContainerGlobals* ioGlobals) {
    FSIterateContainerGlobals& globals = *ioGlobals;
    if (globals.maxLevels != 0 && globals.level >= globals.maxLevels) return;
    HeldIterator iterator(globals.item);
    ++globals.level;
    do
        Meet(iterator.Get(), globals);
    while (globals.result == noErr && !globals.quits);
    if (globals.result == errFSNoMoreItems || globals.result == afpAccessDenied) globals.result = noErr;
    --globals.level;
    iterator.Close();
}

OSErr FSIterateContainer(const FSRef* inFolder, ItemCount inMaxLevels, FSCatalogInfoBitmap inWhichInfo,
                         bool inWantFSSpec, bool inWantName, IterateContainerFilterProcPtr inFilter,
                         void* inUserData) {
    if (inFolder == nullptr || inFilter == nullptr) return paramErr;
    FSSpec spec = {};
    HFSUniStr255 name = {};
    FSIterateContainerGlobals globals = {};
    globals.filter = inFilter;
    globals.whichInfo = inWhichInfo | kFSCatInfoNodeFlags;
    globals.item = *inFolder;
    globals.spec = inWantFSSpec ? &spec : nullptr;
    globals.name = inWantName ? &name : nullptr;
    globals.userData = inUserData;
    globals.maxLevels = inMaxLevels;
    FSIterateContainerLevel(&globals);
    return globals.result;
}

OSErr FSGetDirectoryItems(const FSRef* inFolder, Handle* outItems, ItemCount* outCount,
                          Boolean* outContainerChanged) {
    if (inFolder == nullptr || outItems == nullptr || outCount == nullptr || outContainerChanged == nullptr)
        return paramErr;
    *outCount = 0;
    *outContainerChanged = false;
    *outItems = NewHandle(0);
    if (*outItems == nullptr) return memFullErr;
    FSIterator iterator = nullptr;
    OSErr error = FSOpenIterator(inFolder, kFSIterateFlat, &iterator);
    if (error == noErr) {
        error = AppendItems(iterator, *outItems, *outCount, *outContainerChanged);
        (void)FSCloseIterator(iterator);
    }
    if (error == noErr) return noErr;
    DisposeHandle(*outItems);
    *outItems = nullptr;
    *outCount = 0;
    return error;
}

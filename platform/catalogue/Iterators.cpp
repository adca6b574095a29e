#include "NearItems.h"
#include "OpenIterators.h"
#include "catalogue/ItemInfo.h"

#include <toolbox/Iterators.h>

#include <iterator>
#include <memory>
#include <new>
#include <utility>

namespace toolbox::files {

namespace {

struct BulkQuestion {
    ItemCount maxCount;
    FSCatalogInfoBitmap which;
    FSCatalogInfo* infos;
    FSRef* refs;
    FSSpec* specs;
    HFSUniStr255* names;
};

bool AsksVolume(const BulkQuestion& inQuestion) {
    return inQuestion.specs != nullptr || (inQuestion.which & kFSCatInfoVolume) != 0;
}

template <typename Record>
Record* At(Record* inRecords, ItemCount inIndex) {
    return inRecords == nullptr ? nullptr : inRecords + inIndex;
}

OSStatus FillOne(FolderWalk& ioWalk, const BulkQuestion& inQuestion, ItemCount inIndex, WalkedItem& ioItem) {
    OSStatus status = ioWalk.GetItem(ioItem);
    if (status != noErr) return status;
    InfoKnownBefore known = {0, ioItem.hasNoCompanion, &ioWalk.ItemPlace()};
    if (AsksVolume(inQuestion) && ioItem.item.facts.nodeID != kRootID)
        status = ioWalk.GetVolume(known.volume);
    if (status != noErr) return status;
    const InfoOutputs outputs = {At(inQuestion.infos, inIndex), At(inQuestion.names, inIndex),
                                 At(inQuestion.specs, inIndex), nullptr};
    status = GetInfoOf(ioItem.item, inQuestion.which, outputs, known);
    if (status == noErr && inQuestion.refs != nullptr) inQuestion.refs[inIndex] = MakeRef(ioItem.item);
    return status;
}

bool MayComeRight(OSStatus inStatus) {
    return inStatus == memFullErr || inStatus == tmfoErr;
}

// As many as can be had without a failure; a failure of the first one alone is answered, and is passed.
OSStatus FillAll(FolderWalk& ioWalk, const BulkQuestion& inQuestion, ItemCount& outCount) {
    WalkedItem& item = ioWalk.RoomForItem();
    while (outCount < inQuestion.maxCount) {
        OSStatus status = noErr;
        try {
            status = FillOne(ioWalk, inQuestion, outCount, item);
            if (status == noErr) ioWalk.Pass(true);
        } catch (const std::bad_alloc&) {
            status = memFullErr;
        }
        if (status == errFSNoMoreItems) return status;
        if (status == fnfErr) {  // it went after it was met
            ioWalk.Pass(false);
            continue;
        }
        if (status != noErr && outCount > 0) return noErr;
        if (status != noErr && !MayComeRight(status)) ioWalk.Pass(false);
        if (status != noErr) return status;
        ++outCount;
    }
    return noErr;
}

OSStatus GetBulk(OpenIterators::Number inNumber, const BulkQuestion& inQuestion, ItemCount& outCount,
                 Boolean* outHasChanged) {
    const OpenIterators::Use use(OpenIterators::Shared(), inNumber);
    if (use.Status() != noErr) return use.Status();
    FolderWalk& walk = use.Walk();
    if (outHasChanged != nullptr || (walk.MayKnowNames() && NeedsCompanion(inQuestion.which)))
        walk.LookAtFolder();
    const OSStatus status = FillAll(walk, inQuestion, outCount);
    if (outHasChanged != nullptr) *outHasChanged = walk.HasChanged();
    return status;
}

// In the folder of another iterator, as those of a tree that is gone through are; null: not so.
std::unique_ptr<FolderWalk> OpenNear(const FSRef& inFolder, WalkKind inKind,
                                     OpenIterators::Number& outAbove) {
    NearItem folder;
    FoundItem found;
    if (!folder.Find(inFolder) || folder.Status().kind != os::ItemKind::kFolder) return nullptr;
    if (FindAtPlace(folder.Folder(), folder.ItemPlace(), found) != noErr) return nullptr;
    auto walk = std::make_unique<FolderWalk>(inKind);
    if (walk->OpenAt(inFolder, found, folder.ItemPlace()) != noErr) return nullptr;
    outAbove = folder.Holder();
    return walk;
}

OSStatus Open(const FSRef& inFolder, WalkKind inKind, FSIterator& outIterator) {
    OpenIterators::Number above = 0;
    std::unique_ptr<FolderWalk> walk = OpenNear(inFolder, inKind, above);
    if (walk == nullptr) {
        walk = std::make_unique<FolderWalk>(inKind);
        const OSStatus status = walk->Open(inFolder);
        if (status != noErr) return status;
    }
    const OpenIterators::Number number = OpenIterators::Shared().Add(std::move(walk), above);
    outIterator = reinterpret_cast<FSIterator>(number);
    return noErr;
}

}  // namespace

}  // namespace toolbox::files

using namespace toolbox::files;

OSErr FSOpenIterator(const FSRef* inContainer, FSIteratorFlags inFlags, FSIterator* outIterator) {
    if (inContainer == nullptr || outIterator == nullptr) return paramErr;
    constexpr WalkKind kKinds[] = {WalkKind::kFlat, WalkKind::kSubtree, WalkKind::kDelete};
    if (inFlags >= std::size(kKinds)) return errFSBadIteratorFlags;
    try {
        return static_cast<OSErr>(Open(*inContainer, kKinds[inFlags], *outIterator));
    } catch (const std::bad_alloc&) {
        return memFullErr;
    }
}

OSErr FSCloseIterator(FSIterator inIterator) {
    const auto number = reinterpret_cast<OpenIterators::Number>(inIterator);
    return static_cast<OSErr>(OpenIterators::Shared().Remove(number));
}

OSErr FSGetCatalogInfoBulk(FSIterator inIterator, ItemCount inMaximumObjects, ItemCount* outActualObjects,
                           Boolean* outContainerChanged, FSCatalogInfoBitmap inWhichInfo,
                           FSCatalogInfo* outInfos, FSRef* outRefs, FSSpec* outSpecs,
                           HFSUniStr255* outNames) {
    constexpr FSCatalogInfoBitmap kGettable = kFSCatInfoGettableInfo;
    if (outActualObjects == nullptr) return paramErr;
    *outActualObjects = 0;
    if (inMaximumObjects == 0) return errFSBadItemCount;
    if ((inWhichInfo & ~kGettable) != 0) return errFSBadInfoBitmap;
    if (inWhichInfo != kFSCatInfoNone && outInfos == nullptr) return errFSMissingCatInfo;
    const BulkQuestion question = {inMaximumObjects, inWhichInfo, outInfos, outRefs, outSpecs, outNames};
    try {
        const auto number = reinterpret_cast<OpenIterators::Number>(inIterator);
        return static_cast<OSErr>(GetBulk(number, question, *outActualObjects, outContainerChanged));
    } catch (const std::bad_alloc&) {
        return memFullErr;
    }
}

// The companions of items that were just found, and what they tell in the catalogue's form.
//
// Safe on any thread. Functions may throw std::bad_alloc.
#pragma once

#include "catalogue/Catalogue.h"
#include "companions/CompanionInfo.h"

namespace toolbox::files {

bool IsVolumeRoot(const FoundItem& inItem);

// What the item's companion tells; nothing where it has none.
[[nodiscard]] int ReadCompanionInfo(const FoundItem& inItem, CompanionInfo& outInfo,
                                    CompanionSizes& outSizes);

// Makes this the information in its companion, or answers ENOMEM; what it answers as a status, of an item of
// that volume.
[[nodiscard]] int WriteCompanion(const Place& inPlace, const CompanionInfo& inInfo) noexcept;
[[nodiscard]] OSStatus StatusOfCompanionError(int inErrno, const FoundItem& inItem);

// fLckdErr for an item that is locked; not where its companion may not be read, as far as can be told. inItem
// is what the system tells of it.
[[nodiscard]] OSStatus CheckUnlocked(const Place& inPlace, const os::ItemStatus& inItem);

// The encoding hint of an item that is about to get another name. What it was before comes back unless the
// new one is to stay.
class NewHint {
  public:
    NewHint() = default;
    ~NewHint();
    NewHint(const NewHint&) = delete;
    NewHint& operator=(const NewHint&) = delete;

    // Once; the place, at which the item is, stays open until the hint stays or comes back.
    [[nodiscard]] OSStatus Set(const Place& inPlace, const FoundItem& inItem, TextEncoding inHint);
    void Stay() noexcept { mPlace = nullptr; }

  private:
    const Place* mPlace = nullptr;
    os::ItemIdentity mItem;
    CompanionInfo mBefore;
};

// Opens the place of the item whose companion it is: a volume's root is an item of itself there. fnfErr when
// it is there no more.
[[nodiscard]] OSStatus OpenItsPlace(const FoundItem& inItem, Place& outPlace);

// Finder information, 16 bytes each: as FSCatalogInfo has it, from what a companion keeps of an item of that
// kind, and back. What is computed of a link is not kept, and is of no other item's.
void GetFinderInfo(os::ItemKind inKind, const CompanionInfo& inInfo, UInt8* outBytes);
void SetFinderInfo(os::ItemKind inKind, const UInt8* inBytes, CompanionInfo& ioInfo);
void GetExtendedInfo(os::ItemKind inKind, const CompanionInfo& inInfo, UInt8* outBytes);
void SetExtendedInfo(os::ItemKind inKind, const UInt8* inBytes, CompanionInfo& ioInfo);

}  // namespace toolbox::files

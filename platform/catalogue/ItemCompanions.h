// The companions of items that were just found, and what they tell in the catalogue's form.
//
// Safe on any thread. Functions may throw std::bad_alloc.
#pragma once

#include "HeldItem.h"
#include "catalogue/Catalogue.h"
#include "companions/CompanionInfo.h"

#include <optional>

namespace toolbox::files {

bool IsVolumeRoot(const FoundItem& inItem);

// What the item's companion tells; nothing where it has none.
[[nodiscard]] int ReadCompanionInfo(const FoundItem& inItem, CompanionInfo& outInfo,
                                    CompanionSizes& outSizes);

// What the writing of a companion answers as a status, of an item of that volume.
[[nodiscard]] OSStatus StatusOfCompanionError(int inErrno, const FoundItem& inItem);

// fLckdErr for an item that is locked; not where its companion may not be read, as far as can be told. inItem
// is what the system tells of it.
[[nodiscard]] OSStatus CheckUnlocked(const Place& inPlace, const os::ItemStatus& inItem);
// The same of what may be a companion, by the item whose lock goes with it.
[[nodiscard]] OSStatus CheckOwnerUnlocked(const Place& inCompanion);

// Parts of what an item's companion tells, set alone or before something else is done. They are as before
// again unless they are to stay; but what another set meanwhile stays in any case.
class ChangedInfo {
  public:
    ChangedInfo() = default;
    ~ChangedInfo();
    ChangedInfo(const ChangedInfo&) = delete;
    ChangedInfo& operator=(const ChangedInfo&) = delete;

    // Once; the place, at which the item is, stays open until they stay or come back. 0 or an errno.
    [[nodiscard]] int Set(const Place& inPlace, const os::ItemIdentity& inItem, InfoParts inWhich,
                          const CompanionInfo& inInfo, os::NameLasts inNameLasts = os::NameLasts::kOnceGiven);
    void Stay() noexcept { mPlace = nullptr; }

  private:
    const Place* mPlace = nullptr;
    os::ItemIdentity mItem;
    InfoParts mWhich = 0;
    CompanionInfo mInfo;
    CompanionInfo mBefore;
};

// The permissions of an item, and with them those of its companion, which are never more than the item's,
// whatever stops this. They are as before again unless they are to stay.
class ChangedMode {
  public:
    ChangedMode() = default;
    ~ChangedMode();
    ChangedMode(const ChangedMode&) = delete;
    ChangedMode& operator=(const ChangedMode&) = delete;

    // Once; item and place stay open until they stay or come back.
    //   inPlace  the item's, as OpenItsPlace opens it; null for one that can have no companion
    // 0 or an errno.
    [[nodiscard]] int Set(const HeldItem& inItem, const os::ItemStatus& inStatus, const Place* inPlace,
                          mode_t inMode);
    void Stay() noexcept { mIsToStay = true; }

  private:
    [[nodiscard]] int Follow(mode_t inMode, std::optional<mode_t>* outBefore) const;

    const HeldItem* mItem = nullptr;
    const Place* mPlace = nullptr;
    os::ItemIdentity mIdentity;
    std::optional<mode_t> mBefore;
    std::optional<mode_t> mCompanionBefore;
    bool mIsToStay = false;
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

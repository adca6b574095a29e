// The items in a folder, or in the whole tree below it, one after the other.
//
// What comes is the item itself, of a link never its target; companions do not come. No item comes twice
// under one name, whatever others do meanwhile. A tree is gone through folder by folder, each before what is
// in it, and never through a link nor into what is mounted in it; folders that changed places while they were
// gone through can bring an item under two names.
//
// One descriptor is held, or none after Park; memory is bounded for each folder, and grows with the depth of
// the tree by a few hundred bytes for each level. One thread at a time. Functions may throw std::bad_alloc,
// with nothing passed.
#pragma once

#include "FolderNames.h"
#include "LoneItems.h"
#include "catalogue/Catalogue.h"

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace toolbox::files {

enum class WalkKind {
    kFlat,
    kSubtree,
    kDelete  // flat; whatever is mounted there is refused
};

struct WalkedItem {
    FoundItem item;
    bool hasNoCompanion = false;  // false also where that is not known
};

// A folder that is being gone through, for who has to do with an item in it.
struct LentFolder {
    Place place;  // the item's
    FoundItem folder;
    // Of the item that was handed out last, where it may be known to be lone: what the system told of it. It
    // was looked at after names were read. Else null.
    std::shared_ptr<const LoneItems> lone;
    os::ItemStatus item;
};

class FolderWalk {
  public:
    explicit FolderWalk(WalkKind inKind) : mKind(inKind) {}

    // Once. fnfErr, errFSNotAFolder, fBsyErr for a volume's root of which items are to be deleted;
    // afpAccessDenied for a folder that may not be read.
    [[nodiscard]] OSStatus Open(const FSRef& inFolder);
    // The same of a folder that was just found at a place, whose path is then not gone down.
    [[nodiscard]] OSStatus OpenAt(const FSRef& inFolder, const FoundItem& inFound, const Place& inPlace);

    // The item that comes next, the same until it is passed. errFSNoMoreItems at the end; else a status of
    // what cannot be looked at, listed or entered: afpAccessDenied, fBsyErr for what is mounted where items
    // are to be deleted, and what the system fails with.
    [[nodiscard]] OSStatus GetItem(WalkedItem& outItem);
    // Kept from one use to the next, for what comes.
    WalkedItem& RoomForItem() { return mRoom; }
    // Where that item is; for as long.
    const Place& ItemPlace() const { return mPlace; }
    // Goes on behind it, or behind what failed.
    void Pass(bool inWasHandedOut);

    // Whether it can be known without a look at each item that it has no companion.
    bool MayKnowNames() const { return mKind != WalkKind::kDelete; }
    // Looks at the folder that is listed now, so that what was read of it counts no longer than it is true.
    void LookAtFolder();
    // Whether a folder was changed while it was gone through, as far as was looked and as its times tell;
    // true where it cannot be looked at.
    bool HasChanged() const { return mHasChanged; }

    // The number of the volume on which all is, but for what is mounted there.
    [[nodiscard]] OSStatus GetVolume(SInt16& outVolume);

    // Closes what is open, and forgets what was read, until the next GetItem.
    void Park() noexcept;

    // Gives the folder away that is listed now, if it is this one and is open, with what was found of it;
    // unless it comes back, it is opened again when it is needed. What is not that folder does not come back.
    //   ioLent  its place has the item's name
    [[nodiscard]] bool Lend(const os::ItemIdentity& inFolder, LentFolder& ioLent) noexcept;
    void TakeBack(Place& ioPlace, FoundItem& ioFolder) noexcept;
    // Opens the folder above the one that it began with, by "..", if that is open. For the last use.
    [[nodiscard]] bool OpenAbove(Place& outPlace, FoundItem& outFolder) noexcept;

  private:
    struct Stamp {
        std::int64_t contentNanos = 0;
        std::int64_t attributeNanos = 0;
        bool operator==(const Stamp&) const = default;
    };
    struct Level {
        os::ItemStatus folder;  // when it was met
        std::string name;       // in the folder of the level above
        Stamp met;
        Stamp read;
        bool isReadSettled = false;
        FolderNames names;
    };
    enum class Step { kItem, kReading, kEntering, kOpening };

    static Stamp StampOf(const os::ItemStatus& inFolder);
    [[nodiscard]] OSStatus Begin(const FSRef& inFolder);
    [[nodiscard]] OSStatus EnsureOpen();
    [[nodiscard]] OSStatus Read(Place& ioPlace, Level& ioLevel);
    [[nodiscard]] int ReadAndHear(Place& ioPlace, FolderNames& ioNames);
    [[nodiscard]] OSStatus GoOn(bool& outIsThere);
    [[nodiscard]] OSStatus Enter();
    void Leave();
    void Learn(const os::ItemStatus& inFolder);
    [[nodiscard]] OSStatus LookAtItem(WalkedItem& outItem, bool& outIsHidden);
    [[nodiscard]] OSStatus FindHere(FoundItem& outItem);
    bool IsLeftover(const FoundItem& inItem);
    void PassItem(bool inWasHandedOut);
    void ForgetUppermostNames() noexcept;

    WalkKind mKind;
    std::vector<Level> mLevels;  // the folder that it began with first; none after the end
    Place mPlace;                // the last level's folder, if it is open, and the item's name
    FoundItem mFolder;           // the same
    WalkedItem mRoom;
    FSRef mRoot = {};
    SInt16 mVolume = 0;
    Step mStep = Step::kItem;  // which GetItem came to
    os::ItemStatus mItem;      // at which it is
    bool mIsPassed = false;    // that item was handed out, and is the last one passed
    // Of the folder that is emptied, if all that comes into it is heard.
    std::shared_ptr<const LoneItems> mLone;
    bool mMustEnter = false;  // the folder that was passed
    std::string mEntered;
    os::ItemStatus mEnteredStatus;
    bool mHasChanged = false;
    bool mKnowsNames = false;  // what was read is what is there
};

}  // namespace toolbox::files

// Names of companions, when their items are made, moved, renamed and deleted.
//
// Two names cannot be changed at once. So a companion gets its new name first, while it keeps the old one;
// then the item is renamed; then the companion's old name goes. Whatever stops that, every item has its
// companion beside it, and what is left over is a second name of one, without an item. It is known by a mark,
// which the file bears while it has both: the sticky bit, which means nothing of a file. Who looks for an
// item by that name takes the name away (DropLeftover), and so does who makes one.
//
// Where there are no hard links, the companion is copied, and what is left over is an ordinary file.
//
// A companion is locked (flock) while names are changed, so that no two calls do so at once, nor a look takes
// away what another call is still about. Where files cannot be locked, leftovers stay. Functions answer 0 or
// an errno, and may throw std::bad_alloc.
#pragma once

#include "os/Descriptor.h"
#include "os/FileRange.h"
#include "os/ItemStatus.h"
#include "os/Mutex.h"
#include "places/Place.h"

#include <string>

namespace toolbox::files {

// While it lives, no other thread of this process makes a companion where an item has none. Who makes one
// holds it, and who gives an item another place: there is nothing to be locked then, and what came too late
// would be nobody's at the old place. Of another process that makes one at that very moment an ordinary file
// may remain.
class NoNewCompanions {
  public:
    NoNewCompanions() NO_LOCK_ANALYSIS;
    ~NoNewCompanions() NO_LOCK_ANALYSIS;
    NoNewCompanions(const NoNewCompanions&) = delete;
    NoNewCompanions& operator=(const NoNewCompanions&) = delete;
};

// One or two folders in which names change places; locked as long as it lives, for threads and processes. An
// item and its companion do not change their places at once, and who looks at the one before and at the other
// after that sees an item without a companion, or a companion without an item, which there is none. Who moves
// an item, and who would set a companion aside that seems nobody's, holds this.
class LockedNames {
  public:
    // Once; both places may be in one folder. A folder that cannot be locked, because it may not be read or
    // its file system knows no locks, is not. EBUSY when others hold one for longer than two seconds.
    [[nodiscard]] int Lock(const Place& inPlace1, const Place& inPlace2);

  private:
    os::Descriptor mFolders[2];
};

// The companion of an item that is about to be moved, renamed or deleted, if it has one; held for that time,
// in which both places stay open.
class HeldCompanion {
  public:
    HeldCompanion() = default;
    ~HeldCompanion();  // takes a new name away again, unless the old one went
    HeldCompanion(const HeldCompanion&) = delete;
    HeldCompanion& operator=(const HeldCompanion&) = delete;

    // Once. EBUSY when another call holds it, and not just to write a few bytes; EACCES when it may not be
    // looked at.
    [[nodiscard]] int Take(const Place& inItem);
    // The same of an item that is known to have none.
    void TakeNone(const Place& inItem);

    bool IsThere() const { return mFile.IsOpen(); }

    // Before the item gets its new place: the companion's name there. EEXIST when something has it,
    // ENAMETOOLONG when there is no room for it.
    [[nodiscard]] int AddName(const Place& inNewItem);
    // Once the item has its new place: takes the old name away. Where that fails it stays as a leftover. One
    // that another process made since it was looked for goes with its item.
    void LeaveOldName() noexcept;

    // After the item is deleted, with one that was made meanwhile. What cannot be deleted stays as an
    // ordinary file.
    void Delete() noexcept;

  private:
    [[nodiscard]] bool HasNewName() const noexcept;
    void Unlink(int inFolder, const std::string& inName) noexcept;
    template <typename Do>
    void IfOneCameLater(Do inDo) noexcept;

    const Place* mItem = nullptr;
    os::FileRange mFile;
    os::ItemStatus mStatus;
    int mFolder = -1;
    std::string mName;
    int mNewFolder = -1;  // while it has both names
    std::string mNewName;
    int mLaterFolder = -1;  // where one is to go that comes later
    bool mIsCopied = false;
};

// A file that would be taken for the companion of an item that is to be made at a place or moved there, but
// is another's or nobody's: it gets a visible name in that folder.
class AsideOrphan {
  public:
    AsideOrphan() = default;
    ~AsideOrphan();  // brings it back, unless it is to stay there
    AsideOrphan(const AsideOrphan&) = delete;
    AsideOrphan& operator=(const AsideOrphan&) = delete;

    // Once; the place stays open. An item that is there keeps its companion. EBUSY when another call holds
    // it.
    [[nodiscard]] int SetAside(const Place& inNewItem);
    // The same for who holds the names in the folder locked.
    [[nodiscard]] int SetAsideLocked(const Place& inNewItem);
    // When the item is there.
    void StayAside() noexcept { mFolder = -1; }

  private:
    int mFolder = -1;
    std::string mName;
    std::string mNewName;
};

// Takes away what an interrupted move left beside a place at which no item is. Nothing is told: it is tried
// again by the next look.
void DropLeftover(const Place& inMissing);

// Whether a status is that of a file that may be a companion's second name.
bool IsMarked(const os::ItemStatus& inStatus);
// Whether the companion that an item at this place would have is one after all: the item is there by now, or
// another call is just moving or deleting it.
bool HasOwner(const Place& inMissing);

}  // namespace toolbox::files

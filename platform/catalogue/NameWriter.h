// The one writer of names: items are made, deleted, moved and renamed at their places here, and nowhere else
// in the platform; what they have beside their data goes with them.
//
// Functions answer 0 or an errno, with nothing changed. They may throw std::bad_alloc, with nothing changed
// either. EEXIST when the folder has an item of the name, or of one that is the same but for case and
// composition; EBUSY for what something is mounted upon, and while another call is changing the item's names.
#pragma once

#include "LoneItems.h"
#include "companions/CompanionNames.h"
#include "places/NodeTable.h"
#include "places/Place.h"

#include <string>

namespace toolbox::files {

// Looks for an item at a place whose name is the same but for case and composition: EEXIST. What may not be
// looked through has none, as far as can be told.
//   inOwnName  of an item that is to get the place's name itself, or empty
[[nodiscard]] int CheckNewName(Place& ioPlace, const std::string& inOwnName);

// A new item, which is deleted again unless it is kept; what made room for it then comes back.
class NewItem {
  public:
    NewItem(Place& ioPlace, os::ItemKind inKind) : mPlace(ioPlace), mKind(inKind) {}
    ~NewItem();
    NewItem(const NewItem&) = delete;
    NewItem& operator=(const NewItem&) = delete;

    // Once. An empty file or folder.
    [[nodiscard]] int Make();
    const os::ItemIdentity& Identity() const { return mIdentity; }
    void Keep() noexcept;

  private:
    [[nodiscard]] int MakeFile();
    [[nodiscard]] int MakeFolder();

    Place& mPlace;
    os::ItemKind mKind;
    os::ItemIdentity mIdentity;
    AsideOrphan mOrphan;
    bool mIsToDelete = false;
};

// Deletes the item that a place has, which is no volume's root. ENOTEMPTY for a folder that holds anything,
// EPERM, with outIsLocked, for one that is locked.
//   inItem  what the system tells of it
[[nodiscard]] int DeleteUnlockedItem(const Place& inPlace, const os::ItemStatus& inItem, bool& outIsLocked);

// The same of one that is no folder and is lone, without a look at it. ESTALE, with nothing changed, where it
// is not known to be so any more.
[[nodiscard]] int DeleteLoneItem(const Place& inPlace, const LoneItems& inLone);

// Gives an item, which has a node and is no volume's root, the new place; the node table learns of it. EXDEV
// when that is on another volume, EINVAL when it is within the item.
//   outFacts  nodeID 0: its whole path is to be recorded
[[nodiscard]] int MoveItem(const Place& inPlace, const os::ItemStatus& inItem, Place& ioNewPlace,
                           NodeFacts& outFacts);

}  // namespace toolbox::files

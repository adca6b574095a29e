// The one who changes an item's companion, alone while it lives: whoever writes one, in this process or
// another, holds its lock (flock), and has looked after that whether it is the file that has the name still.
//
// Functions answer 0 or an errno, and may throw std::bad_alloc, with nothing left open.
#pragma once

#include "CompanionFile.h"
#include "os/Replace.h"
#include "places/Place.h"

#include <cerrno>
#include <vector>

namespace toolbox::files {

// Where an item is, and who it is if that is known.
struct ItemAt {
    const Place& place;
    const os::ItemIdentity* identity = nullptr;
    os::NameLasts nameLasts = os::NameLasts::kOnceGiven;  // of a companion that is made
};

class CompanionWriter {
  public:
    // The place stays open. It waits for another writer, but no more than some seconds: EBUSY then. Nothing
    // is held when there is no companion, or on failure. ESTALE when another item has the place. Errors of
    // what has its name are those of OpenNamed, but for ENOENT.
    [[nodiscard]] int Open(const ItemAt& inItem, int inAccess);

    bool Exists() const { return mCompanion.file.IsOpen(); }
    Companion& Get() { return mCompanion; }
    const Companion& Get() const { return mCompanion; }
    // As the function of that name; none where there is no companion.
    [[nodiscard]] int ReadParts(UInt32 inOtherThan, std::vector<AppleDoublePart>& outParts) const;

    // Once, and the last that is done: makes these the parts of the companion, which is replaced or made. A
    // new one has the access below. EEXIST when another made it meanwhile,
    // ENOENT when the item is there no more, ENAMETOOLONG for a name that has no room for the prefix, ENOSPC
    // when the format has no room for it all, kNotAllowed where the host allows none.
    [[nodiscard]] int Replace(const std::vector<AppleDoublePart>& inParts);
    // Whether these parts, all but the fork, are as long as those that are there, and those that tell of the
    // item lie in the first sector, so that what was there or all that is new is there at every moment. Of a
    // companion that has one name, since another name may be a copy that is to stay as it is.
    [[nodiscard]] bool CanWriteInPlace(const std::vector<AppleDoublePart>& inParts) const;
    // Those parts, of which only what tells of the item may be others; the companion is open for writing. On
    // failure all is as before, if the device lets it.
    [[nodiscard]] int WriteInPlace(const std::vector<AppleDoublePart>& inParts);
    [[nodiscard]] int Remove();

    // 0 while the item is there; ENOENT, or ESTALE when another has its place.
    [[nodiscard]] int CheckItem() const;
    [[nodiscard]] int CheckItem(os::ItemStatus& outStatus) const;

  private:
    const Place* mItem = nullptr;
    const os::ItemIdentity* mIdentity = nullptr;
    os::NameLasts mNameLasts = os::NameLasts::kOnceGiven;
    Companion mCompanion;
    bool mHasOneName = false;  // when it was locked
};

// Whose a companion is to be, and who may do what with it.
os::NewFileAccess AccessOfCompanion(const os::ItemStatus& inItem);

// How often a change is begun because others change the companion meanwhile, or because it is made in steps.
// Each time that is lost another made a change: so many that only those who never stop keep one out.
constexpr int kChangeRounds = 10'000;

// Changes an item's companion; begins anew where inChange answers EAGAIN, or where one that was to be made is
// there by now.
//   inChange  int(CompanionWriter&)
template <typename Change>
[[nodiscard]] int ChangeCompanion(const ItemAt& inItem, int inAccess, Change inChange) {
    for (int round = 0; round < kChangeRounds; ++round) {
        CompanionWriter writer;
        int error = writer.Open(inItem, inAccess);
        if (error == 0) error = inChange(writer);
        if (error != EAGAIN && (error != EEXIST || writer.Exists())) return error;
    }
    return EBUSY;
}

}  // namespace toolbox::files

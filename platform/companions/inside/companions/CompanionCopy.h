// What a file has beside its data, copied for a new one.
//
// Functions answer 0 or an errno, and may throw std::bad_alloc.
#pragma once

#include "companions/CompanionInfo.h"
#include "os/UnnamedFile.h"
#include "places/Place.h"

#include <string>

namespace toolbox::files {

// A file that is to get its name: where, and what is open already, with the permissions that it is to have.
struct FileToCome {
    const Place& place;
    int file;
};

// The companion of a file that is about to get its name. It is there whole before the file is: what is
// stopped in between leaves it without one, as an ordinary file. Until it stays it is locked as by one who
// writes it, so that no other call takes it for an orphan.
class CompanionCopy {
  public:
    CompanionCopy() = default;
    ~CompanionCopy();  // removes it, unless it is to stay; what has its name by then is left alone
    CompanionCopy(const CompanionCopy&) = delete;
    CompanionCopy& operator=(const CompanionCopy&) = delete;

    // Once; the new place stays open. All that the item's companion holds, but that the new item is not
    // locked. One that tells no date of creation gets this one, in seconds as CompanionInfo has them. It
    // belongs to who makes it; nobody but the owner may do with it what he may not do with the new file, and
    // with the item's companion.
    //
    // None is made that would tell nothing; nor for a date alone where the name is too long for it, or
    // something has its name that is no companion. EEXIST else when something has its name, ENAMETOOLONG when
    // it has no room.
    [[nodiscard]] int Make(const Place& inItem, const FileToCome& inNewItem, SInt32 inCreationSeconds);
    void Stay() noexcept { mFolder = -1; }

  private:
    int mFolder = -1;
    std::string mName;
    os::UnnamedFile mFile;
    os::ItemIdentity mIdentity;
};

}  // namespace toolbox::files

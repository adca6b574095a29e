// What a file has beside its data, copied for a new one.
//
// Functions answer 0 or an errno, and may throw std::bad_alloc.
#pragma once

#include "companions/CompanionInfo.h"
#include "places/Place.h"

#include <string>

namespace toolbox::files {

// The companion of an item that is about to get its name. It is there whole before the item is: what is
// stopped in between leaves it without an item, as an ordinary file.
class CompanionCopy {
  public:
    CompanionCopy() = default;
    ~CompanionCopy();  // removes it, unless it is to stay
    CompanionCopy(const CompanionCopy&) = delete;
    CompanionCopy& operator=(const CompanionCopy&) = delete;

    // Once; the new place stays open. All that the item's companion holds, but that the new item is not
    // locked, and was created then, in seconds as CompanionInfo has them. None is made where the item has
    // none and there is no such date. EEXIST when something else has its name.
    [[nodiscard]] int Make(const Place& inItem, const Place& inNewItem, SInt32 inCreationSeconds);
    void Stay() noexcept { mFolder = -1; }

  private:
    int mFolder = -1;
    std::string mName;
};

}  // namespace toolbox::files

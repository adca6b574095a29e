// Which items of a folder have nothing beside them and are who they were, as long as somebody goes through
// it: known without a look at each, by the names that were read and what the system tells of those that came
// since.
//
// Where the system does not tell of all names that come (catalogue/KnownNames.h), none is known to be so.
// Once all names are read, safe on any thread.
#pragma once

#include "KnownNames.h"

#include <string>
#include <string_view>

namespace toolbox::files {

class LoneItems {
  public:
    // Of so many companions more than this the items are looked at one by one.
    static constexpr std::size_t kMaxCompanions = 1 << 14;

    explicit LoneItems(KnownNames& ioKnown) : mHearing(ioKnown) {}

    // Once, before the first name is read. False where they will not be known. May throw std::bad_alloc.
    [[nodiscard]] bool Begin(const Place& inFolder) { return mHearing.Begin(inFolder); }
    // Each name that is read. May throw std::bad_alloc.
    void Add(std::string_view inDiskName);

    // Whether an item whose name was read has no companion at this moment, and nothing else has come to its
    // name since names were read: it is who it was then, or gone. False where that is not known, and of what
    // may be a companion itself.
    bool IsLone(const std::string& inDiskName) const noexcept;

  private:
    KnownNames::Hearing mHearing;
    NumberSet mCompanions;  // of the names that are companions'
    std::size_t mCompanionCount = 0;
};

}  // namespace toolbox::files

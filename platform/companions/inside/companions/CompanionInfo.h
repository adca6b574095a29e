// What a companion tells of its item beside the resource fork: Finder information, dates, the lock, the
// encoding hint.
//
// Functions answer 0 or an errno, and may throw std::bad_alloc, with nothing left open.
#pragma once

#include "places/Place.h"

#include <toolbox/MacTypes.h>

#include <array>
#include <cstdint>
#include <string>

namespace toolbox::files {

// What begins like this is the information of an item without a companion.
struct CompanionInfo {
    static constexpr SInt32 kNoDate = INT32_MIN;

    std::array<UInt8, 32> finderInfo = {};  // as on disk: 16 bytes of it, 16 of the extended one
    SInt32 creationSeconds = kNoDate;       // since the start of 2000
    SInt32 backupSeconds = kNoDate;
    bool isLocked = false;
    UInt32 encodingHint = 0;

    bool operator==(const CompanionInfo&) const = default;
};

struct CompanionSizes {
    UInt64 forkBytes = 0;       // of the resource fork
    UInt64 allocatedBytes = 0;  // of the companion on its volume
};

// Reads what has the name of a companion in an open folder, which may be AT_FDCWD. What is none tells
// nothing: outInfo and outSizes are as they begin.
[[nodiscard]] int ReadInfo(int inFolder, const std::string& inCompanionName, CompanionInfo& outInfo,
                           CompanionSizes& outSizes);

// Makes this the information in the item's companion, with all else that it holds. It is made when there is
// none and something differs from the default, and removed when nothing does and it holds nothing else.
// EBADMSG, ENODATA or EISDIR when what has its name is no companion, which stays as it is; ENAMETOOLONG for a
// name that has no room for the prefix; ENOSPC when the format has no room for it all, as beside Finder
// information that others made longer, which keeps its place in the file.
[[nodiscard]] int WriteInfo(const Place& inItem, const CompanionInfo& inInfo);

// Whether an item is locked: by its companion, or because nobody may change it. inStatus is what the system
// tells of it.
[[nodiscard]] int IsLocked(const Place& inItem, const os::ItemStatus& inStatus, bool& outIsLocked);

}  // namespace toolbox::files

// What a companion tells of its item beside the resource fork: Finder information, dates, the lock, the
// encoding hint.
//
// Functions answer 0 or an errno, and may throw std::bad_alloc, with nothing left open.
#pragma once

#include "os/Replace.h"
#include "places/Place.h"

#include <sys/stat.h>
#include <toolbox/MacTypes.h>

#include <array>
#include <cstdint>
#include <functional>
#include <optional>
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

// Parts of it, to be combined, each of which is set without the others.
using InfoParts = unsigned;
constexpr InfoParts kFinderPart = 1;    // the first 16 bytes
constexpr InfoParts kExtendedPart = 2;  // the other 16
constexpr InfoParts kCreationPart = 4;
constexpr InfoParts kBackupPart = 8;
constexpr InfoParts kLockPart = 16;
constexpr InfoParts kHintPart = 32;
constexpr InfoParts kAllInfoParts = 63;
void CopyParts(InfoParts inWhich, const CompanionInfo& inFrom, CompanionInfo& ioTo);
// Those that are alike in both.
InfoParts CommonParts(const CompanionInfo& inLeft, const CompanionInfo& inRight);

struct CompanionSizes {
    UInt64 forkBytes = 0;       // of the resource fork
    UInt64 allocatedBytes = 0;  // of the companion on its volume
};

// What would make or change a companion answers ENOPKG where the host allows none (toolbox/Companions.h).

// Reads what has the name of a companion in an open folder, which may be AT_FDCWD. What is none tells
// nothing: outInfo and outSizes are as they begin.
[[nodiscard]] int ReadInfo(int inFolder, const std::string& inCompanionName, CompanionInfo& outInfo,
                           CompanionSizes& outSizes);

// What is set in a companion without a resource fork is written in place, where its entries stay as long as
// they are and lie in the first 512 bytes: all at once, so that it is there whole or not at all, also after
// the machine has failed. Else the companion is replaced.
//
// Makes this the information in the item's companion, with all else that it holds. It is made when there is
// none and something differs from the default, and removed when nothing does and it holds nothing else.
// EBADMSG, ENODATA or EISDIR when what has its name is no companion, which stays as it is; ENAMETOOLONG for a
// name that has no room for the prefix; ENOSPC when the format has no room for it all, as beside Finder
// information that others made longer, which keeps its place in the file.
[[nodiscard]] int WriteInfo(const Place& inItem, const CompanionInfo& inInfo);

// The same, of what the companion tells by then: while inChange is called nobody else writes the companion,
// so that two who set different parts lose nothing of each other's. It may be called several times, each
// time with what is there. ENOENT or ESTALE, too, when the item is there no more; EBUSY when others write for
// too long.
//   inNameLasts  that of a companion that is made
[[nodiscard]] int ChangeInfo(const Place& inItem, const os::ItemIdentity& inIdentity,
                             const std::function<void(CompanionInfo&)>& inChange,
                             os::NameLasts inNameLasts = os::NameLasts::kOnceGiven);

// What may be done with a companion by the mode of its item: those who may not read or write the one may not
// read or write the other, but for the owner, who always may. A link's, which all may read, tells nothing.
constexpr mode_t kCompanionPermissions = 0666;
constexpr mode_t ModeOfCompanion(mode_t inItemMode) {
    return (inItemMode & kCompanionPermissions) | 0600;
}
// Gives the item's companion, if it has one, these of kCompanionPermissions.
//   outBefore  those that it had; as it was where there is none, or on failure; may be null
// ENOENT or ESTALE when the item is there no more, EPERM for another user's companion, EBUSY as above. One
// that may not be looked at is left alone.
[[nodiscard]] int SetCompanionMode(const Place& inItem, const os::ItemIdentity& inIdentity, mode_t inMode,
                                   std::optional<mode_t>* outBefore = nullptr);

// Whether an item is locked: by its companion, or because nobody may change it. inStatus is what the system
// tells of it.
[[nodiscard]] int IsLocked(const Place& inItem, const os::ItemStatus& inStatus, bool& outIsLocked);

}  // namespace toolbox::files

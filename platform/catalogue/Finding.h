// What all that finds items goes by. Functions may throw std::bad_alloc.
#pragma once

#include "catalogue/Catalogue.h"

#include <string>
#include <string_view>

namespace toolbox::files {

// How often finding starts again because names changed while it was under way.
constexpr int kFindingRounds = 3;

// Whether an errno says that nothing is there.
bool IsMissing(int inErrno);

// The path without its last name, of an absolute one.
std::string FolderPathOf(const std::string& inPath);
std::string_view NameInPath(std::string_view inPath);

// What the table is told of an item that is met by a name.
PathStep StepOf(const os::ItemStatus& inStatus, bool inIsVolumeRoot, std::string_view inName);

// Opens a folder that was met where it was met, itself: so the one look finds it that is needed once it is
// open. False, with nothing open, where it is not there or cannot be opened: then it is to be found in the
// ordinary way, which also tells why.
[[nodiscard]] bool OpenKnownFolder(const os::ItemIdentity& inFolder, FoundItem& outFolder, Place& outPlace);
// The same of a reference; false also where that is to no folder.
[[nodiscard]] bool OpenKnownFolder(const FSRef& inRef, FoundItem& outFolder, Place& outPlace);

// Where the item of a reference was met by the name that it means: who it is on disk, its folder, and the
// name there. False where that is not remembered, and of a volume's root.
struct RememberedPlace {
    os::ItemIdentity item;
    os::ItemIdentity folder;
    std::string name;
};
bool GetRememberedPlace(const FSRef& inRef, RememberedPlace& outPlace);

}  // namespace toolbox::files

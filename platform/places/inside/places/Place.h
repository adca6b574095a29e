// Where an item is or may be: an open folder, and a name in it.
//
// What is done at a place is done in that folder, whatever is renamed around it meanwhile, and to what has
// the name itself: no link is followed. A folder is held open for the time of one call of a program only,
// since an open one keeps its volume busy. Functions answer 0 or an errno, and may throw std::bad_alloc.
#pragma once

#include "os/Descriptor.h"
#include "os/Folders.h"
#include "os/ItemStatus.h"

#include <cerrno>
#include <string>

namespace toolbox::files {

struct Place {
    os::Descriptor folder;        // open as a place only: nothing can be read of it
    os::ItemStatus folderStatus;  // when it was opened: its node, and its volume
    std::string name;             // as on disk, without a slash
};

// The place without a name, and the place of the item at a path, which need not be there. Links on the way to
// the folder are followed. ENOTDIR when it is no folder. outPlace is unspecified on failure.
[[nodiscard]] int OpenFolder(const std::string& inPath, Place& outPlace);
[[nodiscard]] int OpenPlaceOf(const std::string& inItemPath, Place& outPlace);

// The folder that has the name in another, itself; a link is none (ENOTDIR).
[[nodiscard]] int OpenFolderAt(int inFolder, const char* inName, Place& outPlace);
[[nodiscard]] inline int OpenFolderAt(const Place& inPlace, Place& outPlace) {
    return OpenFolderAt(inPlace.folder.Number(), inPlace.name.c_str(), outPlace);
}

// Of what has the name.
[[nodiscard]] int GetStatus(const Place& inPlace, os::ItemStatus& outStatus);
[[nodiscard]] int OpenFileAt(const Place& inPlace, int inFlags, os::Descriptor& outFile);

// Whether what has the name, as a status tells, is the topmost folder of another volume than the folder's.
bool IsVolumeRoot(const Place& inPlace, const os::ItemStatus& inStatus);

// The one walk over a folder: gives the place each name that is in it, one after the other, until inIsWanted
// answers 0; ENOENT means that it goes on, and any other errno ends it. ENOENT when none is wanted.
//   inIsWanted  int(const struct dirent&), called with the name set
template <typename IsWanted>
[[nodiscard]] int FindName(Place& ioPlace, IsWanted inIsWanted) {
    os::FolderReader folder;
    int error = folder.Open(ioPlace.folder.Number(), ".");
    if (error != 0) return error;
    for (;;) {
        const struct dirent* entry = nullptr;
        error = folder.Next(entry);
        if (entry == nullptr) return error == 0 ? ENOENT : error;
        ioPlace.name = entry->d_name;
        error = inIsWanted(*entry);
        if (error != ENOENT) return error;
    }
}

}  // namespace toolbox::files

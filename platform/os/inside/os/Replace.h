// Files written whole: replaced by new ones, or overwritten. Functions answer 0 or an errno.
#pragma once

#include "os/Descriptor.h"
#include "os/ItemStatus.h"

#include <sys/types.h>
#include <toolbox/MacTypes.h>

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace toolbox::os {

// Makes inBytes the contents of the file of that name in an open folder, which need not exist: whoever opens
// it sees the old contents or the new, also after the machine has failed on the way, and it is the new ones
// once this has answered 0. All is done in that folder, wherever it is by now. An existing file's permissions
// stay. On failure the old contents stay, and nothing is left behind. A link is refused with ELOOP.
[[nodiscard]] int ReplaceFile(int inFolder, const std::string& inName, const std::vector<UInt8>& inBytes);
// The same for the file at inPath, or where links lead from there; ELOOP for one that leads to nothing.
[[nodiscard]] int ReplaceFile(const std::string& inPath, const std::vector<UInt8>& inBytes);

// Whose a new file is, and who may do what with it.
struct NewFileAccess {
    struct Owner {
        uid_t user = 0;
        gid_t group = 0;
    };
    std::optional<Owner> owner;  // none: who makes it, as it also is where it cannot be given away
    std::optional<mode_t> mode;  // permissions; none: those that the process gives to new files
};

// As the first, of a file that is there, with other permissions.
//   outFile  the new file, as that of MakeFile
[[nodiscard]] int ReplaceFile(int inFolder, const std::string& inName, const std::vector<UInt8>& inBytes,
                              mode_t inMode, Descriptor& outFile);

// Makes a file of these contents under a name that nothing has in an open folder: it is there whole or not at
// all, also after the machine has failed, and once the folder is synced it stays there. Whom the access keeps
// out never could open it. EEXIST when the name is taken.
//   outFile  the new file, open for writing; where files can be locked, locked (flock) since before it had
//            the name
[[nodiscard]] int MakeFile(int inFolder, const std::string& inName, const std::vector<UInt8>& inBytes,
                           const NewFileAccess& inAccess, Descriptor& outFile);

// So that the names in an open folder outlast a failure of the machine.
void SyncFolder(int inFolder);
// When a new name is to do so: once it is given, or when the system comes to write it, as it does with the
// names of items that are just made.
enum class NameLasts { kOnceGiven, kOnceWritten };

// A copy of an open file, in the same way, but synced and closed, with its owner and its permissions.
[[nodiscard]] int CopyToNew(int inDescriptor, int inFolder, const std::string& inName);

// A new file in an open folder, open for writing, under a name that nobody reads: it is to be renamed or
// removed.
[[nodiscard]] int MakeTemporaryFile(int inFolder, mode_t inMode, std::string& outName, Descriptor& outFile);

// Removes the file of that name from an open folder. Once this has answered 0 it stays away, also after the
// machine has failed.
[[nodiscard]] int RemoveFile(int inFolder, const std::string& inName);

// The first bytes of contents that tell where the others lie, so that these can lie elsewhere for a while.
struct MovableHead {
    // Few, so that the system writes them at once; 0: nothing can be moved.
    static constexpr std::size_t kMaxBytes = 64;
    std::size_t byteCount = 0;
    // Makes them tell of the others inDistanceBytes further on.
    void (*move)(UInt8* ioHead, UInt32 inDistanceBytes) = nullptr;
};

// Makes inBytes the contents of the file open for reading and writing as inDescriptor, which stays the same
// file for all who have a reference or link to it. Open for writing alone will do where the file system can
// take room by itself; else that is done by reading and writing, and fails. Nothing has changed when there is
// no room, or when somebody else is overwriting it (EBUSY). With a head the file holds the old contents or
// the new at every moment, also after the machine has failed on the way; for that time it is longer by both,
// and it may stay so, with the head moved. Without one, or beyond 4 GiB, contents are neither the old nor the
// new when the device fails on the way.
[[nodiscard]] int OverwriteFile(int inDescriptor, const std::vector<UInt8>& inBytes,
                                const MovableHead& inHead = {});

}  // namespace toolbox::os

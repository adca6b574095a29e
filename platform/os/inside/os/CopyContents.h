// Contents of files copied by the system, as cheaply as the file system has it. Functions answer 0 or an
// errno.
#pragma once

#include <sys/types.h>

namespace toolbox::os {

// Makes all that an open file holds the contents of another one, which is open for writing and empty: both
// share it where the file system can have that; else it is copied within the kernel, else by reading and
// writing. Holes stay holes, where the file system tells of them. What is cut off meanwhile is not copied.
[[nodiscard]] int CopyContents(int inFrom, int inTo);

// Gives a file, which may be written by its permissions, the user's own attributes of another one, as far as
// its file system has such. ENOSPC also when it has no room for one, which some have for a few kilobytes
// alone.
[[nodiscard]] int CopyAttributes(int inFrom, int inTo);

// Gives a file these permissions, and the access list of another one, if that has one; what it got from its
// folder goes. Where its file system has no lists, but the other file has one, it is its owner's alone.
// ENOSPC also for a list that is too long.
[[nodiscard]] int CopyAccess(int inFrom, int inTo, mode_t inMode);

}  // namespace toolbox::os

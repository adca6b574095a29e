// Contents of files copied by the system, as cheaply as the file system has it. Functions answer 0 or an
// errno.
#pragma once

namespace toolbox::os {

// Makes all that an open file holds the contents of another one, which is open for writing and empty: both
// share it where the file system can have that; else it is copied within the kernel, else by reading and
// writing. Holes stay holes, where the file system tells of them. What is cut off meanwhile is not copied.
[[nodiscard]] int CopyContents(int inFrom, int inTo);

// Gives a file the user's own attributes and the access list of another one, as far as its file system has
// such.
[[nodiscard]] int CopyAttributes(int inFrom, int inTo);

}  // namespace toolbox::os

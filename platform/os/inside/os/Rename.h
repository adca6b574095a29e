// Names changed in one step, by which nobody's place is taken.
#pragma once

namespace toolbox::os {

// Gives what has a name in an open folder another one, there or in another open folder: in one step, and
// never in the place of what has that name already. Answers 0 or an errno, with nothing changed: EEXIST when
// the name is taken, EXDEV for a folder that is mounted elsewhere, EINVAL when a folder would come to lie
// within itself, or for a name that the file system cannot have.
//
// A file system may not know how to rename so. What is no folder then has both names for a moment, and keeps
// both after the machine has failed. A folder, and without hard links a file, replaces something empty that
// is made under the name first, and stays there after the machine has failed; what another program puts in
// its place at that moment, by a rename that replaces, is replaced in turn.
[[nodiscard]] int RenameToNew(int inFolder, const char* inName, int inNewFolder, const char* inNewName);

// The same where the file system takes no notice of case, and finds the item by the new name already: then
// nothing else can have that, and nothing is replaced.
[[nodiscard]] int RenameToOtherCase(int inFolder, const char* inName, const char* inNewName);

// What a call answered that was to make an item in an open folder: EINVAL for a name that the file system
// cannot have, also where that says ENOENT.
[[nodiscard]] int ErrorOfNewName(int inFolder, int inError);

// Gives each of two items, which have names in open folders and do not lie within each other, the name of the
// other. Answers 0 or an errno, with nothing changed: ENOTSUP where the file system cannot do it in one step.
[[nodiscard]] int ExchangeNames(int inFolder1, const char* inName1, int inFolder2, const char* inName2);

}  // namespace toolbox::os

// Files written whole: replaced by new ones, or overwritten.
#pragma once

#include <toolbox/MacTypes.h>

#include <string>
#include <vector>

namespace toolbox::files {

// Makes inBytes the contents of the file at inPath, which need not exist: whoever opens it sees the old
// contents or the new, also after the machine has failed on the way. An existing file's permissions stay. On
// failure the old contents stay, and nothing is left behind.
OSStatus ReplaceFile(const std::string& inPath, const std::vector<UInt8>& inBytes);

// Makes inBytes the contents of the file open for writing as inDescriptor, which stays the same file for all
// who have a reference or link to it. Nothing has changed when there is no room for them; when the device
// fails on the way, the contents are neither the old nor the new.
OSStatus OverwriteFile(int inDescriptor, const std::vector<UInt8>& inBytes);

}  // namespace toolbox::files

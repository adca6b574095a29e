// A companion as the file that it is.
#pragma once

#include "formats/AppleDouble.h"
#include "os/FileRange.h"

#include <string>
#include <vector>

namespace toolbox::files {

struct Companion {
    os::FileRange file;
    std::vector<AppleDoubleEntry> entries;
};

// 0 or an errno; ENOENT when nothing has the name or can have it, EISDIR when what has it is no file, EBADMSG
// or ENODATA when it is no AppleDouble file.
[[nodiscard]] int OpenNamed(int inFolder, const std::string& inName, Companion& outCompanion);

}  // namespace toolbox::files

// A file that is made whole before it gets its name. Functions answer 0 or an errno, and may throw
// std::bad_alloc.
#pragma once

#include "os/Descriptor.h"

#include <string>

namespace toolbox::os {

// Until it has its name nobody sees it, and nothing of it is left. Where the file system has no files without
// names, it has one that begins with "._.new-" for that time, which a process that is killed leaves behind.
class UnnamedFile {
  public:
    UnnamedFile() = default;
    ~UnnamedFile();
    UnnamedFile(const UnnamedFile&) = delete;
    UnnamedFile& operator=(const UnnamedFile&) = delete;

    // Once, in an open folder, which stays open. It is empty, open for writing, and its owner's alone.
    [[nodiscard]] int Make(int inFolder);
    int Number() const { return mFile.Number(); }
    // Once. EEXIST when the name is taken.
    [[nodiscard]] int GiveName(const std::string& inName);

  private:
    Descriptor mFile;
    int mFolder = -1;
    std::string mTemporaryName;  // empty: it has none
};

}  // namespace toolbox::os

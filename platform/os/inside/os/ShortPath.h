// Paths that are longer than the system takes, as those of deep folders are.
#pragma once

#include "os/Descriptor.h"

namespace toolbox::os {

// A path as the system takes it: from a folder on its way, shorter than PATH_MAX. A shorter one is as it was,
// and costs no call; any other costs two for about every 4,000 bytes, and one descriptor while this lives.
class ShortPath {
  public:
    // Of what inPath names from inFolder, which may be AT_FDCWD; both are used as long as this is. Links on
    // the way are followed. 0 or an errno; ENAMETOOLONG where a name is too long.
    [[nodiscard]] int Set(int inFolder, const char* inPath);

    int Folder() const { return mHeld.IsOpen() ? mHeld.Number() : mFolder; }
    const char* Path() const { return mPath; }

  private:
    [[nodiscard]] int GoOn();

    Descriptor mHeld;
    int mFolder = AT_FDCWD;
    const char* mPath = "";
};

}  // namespace toolbox::os

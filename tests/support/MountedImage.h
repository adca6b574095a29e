// A file system of a test's own, in a file that is mounted.
#pragma once

#include "support/TemporaryFolder.h"

#include <sys/types.h>

#include <string>
#include <vector>

namespace support {

// Empty, and mounted for this process and those that it starts; by a driver in a process of its own where the
// kernel has none.
class MountedImage {
  public:
    // What it cannot be, this machine being as it is, WhyNot tells.
    //   inType        "ext4", "xfs", "btrfs", "exfat" or "squashfs", which has a file "file" in it
    //   inIsReadOnly  its device can only be read
    explicit MountedImage(const std::string& inType, bool inIsReadOnly = false);
    ~MountedImage();
    MountedImage(const MountedImage&) = delete;
    MountedImage& operator=(const MountedImage&) = delete;

    const std::string& WhyNot() const { return mWhyNot; }
    const std::string& Path() const { return mPath; }

  private:
    void Format(const std::string& inType);
    void Mount(const std::string& inType, bool inIsReadOnly);
    void Run(const std::vector<std::string>& inCommand);
    void StartGuard();
    void EndGuard();

    test_files::TemporaryFolder mFolder;
    std::string mImage = mFolder / "image";
    std::string mPath = mFolder.MakeFolder("mounted");
    std::string mWhyNot;
    bool mIsMounted = false;
    pid_t mGuard = 0;
    int mGuarded = -1;
};

}  // namespace support

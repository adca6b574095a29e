// Volumes in memory, the items on them, and where they are mounted.
#pragma once

#include <sys/types.h>
#include <time.h>

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

struct statx;

namespace support {

struct MemoryMount;
struct MemoryNode;
struct MemoryVolume;
using MemoryNodePtr = std::shared_ptr<MemoryNode>;

// An item, and the mount by which it was reached.
struct MemoryLocation {
    MemoryMount* mount = nullptr;
    MemoryNodePtr node;  // null: there is none
};

struct MemoryNode : std::enable_shared_from_this<MemoryNode> {
    struct Name {
        MemoryNode* folder;
        std::string text;
    };

    MemoryVolume* volume = nullptr;
    std::uint64_t inode = 0;
    mode_t mode = 0;  // kind and permissions
    uid_t owner = 0;
    gid_t group = 0;
    timespec birth = {};
    timespec accessed = {};
    timespec changed = {};  // its contents
    timespec statusChanged = {};
    std::string bytes;  // of a file; where a link leads
    std::map<std::string, MemoryNodePtr, std::less<>> items;
    std::vector<Name> names;               // of a folder one at most; a volume's root has none
    MemoryNodePtr formerFolder;            // of a folder that was removed, from which ".." still leads there
    MemoryLocation opened;                 // of the kernel's links to what is open, whatever its name
    std::function<std::string()> toBytes;  // of the kernel's files, which are written when they are opened

    bool IsFolder() const;
    bool IsFile() const;
    bool IsLink() const;
    bool IsRemoved() const;
    MemoryNode* Folder() const { return names.empty() ? formerFolder.get() : names[0].folder; }
};

struct MemoryVolume {
    unsigned deviceMajor = 0;
    unsigned deviceMinor = 0;
    std::uint64_t capacityBytes = 1 << 30;  // 0: made up by the kernel
    std::string type;
    MemoryNodePtr root;

    // Of all that has a name on it.
    std::uint64_t FreeByteCount() const;
};

struct MemoryMount {
    std::uint64_t id = 0;
    MemoryNodePtr root;  // the volume's, or any folder on it
    MemoryLocation point;
    bool isReadOnly = false;
};

class MemoryVolumes {
  public:
    // The first volume is mounted as "/", and is the one that this tells of.
    explicit MemoryVolumes(const struct statx& inRoot);

    MemoryLocation Root() const { return {mMounts[0].get(), mMounts[0]->root}; }
    MemoryVolume& NewVolume(std::string_view inType, std::uint64_t inCapacityBytes);
    // A new item without a name, which the user of this process owns.
    MemoryNodePtr NewNode(MemoryVolume& ioVolume, mode_t inMode) const;

    // Mounts a folder upon another, which is hidden by it until it is unmounted.
    void Mount(const MemoryNodePtr& inRoot, const MemoryLocation& inPoint);
    void Unmount(MemoryMount& ioMount);
    bool IsMountPoint(const MemoryNode& inItem) const;
    // Whether anything is mounted upon what is reached by a mount.
    bool IsMountedOn(const MemoryMount& inMount) const;
    // The table of mounts as the kernel writes it.
    std::string MountTable() const;

    // What is mounted uppermost upon a folder, or itself.
    MemoryLocation Top(MemoryLocation inFolder) const;
    // The folder above, or the root itself.
    MemoryLocation Above(MemoryLocation inFolder) const;
    // False where it has none any more. Of an item with several names the first.
    bool GetPath(const MemoryLocation& inItem, std::string& outPath) const;

    static void Touch(MemoryNode& ioItem);
    static void TouchStatus(MemoryNode& ioItem);

  private:
    std::vector<std::unique_ptr<MemoryVolume>> mVolumes;
    std::vector<std::unique_ptr<MemoryMount>> mMounts;
    mode_t mMask = 0;
};

}  // namespace support

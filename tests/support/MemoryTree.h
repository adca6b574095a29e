// Folders, files and links in memory, found by path as the system finds them.
#pragma once

#include <sys/types.h>
#include <time.h>

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <string_view>

namespace support {

struct MemoryNode {
    std::uint64_t inode = 0;
    mode_t mode = 0;  // kind and permissions
    uid_t owner = 0;
    gid_t group = 0;
    timespec birth = {};
    timespec changed = {};  // its contents
    std::string bytes;      // of a file; where a link leads
    std::map<std::string, std::shared_ptr<MemoryNode>, std::less<>> items;
    MemoryNode* folder = nullptr;  // the root's is itself; null: it has no name any more

    bool IsFolder() const;
    bool IsFile() const;
    bool IsLink() const;
};
using MemoryNodePtr = std::shared_ptr<MemoryNode>;

class MemoryTree {
  public:
    MemoryTree();

    const MemoryNodePtr& Root() const { return mRoot; }

    // Where a path leads. Only the last name may be missing: item is null then.
    struct Place {
        MemoryNodePtr
            folder;        // that the last name is in; the item itself where the path has none, such as "/"
        std::string name;  // empty where the path ends with no name, or with "." or ".."
        MemoryNodePtr item;
        bool mustBeFolder = false;  // a slash behind the name
    };
    // 0 or an errno. inFrom is where a relative path begins.
    int Find(const MemoryNodePtr& inFrom, std::string_view inPath, bool inFollowsLast, Place& outPlace) const;
    // Find's, of an item that is there. ENOENT otherwise.
    int FindItem(const MemoryNodePtr& inFrom, std::string_view inPath, bool inFollowsLast,
                 MemoryNodePtr& outItem) const;

    // The new item, which the user of this process owns. May be at any place; the caller has looked.
    MemoryNodePtr Add(const Place& inPlace, mode_t inMode);
    void Remove(const Place& inPlace);
    // An item that has no name gets that one, which no other has.
    void Put(const Place& inPlace, const MemoryNodePtr& inItem);
    // Of all that has a name.
    std::uint64_t ByteCount() const;

    // Of an item that has a name.
    std::string PathOf(const MemoryNode& inItem) const;

    // Whether the user of this process has all of R_OK, W_OK and X_OK that inAccess asks for.
    static bool MayAccess(const MemoryNode& inItem, int inAccess);
    static void Touch(MemoryNode& ioItem);

  private:
    static std::string NameIn(const MemoryNode& inItem);
    int Step(std::string_view inName, int& ioLinkCount, bool inIsLast, bool inFollowsLast,
             Place& ioPlace) const;
    int Walk(const MemoryNodePtr& inFrom, std::string_view inPath, bool inFollowsLast, int& ioLinkCount,
             Place& outPlace) const;

    std::uint64_t mNextInode = 2;
    mode_t mMask = 0;
    MemoryNodePtr mRoot;
};

}  // namespace support

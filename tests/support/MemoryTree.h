// Items in memory, found by path as the system finds them, and their names.
#pragma once

#include "support/MemoryVolumes.h"

#include <string>
#include <string_view>

namespace support {

class MemoryTree : public MemoryVolumes {
  public:
    using MemoryVolumes::MemoryVolumes;

    // What becomes of a path's last name.
    enum class Last {
        kFollowed,  // where it is a link
        kItself,    // but followed where a slash is behind it
        kEntry      // never followed: names are given and taken away
    };
    // Where a path leads. Only the last name may be missing.
    struct Place {
        MemoryLocation folder;  // that the last name is in; the item itself where the path has none
        std::string name;       // empty where the path ends with no name, or with "." or ".."
        MemoryLocation item;    // what is mounted there, if anything is
        bool hasSlash = false;  // behind the name
        // What has the name, also where something is mounted upon it; null where it has none.
        const MemoryNode* Named() const;
    };
    // 0 or an errno. inFrom is where a relative path begins.
    int Find(const MemoryLocation& inFrom, std::string_view inPath, Last inLast, Place& outPlace) const;
    // As the C library finds it, name by name: the kernel's links lead to what they read.
    int FindByText(const MemoryLocation& inFrom, std::string_view inPath, Place& outPlace) const;

    // A new item with that name, which no other has. The caller has looked at all the rest.
    MemoryNodePtr Add(const Place& inPlace, mode_t inMode);
    // Gives an item a name, and takes a name away.
    static void Link(const Place& inPlace, const MemoryNodePtr& inItem);
    static void Unlink(const Place& inPlace);

    // What a link leads to, as text.
    std::string TextOf(const MemoryNode& inLink) const;

    struct User {
        uid_t user;
        gid_t group;
    };
    // Whether a user of this process has all of R_OK, W_OK and X_OK that inAccess asks for; without one, the
    // effective user.
    static bool MayAccess(const MemoryNode& inItem, int inAccess);
    static bool MayAccess(const MemoryNode& inItem, int inAccess, const User& inUser);

  private:
    struct Way {
        bool isByText = false;
        int linkCount = 0;
    };
    int Step(std::string_view inName, bool inIsFollowed, Way& ioWay, Place& ioPlace) const;
    int FollowLink(Way& ioWay, Place& ioPlace) const;
    int Walk(const MemoryLocation& inFrom, std::string_view inPath, Last inLast, Way& ioWay,
             Place& outPlace) const;
};

}  // namespace support

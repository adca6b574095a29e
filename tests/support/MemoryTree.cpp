#include "support/MemoryTree.h"

#include <limits.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>

namespace support {

namespace {

constexpr int kMaxLinks = 40;  // as in Linux

bool IsInGroup(gid_t inGroup, gid_t inUsersGroup) {
    std::vector<gid_t> groups(static_cast<std::size_t>(std::max(getgroups(0, nullptr), 0)));
    if (!groups.empty() && getgroups(static_cast<int>(groups.size()), groups.data()) < 0) groups.clear();
    return inGroup == inUsersGroup || std::find(groups.begin(), groups.end(), inGroup) != groups.end();
}

}  // namespace

const MemoryNode* MemoryTree::Place::Named() const {
    if (name.empty()) return nullptr;
    const auto found = folder.node->items.find(name);
    return found == folder.node->items.end() ? nullptr : found->second.get();
}

// From the link that ioPlace.item is.
int MemoryTree::FollowLink(Way& ioWay, Place& ioPlace) const {
    if (++ioWay.linkCount > kMaxLinks) return ELOOP;
    const MemoryNodePtr link = ioPlace.item.node;
    if (link->opened.node == nullptr || ioWay.isByText) {
        const MemoryLocation folder = ioPlace.folder;
        return Walk(folder, TextOf(*link), Last::kFollowed, ioWay, ioPlace);
    }
    ioPlace.folder = ioPlace.item = link->opened;
    ioPlace.name.clear();
    return 0;
}

// From the folder that ioPlace.item is, to the item of that name.
int MemoryTree::Step(std::string_view inName, bool inIsFollowed, Way& ioWay, Place& ioPlace) const {
    if (ioPlace.item.node == nullptr) return ENOENT;
    if (!ioPlace.item.node->IsFolder()) return ENOTDIR;
    if (!MayAccess(*ioPlace.item.node, X_OK)) return EACCES;
    if (inName.size() > NAME_MAX) return ENAMETOOLONG;
    ioPlace.folder = ioPlace.item;
    ioPlace.name.clear();
    if (inName == ".") return 0;
    if (inName == "..") {
        ioPlace.folder = ioPlace.item = Above(ioPlace.item);
        return 0;
    }
    MemoryNode& folder = *ioPlace.folder.node;
    if (folder.IsRemoved()) return ENOENT;  // nothing comes into it any more
    const auto found = folder.items.find(inName);
    ioPlace.item.node = found == folder.items.end() ? nullptr : found->second;
    ioPlace.item = Top(ioPlace.item);
    ioPlace.name = inName;
    const bool isLink = ioPlace.item.node != nullptr && ioPlace.item.node->IsLink();
    return isLink && inIsFollowed ? FollowLink(ioWay, ioPlace) : 0;
}

int MemoryTree::Walk(const MemoryLocation& inFrom, std::string_view inPath, Last inLast, Way& ioWay,
                     Place& outPlace) const {
    if (inPath.empty()) return ENOENT;
    if (inPath.size() >= PATH_MAX && !ioWay.isByText) return ENAMETOOLONG;
    const std::string path(inPath);  // of a link that may be replaced
    outPlace = Place();
    outPlace.folder = outPlace.item = path[0] == '/' ? Root() : inFrom;
    const std::size_t end = path.find_last_not_of('/') + 1;
    const bool hasSlash = end < path.size();
    const bool isLastFollowed = inLast == Last::kFollowed || (inLast == Last::kItself && hasSlash);
    for (std::size_t start = path.find_first_not_of('/'); start < end;) {
        const std::size_t nameEnd = std::min(path.find('/', start), end);
        const bool isLast = nameEnd == end;
        const int error = Step(std::string_view(path).substr(start, nameEnd - start),
                               !isLast || isLastFollowed, ioWay, outPlace);
        if (error != 0) return error;
        start = isLast ? end : path.find_first_not_of('/', nameEnd);
    }
    outPlace.hasSlash = outPlace.hasSlash || hasSlash;
    const bool mustBeFolder = outPlace.hasSlash && inLast != Last::kEntry;
    return mustBeFolder && outPlace.item.node != nullptr && !outPlace.item.node->IsFolder() ? ENOTDIR : 0;
}

int MemoryTree::Find(const MemoryLocation& inFrom, std::string_view inPath, Last inLast,
                     Place& outPlace) const {
    Way way;
    return Walk(inFrom, inPath, inLast, way, outPlace);
}

int MemoryTree::FindByText(const MemoryLocation& inFrom, std::string_view inPath, Place& outPlace) const {
    Way way = {true};
    return Walk(inFrom, inPath, Last::kFollowed, way, outPlace);
}

MemoryNodePtr MemoryTree::Add(const Place& inPlace, mode_t inMode) {
    MemoryNodePtr item = NewNode(*inPlace.folder.node->volume, inMode);
    Link(inPlace, item);
    item->statusChanged = item->birth;
    return item;
}

void MemoryTree::Link(const Place& inPlace, const MemoryNodePtr& inItem) {
    MemoryNode& folder = *inPlace.folder.node;
    folder.items[inPlace.name] = inItem;
    inItem->names.push_back({&folder, inPlace.name});
    inItem->formerFolder = nullptr;
    Touch(folder);
    TouchStatus(*inItem);
}

void MemoryTree::Unlink(const Place& inPlace) {
    MemoryNode& folder = *inPlace.folder.node;
    const auto found = folder.items.find(inPlace.name);
    const MemoryNodePtr item = found->second;
    folder.items.erase(found);
    std::erase_if(item->names, [&](const MemoryNode::Name& inName) {
        return inName.folder == &folder && inName.text == inPlace.name;
    });
    if (item->IsFolder()) item->formerFolder = inPlace.folder.node;
    Touch(folder);
    TouchStatus(*item);
}

std::string MemoryTree::TextOf(const MemoryNode& inLink) const {
    if (inLink.opened.node == nullptr) return inLink.bytes;
    std::string path;
    if (GetPath(inLink.opened, path)) return path;
    return inLink.bytes + " (deleted)";
}

bool MemoryTree::MayAccess(const MemoryNode& inItem, int inAccess) {
    return MayAccess(inItem, inAccess, {geteuid(), getegid()});
}

bool MemoryTree::MayAccess(const MemoryNode& inItem, int inAccess, const User& inUser) {
    if (inUser.user == 0) return (inAccess & X_OK) == 0 || inItem.IsFolder() || (inItem.mode & 0111) != 0;
    const int shift = inUser.user == inItem.owner ? 6 : IsInGroup(inItem.group, inUser.group) ? 3 : 0;
    return (inAccess & ~static_cast<int>(inItem.mode >> shift & 07)) == 0;
}

}  // namespace support

#include "support/MemoryTree.h"

#include <limits.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>

namespace support {

namespace {

constexpr int kMaxLinks = 40;  // as in Linux

std::uint64_t ByteCountOf(const MemoryNode& inItem) {
    std::uint64_t count = inItem.bytes.size();
    for (const auto& entry : inItem.items)
        count += ByteCountOf(*entry.second);
    return count;
}

}  // namespace

bool MemoryNode::IsFolder() const {
    return S_ISDIR(mode);
}
bool MemoryNode::IsFile() const {
    return S_ISREG(mode);
}
bool MemoryNode::IsLink() const {
    return S_ISLNK(mode);
}

MemoryTree::MemoryTree() : mMask(umask(0)) {
    umask(mMask);
    mRoot = Add({}, S_IFDIR | 0777);
    mRoot->folder = mRoot.get();
}

// From the folder that ioPlace.item is, to the item of that name.
int MemoryTree::Step(std::string_view inName, int& ioLinkCount, bool inIsLast, bool inFollowsLast,
                     Place& ioPlace) const {
    if (ioPlace.item == nullptr) return ENOENT;
    if (!ioPlace.item->IsFolder()) return ENOTDIR;
    if (!MayAccess(*ioPlace.item, X_OK)) return EACCES;
    if (inName.size() > NAME_MAX) return ENAMETOOLONG;
    ioPlace.folder = ioPlace.item;
    ioPlace.name.clear();
    if (inName == ".") return 0;
    if (inName == "..") {
        MemoryNode* const folder = ioPlace.folder->folder;
        if (folder == nullptr) return ENOENT;
        const bool isRoot = folder == mRoot.get();
        ioPlace.item = isRoot ? mRoot : folder->folder->items.find(NameIn(*folder))->second;
        return 0;
    }
    if (ioPlace.folder->folder == nullptr) return ENOENT;  // nothing comes into a folder that was removed
    const auto found = ioPlace.folder->items.find(inName);
    ioPlace.item = found == ioPlace.folder->items.end() ? nullptr : found->second;
    ioPlace.name = inName;
    const bool isFollowed = ioPlace.item != nullptr && ioPlace.item->IsLink() && (!inIsLast || inFollowsLast);
    if (!isFollowed) return 0;
    if (++ioLinkCount > kMaxLinks) return ELOOP;
    const MemoryNodePtr link = ioPlace.item;
    const MemoryNodePtr folder = ioPlace.folder;
    return Walk(folder, link->bytes, true, ioLinkCount, ioPlace);
}

int MemoryTree::Walk(const MemoryNodePtr& inFrom, std::string_view inPath, bool inFollowsLast,
                     int& ioLinkCount, Place& outPlace) const {
    if (inPath.empty()) return ENOENT;
    if (inPath.size() >= PATH_MAX) return ENAMETOOLONG;
    const std::string path(inPath);  // of a link that may be replaced
    outPlace = Place();
    outPlace.item = path[0] == '/' ? mRoot : inFrom;
    outPlace.folder = outPlace.item;
    const std::size_t end = path.find_last_not_of('/') + 1;
    const bool hasSlash = end < path.size();
    for (std::size_t start = path.find_first_not_of('/'); start < end;) {
        const std::size_t nameEnd = std::min(path.find('/', start), end);
        const bool isLast = nameEnd == end;
        const int error = Step(std::string_view(path).substr(start, nameEnd - start), ioLinkCount, isLast,
                               inFollowsLast || hasSlash, outPlace);
        if (error != 0) return error;
        start = isLast ? end : path.find_first_not_of('/', nameEnd);
    }
    outPlace.mustBeFolder = outPlace.mustBeFolder || hasSlash;
    if (outPlace.mustBeFolder && outPlace.item != nullptr && !outPlace.item->IsFolder()) return ENOTDIR;
    return 0;
}

int MemoryTree::Find(const MemoryNodePtr& inFrom, std::string_view inPath, bool inFollowsLast,
                     Place& outPlace) const {
    int linkCount = 0;
    return Walk(inFrom, inPath, inFollowsLast, linkCount, outPlace);
}

int MemoryTree::FindItem(const MemoryNodePtr& inFrom, std::string_view inPath, bool inFollowsLast,
                         MemoryNodePtr& outItem) const {
    Place place;
    const int error = Find(inFrom, inPath, inFollowsLast, place);
    outItem = place.item;
    return error == 0 && outItem == nullptr ? ENOENT : error;
}

MemoryNodePtr MemoryTree::Add(const Place& inPlace, mode_t inMode) {
    auto item = std::make_shared<MemoryNode>();
    item->inode = mNextInode++;
    item->mode = S_ISLNK(inMode) ? inMode : inMode & ~mMask;
    item->owner = geteuid();
    item->group = getegid();
    item->folder = inPlace.folder.get();
    Touch(*item);
    item->birth = item->changed;
    if (inPlace.folder != nullptr) {
        inPlace.folder->items[inPlace.name] = item;
        Touch(*inPlace.folder);
    }
    return item;
}

void MemoryTree::Remove(const Place& inPlace) {
    inPlace.folder->items.erase(inPlace.name);
    inPlace.item->folder = nullptr;
    Touch(*inPlace.folder);
}

void MemoryTree::Put(const Place& inPlace, const MemoryNodePtr& inItem) {
    inPlace.folder->items[inPlace.name] = inItem;
    inItem->folder = inPlace.folder.get();
    Touch(*inPlace.folder);
}

std::uint64_t MemoryTree::ByteCount() const {
    return ByteCountOf(*mRoot);
}

std::string MemoryTree::NameIn(const MemoryNode& inItem) {
    for (const auto& [name, item] : inItem.folder->items)
        if (item.get() == &inItem) return name;
    return {};
}

std::string MemoryTree::PathOf(const MemoryNode& inItem) const {
    if (&inItem == mRoot.get()) return "/";
    std::string path;
    for (const MemoryNode* item = &inItem; item != mRoot.get(); item = item->folder)
        path.insert(0, '/' + NameIn(*item));
    return path;
}

bool MemoryTree::MayAccess(const MemoryNode& inItem, int inAccess) {
    const uid_t user = geteuid();
    if (user == 0) return (inAccess & X_OK) == 0 || inItem.IsFolder() || (inItem.mode & 0111) != 0;
    const int shift = user == inItem.owner ? 6 : getegid() == inItem.group ? 3 : 0;
    return (inAccess & ~static_cast<int>(inItem.mode >> shift & 07)) == 0;
}

void MemoryTree::Touch(MemoryNode& ioItem) {
    clock_gettime(CLOCK_REALTIME, &ioItem.changed);
}

}  // namespace support

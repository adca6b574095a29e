#include "support/MemoryVolumes.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <set>

namespace support {

namespace {

// What outlives one such file system must not take the items of the next for those of the last.
std::atomic<std::uint64_t> sNextInode = 0x70000000;
std::atomic<std::uint64_t> sNextMountID = 1 << 20;
std::atomic<unsigned> sNextMinor = 1 << 12;

std::uint64_t ByteCountOf(const MemoryNode& inItem, std::set<const MemoryNode*>& ioSeen) {
    if (!ioSeen.insert(&inItem).second) return 0;
    std::uint64_t count = inItem.IsFile() ? inItem.bytes.size() : 0;
    for (const auto& entry : inItem.items)
        count += ByteCountOf(*entry.second, ioSeen);
    return count;
}

std::string Escaped(const std::string& inPath) {
    std::string text;
    for (const char byte : inPath) {
        char octal[5] = {byte};
        if (byte == ' ' || byte == '\t' || byte == '\n' || byte == '\\')
            std::snprintf(octal, sizeof octal, "\\%03o", static_cast<unsigned>(byte));
        text += octal;
    }
    return text;
}

// Of a folder on its volume.
std::string PathOnVolume(const MemoryNode& inFolder) {
    std::string path;
    for (const MemoryNode* folder = &inFolder; !folder->names.empty(); folder = folder->Folder())
        path.insert(0, '/' + folder->names[0].text);
    return path.empty() ? "/" : path;
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
bool MemoryNode::IsRemoved() const {
    return names.empty() && volume->root.get() != this;
}

std::uint64_t MemoryVolume::FreeByteCount() const {
    std::set<const MemoryNode*> seen;
    return capacityBytes - std::min(ByteCountOf(*root, seen), capacityBytes);
}

MemoryVolumes::MemoryVolumes(const struct statx& inRoot) : mMask(umask(0)) {
    umask(mMask);
    MemoryVolume& volume = NewVolume("memory", 1 << 30);
    volume.deviceMajor = inRoot.stx_dev_major;
    volume.deviceMinor = inRoot.stx_dev_minor;
    volume.root->inode = inRoot.stx_ino;
    volume.root->birth = {inRoot.stx_btime.tv_sec, inRoot.stx_btime.tv_nsec};
    mMounts.push_back(std::make_unique<MemoryMount>(MemoryMount{inRoot.stx_mnt_id, volume.root, {}}));
}

MemoryVolume& MemoryVolumes::NewVolume(std::string_view inType, std::uint64_t inCapacityBytes) {
    auto volume = std::make_unique<MemoryVolume>();
    volume->deviceMinor = sNextMinor++;
    volume->capacityBytes = inCapacityBytes;
    volume->type = inType;
    volume->root = NewNode(*volume, S_IFDIR | 0755);
    mVolumes.push_back(std::move(volume));
    return *mVolumes.back();
}

MemoryNodePtr MemoryVolumes::NewNode(MemoryVolume& ioVolume, mode_t inMode) const {
    auto item = std::make_shared<MemoryNode>();
    item->volume = &ioVolume;
    item->inode = sNextInode++;
    item->mode = S_ISLNK(inMode) ? inMode : inMode & ~mMask;
    item->owner = geteuid();
    item->group = getegid();
    Touch(*item);
    item->birth = item->accessed = item->changed;
    return item;
}

void MemoryVolumes::Mount(const MemoryNodePtr& inRoot, const MemoryLocation& inPoint) {
    mMounts.push_back(std::make_unique<MemoryMount>(MemoryMount{sNextMountID++, inRoot, inPoint}));
}

void MemoryVolumes::Unmount(MemoryMount& ioMount) {
    mMounts.erase(std::find_if(mMounts.begin(), mMounts.end(),
                               [&](const auto& inMount) { return inMount.get() == &ioMount; }));
}

bool MemoryVolumes::IsMountPoint(const MemoryNode& inItem) const {
    return std::any_of(mMounts.begin(), mMounts.end(),
                       [&](const auto& inMount) { return inMount->point.node.get() == &inItem; });
}

bool MemoryVolumes::IsMountedOn(const MemoryMount& inMount) const {
    return std::any_of(mMounts.begin(), mMounts.end(),
                       [&](const auto& inOther) { return inOther->point.mount == &inMount; });
}

std::string MemoryVolumes::MountTable() const {
    std::string table;
    for (const auto& mount : mMounts) {
        const MemoryVolume& volume = *mount->root->volume;
        std::string path;
        if (!GetPath({mount.get(), mount->root}, path)) continue;
        const std::uint64_t above = mount->point.mount == nullptr ? mount->id : mount->point.mount->id;
        table += std::to_string(mount->id) + ' ' + std::to_string(above) + ' ' +
                 std::to_string(volume.deviceMajor) + ':' + std::to_string(volume.deviceMinor) + ' ' +
                 Escaped(PathOnVolume(*mount->root)) + ' ' + Escaped(path) +
                 (mount->isReadOnly ? " ro" : " rw") + ",relatime - " + volume.type + " none rw\n";
    }
    return table;
}

MemoryLocation MemoryVolumes::Top(MemoryLocation inFolder) const {
    const auto isUpon = [&](const auto& inMount) {
        return inMount->point.mount == inFolder.mount && inMount->point.node == inFolder.node;
    };
    for (;;) {
        const auto found = std::find_if(mMounts.begin(), mMounts.end(), isUpon);
        if (inFolder.node == nullptr || found == mMounts.end()) return inFolder;
        inFolder = {found->get(), (*found)->root};
    }
}

MemoryLocation MemoryVolumes::Above(MemoryLocation inFolder) const {
    while (inFolder.node == inFolder.mount->root) {
        if (inFolder.mount->point.node == nullptr) return inFolder;
        inFolder = inFolder.mount->point;
    }
    return Top({inFolder.mount, inFolder.node->Folder()->shared_from_this()});
}

bool MemoryVolumes::GetPath(const MemoryLocation& inItem, std::string& outPath) const {
    outPath.clear();
    const MemoryMount* mount = inItem.mount;
    for (const MemoryNode* item = inItem.node.get();;) {
        while (item == mount->root.get()) {
            if (mount->point.node == nullptr) {
                if (outPath.empty()) outPath = "/";
                return true;
            }
            item = mount->point.node.get();
            mount = mount->point.mount;
        }
        if (item->names.empty()) return false;
        outPath.insert(0, '/' + item->names[0].text);
        item = item->names[0].folder;
    }
}

void MemoryVolumes::Touch(MemoryNode& ioItem) {
    TouchStatus(ioItem);
    ioItem.changed = ioItem.statusChanged;
}

void MemoryVolumes::TouchStatus(MemoryNode& ioItem) {
    clock_gettime(CLOCK_REALTIME, &ioItem.statusChanged);
}

}  // namespace support

// Items found again: by reference, and by who they are.
#include "Finding.h"
#include "catalogue/DescriptorPaths.h"
#include "status/StatusOfErrno.h"

#include <fcntl.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <string_view>
#include <utility>
#include <vector>

namespace toolbox::files {

namespace {

// What a reference holds: who the item is in the catalogue, and where it was. The rest of its bytes is zero,
// and so are folder and name in one to a folder.
struct RefContents {
    UInt32 magic;
    UInt32 isOneOfSeveral;  // the item had other names when it was made
    os::ItemIdentity identity;
    os::ItemIdentity folder;
    std::uint64_t nameHash;
};
static_assert(sizeof(RefContents) == 64 && sizeof(RefContents) <= sizeof(FSRef));
constexpr UInt32 kRefMagic = FourChars("fsrf");

// Never 0.
std::uint64_t HashOfName(std::string_view inName) {
    std::uint64_t hash = 0xCBF29CE484222325;  // FNV-1a
    for (const char unit : inName)
        hash = (hash ^ static_cast<unsigned char>(unit)) * 0x100000001B3;
    return std::max<std::uint64_t>(hash, 1);
}

// An item, and of several names the one that is meant.
struct Sought {
    os::ItemIdentity identity;
    os::ItemIdentity folder;
    std::uint64_t nameHash = 0;  // 0: any will do
    // Then no other name will do, the last one neither: whoever has deleted the one deletes no more.
    bool isOneOfSeveral = false;

    bool MeansName(std::string_view inName) const { return HashOfName(inName) == nameHash; }
    bool MeansFolder(const os::ItemIdentity& inFolder) const { return folder.IsSameItem(inFolder); }
    bool Means(const os::ItemIdentity& inFolder, std::string_view inName) const {
        return nameHash == 0 || (MeansFolder(inFolder) && MeansName(inName));
    }
    bool FollowsItem(const os::ItemStatus& inItem) const { return inItem.linkCount <= 1 && !isOneOfSeveral; }
};

// Looks at one path for the item. 0 or an errno; ENOENT when something else is there.
int LookAt(const std::string& inPath, const os::ItemIdentity& inItem, FoundItem& outItem) {
    // A descriptor's path is a link to what has no other.
    const int error = IsDescriptorPath(inPath) ? os::GetTargetStatus(inPath.c_str(), outItem.status)
                                               : os::GetPathStatus(inPath.c_str(), outItem.status);
    if (error != 0) return error;
    if (!outItem.status.identity.IsSameItem(inItem)) return ENOENT;
    outItem.path = inPath;
    return 0;
}

// As LookAt, for a name that is in that folder if nothing was renamed.
int LookAtHint(const NodeHint& inHint, const Sought& inSought, FoundItem& outItem) {
    const int error = LookAt(inHint.path, inSought.identity, outItem);
    if (error != 0) return error;
    outItem.facts = inHint.facts;
    if (inSought.FollowsItem(outItem.status)) return 0;
    if (!inSought.Means(inHint.facts.parent, inHint.name)) return ENOENT;
    // Where folders changed places, this can be another of its names.
    os::ItemStatus folder;
    const int folderError = os::GetPathStatus(FolderPathOf(inHint.path).c_str(), folder);
    if (folderError != 0) return folderError;
    return folder.identity.IsSameItem(inHint.facts.parent) ? 0 : ENOENT;
}

// Of an entry of which a driver of the user's tells no inode.
constexpr ino_t kUnknownInode = 0xFFFFFFFF;

// Looks at every name in a folder that may be the item's, until inIsMeant of name and status. 0 or an errno.
template <typename IsMeant>
int FindEntry(const std::string& inFolderPath, const Sought& inSought, FoundItem& outItem,
              IsMeant inIsMeant) {
    Place place;
    const int error = OpenFolder(inFolderPath, place);
    if (error != 0) return error;
    // Of a folder on which a volume is mounted an entry tells the inode beneath, but that one cannot be
    // renamed; and so does a file on which another is mounted, which is found by its name.
    return FindName(place, [&](const struct dirent& inEntry) {
        const bool isOther = inEntry.d_ino != inSought.identity.inode && inEntry.d_ino != kUnknownInode;
        if (isOther && !inSought.MeansName(place.name)) return ENOENT;
        const std::string path = PathInFolder(inFolderPath, place.name);
        const int lookError = IsDescriptorPath(path) ? LookAt(path, inSought.identity, outItem)
                                                     : GetStatus(place, outItem.status);
        if (lookError != 0) return IsMissing(lookError) ? ENOENT : lookError;
        if (!outItem.status.identity.IsSameItem(inSought.identity) || !inIsMeant(place.name)) return ENOENT;
        outItem.path = path;
        return 0;
    });
}

// Looks for a folder in the one above, which was just found: by the name that it had, else by all there.
OSStatus FindBelow(const std::string& inFolderPath, const NodeHint& inHint, const os::ItemIdentity& inFolder,
                   FoundItem& outItem) {
    outItem.facts = inHint.facts;
    const int error = LookAt(PathInFolder(inFolderPath, inHint.name), inFolder, outItem);
    if (!IsMissing(error)) return StatusOfErrno(error);
    const OSStatus status = FindInFolder(inFolderPath, inFolder, outItem);
    if (status == noErr) NodeTable::Shared().Rename(inFolder, NameInPath(outItem.path));
    return status;
}

// Where its path leads to it no more: the first above it whose path does, and from there down by the table,
// each in the one before. However deep it lies, that takes no more of the stack.
OSStatus FindKnownFolder(const os::ItemIdentity& inFolder, FoundItem& outItem) {
    struct Below {
        os::ItemIdentity identity;
        NodeHint hint;
    };
    std::vector<Below> below;
    for (os::ItemIdentity folder = inFolder;;) {
        NodeHint hint;
        if (!NodeTable::Shared().GetFolder(folder, hint)) return fnfErr;
        outItem.facts = hint.facts;
        const int error = LookAt(hint.path, folder, outItem);
        if (error == 0) break;
        if (!IsMissing(error)) return StatusOfErrno(error);
        if (!hint.facts.hasParent) return fnfErr;
        hint.path = {};
        const os::ItemIdentity parent = hint.facts.parent;
        below.push_back({folder, std::move(hint)});
        folder = parent;
    }
    for (; !below.empty(); below.pop_back()) {
        const std::string folderPath = std::move(outItem.path);
        const OSStatus status = FindBelow(folderPath, below.back().hint, below.back().identity, outItem);
        if (status != noErr) return status;
    }
    return noErr;
}

// Looks in a folder that the item was in, wherever that is by now; inName is empty where it is not known.
OSStatus FindInKnownFolder(const os::ItemIdentity& inFolder, const std::string& inName,
                           const Sought& inSought, FoundItem& outItem) {
    FoundItem folder;
    const OSStatus status = FindKnownFolder(inFolder, folder);
    if (status != noErr) return status;
    const auto isMeant = [&](std::string_view inFound) {
        return inSought.FollowsItem(outItem.status) || inSought.Means(inFolder, inFound);
    };
    int error = ENOENT;
    if (!inName.empty()) error = LookAt(PathInFolder(folder.path, inName), inSought.identity, outItem);
    if (error == 0 && !isMeant(inName)) error = ENOENT;
    if (IsMissing(error)) error = FindEntry(folder.path, inSought, outItem, isMeant);
    if (error != 0) return IsMissing(error) ? fnfErr : StatusOfErrno(error);
    const PathStep step = StepOf(outItem.status, false, NameInPath(outItem.path));
    return NodeTable::Shared().RecordChild(inFolder, step, outItem.facts) ? noErr : fnfErr;
}

// What is no folder: by the names that are remembered, the one that is meant first; then in its folders.
OSStatus FindOther(const Sought& inSought, FoundItem& outItem) {
    std::vector<NodeHint> hints = NodeTable::Shared().GetHints(inSought.identity);
    std::stable_partition(hints.begin(), hints.end(), [&](const NodeHint& inHint) {
        return inSought.Means(inHint.facts.parent, inHint.name);
    });
    bool isFolderAmongHints = inSought.nameHash == 0;
    // Of a place that may not be looked at; another may be open.
    OSStatus refusal = fnfErr;
    for (const NodeHint& hint : hints) {
        const int error = LookAtHint(hint, inSought, outItem);
        if (error == EACCES)
            refusal = StatusOfErrno(error);
        else if (!IsMissing(error))
            return StatusOfErrno(error);
        isFolderAmongHints = isFolderAmongHints || inSought.MeansFolder(hint.facts.parent);
    }
    OSStatus status = fnfErr;
    if (!isFolderAmongHints) status = FindInKnownFolder(inSought.folder, {}, inSought, outItem);
    std::vector<os::ItemIdentity> searched;
    for (const NodeHint& hint : hints) {
        if (status != fnfErr && status != afpAccessDenied) return status;
        const auto isHere = [&](const os::ItemIdentity& inFolder) {
            return inFolder.IsSameItem(hint.facts.parent);
        };
        if (inSought.isOneOfSeveral && !inSought.MeansFolder(hint.facts.parent)) continue;
        if (std::any_of(searched.begin(), searched.end(), isHere)) continue;
        searched.push_back(hint.facts.parent);
        if (status == afpAccessDenied) refusal = status;
        status = FindInKnownFolder(hint.facts.parent, hint.name, inSought, outItem);
    }
    return status == fnfErr ? refusal : status;
}

OSStatus FindAgain(const Sought& inSought, FoundItem& outItem) {
    OSStatus status = fnfErr;
    for (int round = 0; round < kFindingRounds && status == fnfErr; ++round) {
        NodeHint folder;
        const bool isFolder =
            inSought.nameHash == 0 && NodeTable::Shared().GetFolder(inSought.identity, folder);
        status = isFolder ? FindKnownFolder(inSought.identity, outItem) : FindOther(inSought, outItem);
    }
    return status;
}

bool ReadContents(const FSRef& inRef, RefContents& outContents) {
    std::memcpy(&outContents, inRef.hidden, sizeof(outContents));
    return outContents.magic == kRefMagic;
}

}  // namespace

OSStatus FindByIdentity(const os::ItemIdentity& inItem, FoundItem& outItem) {
    return FindAgain({inItem, {}, 0}, outItem);
}

OSStatus FindInFolder(const std::string& inFolderPath, const os::ItemIdentity& inItem, FoundItem& outItem) {
    const int error =
        FindEntry(inFolderPath, {inItem, {}, 0}, outItem, [](std::string_view) { return true; });
    return IsMissing(error) ? fnfErr : StatusOfErrno(error);
}

FSRef MakeRef(const FoundItem& inItem) {
    RefContents contents = {kRefMagic, 0, inItem.status.identity, {}, 0};
    if (inItem.status.kind != os::ItemKind::kFolder) {
        contents.identity = inItem.facts.item;
        contents.folder = inItem.facts.parent;
        contents.nameHash = HashOfName(NameInPath(inItem.path));
        contents.isOneOfSeveral = inItem.status.linkCount > 1 ? 1 : 0;
    }
    FSRef ref = {};
    std::memcpy(ref.hidden, &contents, sizeof(contents));
    return ref;
}

bool ReadRef(const FSRef& inRef, os::ItemIdentity& outItem) {
    RefContents contents;
    const bool isRef = ReadContents(inRef, contents);
    outItem = contents.identity;
    return isRef;
}

bool GetRememberedPlace(const FSRef& inRef, RememberedPlace& outPlace) {
    RefContents contents;
    if (!ReadContents(inRef, contents)) return false;
    const NodeTable& table = NodeTable::Shared();
    if (contents.nameHash == 0) {
        outPlace.item = contents.identity;
        return table.GetNameOfFolder(contents.identity, outPlace.folder, outPlace.name);
    }
    outPlace.item = table.OnDisk(contents.identity);
    outPlace.folder = contents.folder;
    return table.GetNameIn(contents.folder, outPlace.item, outPlace.name) &&
           HashOfName(outPlace.name) == contents.nameHash;
}

bool OpenKnownFolder(const os::ItemIdentity& inFolder, FoundItem& outFolder, Place& outPlace) {
    NodeHint hint;
    if (!NodeTable::Shared().GetFolder(inFolder, hint)) return false;
    const bool isIt = OpenFolderAt(AT_FDCWD, hint.path.c_str(), outPlace) == 0 &&
                      outPlace.folderStatus.identity.IsSameItem(inFolder);
    if (!isIt) {
        outPlace.folder = os::Descriptor();
        return false;
    }
    outFolder = {outPlace.folderStatus, hint.facts, std::move(hint.path)};
    return true;
}

bool OpenKnownFolder(const FSRef& inRef, FoundItem& outFolder, Place& outPlace) {
    RefContents contents;
    const bool isFolder = ReadContents(inRef, contents) && contents.nameHash == 0;
    return isFolder && OpenKnownFolder(contents.identity, outFolder, outPlace);
}

OSStatus FindByRef(const FSRef& inRef, FoundItem& outItem) {
    RefContents contents;
    if (!ReadContents(inRef, contents)) return errFSBadFSRef;
    // A folder's contents are never exchanged.
    const bool isFolder = contents.nameHash == 0;
    const os::ItemIdentity identity =
        isFolder ? contents.identity : NodeTable::Shared().OnDisk(contents.identity);
    return FindAgain({identity, contents.folder, contents.nameHash, contents.isOneOfSeveral != 0}, outItem);
}

}  // namespace toolbox::files

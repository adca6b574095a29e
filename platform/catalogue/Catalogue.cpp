#include "catalogue/Catalogue.h"

#include "catalogue/DescriptorPaths.h"
#include "names/ModifiedUTF8.h"
#include "os/CanonicalPath.h"
#include "status/StatusOfErrno.h"

#include <algorithm>
#include <cassert>
#include <cerrno>
#include <cstring>
#include <string_view>
#include <vector>

namespace toolbox::files {

namespace {

// How often a walk starts again because names changed while it was under way.
constexpr int kRounds = 3;

// What a reference holds; the rest of its bytes is zero, so references to one item are equal bytes.
struct RefContents {
    UInt32 magic;
    NodeID nodeID;
    os::ItemIdentity identity;
};
static_assert(sizeof(RefContents) == 32 && sizeof(RefContents) <= sizeof(FSRef));
constexpr UInt32 kRefMagic = FourChars("fsrf");

bool IsMissing(int inErrno) {
    return inErrno == ENOENT || inErrno == ENOTDIR || inErrno == ESTALE;
}

// Tells a missing item from a missing folder on the way to it.
OSStatus StatusOfMissing(const std::string& inPath, int inErrno) {
    if (inErrno != ENOENT) return StatusOfErrno(inErrno);
    const std::size_t nameEnd = inPath.find_last_not_of('/');
    if (nameEnd == std::string::npos) return fnfErr;
    const std::size_t slash = inPath.find_last_of('/', nameEnd);
    if (slash == std::string::npos || slash == 0) return fnfErr;
    os::ItemStatus folder;
    return os::GetPathStatus(inPath.substr(0, slash + 1).c_str(), folder) == 0 ? fnfErr : dirNFErr;
}

// Puts the items of a canonical path, from "/" down, into outSteps. 0 or an errno; ENOENT when the path is
// canonical no more.
int WalkPath(const std::string& inPath, std::vector<PathStep>& outSteps, os::ItemStatus& outLast) {
    outSteps.clear();
    std::string prefix = "/";
    std::size_t nameStart = 1;
    os::VolumeKey volume;
    for (std::string_view name;;) {
        const int error = os::GetPathStatus(prefix.c_str(), outLast);
        if (error != 0) return error;
        if (outLast.kind == os::ItemKind::kLink) return ENOENT;  // took the place of what was there
        const bool isFolder = outLast.kind == os::ItemKind::kFolder;
        const bool isVolumeRoot = isFolder && (outSteps.empty() || outLast.Volume() != volume);
        outSteps.push_back({outLast.identity, isVolumeRoot, name});
        volume = outLast.Volume();
        if (nameStart >= inPath.size()) return 0;
        const std::size_t nameEnd = std::min(inPath.find('/', nameStart), inPath.size());
        name = std::string_view(inPath).substr(nameStart, nameEnd - nameStart);
        prefix.assign(inPath, 0, nameEnd);
        nameStart = nameEnd + 1;
    }
}

// As RecordPath, for what has no path but that of a descriptor that holds it.
int RecordDescriptor(const std::string& inPath, FoundItem& outItem) {
    std::string folder;
    const std::string path = CanonicalDescriptorPath(inPath, folder);
    if (path.empty()) return ENOENT;
    std::vector<PathStep> steps;
    os::ItemStatus last;
    int error = WalkPath(folder, steps, last);
    if (error == 0) error = os::GetTargetStatus(path.c_str(), outItem.status);
    if (error != 0) return error;
    steps.push_back({outItem.status.identity, false, std::string_view(path).substr(path.rfind('/') + 1)});
    outItem.nodeID = NodeTable::Shared().Record(steps);
    outItem.path = path;
    return 0;
}

// 0 or an errno.
int RecordPath(const std::string& inPath, FoundItem& outItem) {
    int error = 0;
    for (int round = 0; round < kRounds; ++round) {
        const int missing = os::GetCanonicalPath(inPath.c_str(), outItem.path);
        // A file that was opened for us may lie where we may not search.
        const bool mayBeOpen = missing == ENOENT || missing == EACCES;
        if (missing != 0) return mayBeOpen && RecordDescriptor(inPath, outItem) == 0 ? 0 : missing;
        std::vector<PathStep> steps;
        error = WalkPath(outItem.path, steps, outItem.status);
        if (error == 0) {
            outItem.nodeID = NodeTable::Shared().Record(steps);
            return 0;
        }
        if (!IsMissing(error)) return error;
    }
    return error;
}

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

OSStatus FindNode(const os::ItemIdentity& inItem, FoundItem& outItem) {
    NodeTable& table = NodeTable::Shared();
    NodeFacts facts;
    std::string hint;
    if (!table.GetFacts(inItem, facts) || !table.GetPath(inItem, hint)) return fnfErr;
    outItem.nodeID = facts.nodeID;
    int error = LookAt(hint, inItem, outItem);
    if (!IsMissing(error)) return StatusOfErrno(error);
    if (!facts.hasParent) return fnfErr;

    FoundItem folder;
    const OSStatus folderStatus = FindNode(facts.parent, folder);
    if (folderStatus != noErr) return folderStatus;
    error = LookAt(PathInFolder(folder.path, facts.name), inItem, outItem);
    if (!IsMissing(error)) return StatusOfErrno(error);
    const OSStatus status = FindInFolder(folder.path, inItem, outItem);
    if (status != noErr) return status;
    table.Rename(inItem, std::string_view(outItem.path).substr(outItem.path.rfind('/') + 1));
    outItem.nodeID = facts.nodeID;
    return noErr;
}

}  // namespace

std::string PathInFolder(const std::string& inFolderPath, std::string_view inName) {
    assert(!inFolderPath.empty());
    std::string path = inFolderPath;
    if (path.back() != '/') path += '/';
    return path.append(inName);
}

OSStatus FindByPath(const char* inPath, FoundItem& outItem) {
    const std::string path = inPath;
    const int error = RecordPath(path, outItem);
    if (error == 0) return noErr;
    // Six bytes for a character that takes four on disk may also be what makes a name too long.
    if (IsMissing(error) || error == ENAMETOOLONG) {
        const std::string joined = JoinSurrogatePairs(path);
        if (joined.size() != path.size()) {
            const int joinedError = RecordPath(joined, outItem);
            return joinedError == 0 ? noErr : StatusOfMissing(joined, joinedError);
        }
    }
    return StatusOfMissing(path, error);
}

OSStatus FindByIdentity(const os::ItemIdentity& inItem, FoundItem& outItem) {
    OSStatus status = fnfErr;
    for (int round = 0; round < kRounds && status == fnfErr; ++round)
        status = FindNode(inItem, outItem);
    return status;
}

OSStatus FindAtPlace(const FoundItem& inFolder, const Place& inPlace, FoundItem& outItem) {
    assert(inFolder.status.kind == os::ItemKind::kFolder && inPlace.folder.IsOpen());
    std::string path = PathInFolder(inFolder.path, inPlace.name);
    const int error = GetStatus(inPlace, outItem.status);
    if (error != 0) return IsMissing(error) ? fnfErr : StatusOfErrno(error);
    if (outItem.status.kind == os::ItemKind::kLink) return FindByPath(path.c_str(), outItem);
    const bool isVolumeRoot = IsVolumeRoot(inPlace, outItem.status);
    outItem.nodeID = NodeTable::Shared().RecordChild(inPlace.folderStatus.identity,
                                                     {outItem.status.identity, isVolumeRoot, inPlace.name});
    if (outItem.nodeID == 0) return FindByPath(path.c_str(), outItem);
    outItem.path = std::move(path);
    return noErr;
}

OSStatus FindInFolder(const std::string& inFolderPath, const os::ItemIdentity& inItem, FoundItem& outItem) {
    Place place;
    int error = OpenFolder(inFolderPath, place);
    // Of a folder on which a volume is mounted an entry tells the inode beneath; but that one cannot be
    // renamed.
    const auto isItem = [&](const struct dirent& inEntry) {
        if (inEntry.d_ino != inItem.inode) return ENOENT;
        const int statusError = GetStatus(place, outItem.status);
        if (statusError != 0) return IsMissing(statusError) ? ENOENT : statusError;
        return outItem.status.identity.IsSameItem(inItem) ? 0 : ENOENT;
    };
    if (error == 0) error = FindName(place, isItem);
    if (error == 0) outItem.path = PathInFolder(inFolderPath, place.name);
    return IsMissing(error) ? fnfErr : StatusOfErrno(error);
}

OSStatus OpenPlace(const FoundItem& inItem, Place& outPlace) {
    int error = OpenPlaceOf(inItem.path, outPlace);
    os::ItemStatus status;
    // The root folder has no name; and what only a descriptor holds has one that is a link to it.
    const bool hasName = !outPlace.name.empty() && !IsDescriptorPath(inItem.path);
    if (error == 0 && hasName) error = GetStatus(outPlace, status);
    if (error != 0) return IsMissing(error) ? fnfErr : StatusOfErrno(error);
    return !hasName || status.identity.IsSameItem(inItem.status.identity) ? noErr : fnfErr;
}

FSRef MakeRef(const FoundItem& inItem) {
    const RefContents contents = {kRefMagic, inItem.nodeID, inItem.status.identity};
    FSRef ref = {};
    std::memcpy(ref.hidden, &contents, sizeof(contents));
    return ref;
}

bool ReadRef(const FSRef& inRef, os::ItemIdentity& outItem) {
    RefContents contents;
    std::memcpy(&contents, inRef.hidden, sizeof(contents));
    outItem = contents.identity;
    return contents.magic == kRefMagic;
}

OSStatus FindByRef(const FSRef& inRef, FoundItem& outItem) {
    os::ItemIdentity identity;
    if (!ReadRef(inRef, identity)) return errFSBadFSRef;
    return FindByIdentity(identity, outItem);
}

}  // namespace toolbox::files

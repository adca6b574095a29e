#include "catalogue/Catalogue.h"

#include "Finding.h"
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
        outSteps.push_back(StepOf(outLast, isVolumeRoot, name));
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
    steps.push_back(StepOf(outItem.status, false, NameInPath(path)));
    outItem.facts = NodeTable::Shared().Record(steps);
    outItem.path = path;
    return 0;
}

// Makes use of the room that there is.
void SetPathInFolder(const std::string& inFolderPath, std::string_view inName, std::string& outPath) {
    assert(!inFolderPath.empty() && &inFolderPath != &outPath);
    outPath.clear();
    outPath.reserve(inFolderPath.size() + 1 + inName.size());
    outPath = inFolderPath;
    if (outPath.back() != '/') outPath += '/';
    outPath.append(inName);
}

// 0 or an errno.
int RecordPath(const std::string& inPath, FoundItem& outItem) {
    int error = 0;
    for (int round = 0; round < kFindingRounds; ++round) {
        const int missing = os::GetCanonicalPath(inPath.c_str(), outItem.path);
        // A file that was opened for us may lie where we may not search.
        const bool mayBeOpen = missing == ENOENT || missing == EACCES;
        if (missing != 0) return mayBeOpen && RecordDescriptor(inPath, outItem) == 0 ? 0 : missing;
        std::vector<PathStep> steps;
        error = WalkPath(outItem.path, steps, outItem.status);
        if (error == 0) {
            outItem.facts = NodeTable::Shared().Record(steps);
            return 0;
        }
        if (!IsMissing(error)) return error;
    }
    return error;
}

}  // namespace

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

OSStatus FindItselfByPath(const char* inPath, FoundItem& outItem) {
    std::string path = inPath;
    os::ItemStatus status;
    int error = os::GetPathStatus(path.c_str(), status);
    if (IsMissing(error) || error == ENAMETOOLONG) {
        path = JoinSurrogatePairs(path);
        error = os::GetPathStatus(path.c_str(), status);
    }
    // Where it may not be looked at, it may be a descriptor that was opened for us.
    if (error != 0 && error != EACCES && !IsMissing(error) && error != ENAMETOOLONG)
        return StatusOfErrno(error);
    if (error != 0 || status.kind != os::ItemKind::kLink) return FindByPath(inPath, outItem);
    FoundItem folder;
    const std::string folderPath = path.substr(0, path.rfind('/') + 1);
    const OSStatus folderStatus = FindByPath(folderPath.empty() ? "." : folderPath.c_str(), folder);
    if (folderStatus != noErr) return folderStatus;
    Place place;
    error = OpenPlaceOf(path, place);
    return error == 0 ? FindAtPlace(folder, place, outItem) : StatusOfErrno(error);
}

OSStatus FindAtPlace(const FoundItem& inFolder, const Place& inPlace, FoundItem& outItem) {
    assert(inFolder.status.kind == os::ItemKind::kFolder && inPlace.folder.IsOpen());
    std::string& path = outItem.path;
    SetPathInFolder(inFolder.path, inPlace.name, path);
    const int error = GetStatus(inPlace, outItem.status);
    if (error != 0) return IsMissing(error) ? fnfErr : StatusOfErrno(error);
    const bool isLink = outItem.status.kind == os::ItemKind::kLink;
    if (isLink && IsDescriptorPath(path)) return FindByPath(path.c_str(), outItem);
    const PathStep step = StepOf(outItem.status, IsVolumeRoot(inPlace, outItem.status), inPlace.name);
    NodeTable& table = NodeTable::Shared();
    if (!table.RecordChild(inPlace.folderStatus.identity, step, outItem.facts)) {
        if (!isLink) return FindByPath(path.c_str(), outItem);
        FoundItem folder;
        const OSStatus status = FindByPath(inFolder.path.c_str(), folder);
        if (status != noErr) return status;
        if (!table.RecordChild(folder.status.identity, step, outItem.facts)) return fnfErr;
    }
    return noErr;
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

bool IsMissing(int inErrno) {
    return inErrno == ENOENT || inErrno == ENOTDIR || inErrno == ESTALE;
}

std::string PathInFolder(const std::string& inFolderPath, std::string_view inName) {
    std::string path;
    SetPathInFolder(inFolderPath, inName, path);
    return path;
}

std::string FolderPathOf(const std::string& inPath) {
    return inPath.substr(0, std::max<std::size_t>(inPath.rfind('/'), 1));
}

std::string_view NameInPath(std::string_view inPath) {
    const void* const slash = memrchr(inPath.data(), '/', inPath.size());
    const auto* const name = slash == nullptr ? inPath.data() : static_cast<const char*>(slash) + 1;
    return inPath.substr(static_cast<std::size_t>(name - inPath.data()));
}

PathStep StepOf(const os::ItemStatus& inStatus, bool inIsVolumeRoot, std::string_view inName) {
    const bool isFolder = inStatus.kind == os::ItemKind::kFolder;
    return {inStatus.identity, inIsVolumeRoot, inName, isFolder, isFolder || inStatus.linkCount <= 1};
}

}  // namespace toolbox::files

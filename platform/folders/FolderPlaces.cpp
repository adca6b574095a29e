#include "FolderPlaces.h"

#include "UserFolders.h"
#include "catalogue/Catalogue.h"
#include "os/OwnPaths.h"
#include "os/SystemCalls.h"
#include "os/UserPaths.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>
#include <string_view>

namespace toolbox::files {

namespace {

struct FixedFolder {
    Domain domain;
    OSType type;
    const char* path;
};
constexpr FixedFolder kFixedFolders[] = {
    {Domain::kLocal, kDomainTopLevelFolderType, "/usr/local"},
    {Domain::kLocal, kApplicationSupportFolderType, "/usr/local/share"},
    {Domain::kLocal, kPreferencesFolderType, "/etc/xdg"},
    {Domain::kLocal, kCachedDataFolderType, "/var/cache"},
    {Domain::kLocal, kLogsFolderType, "/var/log"},
    {Domain::kLocal, kFontsFolderType, "/usr/local/share/fonts"},
    {Domain::kSystem, kDomainTopLevelFolderType, "/usr"},
    {Domain::kSystem, kApplicationSupportFolderType, "/usr/share"},
    {Domain::kSystem, kFontsFolderType, "/usr/share/fonts"},
};

struct UserFolder {
    OSType type;
    const char* kind;
    const char* nameInHome;
};
constexpr UserFolder kUserFolders[] = {
    {kDesktopFolderType, "DESKTOP", "Desktop"},      {kDocumentsFolderType, "DOCUMENTS", "Documents"},
    {kDownloadsFolderType, "DOWNLOAD", "Downloads"}, {kMovieDocumentsFolderType, "VIDEOS", "Videos"},
    {kMusicDocumentsFolderType, "MUSIC", "Music"},   {kPictureDocumentsFolderType, "PICTURES", "Pictures"},
    {kPublicFolderType, "PUBLICSHARE", "Public"},
};

struct BaseFolder {
    OSType type;
    const char* variable;
    const char* pathInHome;
    const char* pathInFolder;
};
constexpr BaseFolder kBaseFolders[] = {
    {kApplicationSupportFolderType, "XDG_DATA_HOME", ".local/share", ""},
    {kPreferencesFolderType, "XDG_CONFIG_HOME", ".config", ""},
    {kCachedDataFolderType, "XDG_CACHE_HOME", ".cache", ""},
    {kLogsFolderType, "XDG_STATE_HOME", ".local/state", ""},
    {kFontsFolderType, "XDG_DATA_HOME", ".local/share", "/fonts"},
    {kTrashFolderType, "XDG_DATA_HOME", ".local/share", "/Trash/files"},
};

int GetUserDomainPath(OSType inType, std::string& outPath) {
    if (inType == kDomainTopLevelFolderType || inType == kCurrentUserFolderType)
        return os::GetHomePath(outPath);
    for (const UserFolder& folder : kUserFolders)
        if (folder.type == inType) return GetUserFolderPath(folder.kind, folder.nameInHome, outPath);
    for (const BaseFolder& folder : kBaseFolders) {
        if (folder.type != inType) continue;
        const int error = os::GetBaseFolderPath(folder.variable, folder.pathInHome, outPath);
        if (error == 0 && !outPath.empty()) outPath += folder.pathInFolder;
        return error;
    }
    return 0;
}

// The user's own folder in one that others may write to. Where it is canonical, so is its path, which a link
// of theirs then cannot change.
FolderPlace OwnItemsIn(const std::string& inFolder) {
    FoundItem folder;
    std::string path = FindByPath(inFolder.c_str(), folder) == noErr ? folder.path : inFolder;
    if (!path.ends_with('/')) path += '/';
    return {path + ".TemporaryItems-" + std::to_string(os::Calls().getuid()), true};
}

// A folder beside the toolbox's library.
int GetPathBesideLibrary(std::string_view inName, std::string& outPath) {
    const int error = os::GetLibraryPath(outPath);
    if (error != 0) return error;
    outPath.erase(outPath.rfind('/'));
    constexpr std::string_view kPrograms = "/bin";
    if (outPath.ends_with(kPrograms))
        outPath.replace(outPath.size() - kPrograms.size(), kPrograms.size(), "/lib");
    outPath.append("/mirtal/").append(inName);
    return 0;
}

// Whether a path, or the nearest folder above it that there is, is on the volume.
bool IsOn(const Volume& inVolume, std::string inPath) {
    while (!inPath.empty()) {
        FoundItem item;
        os::VolumeKey key;
        if (FindByPath(inPath.c_str(), item) == noErr)
            return GetVolumeKey(item, key) == noErr && key == inVolume.key;
        if (inPath == "/") return false;
        inPath.erase(std::max<std::size_t>(inPath.rfind('/'), 1));
    }
    return false;
}

std::string PathInRoot(const Volume& inVolume, std::string_view inName) {
    std::string path = inVolume.rootPath;
    if (!path.ends_with('/')) path += '/';
    return path.append(inName);
}

// Whether an administrator made a folder that all users may put theirs into, and nobody may take those away.
bool IsSharedTrash(const std::string& inPath) {
    struct statx status = {};
    return os::Calls().statx(AT_FDCWD, inPath.c_str(), AT_SYMLINK_NOFOLLOW, STATX_BASIC_STATS, &status) ==
               0 &&
           S_ISDIR(status.stx_mode) && (status.stx_mode & S_ISVTX) != 0;
}

}  // namespace

int GetDomainFolderPath(Domain inDomain, OSType inType, std::string& outPath) {
    outPath.clear();
    if (inDomain == Domain::kUser) return GetUserDomainPath(inType, outPath);
    for (const FixedFolder& folder : kFixedFolders)
        if (folder.domain == inDomain && folder.type == inType) outPath = folder.path;
    if (inDomain != Domain::kSystem) return 0;
    if (inType == kFrameworksFolderType) return GetPathBesideLibrary("Frameworks", outPath);
    if (inType == kPrivateFrameworksFolderType) return GetPathBesideLibrary("PrivateFrameworks", outPath);
    return 0;
}

FolderPlace TemporaryPlace() {
    const std::string path = os::PathInVariable("TMPDIR");
    return OwnItemsIn(path.empty() ? "/tmp" : path);
}

// What outlives a start of the machine comes before what does not: an item that passes through may be left
// there.
std::vector<FolderPlace> TemporaryPlacesOn(const Volume& inVolume) {
    std::vector<FolderPlace> places;
    std::string state;
    // A home that cannot be asked for is one place less.
    (void)os::GetBaseFolderPath("XDG_STATE_HOME", ".local/state", state);
    for (const std::string& path :
         {os::PathInVariable("TMPDIR"), std::string("/var/tmp"), std::string("/tmp"), state})
        if (!path.empty() && IsOn(inVolume, path)) places.push_back(OwnItemsIn(path));
    places.push_back(OwnItemsIn(inVolume.rootPath));
    return places;
}

int GetTrashPlacesOn(const Volume& inVolume, std::vector<FolderPlace>& outPlaces) {
    outPlaces.clear();
    std::string users;
    const int error = GetDomainFolderPath(Domain::kUser, kTrashFolderType, users);
    if (error != 0) return error;
    if (IsOn(inVolume, users)) {
        outPlaces.push_back({users});
        return 0;
    }
    const std::string userID = std::to_string(os::Calls().getuid());
    const std::string shared = PathInRoot(inVolume, ".Trash");
    if (IsSharedTrash(shared)) outPlaces.push_back({shared + '/' + userID + "/files", true});
    outPlaces.push_back({PathInRoot(inVolume, ".Trash-" + userID + "/files"), true});
    return 0;
}

}  // namespace toolbox::files

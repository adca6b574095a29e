#include "catalogue/Catalogue.h"
#include "folders/FolderPlaces.h"
#include "support/FailingCalls.h"
#include "support/FailingNew.h"
#include "support/FileWorld.h"
#include "support/UserDatabase.h"
#include "support/Variables.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <toolbox/Folders.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <cstring>
#include <filesystem>

using namespace toolbox::files;
using namespace toolbox::os;
using support::FileWorld;
using test_files::FailingCalls;
using test_files::FailingNew;
using test_files::Variables;

namespace {

std::string PathOf(const FSRef& inRef) {
    char path[4096];
    const OSStatus status = FSRefMakePath(&inRef, reinterpret_cast<UInt8*>(path), sizeof(path));
    return status == noErr ? path : "status " + std::to_string(status);
}

// The folder's path, or the status as text.
std::string Find(SInt16 inWhere, OSType inType, bool inMakes = false) {
    FSRef ref = {};
    const OSErr status = FSFindFolder(inWhere, inType, inMakes, &ref);
    return status == noErr ? PathOf(ref) : "status " + std::to_string(status);
}
std::string Status(OSStatus inStatus) {
    return "status " + std::to_string(inStatus);
}

mode_t ModeOf(const std::string& inPath) {
    return FileWorld::StatusOf(inPath).stx_mode & 07777;
}

// Or the status of its absence.
std::string Canonical(const char* inPath) {
    char path[PATH_MAX];
    return Calls().realpath(inPath, path) == nullptr ? Status(fnfErr) : path;
}

std::string FolderOfThisProgram() {
    return std::filesystem::read_symlink("/proc/self/exe").parent_path().string();
}

// A volume that is a folder of the test's.
Volume VolumeAt(const std::string& inRootPath) {
    FoundItem item;
    EXPECT_EQ(noErr, FindByPath(inRootPath.c_str(), item));
    return {{item.status.mount, item.status.identity.device + 1}, inRootPath};
}

std::vector<std::string> PathsOf(const std::vector<FolderPlace>& inPlaces) {
    std::vector<std::string> paths;
    for (const FolderPlace& place : inPlaces)
        paths.push_back(place.path);
    return paths;
}

std::vector<FolderPlace> TrashesOn(const Volume& inVolume) {
    std::vector<FolderPlace> places(7);
    EXPECT_EQ(0, GetTrashPlacesOn(inVolume, places));
    return places;
}

struct Row {
    OSType type;
    const char* path;  // in the home folder
};
constexpr Row kUserRows[] = {
    {kDesktopFolderType, "Desktop"},
    {kDocumentsFolderType, "Documents"},
    {kDownloadsFolderType, "Downloads"},
    {kMovieDocumentsFolderType, "Videos"},
    {kPictureDocumentsFolderType, "Pictures"},
    {kPublicFolderType, "Public"},
    {kMusicDocumentsFolderType, "Music"},
    {kApplicationSupportFolderType, ".local/share"},
    {kPreferencesFolderType, ".config"},
    {kCachedDataFolderType, ".cache"},
    {kLogsFolderType, ".local/state"},
    {kFontsFolderType, ".local/share/fonts"},
    {kTrashFolderType, ".local/share/Trash/files"},
};

}  // namespace

class Folders : public support::FileWorldTest {
  protected:
    FileWorld& mHome = mFolder;
    Variables mVariables{{"HOME", mHome.Path()}};
    const std::string mOwn = ".TemporaryItems-" + std::to_string(::getuid());
};
INSTANTIATE_TEST_SUITE_P(Worlds, Folders, support::BothWorlds(), support::NameOfWorld);

TEST_P(Folders, CodesAreFourCharacters) {
    EXPECT_EQ(FourChars("dtop"), UInt32{kDomainTopLevelFolderType});
    EXPECT_EQ(FourChars("cusr"), UInt32{kCurrentUserFolderType});
    EXPECT_EQ(FourChars("desk"), UInt32{kDesktopFolderType});
    EXPECT_EQ(FourChars("docs"), UInt32{kDocumentsFolderType});
    EXPECT_EQ(FourChars("down"), UInt32{kDownloadsFolderType});
    EXPECT_EQ(FourChars("mdoc"), UInt32{kMovieDocumentsFolderType});
    EXPECT_EQ(FourChars("pdoc"), UInt32{kPictureDocumentsFolderType});
    EXPECT_EQ(FourChars("pubb"), UInt32{kPublicFolderType});
    EXPECT_EQ(FourChars("asup"), UInt32{kApplicationSupportFolderType});
    EXPECT_EQ(FourChars("pref"), UInt32{kPreferencesFolderType});
    EXPECT_EQ(FourChars("cach"), UInt32{kCachedDataFolderType});
    EXPECT_EQ(FourChars("logs"), UInt32{kLogsFolderType});
    EXPECT_EQ(FourChars("font"), UInt32{kFontsFolderType});
    EXPECT_EQ(FourChars("trsh"), UInt32{kTrashFolderType});
    EXPECT_EQ(FourChars("temp"), UInt32{kTemporaryFolderType});
    EXPECT_EQ(FourChars("fram"), UInt32{kFrameworksFolderType});
    EXPECT_EQ(FourChars("pfrm"), UInt32{kPrivateFrameworksFolderType});
    EXPECT_EQ(0xB5646F63U, kMusicDocumentsFolderType);
}

TEST_P(Folders, OfTheUserAreMadeOnRequest) {
    for (const Row& row : kUserRows) {
        EXPECT_EQ(Status(fnfErr), Find(kUserDomain, row.type)) << row.path;
        EXPECT_FALSE(FileWorld::Exists(mHome / row.path)) << row.path;
        EXPECT_EQ(mHome / row.path, Find(kUserDomain, row.type, true));
        EXPECT_EQ(0700U, ModeOf(mHome / row.path)) << row.path;
        EXPECT_EQ(mHome / row.path, Find(kUserDomain, row.type)) << "found again";
        EXPECT_EQ(mHome / row.path, Find(kUserDomain, row.type, true)) << "made again";
        FileWorld::RemoveAll(mHome / row.path);
    }
}

TEST_P(Folders, Home) {
    for (const bool makes : {false, true}) {
        EXPECT_EQ(mHome.Path(), Find(kUserDomain, kDomainTopLevelFolderType, makes));
        EXPECT_EQ(mHome.Path(), Find(kUserDomain, kCurrentUserFolderType, makes));
    }
    EXPECT_EQ(mHome.Path(), Find(kOnSystemDisk, kDomainTopLevelFolderType));
}

TEST_P(Folders, VariablesAndSettings) {
    mVariables["XDG_DATA_HOME"] = mHome / "data";
    mVariables["XDG_CONFIG_HOME"] = mHome / "config";
    mVariables["XDG_CACHE_HOME"] = mHome / "cache";
    mVariables["XDG_STATE_HOME"] = mHome / "state";
    EXPECT_EQ(mHome / "data", Find(kUserDomain, kApplicationSupportFolderType, true));
    EXPECT_EQ(mHome / "data/fonts", Find(kUserDomain, kFontsFolderType, true));
    EXPECT_EQ(mHome / "data/Trash/files", Find(kUserDomain, kTrashFolderType, true));
    EXPECT_EQ(mHome / "config", Find(kUserDomain, kPreferencesFolderType, true));
    EXPECT_EQ(mHome / "cache", Find(kUserDomain, kCachedDataFolderType, true));
    EXPECT_EQ(mHome / "state", Find(kUserDomain, kLogsFolderType, true));
    mHome.MakeFile(
        "config/user-dirs.dirs",
        "XDG_DESKTOP_DIR=\"$HOME/1\"\nXDG_DOCUMENTS_DIR=\"$HOME/2\"\nXDG_DOWNLOAD_DIR=\"$HOME/3\"\n"
        "XDG_VIDEOS_DIR=\"$HOME/4\"\nXDG_MUSIC_DIR=\"$HOME/5\"\nXDG_PICTURES_DIR=\"$HOME/6\"\n"
        "XDG_PUBLICSHARE_DIR=\"$HOME/7\"\n");
    EXPECT_EQ(mHome / "1", Find(kUserDomain, kDesktopFolderType, true));
    EXPECT_EQ(mHome / "2", Find(kUserDomain, kDocumentsFolderType, true));
    EXPECT_EQ(mHome / "3", Find(kUserDomain, kDownloadsFolderType, true));
    EXPECT_EQ(mHome / "4", Find(kUserDomain, kMovieDocumentsFolderType, true));
    EXPECT_EQ(mHome / "5", Find(kUserDomain, kMusicDocumentsFolderType, true));
    EXPECT_EQ(mHome / "6", Find(kUserDomain, kPictureDocumentsFolderType, true));
    EXPECT_EQ(mHome / "7", Find(kUserDomain, kPublicFolderType, true));
}

TEST_P(Folders, ALinkLeadsToTheFolder) {
    mHome.MakeFolder("elsewhere");
    mHome.MakeLink("elsewhere", "Desktop");
    EXPECT_EQ(mHome / "elsewhere", Find(kUserDomain, kDesktopFolderType));
}

TEST_P(Folders, WhenSomethingElseHasThePlace) {
    mHome.MakeFile("Desktop");
    mHome.MakeLink("nowhere", "Music");
    mHome.MakeFile(".local");
    for (const bool makes : {false, true})
        EXPECT_EQ(Status(errFSNotAFolder), Find(kUserDomain, kDesktopFolderType, makes));
    EXPECT_EQ(Status(fnfErr), Find(kUserDomain, kMusicDocumentsFolderType));
    EXPECT_EQ(Status(fnfErr), Find(kUserDomain, kMusicDocumentsFolderType, true));
    EXPECT_EQ(Status(dirNFErr), Find(kUserDomain, kApplicationSupportFolderType, true));
}

TEST_P(Folders, TheTrashHasItsTwoFolders) {
    EXPECT_EQ(mHome / ".local/share/Trash/files", Find(kOnAppropriateDisk, kTrashFolderType, true));
    EXPECT_EQ(0700U, ModeOf(mHome / ".local/share/Trash/info"));
}

TEST_P(Folders, OfOtherDomains) {
    struct DomainRow {
        SInt16 domain;
        OSType type;
        const char* path;
    };
    const DomainRow rows[] = {
        {kLocalDomain, kDomainTopLevelFolderType, "/usr/local"},
        {kLocalDomain, kApplicationSupportFolderType, "/usr/local/share"},
        {kLocalDomain, kPreferencesFolderType, "/etc/xdg"},
        {kLocalDomain, kCachedDataFolderType, "/var/cache"},
        {kLocalDomain, kLogsFolderType, "/var/log"},
        {kLocalDomain, kFontsFolderType, "/usr/local/share/fonts"},
        {kSystemDomain, kDomainTopLevelFolderType, "/usr"},
        {kSystemDomain, kApplicationSupportFolderType, "/usr/share"},
        {kSystemDomain, kFontsFolderType, "/usr/share/fonts"},
    };
    // The real ones are there already.
    for (const char* const path : {"/usr", "/usr/local", "/usr/share", "/etc", "/etc/xdg"})
        EXPECT_TRUE(mHome.Memory() == nullptr || Calls().mkdirat(AT_FDCWD, path, 0755) == 0) << path;
    for (const DomainRow& row : rows) {
        EXPECT_EQ(Canonical(row.path), Find(row.domain, row.type)) << row.path;
    }
}

TEST_P(Folders, DomainsThatHaveNone) {
    for (const Row& row : kUserRows) {
        EXPECT_EQ(Status(fnfErr), Find(kNetworkDomain, row.type, true)) << row.path;
    }
    for (const SInt16 domain : {kLocalDomain, kSystemDomain}) {
        EXPECT_EQ(Status(fnfErr), Find(domain, kDesktopFolderType, true));
        EXPECT_EQ(Status(fnfErr), Find(domain, kTrashFolderType, true));
        EXPECT_EQ(Status(fnfErr), Find(domain, kCurrentUserFolderType, true));
    }
    EXPECT_EQ(Status(fnfErr), Find(kSystemDomain, kPreferencesFolderType, true));
    EXPECT_EQ(Status(fnfErr), Find(kUserDomain, kFrameworksFolderType, true));
    EXPECT_EQ(Status(fnfErr), Find(kLocalDomain, kPrivateFrameworksFolderType, true));
    EXPECT_EQ(Status(fnfErr), Find(kUserDomain, FourChars("none"), true));
    EXPECT_EQ(Status(fnfErr), Find(kOnSystemDisk, FourChars("none"), true));
    EXPECT_EQ(Status(nsvErr), Find(-31000, kDesktopFolderType, true));
    EXPECT_EQ(Status(nsvErr), Find(1, kDesktopFolderType, true));
    EXPECT_EQ(Status(nsvErr), Find(-32762, kDesktopFolderType, true));
}

TEST_P(Folders, WithoutAHome) {
    mVariables["HOME"] = "";
    const test_files::UserDatabase unknown(nullptr);
    for (const Row& row : kUserRows)
        EXPECT_EQ(Status(fnfErr), Find(kUserDomain, row.type, true)) << row.path;
    EXPECT_EQ(Status(fnfErr), Find(kUserDomain, kDomainTopLevelFolderType));
}

TEST_P(Folders, InTheHomeOfTheUserDatabase) {
    const test_files::UserDatabase database(mHome.Path().c_str());
    for (const char* unset : {"", "relative"}) {
        mVariables["HOME"] = unset;
        EXPECT_EQ(mHome.Path(), Find(kUserDomain, kDomainTopLevelFolderType));
        for (const Row& row : kUserRows)
            EXPECT_EQ(mHome / row.path, Find(kUserDomain, row.type, true));
    }
}

TEST_P(Folders, AUserDatabaseThatCannotBeAskedIsTold) {
    mVariables["HOME"] = "";
    const test_files::UserDatabase broken(mHome.Path().c_str(), EMFILE);
    for (const Row& row : kUserRows) {
        EXPECT_EQ(Status(tmfoErr), Find(kUserDomain, row.type, true)) << row.path;
        EXPECT_EQ(Status(tmfoErr), Find(kOnSystemDisk, row.type, true)) << row.path;
        EXPECT_EQ(Status(tmfoErr), Find(kBootVolume, row.type, true)) << row.path;
    }
    EXPECT_EQ(Status(tmfoErr), Find(kUserDomain, kDomainTopLevelFolderType));
}

TEST_P(Folders, OnTheSystemDiskMeansTheUsersOrTheSystems) {
    const std::string desktop = mHome.MakeFolder("Desktop");
    for (const SInt16 where : {SInt16{kOnSystemDisk}, SInt16{kOnAppropriateDisk}, SInt16{0}, kBootVolume}) {
        EXPECT_EQ(desktop, Find(where, kDesktopFolderType)) << where;
        EXPECT_EQ(Find(kSystemDomain, kFrameworksFolderType), Find(where, kFrameworksFolderType)) << where;
        EXPECT_EQ(Status(fnfErr), Find(where, kApplicationSupportFolderType)) << "the user's comes first";
    }
}

// Over the real one alone: the loader knows where this program lies.
TEST(FoldersOfThisProgram, HoldTheFrameworks) {
    // This program carries the toolbox inside itself, in bin/.
    const std::filesystem::path bin = FolderOfThisProgram();
    ASSERT_EQ("bin", bin.filename());
    const std::string lib = (bin.parent_path() / "lib").string();
    EXPECT_EQ(lib + "/mirtal/Frameworks", Find(kOnSystemDisk, kFrameworksFolderType));
    EXPECT_EQ(lib + "/mirtal/PrivateFrameworks", Find(kOnSystemDisk, kPrivateFrameworksFolderType));
    EXPECT_EQ(lib + "/mirtal/Frameworks", Find(kSystemDomain, kFrameworksFolderType, true));
}

TEST_P(Folders, FrameworksMoveWithTheLibrary) {
    static std::string sLibrary;
    auto& calls = CallsForTesting();
    static SystemCalls sReal;
    sReal = calls;
    calls.realpath = [](const char* inPath, char* outPath) -> char* {
        // The test carries the toolbox inside itself.
        if (std::string_view(inPath) != "/proc/self/exe") return sReal.realpath(inPath, outPath);
        if (sLibrary.empty()) return errno = ENOENT, nullptr;
        return strdup(sLibrary.c_str());
    };
    sLibrary = mHome / "x/lib/x86_64-linux-gnu/libmirtal_toolbox.so.1";
    const std::string folder = mHome / "x/lib/x86_64-linux-gnu/mirtal";
    EXPECT_EQ(Status(fnfErr), Find(kOnSystemDisk, kFrameworksFolderType));
    EXPECT_EQ(folder + "/Frameworks", Find(kOnSystemDisk, kFrameworksFolderType, true));
    EXPECT_EQ(folder + "/PrivateFrameworks", Find(kOnSystemDisk, kPrivateFrameworksFolderType, true));
    EXPECT_EQ(0700U, ModeOf(folder + "/Frameworks") & 0700U);
    sLibrary = mHome / "y/cabin/program";
    EXPECT_EQ(mHome / "y/cabin/mirtal/Frameworks", Find(kOnSystemDisk, kFrameworksFolderType, true));
    sLibrary.clear();
    EXPECT_EQ(Status(fnfErr), Find(kOnSystemDisk, kFrameworksFolderType, true));
    calls = sReal;
}

TEST_P(Folders, Temporary) {
    const std::string inTmp = mHome.Memory() == nullptr ? Canonical("/tmp") : "/tmp";
    for (const char* const unset : {"", "relative"}) {
        mVariables["TMPDIR"] = unset;
        EXPECT_EQ(inTmp + '/' + mOwn, TemporaryPlace().path);
    }
    mVariables["TMPDIR"] = mHome / "t";
    EXPECT_EQ(Status(fnfErr), Find(kOnSystemDisk, kTemporaryFolderType));
    EXPECT_EQ(mHome / "t/" + mOwn, Find(kUserDomain, kTemporaryFolderType, true));
    EXPECT_EQ(mHome / "t/" + mOwn, Find(kLocalDomain, kTemporaryFolderType));
    EXPECT_EQ(mHome / "t/" + mOwn, Find(kSystemDomain, kTemporaryFolderType));
    EXPECT_EQ(0700U, ModeOf(mHome / "t/" + mOwn));
    mHome.MakeLink("t", "link");
    mVariables["TMPDIR"] = mHome / "link";
    EXPECT_EQ(mHome / "t/" + mOwn, Find(kUserDomain, kTemporaryFolderType)) << "the user's own link";
}

TEST_P(Folders, TemporaryIsTheUsersOwn) {
    mHome.MakeFolder("t");
    mHome.MakeFolder("others");
    mHome.MakeLink("../others", "t/" + mOwn);
    mVariables["TMPDIR"] = mHome / "t";
    for (const bool makes : {false, true})
        EXPECT_EQ(Status(afpAccessDenied), Find(kUserDomain, kTemporaryFolderType, makes));
    if (mHome.Memory() == nullptr) return;  // where it would be beside the machine's own
    FoundItem home;
    SInt16 volume = 0;
    ASSERT_EQ(noErr, FindByPath(mHome.Path().c_str(), home));
    ASSERT_EQ(noErr, GetVolumeNumber(home, volume));
    EXPECT_EQ("/var/tmp/" + mOwn, Find(volume, kTemporaryFolderType, true)) << "there are other places";
}

TEST_P(Folders, TemporaryOnAVolume) {
    FoundItem home;
    ASSERT_EQ(noErr, FindByPath(mHome.Path().c_str(), home));
    const Volume same = {home.status.Volume(), "/"};
    mVariables["TMPDIR"] = mHome / "t";
    EXPECT_EQ(mHome / "t/" + mOwn, PathsOf(TemporaryPlacesOn(same)).front());
    mVariables["TMPDIR"] = "/proc/none";
    mVariables["XDG_STATE_HOME"] = mHome / "state";
    if (mHome.Memory() != nullptr) {
        EXPECT_EQ((std::vector{"/var/tmp/" + mOwn, "/tmp/" + mOwn, mHome / "state/" + mOwn, "/" + mOwn}),
                  PathsOf(TemporaryPlacesOn(same)));
    }
    EXPECT_EQ(std::vector{mHome / mOwn}, PathsOf(TemporaryPlacesOn(VolumeAt(mHome.Path()))));
    EXPECT_EQ(std::vector{"/" + mOwn}, PathsOf(TemporaryPlacesOn(VolumeAt("/"))));
    Volume mountedTwice = {home.status.Volume(), mHome.Path()};
    ++mountedTwice.key.mount;
    EXPECT_EQ(std::vector{mHome / mOwn}, PathsOf(TemporaryPlacesOn(mountedTwice)))
        << "nothing is renamed from the one mount to the other";
    mVariables["HOME"] = "";
    mVariables["XDG_STATE_HOME"] = "";
    const test_files::UserDatabase broken(mHome.Path().c_str(), EMFILE);
    EXPECT_EQ(std::vector{mHome / mOwn}, PathsOf(TemporaryPlacesOn(VolumeAt(mHome.Path()))));
}

TEST_P(Folders, TrashOnAVolume) {
    FoundItem home;
    ASSERT_EQ(noErr, FindByPath(mHome.Path().c_str(), home));
    EXPECT_EQ(std::vector{mHome / ".local/share/Trash/files"},
              PathsOf(TrashesOn({home.status.Volume(), "/"})))
        << "the volume that the user's trash will be on";
    const std::string user = std::to_string(::getuid());
    const std::vector own = {mHome / ".Trash-" + user + "/files"};
    const Volume other = VolumeAt(mHome.Path());
    EXPECT_EQ(own, PathsOf(TrashesOn(other)));
    mHome.MakeFolder(".Trash");
    EXPECT_EQ(own, PathsOf(TrashesOn(other))) << "users could take each other's away";
    FileWorld::SetMode(mHome / ".Trash", 01777);
    EXPECT_EQ((std::vector{mHome / ".Trash/" + user + "/files", own[0]}), PathsOf(TrashesOn(other)));
    FileWorld::Rename(mHome / ".Trash", mHome / "moved");
    mHome.MakeLink("moved", ".Trash");
    EXPECT_EQ(own, PathsOf(TrashesOn(other))) << "a link";
}

// While it lives, a folder seems to be where another device is mounted.
class MountedFolder {
  public:
    explicit MountedFolder(const std::string& inRootPath) : mReal(CallsForTesting().statx) {
        sReal = mReal;
        sPath = inRootPath;
        CallsForTesting().statx = [](int inFolder, const char* inPath, int inFlags, unsigned inMask,
                                     struct statx* outStatus) {
            const int result = sReal(inFolder, inPath, inFlags, inMask, outStatus);
            if ((std::string(inPath) + '/').starts_with(sPath + '/')) outStatus->stx_dev_minor += 1000;
            return result;
        };
    }
    ~MountedFolder() { CallsForTesting().statx = mReal; }

  private:
    using StatAt = decltype(SystemCalls::statx);
    static inline StatAt sReal;
    static inline std::string sPath;
    StatAt mReal;
};

TEST_P(Folders, OnAnotherVolume) {
    const std::string root = mHome.MakeFolder("mounted");
    const std::string user = std::to_string(::getuid());
    const std::string items = root + "/.TemporaryItems-" + user;
    const std::string trash = root + "/.Trash-" + user;
    const MountedFolder mounted(root);
    FoundItem item;
    SInt16 volume = 0;
    ASSERT_EQ(noErr, FindByPath(root.c_str(), item));
    ASSERT_EQ(noErr, GetVolumeNumber(item, volume));
    EXPECT_EQ(Status(fnfErr), Find(volume, kTemporaryFolderType));
    EXPECT_EQ(items, Find(volume, kTemporaryFolderType, true));
    EXPECT_EQ(0700U, ModeOf(items));
    EXPECT_EQ(Status(fnfErr), Find(volume, kTrashFolderType));
    EXPECT_EQ(trash + "/files", Find(volume, kTrashFolderType, true));
    EXPECT_TRUE(FileWorld::Exists(trash + "/info"));
    const std::string desktop = mHome.MakeFolder("Desktop");
    EXPECT_EQ(desktop, Find(volume, kDesktopFolderType)) << "the user's, wherever it is";
    SInt16 foundVolume = 0;
    EXPECT_EQ(noErr, FindFolder(volume, kTemporaryFolderType, kDontCreateFolder, &foundVolume, nullptr));
    EXPECT_EQ(volume, foundVolume);
    // The trash that an administrator made comes first, once it is there or to be made.
    FileWorld::RemoveAll(trash);
    mHome.MakeFolder("mounted/.Trash");
    FileWorld::SetMode(root + "/.Trash", 01777);
    EXPECT_EQ(root + "/.Trash/" + user + "/files", Find(volume, kTrashFolderType, true));
    // What somebody else put there is not used.
    FileWorld::Remove(items, true);
    mHome.MakeLink(mHome.MakeFolder("mounted/others"), "mounted/" + items.substr(root.size() + 1));
    EXPECT_EQ(Status(afpAccessDenied), Find(volume, kTemporaryFolderType, true));
    FileWorld::RemoveAll(root + "/.Trash");
    mHome.MakeFolder("mounted/others/files");
    mHome.MakeLink("others", "mounted/" + trash.substr(root.size() + 1));
    EXPECT_EQ(Status(afpAccessDenied), Find(volume, kTrashFolderType, true)) << "a link on the way";
}

// As a user may not make anything in the root of "/home".
TEST_P(Folders, HomesOnAVolumeOfTheirOwn) {
    const std::string root = mHome.MakeFolder("mounted");
    const MountedFolder mounted(root);
    mVariables["HOME"] = mHome.MakeFolder("mounted/user");
    FoundItem item;
    SInt16 volume = 0;
    ASSERT_EQ(noErr, FindByPath(root.c_str(), item));
    ASSERT_EQ(noErr, GetVolumeNumber(item, volume));
    EXPECT_EQ(root + "/user/.local/state/" + mOwn, Find(volume, kTemporaryFolderType, true));
    EXPECT_EQ(0700U, ModeOf(root + "/user/.local/state/" + mOwn));
}

TEST_P(Folders, FindFolderAnswersVolumeAndFolder) {
    const std::string desktop = mHome.MakeFolder("Desktop");
    FoundItem item;
    ASSERT_EQ(noErr, FindByPath(desktop.c_str(), item));
    SInt16 number = 0;
    ASSERT_EQ(noErr, GetVolumeNumber(item, number));
    SInt16 volume = 0;
    UInt32 folderID = 0;
    EXPECT_EQ(noErr, FindFolder(kUserDomain, kDesktopFolderType, kDontCreateFolder, &volume, &folderID));
    EXPECT_EQ(number, volume);
    EXPECT_EQ(item.facts.nodeID, folderID);
    EXPECT_EQ(noErr, FindFolder(kUserDomain, kDesktopFolderType, kDontCreateFolder, nullptr, nullptr));
    volume = 77;
    folderID = 77;
    EXPECT_EQ(fnfErr,
              FindFolder(kUserDomain, kMusicDocumentsFolderType, kDontCreateFolder, &volume, &folderID));
    EXPECT_EQ(77, volume);
    EXPECT_EQ(77U, folderID);
}

TEST_P(Folders, OutputIsUntouchedOnFailure) {
    FSRef ref;
    std::memset(&ref, 0x55, sizeof(ref));
    const FSRef before = ref;
    EXPECT_EQ(fnfErr, FSFindFolder(kUserDomain, kDesktopFolderType, kDontCreateFolder, &ref));
    EXPECT_EQ(0, std::memcmp(&before, &ref, sizeof(ref)));
    EXPECT_EQ(paramErr, FSFindFolder(kUserDomain, kDesktopFolderType, kDontCreateFolder, nullptr));
}

TEST_P(Folders, EveryFailingCallIsTold) {
    const test_files::UserDatabase database(mHome.Path().c_str());
    const std::size_t descriptorsBefore = OpenDescriptorCount();
    const OSErr expected[] = {noErr, ioErr};
    for (const OSType type : {OSType{kTrashFolderType}, OSType{kDesktopFolderType}}) {
        int failureCount = 0;
        for (int n = 1;; ++n) {
            FileWorld::RemoveAll(mHome / ".local");
            FileWorld::RemoveAll(mHome / "Desktop");
            SInt16 volume = 0;
            UInt32 folderID = 0;
            OSErr status = noErr;
            bool wasDelivered = false;
            {
                const FailingCalls calls(n, EIO);
                status = FindFolder(kUserDomain, type, kCreateFolder, &volume, &folderID);
                wasDelivered = calls.Delivered();
            }
            if (!wasDelivered) {
                EXPECT_EQ(noErr, status);
                break;
            }
            // Settings that cannot be read count as missing; nothing else is passed over.
            EXPECT_THAT(expected, testing::Contains(status)) << n;
            EXPECT_EQ(status == noErr, volume != 0) << n;
            failureCount += status == ioErr;
            ASSERT_EQ(descriptorsBefore, OpenDescriptorCount()) << n;
        }
        EXPECT_GE(failureCount, 5);
    }
}

TEST_P(Folders, FullDisksAndReadOnlyVolumes) {
    for (const auto& [error, expected] :
         {std::pair{ENOSPC, dskFulErr}, {EROFS, wPrErr}, {EACCES, afpAccessDenied}}) {
        auto& calls = CallsForTesting();
        const auto real = calls.mkdirat;
        static int sError;
        sError = error;
        calls.mkdirat = [](int, const char*, mode_t) {
            errno = sError;
            return -1;
        };
        EXPECT_EQ(Status(expected), Find(kUserDomain, kDesktopFolderType, true));
        calls.mkdirat = real;
    }
}

TEST_P(Folders, FailsCleanlyWithoutMemory) {
    mHome.MakeFolder("Desktop");
    mHome.MakeFolder(".config");
    mHome.MakeFile(".config/user-dirs.dirs", "XDG_DESKTOP_DIR=\"$HOME/Desktop\"\n");
    FSRef ref = {};
    int failureCount = 0;
    for (int n = 1;; ++n, ++failureCount) {
        OSErr status = noErr;
        bool isDelivered = false;
        {
            const FailingNew memory(n);
            status = FSFindFolder(kUserDomain, kDesktopFolderType, kCreateFolder, &ref);
            isDelivered = memory.Delivered();
        }
        EXPECT_EQ(isDelivered ? memFullErr : noErr, status) << n;
        if (!isDelivered) break;
    }
    EXPECT_GT(failureCount, 5);
}

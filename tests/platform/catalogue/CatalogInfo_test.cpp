#include "CatalogTest.h"
#include "support/CountedCalls.h"
#include "support/FailingCalls.h"
#include "support/FailingNew.h"
#include "support/FileWorld.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <toolbox/CatalogInfo.h>
#include <unistd.h>

#include <cstdio>
#include <cstring>
#include <string>

namespace {

using namespace test_files;
using support::FileWorld;

constexpr FSCatalogInfoBitmap kAll = kFSCatInfoNodeFlags | kFSCatInfoVolume | kFSCatInfoParentDirID |
                                     kFSCatInfoNodeID | kFSCatInfoContentMod | kFSCatInfoAttrMod |
                                     kFSCatInfoAccessDate | kFSCatInfoPermissions | kFSCatInfoDataSizes;

std::u16string TextOf(const HFSUniStr255& inName) {
    return std::u16string(inName.unicode, inName.unicode + inName.length);
}

UInt64 SecondsOf(const UTCDateTime& inDate) {
    return UInt64{inDate.highSeconds} << 32 | inDate.lowSeconds;
}

class CatalogInfoTest : public CatalogItemsTest<support::FileWorldTest> {
  protected:
    static OSErr SetMode(const std::string& inPath, UInt16 inMode) {
        const FSRef ref = RefOf(inPath);
        FSCatalogInfo info = {};
        info.permissions.mode = inMode;
        return FSSetCatalogInfo(&ref, kFSCatInfoPermissions, &info);
    }
};
INSTANTIATE_TEST_SUITE_P(Worlds, CatalogInfoTest, support::BothWorlds(), support::NameOfWorld);

TEST_P(CatalogInfoTest, FileAndFolder) {
    const std::string file = mFolder.MakeFile("file", "12345");
    const FSCatalogInfo info = InfoOf(file, kAll);
    const FSCatalogInfo folder = InfoOf(mFolder.Path(), kAll);
    EXPECT_EQ(0, info.nodeFlags);
    EXPECT_EQ(kFSNodeIsDirectoryMask, folder.nodeFlags);
    EXPECT_EQ(folder.nodeID, info.parentDirID);
    EXPECT_NE(folder.nodeID, info.nodeID);
    EXPECT_EQ(folder.volume, info.volume);
    EXPECT_LT(info.volume, 0);
    EXPECT_EQ(5U, info.dataLogicalSize);
    EXPECT_EQ(static_cast<UInt64>(FileWorld::StatusOf(file).stx_blocks) * 512, info.dataPhysicalSize);
    EXPECT_EQ(0U, folder.dataLogicalSize);
    EXPECT_EQ(0U, folder.dataPhysicalSize);
}

TEST_P(CatalogInfoTest, RootFolder) {
    const FSCatalogInfo info = InfoOf("/", kAll);
    EXPECT_EQ(2U, info.nodeID);
    EXPECT_EQ(1U, info.parentDirID);
    const FSRef root = RefOf("/");
    FSRef parent;
    std::memset(&parent, 0xEE, sizeof parent);
    HFSUniStr255 name;
    EXPECT_EQ(noErr, FSGetCatalogInfo(&root, kFSCatInfoNone, nullptr, &name, nullptr, &parent));
    EXPECT_EQ(FSRef().hidden[0], parent.hidden[0]);
    for (const UInt8 byte : parent.hidden)
        EXPECT_EQ(0, byte);
    EXPECT_EQ(u"/", TextOf(name));
}

TEST_P(CatalogInfoTest, NameAndParent) {
    const std::string path = mFolder.MakeFile("a:b \xC3\xA9 \xFF");
    const FSRef ref = RefOf(path);
    HFSUniStr255 name;
    FSRef parent = {};
    EXPECT_EQ(noErr, FSGetCatalogInfo(&ref, kFSCatInfoNone, nullptr, &name, nullptr, &parent));
    EXPECT_EQ(u"a/b \u00E9 \uF7FF", TextOf(name));
    EXPECT_EQ(mFolder.Path(), PathOf(parent));
    mFolder.Rename(path, mFolder / "other");
    EXPECT_EQ(noErr, FSGetCatalogInfo(&ref, kFSCatInfoNone, nullptr, &name, nullptr, nullptr));
    EXPECT_EQ(u"other", TextOf(name));
}

TEST_P(CatalogInfoTest, LongestName) {
    const FSRef ref = RefOf(mFolder.MakeFile(std::string(255, 'n')));
    HFSUniStr255 name;
    EXPECT_EQ(noErr, FSGetCatalogInfo(&ref, kFSCatInfoNone, nullptr, &name, nullptr, nullptr));
    EXPECT_EQ(std::u16string(255, u'n'), TextOf(name));
}

TEST_P(CatalogInfoTest, Permissions) {
    const std::string path = mFolder.MakeFile("file");
    FileWorld::SetMode(path, 04751);
    FSCatalogInfo info = InfoOf(path, kFSCatInfoPermissions);
    EXPECT_EQ(0104751, info.permissions.mode) << "with the bits of the kind";
    EXPECT_EQ(getuid(), info.permissions.userID);
    EXPECT_EQ(FileWorld::StatusOf(path).stx_gid, info.permissions.groupID);
    EXPECT_EQ(7, info.permissions.userAccess);
    FileWorld::SetMode(path, 0644);
    info = InfoOf(path, kFSCatInfoPermissions);
    EXPECT_EQ(6, info.permissions.userAccess);
    EXPECT_EQ(040000, InfoOf(mFolder.Path(), kFSCatInfoPermissions).permissions.mode & 0170000);
}

TEST_P(CatalogInfoTest, Dates) {
    const std::string path = mFolder.MakeFile("file");
    mFolder.SetTimes(path, {0, 500'000'000}, {1'000'000'000, 250'000'000});
    const FSCatalogInfo info = InfoOf(path, kFSCatInfoContentMod | kFSCatInfoAccessDate | kFSCatInfoAttrMod);
    EXPECT_EQ(2'082'844'800U, SecondsOf(info.accessDate));
    EXPECT_EQ(0x8000, info.accessDate.fraction);
    EXPECT_EQ(3'082'844'800U, SecondsOf(info.contentModDate));
    EXPECT_EQ(0x4000, info.contentModDate.fraction);
    EXPECT_EQ(2'082'844'800U + static_cast<UInt64>(FileWorld::StatusOf(path).stx_ctime.tv_sec),
              SecondsOf(info.attributeModDate));
    mFolder.SetTimes(path, {0, 0}, {5'000'000'000, 0});
    // What the file system keeps of it; most keep it all.
    EXPECT_EQ(2'082'844'800U + static_cast<UInt64>(FileWorld::StatusOf(path).stx_mtime.tv_sec),
              SecondsOf(InfoOf(path, kFSCatInfoContentMod).contentModDate));
}

TEST_P(CatalogInfoTest, OnlyWhatIsAskedFor) {
    const FSRef ref = RefOf(mFolder.MakeFile("file"));
    FSCatalogInfo untouched;
    std::memset(&untouched, 0xEE, sizeof untouched);
    FSCatalogInfo info = untouched;
    EXPECT_EQ(noErr, FSGetCatalogInfo(&ref, kFSCatInfoNone, &info, nullptr, nullptr, nullptr));
    EXPECT_EQ(0, std::memcmp(&untouched, &info, sizeof info));
    EXPECT_EQ(noErr, FSGetCatalogInfo(&ref, kFSCatInfoNodeID, &info, nullptr, nullptr, nullptr));
    EXPECT_NE(untouched.nodeID, info.nodeID);
    info.nodeID = untouched.nodeID;
    EXPECT_EQ(0, std::memcmp(&untouched, &info, sizeof info));
    EXPECT_EQ(noErr, FSGetCatalogInfo(&ref, kFSCatInfoNone, nullptr, nullptr, nullptr, nullptr));
}

// However deep it lies.
TEST_P(CatalogInfoTest, CallsForWhatIsAskedFor) {
    mFolder.MakeFolder("1/2/3/4/5/6/7/8/9/10");
    const FSRef ref = RefOf(mFolder.MakeFile("1/2/3/4/5/6/7/8/9/10/file"));
    FSCatalogInfo info = {};
    FSSpec spec = {};
    // Volume and encoding of names are met once.
    EXPECT_EQ(noErr, FSGetCatalogInfo(&ref, kFSCatInfoNone, nullptr, nullptr, &spec, nullptr));
    const auto callsFor = [&](FSCatalogInfoBitmap inWhich, FSSpec* outSpec = nullptr) {
        const CountedCalls calls;
        EXPECT_EQ(noErr, FSGetCatalogInfo(&ref, inWhich, &info, nullptr, outSpec, nullptr));
        return calls.Made();
    };
    EXPECT_EQ("statx 1", callsFor(kFSCatInfoNone));
    EXPECT_EQ("statx 1", callsFor(kAll & ~(kFSCatInfoVolume | kFSCatInfoPermissions)));
    EXPECT_EQ("statx 2", callsFor(kFSCatInfoVolume)) << "the item and its volume's root";
    EXPECT_EQ("statx 2", callsFor(kFSCatInfoVolume, &spec));
    EXPECT_EQ("statx 1, faccessat 3", callsFor(kFSCatInfoPermissions));
    EXPECT_EQ("statx 2, faccessat 3", callsFor(kAll, &spec));
}

TEST_P(CatalogInfoTest, SetPermissions) {
    const std::string path = mFolder.MakeFile("file");
    EXPECT_EQ(noErr, SetMode(path, 0600));
    EXPECT_EQ(0100600U, FileWorld::StatusOf(path).stx_mode);
    EXPECT_EQ(noErr, SetMode(path, 0040755)) << "the kind stays";
    EXPECT_EQ(0100755U, FileWorld::StatusOf(path).stx_mode);
    EXPECT_EQ(noErr, SetMode(mFolder.MakeFolder("folder"), 01777));
    EXPECT_EQ(0041777U, FileWorld::StatusOf(mFolder / "folder").stx_mode);
}

TEST_P(CatalogInfoTest, SetOfARootFolder) {
    const UInt16 mode = FileWorld::StatusOf("/").stx_mode;
    EXPECT_EQ(noErr, SetMode("/", mode));
    EXPECT_EQ(mode, FileWorld::StatusOf("/").stx_mode);
}

// A link's information is its own, and its target is never touched.
TEST_P(CatalogInfoTest, Link) {
    const std::string target = mFolder.MakeFile("target", "12345");
    FileWorld::SetMode(target, 0640);
    mFolder.MakeLink("target", "link");
    const FSSpec spec = Here("link");
    FSRef ref = {};
    ASSERT_EQ(noErr, FSpMakeFSRef(&spec, &ref));
    FSCatalogInfo info = {};
    EXPECT_EQ(noErr, FSGetCatalogInfo(&ref, kAll, &info, nullptr, nullptr, nullptr));
    EXPECT_EQ(0120777, info.permissions.mode);
    EXPECT_EQ(7, info.permissions.userAccess);
    EXPECT_EQ(0U, info.dataLogicalSize);
    EXPECT_EQ(0, info.nodeFlags);
    EXPECT_EQ(noErr, FSSetCatalogInfo(&ref, kFSCatInfoPermissions, &info)) << "which it has";
    info.permissions.mode = 0600;
    EXPECT_EQ(permErr, FSSetCatalogInfo(&ref, kFSCatInfoPermissions, &info));
    EXPECT_EQ(0100640, FileWorld::StatusOf(target).stx_mode);
}

// Another program's doing between finding an item and changing it.
std::string sItemPath, sOtherPath;
toolbox::os::SystemCalls sReal;
TEST_P(CatalogInfoTest, SetOfWhatAnotherTookThePlaceOf) {
    sItemPath = mFolder.MakeFile("a");
    sOtherPath = mFolder.MakeFile("b");
    FileWorld::SetMode(sOtherPath, 0600);
    sReal = toolbox::os::Calls();
    toolbox::os::CallsForTesting().openat = [](int inFolder, const char* inPath, int inFlags, mode_t inMode) {
        EXPECT_EQ(
            0, sReal.renameat2(AT_FDCWD, sItemPath.c_str(), AT_FDCWD, sOtherPath.c_str(), RENAME_EXCHANGE));
        return sReal.openat(inFolder, inPath, inFlags, inMode);
    };
    const FSRef ref = RefOf(sItemPath);
    FSCatalogInfo info = {};
    info.permissions.mode = 0777;
    const OSErr error = FSSetCatalogInfo(&ref, kFSCatInfoPermissions, &info);
    toolbox::os::CallsForTesting() = sReal;
    EXPECT_EQ(fnfErr, error);
    EXPECT_EQ(0100600, FileWorld::StatusOf(sItemPath).stx_mode) << "the other's, which is there now";
}

// The same, later still, and with a link to somebody's.
TEST_P(CatalogInfoTest, SetOfWhatBecomesALink) {
    sItemPath = mFolder.MakeFile("a");
    sOtherPath = mFolder.MakeFile("b");
    FileWorld::SetMode(sOtherPath, 0600);
    mFolder.MakeLink("b", "link");
    const FSRef ref = RefOf(sItemPath);
    sReal = toolbox::os::Calls();
    toolbox::os::CallsForTesting().fchmodat = [](int inFolder, const char* inPath, mode_t inMode,
                                                 int inFlags) {
        const std::string link = sItemPath.substr(0, sItemPath.size() - 1) + "link";
        EXPECT_EQ(0, sReal.renameat2(AT_FDCWD, link.c_str(), AT_FDCWD, sItemPath.c_str(), RENAME_EXCHANGE));
        return sReal.fchmodat(inFolder, inPath, inMode, inFlags);
    };
    FSCatalogInfo info = {};
    info.permissions.mode = 0755;
    const OSErr error = FSSetCatalogInfo(&ref, kFSCatInfoPermissions, &info);
    toolbox::os::CallsForTesting() = sReal;
    EXPECT_EQ(noErr, error);
    EXPECT_EQ(0100600, FileWorld::StatusOf(sOtherPath).stx_mode) << "where the link leads";
    EXPECT_EQ(0100755, FileWorld::StatusOf(mFolder / "link").stx_mode) << "the item, by its new name";
}

TEST_P(CatalogInfoTest, WhetherItMayBeUsedCanBeUnknown) {
    const FSRef ref = RefOf(mFolder.MakeFile("file"));
    sReal = toolbox::os::Calls();
    for (const int error : {EACCES, EPERM, EROFS, EIO, ENOMEM}) {
        static int sErrno;
        sErrno = error;
        toolbox::os::CallsForTesting().faccessat = [](int, const char*, int inMode, int) {
            return inMode == W_OK ? (errno = sErrno, -1) : 0;
        };
        FSCatalogInfo info = {};
        info.permissions.userAccess = 99;
        const OSErr status = FSGetCatalogInfo(&ref, kFSCatInfoPermissions, &info, nullptr, nullptr, nullptr);
        toolbox::os::CallsForTesting() = sReal;
        const bool isRefused = error != EIO && error != ENOMEM;
        EXPECT_EQ(isRefused ? noErr : error == EIO ? ioErr : memFullErr, status) << error;
        EXPECT_EQ(isRefused ? 5 : 99, info.permissions.userAccess) << error;
    }
}

TEST_P(CatalogInfoTest, SetNothing) {
    const std::string path = mFolder.MakeFile("file");
    const FSRef ref = RefOf(path);
    const auto before = FileWorld::StatusOf(path).stx_mode;
    const FSCatalogInfo info = {};
    EXPECT_EQ(noErr, FSSetCatalogInfo(&ref, kFSCatInfoNone, &info));
    EXPECT_EQ(before, FileWorld::StatusOf(path).stx_mode);
}

TEST_P(CatalogInfoTest, AnotherUsersItem) {
    const std::string path = mFolder.MakeFile("file");
    const toolbox::os::SystemCalls saved = toolbox::os::CallsForTesting();
    toolbox::os::CallsForTesting().fchmodat = [](int, const char*, mode_t, int) { return errno = EPERM, -1; };
    EXPECT_EQ(permErr, SetMode(path, 0600));
    toolbox::os::CallsForTesting() = saved;
}

TEST_P(CatalogInfoTest, BadArguments) {
    const std::string path = mFolder.MakeFile("file");
    const FSRef ref = RefOf(path);
    FSCatalogInfo info = {};
    EXPECT_EQ(paramErr, FSGetCatalogInfo(nullptr, kFSCatInfoNone, &info, nullptr, nullptr, nullptr));
    EXPECT_EQ(paramErr, FSGetCatalogInfo(&ref, kFSCatInfoNodeID, nullptr, nullptr, nullptr, nullptr));
    for (int bit = 0; bit < 32; ++bit) {
        const FSCatalogInfoBitmap which = FSCatalogInfoBitmap{1} << bit;
        EXPECT_EQ((which & kAll) != 0 ? noErr : paramErr,
                  FSGetCatalogInfo(&ref, which, &info, nullptr, nullptr, nullptr))
            << bit;
        if (which == kFSCatInfoPermissions) continue;
        EXPECT_EQ(paramErr, FSSetCatalogInfo(&ref, which, &info)) << bit;
    }
    EXPECT_EQ(paramErr, FSSetCatalogInfo(nullptr, kFSCatInfoPermissions, &info));
    EXPECT_EQ(paramErr, FSSetCatalogInfo(&ref, kFSCatInfoPermissions, nullptr));
    FSRef none = {};
    EXPECT_EQ(errFSBadFSRef, FSGetCatalogInfo(&none, kFSCatInfoNodeID, &info, nullptr, nullptr, nullptr));
    EXPECT_EQ(errFSBadFSRef, FSSetCatalogInfo(&none, kFSCatInfoPermissions, &info));
    mFolder.Remove(path);
    EXPECT_EQ(fnfErr, FSGetCatalogInfo(&ref, kFSCatInfoNodeID, &info, nullptr, nullptr, nullptr));
    EXPECT_EQ(fnfErr, FSSetCatalogInfo(&ref, kFSCatInfoPermissions, &info));
}

// What is untouched on failure.
struct Outputs {
    FSCatalogInfo info;
    HFSUniStr255 name;
    FSSpec spec;
    FSRef parent;
};

Outputs Untouched() {
    Outputs outputs;
    std::memset(&outputs, 0xEE, sizeof outputs);
    return outputs;
}

OSErr GetAll(const FSRef& inRef, Outputs& outOutputs) {
    return FSGetCatalogInfo(&inRef, kAll, &outOutputs.info, &outOutputs.name, &outOutputs.spec,
                            &outOutputs.parent);
}

TEST_P(CatalogInfoTest, EveryCallFails) {
    const FSRef ref = RefOf(mFolder.MakeFile("file"));
    const Outputs untouched = Untouched();
    for (int failing = 1;; ++failing) {
        Outputs outputs = untouched;
        const FailingCalls failure(failing, EIO, FailingCalls::kForever);
        const OSErr error = GetAll(ref, outputs);
        if (!failure.Delivered()) {
            EXPECT_EQ(noErr, error);
            break;
        }
        // A folder above that does not answer ends the search for the volume's topmost one.
        if (error == noErr) continue;
        EXPECT_EQ(ioErr, error) << failing;
        EXPECT_EQ(0, std::memcmp(&untouched, &outputs, sizeof outputs)) << failing;
    }
}

TEST_P(CatalogInfoTest, MemoryFails) {
    const FSRef ref = RefOf(mFolder.MakeFile(std::string(100, 'n')));
    const Outputs untouched = Untouched();
    for (int failing = 1;; ++failing) {
        Outputs outputs = untouched;
        OSErr error = noErr;
        bool delivered = false;
        {
            const FailingNew failure(failing);
            error = GetAll(ref, outputs);
            delivered = failure.Delivered();
        }
        EXPECT_EQ(delivered ? memFullErr : noErr, error) << failing;
        if (!delivered) break;
        EXPECT_EQ(0, std::memcmp(&untouched, &outputs, sizeof outputs)) << failing;
    }
}

}  // namespace

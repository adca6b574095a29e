#include "Failures.h"
#include "ItemChanges.h"
#include "companions/CompanionInfo.h"
#include "companions/Companions.h"
#include "support/FailEach.h"
#include "support/FailingCalls.h"
#include "support/FailingNew.h"
#include "support/FileWorld.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <toolbox/FileCopies.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace {

using namespace test_files;
using support::FileWorld;
using toolbox::files::CompanionInfo;
using toolbox::files::CompanionSizes;

class FileCopies : public ItemChangesTest<support::FileWorldTest> {
  protected:
    using Call = OSErr(HParmBlkPtr);
    // An item of the test's own folder goes to a folder there; without a name it keeps its own.
    OSErr Do(Call* inCall, std::string_view inItem, const std::string& inFolder,
             std::string_view inName = {}) {
        FSSpec item = Here(inItem);
        const FSCatalogInfo folder = InfoOf(inFolder.empty() ? mFolder.Path() : mFolder / inFolder,
                                            kFSCatInfoVolume | kFSCatInfoNodeID);
        Str255 name = {static_cast<unsigned char>(inName.size())};
        inName.copy(reinterpret_cast<char*>(name) + 1, inName.size());
        mBlock = {};
        CopyParam& block = mBlock.copyParam;
        block.ioVRefNum = item.vRefNum;
        block.ioDirID = item.parID;
        block.ioNamePtr = item.name;
        block.ioDstVRefNum = folder.volume;
        block.ioNewDirID = static_cast<SInt32>(folder.nodeID);
        block.ioCopyName = inName.empty() ? nullptr : name;
        const OSErr error = inCall(&mBlock);
        EXPECT_EQ(error, block.ioResult);
        return error;
    }
    OSErr Copy(std::string_view inItem, const std::string& inFolder, std::string_view inName = {}) {
        return Do(PBHCopyFileSync, inItem, inFolder, inName);
    }
    OSErr Move(std::string_view inItem, const std::string& inFolder, std::string_view inName = {}) {
        return Do(PBHMoveRenameSync, inItem, inFolder, inName);
    }
    toolbox::files::Place PlaceOf(const std::string& inName) const {
        toolbox::files::Place place;
        EXPECT_EQ(0, toolbox::files::OpenPlaceOf(mFolder / inName, place));
        return place;
    }
    CompanionInfo CompanionOf(const std::string& inName, UInt64* outForkBytes = nullptr) const {
        const toolbox::files::Place place = PlaceOf(inName);
        CompanionInfo info;
        CompanionSizes sizes;
        EXPECT_EQ(0, toolbox::files::ReadInfo(place.folder.Number(), "._" + place.name, info, sizes));
        if (outForkBytes != nullptr) *outForkBytes = sizes.forkBytes;
        return info;
    }

    std::string ForkOf(const std::string& inName) const {
        toolbox::os::FileRange fork;
        EXPECT_EQ(0, OpenEntry(PlaceOf(inName), toolbox::files::AppleDoubleEntry::kResourceFork, fork));
        std::string bytes(static_cast<std::size_t>(fork.SizeBytes()), 0);
        EXPECT_EQ(0, fork.Read(0, bytes.data(), bytes.size()));
        return bytes;
    }

    HParamBlockRec mBlock = {};
};
INSTANTIATE_TEST_SUITE_P(Worlds, FileCopies, support::BothWorlds(), support::NameOfWorld);

TEST_P(FileCopies, ContentsModeAndDates) {
    const std::string contents(200'000, 'x');
    const std::string path = mFolder.MakeFile("a", contents);
    mFolder.MakeFolder("sub");
    FileWorld::SetMode(path, 0640);
    FileWorld::SetTimes(path, {1'000'000, 500}, {2'000'000, 700});
    ASSERT_EQ(noErr, Copy("a", "sub"));
    ASSERT_EQ(noErr, Copy("a", "", "b"));
    EXPECT_EQ(contents, FileWorld::Contents(mFolder / "a"));
    for (const char* const name : {"sub/a", "b"}) {
        EXPECT_EQ(contents, FileWorld::Contents(mFolder / name)) << name;
        const struct statx status = FileWorld::StatusOf(mFolder / name);
        EXPECT_EQ(0640, status.stx_mode & 07777) << name;
        EXPECT_EQ(2'000'000, status.stx_mtime.tv_sec) << name;
        EXPECT_EQ(700U, status.stx_mtime.tv_nsec) << name;
        EXPECT_NE(FileWorld::StatusOf(path).stx_ino, status.stx_ino) << name;
    }
}

TEST_P(FileCopies, WhatIsBesideTheData) {
    mFolder.MakeFile("a", "data");
    CompanionInfo info;
    info.finderInfo[0] = 'T';
    info.creationSeconds = 1000;
    info.backupSeconds = 2000;
    info.encodingHint = 3;
    info.isLocked = true;
    mFolder.MakeFile("._a", CompanionBytes("the fork"));
    ASSERT_EQ(0, toolbox::files::WriteInfo(PlaceOf("a"), info));
    ASSERT_EQ(noErr, Copy("a", "", "b"));
    UInt64 forkBytes = 0;
    info.isLocked = false;
    EXPECT_TRUE(info == CompanionOf("b", &forkBytes)) << "all, but that a copy is not locked";
    EXPECT_EQ(8U, forkBytes);
    info.isLocked = true;
    EXPECT_TRUE(info == CompanionOf("a")) << "the file itself stays as it was";
}

TEST_P(FileCopies, CreationDateOfAFileWithoutCompanion) {
    mFolder.MakeFile("a");
    const std::int64_t seconds = FileWorld::StatusOf(mFolder / "a").stx_btime.tv_sec - 946'684'800;
    ASSERT_EQ(noErr, Copy("a", "", "b"));
    EXPECT_EQ(seconds, CompanionOf("b").creationSeconds);
    EXPECT_EQ(CompanionInfo::kNoDate, CompanionOf("a").creationSeconds);
}

TEST_P(FileCopies, NothingIsReplaced) {
    mFolder.MakeFile("a", "of a");
    mFolder.MakeFile("b", "of b");
    mFolder.MakeFile("sub name", "other");
    ASSERT_EQ(0, FileWorld::MakeHardLink(mFolder / "a", mFolder / "link of a"));
    const std::string before = Picture();
    EXPECT_EQ(dupFNErr, Copy("a", ""));
    EXPECT_EQ(dupFNErr, Copy("a", "", "a"));
    EXPECT_EQ(dupFNErr, Copy("a", "", "b"));
    EXPECT_EQ(dupFNErr, Copy("a", "", "B"));
    EXPECT_EQ(dupFNErr, Copy("a", "", "SUB NAME"));
    EXPECT_EQ(dupFNErr, Copy("a", "", "link of a")) << "its own";
    EXPECT_EQ(dupFNErr, Move("a", "", "b"));
    EXPECT_EQ(dupFNErr, Move("a", "", "sub NAME"));
    EXPECT_EQ(before, Picture());
}

TEST_P(FileCopies, ACopyThatSomebodyElseMakesMeanwhileStays) {
    mFolder.MakeFile("a", "of a");
    static std::string sPath;
    static toolbox::os::SystemCalls sReal;
    sPath = mFolder / "b";
    sReal = toolbox::os::Calls();
    const FileWorld* world = &mFolder;
    static const FileWorld* sWorld;
    sWorld = world;
    const auto make = [] {
        if (!FileWorld::Exists(sPath)) sWorld->MakeFile("b", "another's");
    };
    static auto sMake = make;
    toolbox::os::CallsForTesting().linkat = [](int inFolder, const char* inPath, int inNewFolder,
                                               const char* inNewPath, int inFlags) {
        sMake();
        return sReal.linkat(inFolder, inPath, inNewFolder, inNewPath, inFlags);
    };
    toolbox::os::CallsForTesting().renameat2 = [](int inFolder, const char* inPath, int inNewFolder,
                                                  const char* inNewPath, unsigned inFlags) {
        if (std::string_view(inNewPath) == "b") sMake();
        return sReal.renameat2(inFolder, inPath, inNewFolder, inNewPath, inFlags);
    };
    const OSErr error = Copy("a", "", "b");
    toolbox::os::CallsForTesting() = sReal;
    EXPECT_EQ(dupFNErr, error);
    EXPECT_EQ("a=of a, b=another's, ", Picture());
}

TEST_P(FileCopies, WhatIsNoFile) {
    mFolder.MakeFolder("folder");
    mFolder.MakeLink(mFolder.MakeFile("target"), "link");
    mFolder.MakePipe("pipe");
    EXPECT_EQ(notAFileErr, Copy("folder", "", "x"));
    EXPECT_EQ(errFSForkNotFound, Copy("link", "", "x"));
    EXPECT_EQ(errFSForkNotFound, Copy("pipe", "", "x"));
    EXPECT_EQ(fnfErr, Copy("missing", "", "x"));
    EXPECT_FALSE(FileWorld::Exists(mFolder / "x"));
}

TEST_P(FileCopies, WhereItGoes) {
    mFolder.MakeFile("a");
    EXPECT_EQ(bdNamErr, Copy("a", "", std::string(32, 'x')));
    EXPECT_EQ(bdNamErr, Copy("a", "", std::string_view("x\0y", 3)));
    mFolder.MakeFolder("sub");
    FSSpec item = Here("a");
    FSSpec sub = Here("sub");
    mBlock = {};
    CopyParam& block = mBlock.copyParam;
    block.ioVRefNum = block.ioDstVRefNum = item.vRefNum;
    block.ioDirID = block.ioNewDirID = item.parID;
    block.ioNamePtr = item.name;
    block.ioNewName = sub.name;
    EXPECT_EQ(noErr, PBHCopyFileSync(&mBlock)) << "a folder by its name";
    EXPECT_TRUE(FileWorld::Exists(mFolder / "sub/a"));
    block.ioNewName = item.name;
    EXPECT_EQ(dirNFErr, PBHCopyFileSync(&mBlock)) << "no folder";
    FSSpec missing = Here("missing");
    block.ioNewName = missing.name;
    EXPECT_EQ(dirNFErr, PBHCopyFileSync(&mBlock));
    EXPECT_EQ(dirNFErr, PBHMoveRenameSync(&mBlock));
    block.ioDstVRefNum = -31000;
    EXPECT_EQ(nsvErr, PBHCopyFileSync(&mBlock));
    EXPECT_EQ(paramErr, PBHCopyFileSync(nullptr));
    EXPECT_EQ(paramErr, PBHMoveRenameSync(nullptr));
}

TEST_P(FileCopies, NoFileBecomesACompanion) {
    mFolder.MakeFile("a", CompanionBytes("of nobody"));
    mFolder.MakeFile("item");
    EXPECT_EQ(dupFNErr, Copy("a", "", "._item"));
    EXPECT_EQ(dupFNErr, Copy("a", "", "._a"));
    EXPECT_FALSE(FileWorld::Exists(mFolder / "._item"));
}

TEST_P(FileCopies, AnOrphanIsSetAside) {
    mFolder.MakeFile("a", "of a");
    mFolder.MakeFile("._b", CompanionBytes("of nobody"));
    ASSERT_EQ(noErr, Copy("a", "", "b"));
    EXPECT_EQ(CompanionBytes("of nobody"), FileWorld::Contents(mFolder / "b (companion)"));
    UInt64 forkBytes = 77;
    (void)CompanionOf("b", &forkBytes);
    EXPECT_EQ(0U, forkBytes);
}

TEST_P(FileCopies, ToAnotherVolume) {
    if (!mFolder.MayMount()) GTEST_SKIP() << "this process may not mount";
    ASSERT_EQ(0, mFolder.MountVolume(mFolder.MakeFolder("volume")));
    MakeWithCompanion("", "a");
    ASSERT_EQ(noErr, Copy("a", "volume"));
    EXPECT_EQ(FileWorld::Contents(mFolder / "a"), FileWorld::Contents(mFolder / "volume/a"));
    UInt64 forkBytes = 0;
    (void)CompanionOf("volume/a", &forkBytes);
    EXPECT_EQ(std::string("fork of a").size(), forkBytes);
}

TEST_P(FileCopies, ToAVolumeThatIsReadOnly) {
    if (!mFolder.MayMount()) GTEST_SKIP() << "this process may not mount";
    ASSERT_EQ(0, mFolder.MountVolume(mFolder.MakeFolder("volume")));
    MakeWithCompanion("", "a");
    const std::string before = Picture();
    ASSERT_EQ(0, mFolder.ForbidWriting(mFolder / "volume"));
    EXPECT_EQ(vLckdErr, Copy("a", "volume"));
    EXPECT_EQ(before, Picture());
}

TEST_P(FileCopies, MovesAndRenamesInOneStep) {
    const FSRef ref = RefOf(MakeWithCompanion("", "a"));
    mFolder.MakeFolder("sub");
    ASSERT_EQ(noErr, Move("a", "sub", "b"));
    EXPECT_EQ("sub(._b=#fork of a, b=of a, ), ", Picture());
    EXPECT_EQ(mFolder / "sub/b", PathOf(ref));
    ASSERT_EQ(noErr, Move("sub", "", "renamed"));
    EXPECT_EQ("renamed(._b=#fork of a, b=of a, ), ", Picture());
    EXPECT_EQ(badMovErr, Move("renamed", "renamed"));
    EXPECT_EQ(noErr, Move("renamed", "")) << "to where it is";
    EXPECT_EQ(fnfErr, Move("missing", "renamed"));
}

TEST_P(FileCopies, VolumesAreNotMoved) {
    if (!mFolder.MayMount()) GTEST_SKIP() << "this process may not mount";
    ASSERT_EQ(0, mFolder.MountVolume(mFolder.MakeFolder("volume")));
    mFolder.MakeFolder("sub");
    EXPECT_EQ(paramErr, Move("volume", "sub"));
}

TEST_P(FileCopies, EveryStepOfACopyFails) {
    MakeWithCompanion("", "a");
    mFolder.MakeFolder("sub");
    (void)InfoOf(mFolder / "sub", kFSCatInfoNodeID);
    const std::string before = Picture();
    const auto check = [&](const auto& inUnderFault, OSErr inExpected) {
        const std::size_t descriptors = OpenDescriptorCount();
        FSSpec item = Here("a");
        FSSpec sub = Here("sub");
        mBlock = {};
        CopyParam& block = mBlock.copyParam;
        block.ioVRefNum = block.ioDstVRefNum = item.vRefNum;
        block.ioDirID = block.ioNewDirID = item.parID;
        block.ioNamePtr = item.name;
        block.ioNewName = sub.name;
        OSErr error = 1;
        const bool isDelivered = inUnderFault([&] { error = PBHCopyFileSync(&mBlock); });
        EXPECT_EQ(descriptors, OpenDescriptorCount());
        EXPECT_TRUE(error == noErr || (isDelivered && error == inExpected)) << error;
        if (error == noErr) {
            EXPECT_EQ("of a", FileWorld::Contents(mFolder / "sub/a"));
            UInt64 forkBytes = 0;
            (void)CompanionOf("sub/a", &forkBytes);
            EXPECT_EQ(std::string("fork of a").size(), forkBytes);
        }
        if (error == noErr) {
            FileWorld::RemoveAll(mFolder / "sub/a");
            FileWorld::RemoveAll(mFolder / "sub/._a");
        }
        EXPECT_EQ(before, Picture()) << error;
    };
    for (const Failure& failure : FailuresIn(mFolder)) {
        if (failure.extent == FailingCalls::kForever) continue;  // what was set aside then stays
        EXPECT_GT(support::FailEach<FailingCalls>(
                      [&](const auto& inUnderFault) { check(inUnderFault, failure.status); }, failure.error),
                  20);
    }
    EXPECT_GT(
        support::FailEach<FailingNew>([&](const auto& inUnderFault) { check(inUnderFault, memFullErr); }),
        10);
}

// Of the real file system alone.
int SetAttribute(const std::string& inPath, const char* inName, const std::string& inBytes) {
    return setxattr(inPath.c_str(), inName, inBytes.data(), inBytes.size(), 0);
}

std::string AttributeOf(const std::string& inPath, const char* inName) {
    std::string bytes(70'000, 0);
    const ssize_t count = getxattr(inPath.c_str(), inName, bytes.data(), bytes.size());
    return count < 0 ? "none" : bytes.substr(0, static_cast<std::size_t>(count));
}

TEST_P(FileCopies, AttributesOfAFileThatNobodyMayWrite) {
    if (mFolder.Memory() != nullptr) GTEST_SKIP() << "files in memory have no attributes";
    const std::string path = mFolder.MakeFile("a", "text");
    if (SetAttribute(path, "user.one", "1") != 0) GTEST_SKIP() << "the file system has no attributes";
    ASSERT_EQ(0, SetAttribute(path, "user.long", std::string(2000, 'x')));
    FileWorld::SetMode(path, 0444);
    FileWorld::OrdinaryUser user(mFolder);
    ASSERT_EQ(noErr, Copy("a", "", "b"));
    EXPECT_EQ("1", AttributeOf(mFolder / "b", "user.one"));
    EXPECT_EQ(std::string(2000, 'x'), AttributeOf(mFolder / "b", "user.long"));
    EXPECT_EQ(0444, FileWorld::StatusOf(mFolder / "b").stx_mode & 07777);
}

// Be it the attribute's length, what all of them have together, or the volume.
TEST_P(FileCopies, AttributesWithoutRoom) {
    mFolder.MakeFile("a", "text");
    const toolbox::os::SystemCalls saved = toolbox::os::Calls();
    static const char* sName;
    static int sError;
    for (const char* const name : {"user.a", "system.posix_acl_access"}) {
        for (const int error : {ENOSPC, EDQUOT, E2BIG, ERANGE}) {
            sName = name;
            sError = error;
            toolbox::os::CallsForTesting().flistxattr = [](int, char* outNames, std::size_t) -> ssize_t {
                const std::string_view names(sName, std::string_view(sName).size() + 1);
                return static_cast<ssize_t>(names.copy(outNames, names.size()));
            };
            toolbox::os::CallsForTesting().fgetxattr = [](int, const char* inName, void*,
                                                          std::size_t) -> ssize_t {
                return std::string_view(inName) == sName ? 9 : (errno = ENODATA, -1);
            };
            toolbox::os::CallsForTesting().fsetxattr = [](int, const char*, const void*, std::size_t, int) {
                return errno = sError, -1;
            };
            const OSErr status = Copy("a", "", "b");
            toolbox::os::CallsForTesting() = saved;
            EXPECT_EQ(dskFulErr, status) << name << ", errno " << error;
            EXPECT_EQ("a=text, ", Picture());
        }
    }
}

TEST_P(FileCopies, WhatTheFolderGivesIsNotTheCopys) {
    if (mFolder.Memory() != nullptr) GTEST_SKIP() << "folders in memory give nothing";
    MakeWithCompanion("", "a");
    FileWorld::SetMode(mFolder / "a", 0640);
    FileWorld::SetMode(mFolder / "._a", 0640);
    mFolder.MakeFolder("sub");
    // Each owner and a user 77 may read what is made there.
    const char list[] =
        "\2\0\0\0\1\0\6\0\xff\xff\xff\xff\2\0\4\0\x4d\0\0\0\4\0\4\0\xff\xff\xff\xff"
        "\x10\0\4\0\xff\xff\xff\xff\x20\0\0\0\xff\xff\xff\xff";
    if (SetAttribute(mFolder / "sub", "system.posix_acl_default", {list, sizeof list - 1}) != 0)
        GTEST_SKIP() << "the file system has no access lists";
    ASSERT_EQ(noErr, Copy("a", "sub"));
    for (const char* const name : {"sub/a", "sub/._a"}) {
        EXPECT_EQ("none", AttributeOf(mFolder / name, "system.posix_acl_access")) << name;
        EXPECT_EQ(0640, FileWorld::StatusOf(mFolder / name).stx_mode & 07777) << name;
    }
}

TEST_P(FileCopies, AListOfItsOwnGoesWithIt) {
    if (mFolder.Memory() != nullptr) GTEST_SKIP() << "files in memory have none";
    MakeWithCompanion("", "a");
    const std::string list(
        "\2\0\0\0\1\0\6\0\xff\xff\xff\xff\2\0\4\0\x4d\0\0\0\4\0\0\0\xff\xff\xff\xff"
        "\x10\0\4\0\xff\xff\xff\xff\x20\0\0\0\xff\xff\xff\xff",
        44);
    if (SetAttribute(mFolder / "a", "system.posix_acl_access", list) != 0)
        GTEST_SKIP() << "the file system has no access lists";
    ASSERT_EQ(noErr, Copy("a", "", "b"));
    EXPECT_TRUE(list == AttributeOf(mFolder / "b", "system.posix_acl_access"));
    EXPECT_TRUE(list == AttributeOf(mFolder / "._b", "system.posix_acl_access"))
        << "its group may no more with the companion than with the file";
}

TEST_P(FileCopies, HolesAndAccessDates) {
    const std::string path = mFolder.MakeFile("a", "start");
    toolbox::os::Descriptor file;
    ASSERT_EQ(0, toolbox::os::OpenFile(path.c_str(), O_RDWR, file));
    ASSERT_EQ(0, toolbox::os::SetLength(file.Number(), 8 << 20));
    ASSERT_EQ(3, toolbox::os::Calls().pwrite(file.Number(), "end", 3, (8 << 20) - 3));
    FileWorld::SetTimes(path, {1'000'000, 500}, {2'000'000, 700});
    ASSERT_EQ(noErr, Copy("a", "", "b"));
    const struct statx status = FileWorld::StatusOf(mFolder / "b");
    EXPECT_EQ(1'000'000, status.stx_atime.tv_sec);
    EXPECT_EQ(500U, status.stx_atime.tv_nsec);
    EXPECT_EQ(2'000'000, status.stx_mtime.tv_sec);
    const std::uint64_t maxBlocks = mFolder.Memory() == nullptr ? 1000 : UINT64_MAX;  // there it has none
    EXPECT_LT(status.stx_blocks, maxBlocks) << "of 16384";
    EXPECT_TRUE(FileWorld::Contents(path) == FileWorld::Contents(mFolder / "b"));
}

TEST_P(FileCopies, NamesWithoutRoomForACompanion) {
    mFolder.MakeFolder("sub");
    for (const std::size_t byteCount : {253U, 254U, 255U}) {
        const std::string name(byteCount, 'n');
        FSSpec item = SpecOf(mFolder.MakeFile(name, "text"));
        FSSpec sub = Here("sub");
        mBlock = {};
        CopyParam& block = mBlock.copyParam;
        block.ioVRefNum = block.ioDstVRefNum = item.vRefNum;
        block.ioDirID = block.ioNewDirID = item.parID;
        block.ioNamePtr = item.name;
        block.ioNewName = sub.name;
        EXPECT_EQ(noErr, PBHCopyFileSync(&mBlock)) << byteCount;
        EXPECT_EQ("text", FileWorld::Contents(mFolder / ("sub/" + name)));
        EXPECT_EQ(byteCount == 253, FileWorld::Exists(mFolder / ("sub/._" + name)));
    }
}

TEST_P(FileCopies, BesideAForeignFileOfTheCompanionsName) {
    mFolder.MakeFile("._b", "foreign");
    mFolder.MakeFile("a", "of a");
    ASSERT_EQ(noErr, Copy("a", "", "b"));
    EXPECT_EQ("._b=foreign, a=of a, b=of a, ", Picture());
    FileWorld::RemoveAll(mFolder / "b");
    MakeWithCompanion("", "a");
    EXPECT_EQ(dupFNErr, Copy("a", "", "b")) << "the fork has no other place";
    EXPECT_EQ("._a=#fork of a, ._b=foreign, a=of a, ", Picture());
}

TEST_P(FileCopies, AFolderOfTheCompanionsName) {
    mFolder.MakeFolder("._b");
    mFolder.MakeFile("a", "of a");
    ASSERT_EQ(noErr, Copy("a", "", "b"));
    EXPECT_EQ("._b(), a=of a, b=of a, ", Picture());
}

TEST_P(FileCopies, ACopyAndItsCompanionBelongToWhoMadeThem) {
    if (geteuid() != 0) GTEST_SKIP() << "only an administrator gives files away";
    MakeWithCompanion("", "a");
    for (const char* const name : {"a", "._a"})
        ASSERT_EQ(0, toolbox::os::Calls().fchownat(AT_FDCWD, (mFolder / name).c_str(), 1234, 4321, 0));
    ASSERT_EQ(noErr, Copy("a", "", "b"));
    for (const char* const name : {"b", "._b"}) {
        EXPECT_EQ(0U, FileWorld::StatusOf(mFolder / name).stx_uid) << name;
        EXPECT_EQ(getegid(), FileWorld::StatusOf(mFolder / name).stx_gid) << name;
    }
}

// Does something once, when a file gets that name.
class WhenNamed {
  public:
    WhenNamed(std::string_view inName, std::function<void()> inDo) {
        sName = inName;
        sDo = std::move(inDo);
        sReal = toolbox::os::Calls();
        toolbox::os::CallsForTesting().linkat = [](int inFolder, const char* inPath, int inNewFolder,
                                                   const char* inNewPath, int inFlags) {
            Do(inNewPath);
            return sReal.linkat(inFolder, inPath, inNewFolder, inNewPath, inFlags);
        };
        toolbox::os::CallsForTesting().renameat2 = [](int inFolder, const char* inPath, int inNewFolder,
                                                      const char* inNewPath, unsigned inFlags) {
            Do(inNewPath);
            return sReal.renameat2(inFolder, inPath, inNewFolder, inNewPath, inFlags);
        };
    }
    ~WhenNamed() { toolbox::os::CallsForTesting() = sReal; }
    WhenNamed(const WhenNamed&) = delete;
    WhenNamed& operator=(const WhenNamed&) = delete;

  private:
    static void Do(std::string_view inName) {
        if (inName == sName && sDo) std::exchange(sDo, nullptr)();
    }
    static inline std::string sName;
    static inline std::function<void()> sDo;
    static inline toolbox::os::SystemCalls sReal;
};

TEST_P(FileCopies, WhoMakesAFileThereMeanwhileHasToWait) {
    MakeWithCompanion("", "a");
    const FSRef here = RefOf(mFolder.Path());
    OSErr made = noErr;
    OSErr error = noErr;
    {
        const WhenNamed make("b", [&] { made = MakeFile(here, u"b"); });
        error = Copy("a", "", "b");
    }
    EXPECT_EQ(fBsyErr, made);
    EXPECT_EQ(noErr, error);
    EXPECT_EQ("of a", FileWorld::Contents(mFolder / "b"));
    EXPECT_EQ("fork of a", ForkOf("b"));
    EXPECT_EQ((std::vector<std::string>{"._a", "._b", "a", "b"}), FileWorld::NamesIn(mFolder.Path()));
}

TEST_P(FileCopies, AnothersCompanionStaysWhenTheCopyFails) {
    MakeWithCompanion("", "a");
    OSErr error = noErr;
    {
        // As who sets it aside where files cannot be locked.
        const WhenNamed make("b", [&] {
            FileWorld::Rename(mFolder / "._b", mFolder / "b (companion)");
            mFolder.MakeFile("._b", CompanionBytes("another's"));
            mFolder.MakeFile("b", "another's");
        });
        error = Copy("a", "", "b");
    }
    EXPECT_EQ(dupFNErr, error);
    EXPECT_EQ("another's", FileWorld::Contents(mFolder / "b"));
    EXPECT_EQ(CompanionBytes("another's"), FileWorld::Contents(mFolder / "._b"));
}

TEST_P(FileCopies, OfTwoCopiesToOneNameOneIsMadeWhole) {
    MakeWithCompanion("", "a");
    MakeWithCompanion("", "c");
    HParamBlockRec saved = {};
    OSErr second = noErr;
    OSErr first = noErr;
    {
        const WhenNamed copy("b", [&] {
            saved = mBlock;
            second = Copy("c", "", "b");
            mBlock = saved;
        });
        first = Copy("a", "", "b");
    }
    EXPECT_EQ(noErr, first);
    EXPECT_TRUE(second == fBsyErr || second == dupFNErr) << second;
    EXPECT_EQ("of a", FileWorld::Contents(mFolder / "b"));
    EXPECT_EQ("fork of a", ForkOf("b"));
    EXPECT_EQ((std::vector<std::string>{"._a", "._b", "._c", "a", "b", "c"}),
              FileWorld::NamesIn(mFolder.Path()));
}

}  // namespace

#include "os/SystemCalls_test_access.h"
#include "platform/catalogue/CatalogTest.h"
#include "support/FailEach.h"
#include "support/FailingCalls.h"
#include "support/FailingNew.h"
#include "support/FileWorld.h"
#include "support/RunningProgram.h"
#include "support/TemporaryFolder.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/sysinfo.h>
#include <toolbox/Files.h>
#include <toolbox/Processes.h>
#include <toolbox/Timer.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <filesystem>
#include <string>

namespace {

using toolbox::os::CallsForTesting;

constexpr ProcessSerialNumber kCurrent = {0, kCurrentProcess};

std::string sStatFile;

class ProcessInformationTest : public testing::Test {
  protected:
    ProcessInformationTest() {
        mInfo.processInfoLength = kProcessInfoLength;
        mInfo.processName = mName;
        mInfo.processAppSpec = &mFile;
    }
    ~ProcessInformationTest() override { CallsForTesting() = mSaved; }

    std::string Name() const { return {reinterpret_cast<const char*>(mName) + 1, mName[0]}; }

    ProcessInfoRec mInfo = {};
    Str255 mName = "\7nothing";
    FSSpec mFile = {};
    toolbox::os::SystemCalls mSaved = CallsForTesting();
};

TEST_F(ProcessInformationTest, ThisProcess) {
    ASSERT_EQ(noErr, GetProcessInformation(&kCurrent, &mInfo));
    EXPECT_EQ("platform_system_test", Name());
    FSRef file = {};
    ASSERT_EQ(noErr, FSpMakeFSRef(&mFile, &file));
    UInt8 path[PATH_MAX];
    ASSERT_EQ(noErr, FSRefMakePath(&file, path, sizeof path));
    EXPECT_EQ(std::filesystem::canonical("/proc/self/exe").string(), reinterpret_cast<char*>(path));
    EXPECT_EQ(FourChars("APPL"), mInfo.processType);
    EXPECT_EQ(FourChars("\?\?\?\?"), mInfo.processSignature);
    EXPECT_EQ(0U, mInfo.processMode);
    EXPECT_EQ(nullptr, mInfo.processLocation);
    EXPECT_EQ(0U, mInfo.processLauncher.lowLongOfPSN);
    EXPECT_GT(mInfo.processSize, 1U << 20);
    EXPECT_GT(mInfo.processFreeMem, 0U);
    EXPECT_LE(mInfo.processLaunchDate, TickCount());
    EXPECT_GT(mInfo.processLaunchDate, 0U);
}

TEST_F(ProcessInformationTest, BySerialNumber) {
    ProcessSerialNumber number = {9, 9};
    ASSERT_EQ(noErr, GetCurrentProcess(&number));
    EXPECT_EQ(noErr, GetProcessInformation(&number, &mInfo));
    EXPECT_EQ(number.lowLongOfPSN, mInfo.processNumber.lowLongOfPSN);
    EXPECT_EQ(number.highLongOfPSN, mInfo.processNumber.highLongOfPSN);
    EXPECT_EQ(paramErr, GetCurrentProcess(nullptr));
}

TEST_F(ProcessInformationTest, NothingWanted) {
    mInfo.processName = nullptr;
    mInfo.processAppSpec = nullptr;
    EXPECT_EQ(noErr, GetProcessInformation(&kCurrent, &mInfo));
    const test_files::RunningProgram unknown;
    EXPECT_EQ(noErr, GetProcessInformation(&kCurrent, &mInfo)) << "the file is not asked for";
}

TEST_F(ProcessInformationTest, OtherProcesses) {
    for (const ProcessSerialNumber number :
         {ProcessSerialNumber{0, kNoProcess}, ProcessSerialNumber{0, kSystemProcess},
          ProcessSerialNumber{1, kCurrentProcess}, ProcessSerialNumber{0, 0xFFFFFFFF},
          ProcessSerialNumber{0, static_cast<UInt32>(getpid())}}) {
        EXPECT_EQ(procNotFound, GetProcessInformation(&number, &mInfo)) << number.lowLongOfPSN;
    }
    EXPECT_EQ("nothing", Name());
}

TEST_F(ProcessInformationTest, BadArguments) {
    EXPECT_EQ(paramErr, GetProcessInformation(nullptr, &mInfo));
    EXPECT_EQ(paramErr, GetProcessInformation(&kCurrent, nullptr));
    mInfo.processInfoLength = 59;
    EXPECT_EQ(paramErr, GetProcessInformation(&kCurrent, &mInfo));
    mInfo.processInfoLength = 0;
    EXPECT_EQ(paramErr, GetProcessInformation(&kCurrent, &mInfo));
}

TEST_F(ProcessInformationTest, TheFileIsGone) {
    test_files::RunningProgram program;
    program.Put("/nowhere/program (deleted)");
    EXPECT_EQ(dirNFErr, GetProcessInformation(&kCurrent, &mInfo));
    EXPECT_EQ("nothing", Name());
    program.Put("");
    EXPECT_EQ(fnfErr, GetProcessInformation(&kCurrent, &mInfo));
}

TEST_F(ProcessInformationTest, LongNamesAreCut) {
    mInfo.processAppSpec = nullptr;
    test_files::RunningProgram program;
    program.Put("/bin/" + std::string(40, 'n'));
    ASSERT_EQ(noErr, GetProcessInformation(&kCurrent, &mInfo));
    EXPECT_EQ(std::string(31, 'n'), Name());
    program.Put("/bin/" + std::string(30, 'n') + "\xC3\xA9");
    ASSERT_EQ(noErr, GetProcessInformation(&kCurrent, &mInfo));
    EXPECT_EQ(std::string(30, 'n'), Name()) << "no half character";
    program.Put("/bin/" + std::string(29, 'n') + "\xC3\xA9");
    ASSERT_EQ(noErr, GetProcessInformation(&kCurrent, &mInfo));
    EXPECT_EQ(31, mName[0]);
}

// The start is told by a clock that runs while the machine sleeps: here it slept for 900 of 1000 seconds.
TEST_F(ProcessInformationTest, LaunchDate) {
    mInfo.processAppSpec = nullptr;
    const test_files::TemporaryFolder folder;
    sStatFile =
        folder.MakeFile("stat", "17 (odd) name) S 1 17 17 0 -1 4194304 1 0 0 0 0 0 0 0 20 0 1 0 99000 5 6");
    CallsForTesting().openat = [](int, const char* inPath, int inFlags, mode_t) {
        if (std::string_view(inPath) != "/proc/self/stat") return errno = ENOENT, -1;
        return open(sStatFile.c_str(), inFlags);
    };
    CallsForTesting().sysconf = [](int) { return 100L; };
    CallsForTesting().clock_gettime = [](clockid_t inClock, timespec* outTime) {
        *outTime = {inClock == CLOCK_BOOTTIME ? 1000 : inClock == CLOCK_MONOTONIC ? 100 : 2, 500'000'000};
        return 0;
    };
    ASSERT_EQ(noErr, GetProcessInformation(&kCurrent, &mInfo));
    EXPECT_EQ((100 * 60 + 30) - (10 * 60 + 30), static_cast<int>(mInfo.processLaunchDate));
    EXPECT_EQ(150U, mInfo.processActiveTime);
    EXPECT_EQ(0U, mInfo.processSize) << "not told";
    folder.MakeFile("stat", "17 (cut off");
    ASSERT_EQ(noErr, GetProcessInformation(&kCurrent, &mInfo));
    EXPECT_EQ(6030U, mInfo.processLaunchDate) << "now, when it is not told";
}

TEST_F(ProcessInformationTest, TheSystemDoesNotTell) {
    mInfo.processAppSpec = nullptr;
    CallsForTesting().sysinfo = [](struct sysinfo*) { return -1; };
    CallsForTesting().sysconf = [](int) { return -1L; };
    ASSERT_EQ(noErr, GetProcessInformation(&kCurrent, &mInfo));
    EXPECT_EQ(0U, mInfo.processFreeMem);
    EXPECT_EQ(0U, mInfo.processSize);
}

class PackagedProcessTest : public test_files::CatalogItemsTest<support::FileWorldTest> {
  protected:
    ~PackagedProcessTest() override { EXPECT_EQ(mDescriptors, OpenDescriptorCount()); }

    // Makes the program.
    void Run(const std::string& inFolder) {
        mFolder.MakeFolder(inFolder);
        mProgram.Put(mFolder.MakeFile(inFolder + "/program"));
    }
    OSErr Ask() {
        ProcessInfoRec info = {};
        info.processInfoLength = kProcessInfoLength;
        info.processName = mName;
        info.processAppSpec = &mFile;
        return GetProcessInformation(&kCurrent, &info);
    }
    // The path of what is told as the application, from the test's folder on.
    std::string Application() {
        mFile = {};
        mName[0] = 0;
        const OSErr error = Ask();
        if (error != noErr) return "status " + std::to_string(error);
        EXPECT_EQ("program", std::string(reinterpret_cast<const char*>(mName) + 1, mName[0]));
        const std::string path = PathOfSpec(mFile);
        EXPECT_EQ(0U, path.find(mFolder.Path() + '/')) << path;
        return path.substr(mFolder.Path().size() + 1);
    }

    std::size_t mDescriptors = OpenDescriptorCount();
    test_files::RunningProgram mProgram;
    Str255 mName = "";
    FSSpec mFile = {};
};
INSTANTIATE_TEST_SUITE_P(Worlds, PackagedProcessTest, support::BothWorlds(), support::NameOfWorld);

TEST_P(PackagedProcessTest, IsToldByItsPackage) {
    Run("My.app/Contents/Linux");
    EXPECT_EQ("My.app", Application());
    EXPECT_EQ("My.app", test_files::NameOf(mFile));
    const FSRef folder = RefOf(mFolder.Path());
    FSCatalogInfo info = {};
    EXPECT_EQ(noErr, FSGetCatalogInfo(&folder, kFSCatInfoNodeID, &info, nullptr, nullptr, nullptr));
    EXPECT_EQ(info.nodeID, static_cast<UInt32>(mFile.parID)) << "the folder that holds the package";
    Run("Other.APP/Contents/MacOS");
    EXPECT_EQ("Other.APP", Application());
    Run("Tool.bundle/Contents/Linux");
    EXPECT_EQ("Tool.bundle", Application());
}

TEST_P(PackagedProcessTest, PackagesWithoutASuffix) {
    Run("Game/Contents/Linux");
    EXPECT_EQ("Game/Contents/Linux/program", Application()) << "a plain folder";
    mFolder.MakeFile("Game/Contents/PkgInfo", "APPLgame");
    EXPECT_EQ("Game", Application());
}

TEST_P(PackagedProcessTest, OtherPlacesInAPackage) {
    for (const char* const folder :
         {"My.app", "My.app/Contents", "My.app/Contents/Resources", "My.app/Contents/Linux/helpers",
          "My.app/Linux", "My.app/contents/Linux", "My.app/NoContents/Linux", "My.app/Contents/NoLinux"}) {
        Run(folder);
        EXPECT_EQ(std::string(folder) + "/program", Application());
    }
}

TEST_P(PackagedProcessTest, TheInnermostPackage) {
    Run("Outer.app/Contents/Linux/Inner.app/Contents/MacOS");
    EXPECT_EQ("Outer.app/Contents/Linux/Inner.app", Application());
}

TEST_P(PackagedProcessTest, TheProgramWasReplaced) {
    Run("My.app/Contents/Linux");
    mProgram.Put(mFolder / "My.app/Contents/Linux/program (deleted)");
    EXPECT_EQ(noErr, Ask());
    EXPECT_EQ(mFolder / "My.app", PathOfSpec(mFile)) << "its package is there still";
    mFile = {1, 2, "\1x"};
    mProgram.Put(mFolder / "Gone.app/Contents/Linux/program");
    EXPECT_EQ(fnfErr, Ask());
    EXPECT_EQ(1, mFile.vRefNum);
}

TEST_P(PackagedProcessTest, AtTheRoot) {
    mProgram.Put("/Contents/Linux/mirtal-no-such-program");
    EXPECT_EQ(dirNFErr, Ask());
}

TEST_P(PackagedProcessTest, AVolumeIsNoPackage) {
    if (!mFolder.MayMount()) return;
    const std::string volume = mFolder.MakeFolder("Disk.app");
    ASSERT_EQ(0, mFolder.MountVolume(volume));
    Run("Disk.app/Contents/Linux");
    EXPECT_EQ("Disk.app/Contents/Linux/program", Application());
}

TEST_P(PackagedProcessTest, EveryCallFails) {
    Run("My.app/Contents/Linux");
    support::FailEach<test_files::FailingCalls>(
        [&](const auto& inUnderFault) {
            mFile = {1, 2, "\1x"};
            OSErr error = noErr;
            const bool isDelivered = inUnderFault([&] { error = Ask(); });
            EXPECT_TRUE(isDelivered || error == noErr) << error;
            if (error == noErr)
                EXPECT_EQ(mFolder / "My.app", PathOfSpec(mFile));
            else
                EXPECT_EQ(1, mFile.vRefNum) << error;
        },
        EIO);
}

TEST_P(PackagedProcessTest, MemoryIsShort) {
    Run("My.app/Contents/Linux");
    support::FailEach<test_files::FailingNew>([&](const auto& inUnderFault) {
        mFile = {1, 2, "\1x"};
        OSErr error = noErr;
        const bool isDelivered = inUnderFault([&] { error = Ask(); });
        EXPECT_EQ(isDelivered ? memFullErr : noErr, error);
        EXPECT_EQ(!isDelivered, mFile.vRefNum != 1);
    });
}

}  // namespace

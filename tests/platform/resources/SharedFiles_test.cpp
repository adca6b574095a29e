// Resource files that are locked, or whose fork somebody else has open to write.
#include "os/SystemCalls_test_access.h"
#include "platform/resources/ResourcesTest.h"
#include "support/FileWorld.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <toolbox/CatalogInfo.h>
#include <toolbox/Forks.h>
#include <toolbox/MacErrors.h>

#include <string>
#include <string_view>

namespace {

using namespace test_resources;
using support::FileWorld;

constexpr std::u16string_view kResourceFork = u"RESOURCE_FORK";

const UniChar* UnitsOf(std::u16string_view inName) {
    return reinterpret_cast<const UniChar*>(inName.data());
}

class SharedFilesTest : public ResourceFilesTest<support::FileWorldTest> {
  protected:
    SharedFilesTest() {
        for (const std::u16string_view name : {std::u16string_view(), kResourceFork}) {
            EXPECT_EQ(noErr, FSCreateResourceFork(&mFile, name.size(), UnitsOf(name), 0));
        }
    }
    SInt16 OpenOf(std::u16string_view inName) const {
        SInt16 refNum = 0;
        EXPECT_EQ(noErr, FSOpenResourceFile(&mFile, inName.size(), UnitsOf(inName), fsRdWrPerm, &refNum));
        return refNum;
    }
    void SetLock(bool inIsLocked) const {
        FSCatalogInfo info = {};
        info.nodeFlags = inIsLocked ? kFSNodeLockedMask : 0;
        EXPECT_EQ(noErr, FSSetCatalogInfo(&mFile, kFSCatInfoNodeFlags, &info));
    }
    SInt16 OpenFork(std::u16string_view inName, SInt8 inPermission) const {
        SInt16 number = 0;
        EXPECT_EQ(noErr, FSOpenFork(&mFile, inName.size(), UnitsOf(inName), inPermission, &number));
        return number;
    }

    FSRef mFile = RefOf(mFolder.MakeFile("file", ""));
};
INSTANTIATE_TEST_SUITE_P(Worlds, SharedFilesTest, support::BothWorlds(), support::NameOfWorld);

TEST_P(SharedFilesTest, LockedFilesStayAsTheyAre) {
    for (const std::u16string_view name : {std::u16string_view(), kResourceFork}) {
        const SInt16 refNum = OpenOf(name);
        AddResource(NewText("new"), kText, 1, nullptr);
        SetLock(true);
        UpdateResFile(refNum);
        EXPECT_EQ(fLckdErr, ResError());
        SetLock(false);
        UpdateResFile(refNum);
        EXPECT_EQ(noErr, ResError());
        CloseResFile(refNum);
    }
}

TEST_P(SharedFilesTest, NoForkIsMadeInALockedFile) {
    const FSRef other = RefOf(mFolder.MakeFile("other", ""));
    FSCatalogInfo info = {};
    info.nodeFlags = kFSNodeLockedMask;
    ASSERT_EQ(noErr, FSSetCatalogInfo(&other, kFSCatInfoNodeFlags, &info));
    for (const std::u16string_view name : {std::u16string_view(), kResourceFork}) {
        EXPECT_EQ(fLckdErr, FSCreateResourceFork(&other, name.size(), UnitsOf(name), 0));
    }
    EXPECT_EQ("", FileWorld::Contents(mFolder / "other"));
}

TEST_P(SharedFilesTest, WhatIsOpenToWriteIsNotWrittenOver) {
    for (const std::u16string_view name : {std::u16string_view(), kResourceFork}) {
        const SInt16 refNum = OpenOf(name);
        AddResource(NewText("new"), kText, 1, nullptr);
        for (const int permission : {fsRdWrPerm, fsRdWrShPerm}) {
            const SInt16 number = OpenFork(name, static_cast<SInt8>(permission));
            UpdateResFile(refNum);
            EXPECT_EQ(fBsyErr, ResError());
            EXPECT_EQ(noErr, FSCloseFork(number));
        }
        const SInt16 reader = OpenFork(name, fsRdPerm);
        UpdateResFile(refNum);
        EXPECT_EQ(noErr, ResError()) << "readers are free";
        EXPECT_EQ(noErr, FSCloseFork(reader));
        const SInt16 other = OpenFork(name.empty() ? kResourceFork : std::u16string_view(), fsRdWrPerm);
        AddResource(NewText("newer"), kText, 2, nullptr);
        UpdateResFile(refNum);
        EXPECT_EQ(noErr, ResError()) << "so is the other fork";
        EXPECT_EQ(noErr, FSCloseFork(other));
        CloseResFile(refNum);
    }
}

// Another process holds its lock.
TEST_P(SharedFilesTest, WhatAnotherProcessWrites) {
    const SInt16 refNum = OpenOf(kResourceFork);
    AddResource(NewText("new"), kText, 1, nullptr);
    const toolbox::os::SystemCalls saved = toolbox::os::Calls();
    toolbox::os::CallsForTesting().fcntl = [](int, int, struct flock*) { return errno = EAGAIN, -1; };
    UpdateResFile(refNum);
    toolbox::os::CallsForTesting() = saved;
    EXPECT_EQ(fBsyErr, ResError());
    UpdateResFile(refNum);
    EXPECT_EQ(noErr, ResError());
    CloseResFile(refNum);
}

}  // namespace

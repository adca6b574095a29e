#include "resources/Application.h"

#include "ResourcesTest.h"
#include "forks/Forks.h"
#include "support/FailingCalls.h"
#include "support/FailingNew.h"
#include "support/FileWorld.h"

#include <cerrno>

namespace {

using namespace test_resources;
using toolbox::files::Fork;
using toolbox::files::WriteFork;

class ApplicationTest : public ResourceFilesTest<support::FileWorldTest> {
  protected:
    ApplicationTest() {
        mProgram.Put(mApplication);
        toolbox::resources::StartAnew();
    }

    const std::string mApplication = mFolder.MakeFile("application", "code");
};
INSTANTIATE_TEST_SUITE_P(Worlds, ApplicationTest, support::BothWorlds(), support::NameOfWorld);

TEST_P(ApplicationTest, WithoutResources) {
    EXPECT_EQ(0, CurResFile());
}

TEST_P(ApplicationTest, FileBesideTheExecutable) {
    MakeFile("application.rsrc", {ImageOf(kText, 1, "beside")});
    EXPECT_EQ("beside", TextOf(GetResource(kText, 1)));
    EXPECT_GT(CurResFile(), 0);
}

TEST_P(ApplicationTest, ForkOfTheExecutableComesFirst) {
    MakeFile("application.rsrc", {ImageOf(kText, 1, "beside")});
    ASSERT_EQ(noErr, WriteFork(RefOf(mApplication), Fork::kResource, ForkOf({ImageOf(kText, 1, "its own")})));
    EXPECT_EQ("its own", TextOf(GetResource(kText, 1)));
}

TEST_P(ApplicationTest, InAPackageTheyAreThoseOfTheExecutable) {
    mFolder.MakeFolder("My.app/Contents/Linux");
    mProgram.Put(mFolder.MakeFile("My.app/Contents/Linux/application"));
    toolbox::resources::StartAnew();
    MakeFile("My.app.rsrc", {ImageOf(kText, 1, "of the package")});
    MakeFile("My.app/Contents/Linux/application.rsrc", {ImageOf(kText, 1, "of the executable")});
    EXPECT_EQ("of the executable", TextOf(GetResource(kText, 1)));
}

TEST_P(ApplicationTest, IsAtTheEndOfTheChain) {
    MakeFile("application.rsrc", {ImageOf(kText, 1, "beside")});
    Open(MakeFile("other", {ImageOf(kText, 1, "other")}));
    EXPECT_EQ("other", TextOf(GetResource(kText, 1)));
    CloseResFile(CurResFile());
    EXPECT_EQ("beside", TextOf(GetResource(kText, 1)));
    CloseResFile(CurResFile());
    EXPECT_EQ(nullptr, GetResource(kText, 1)) << "once closed it stays closed";
}

TEST_P(ApplicationTest, FileThatCannotBeReadCountsAsAbsent) {
    MakeFileOf("application.rsrc", std::vector<UInt8>(100, 'x'));
    EXPECT_EQ(0, CurResFile());
    EXPECT_EQ(noErr, ResError());
}

// What there were no descriptors for once is not absent for good.
TEST_P(ApplicationTest, OpenedLaterWhenThereWereNoDescriptors) {
    MakeFile("application.rsrc", {ImageOf(kText, 1, "beside"), ImageOf(kText, 2, "two")});
    const FSRef other = MakeFile("other", {ImageOf(kText, 1, "other")});
    for (int failing = 1;; ++failing) {
        toolbox::resources::StartAnew();
        bool wasDelivered = false;
        {
            const test_files::FailingCalls calls(failing, EMFILE);
            CurResFile();
            wasDelivered = calls.Delivered();
        }
        const SInt16 refNum = Open(other);
        EXPECT_EQ(refNum, CurResFile()) << failing;
        EXPECT_EQ("other", TextOf(GetResource(kText, 1))) << failing;
        EXPECT_EQ("two", TextOf(GetResource(kText, 2))) << failing;
        EXPECT_EQ(3, CountResources(kText)) << "once: " << failing;
        CloseResFile(refNum);
        EXPECT_EQ("beside", TextOf(GetResource(kText, 1))) << failing;
        if (!wasDelivered) {
            EXPECT_GT(failing, 5);
            break;
        }
        ASSERT_LT(failing, 100);
    }
}

TEST_P(ApplicationTest, OpenedLaterWhenThereWasNoMemory) {
    MakeFile("application.rsrc", {ImageOf(kText, 1, "beside", "", resPreload)});
    for (int failing = 1;; ++failing) {
        toolbox::resources::StartAnew();
        bool wasDelivered = false;
        {
            const test_files::FailingNew memory(failing);
            CountTypes();
            wasDelivered = memory.Delivered();
        }
        EXPECT_EQ("beside", TextOf(GetResource(kText, 1))) << failing;
        EXPECT_EQ(1, CountResources(kText)) << failing;
        if (!wasDelivered) {
            EXPECT_GT(failing, 5);
            break;
        }
        ASSERT_LT(failing, 200);
    }
}

TEST_P(ApplicationTest, OpenedLaterWhileOthersAreOpen) {
    MakeFile("application.rsrc", {ImageOf(kText, 1, "beside")});
    const FSRef other = MakeFile("other", {ImageOf(kText, 1, "other")});
    SInt16 refNum = 0;
    {
        // The first call looks for the application.
        const test_files::FailingCalls calls(1, EMFILE);
        refNum = Open(other);
        ASSERT_TRUE(calls.Delivered());
    }
    EXPECT_EQ(refNum, CurResFile());
    EXPECT_EQ("other", TextOf(GetIndResource(kText, 1)));
    EXPECT_EQ("beside", TextOf(GetIndResource(kText, 2)));
}

}  // namespace

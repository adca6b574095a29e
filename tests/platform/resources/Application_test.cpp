#include "resources/Application.h"

#include "ResourcesTest.h"
#include "files/Forks.h"

namespace {

using namespace test_resources;
using toolbox::files::Fork;
using toolbox::files::WriteFork;

std::string sApplication;

class ApplicationTest : public ResourcesTest {
  protected:
    ApplicationTest() {
        sApplication = mFolder.MakeFile("application", "code");
        toolbox::resources::StartWithApplication([] { return sApplication; });
    }
};

TEST_F(ApplicationTest, WithoutResources) {
    EXPECT_EQ(0, CurResFile());
}

TEST_F(ApplicationTest, FileBesideTheExecutable) {
    MakeFile("application.rsrc", {ImageOf(kText, 1, "beside")});
    EXPECT_EQ("beside", TextOf(GetResource(kText, 1)));
    EXPECT_GT(CurResFile(), 0);
}

TEST_F(ApplicationTest, ForkOfTheExecutableComesFirst) {
    MakeFile("application.rsrc", {ImageOf(kText, 1, "beside")});
    ASSERT_EQ(noErr, WriteFork(RefOf(sApplication), Fork::kResource, ForkOf({ImageOf(kText, 1, "its own")})));
    EXPECT_EQ("its own", TextOf(GetResource(kText, 1)));
}

TEST_F(ApplicationTest, IsAtTheEndOfTheChain) {
    MakeFile("application.rsrc", {ImageOf(kText, 1, "beside")});
    Open(MakeFile("other", {ImageOf(kText, 1, "other")}));
    EXPECT_EQ("other", TextOf(GetResource(kText, 1)));
    CloseResFile(CurResFile());
    EXPECT_EQ("beside", TextOf(GetResource(kText, 1)));
    CloseResFile(CurResFile());
    EXPECT_EQ(nullptr, GetResource(kText, 1)) << "once closed it stays closed";
}

TEST_F(ApplicationTest, FileThatCannotBeReadCountsAsAbsent) {
    MakeFileOf("application.rsrc", std::vector<UInt8>(100, 'x'));
    EXPECT_EQ(0, CurResFile());
    EXPECT_EQ(noErr, ResError());
}

TEST(Application, ThisOne) {
    const std::string path = toolbox::resources::sExecutablePath();
    EXPECT_TRUE(path.empty() || path.front() == '/');
}

}  // namespace

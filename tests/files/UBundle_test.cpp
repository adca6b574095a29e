#include "fakes/Calls.h"
#include "fakes/Frameworks.h"

#include <files/UBundle.h>
#include <files/UCarbon.h>
#include <gtest/gtest.h>
#include <toolbox/MacErrors.h>

#include <string>
#include <vector>

namespace {

using Calls = std::vector<std::string>;
using Loader = OSStatus (*)(CFStringRef, CFBundleRef*, bool);

// Both names of the one loader.
class LoadFrameworkBundleTest : public ::testing::TestWithParam<Loader> {
  protected:
    LoadFrameworkBundleTest() { fakes::StartScenario(); }
    ~LoadFrameworkBundleTest() override {
        EXPECT_EQ(0, fakes::LiveURLs());
        EXPECT_EQ(0, fakes::LiveBundles());
        EXPECT_EQ(Calls(), fakes::Misuses());
    }

    // What the caller's reference held before, which is overwritten in every case.
    CFBundleRef mBundle = reinterpret_cast<CFBundleRef>(this);

    OSStatus Load(bool inIsPrivate = false) {
        return GetParam()(CFSTR("Movies.framework"), &mBundle, inIsPrivate);
    }
    void ExpectFailure(OSStatus inStatus) {
        EXPECT_EQ(inStatus, Load());
        EXPECT_EQ(nullptr, mBundle);
        EXPECT_EQ(0, fakes::LiveURLs());
        EXPECT_EQ(0, fakes::LiveBundles());
    }
};

TEST_P(LoadFrameworkBundleTest, LoadsFromThePublicFolder) {
    fakes::PutFramework("Movies.framework", {});
    EXPECT_EQ(noErr, Load());
    EXPECT_EQ(1, fakes::LiveBundles());
    CFRelease(mBundle);
    EXPECT_EQ((Calls{"FSFindFolder(-32768, fram, 1)", "CFURLCreateFromFSRef(fram)",
                     "CFURLCreateCopyAppendingPathComponent(Movies.framework, 0)",
                     "CFBundleCreate(fram/Movies.framework)", "CFBundleLoadExecutable()",
                     "CFRelease(fram/Movies.framework)", "CFRelease(fram)", "CFRelease(bundle)"}),
              fakes::CallLog());
}

TEST_P(LoadFrameworkBundleTest, LoadsFromThePrivateFolder) {
    fakes::PutFramework("Movies.framework", {}, true);
    EXPECT_EQ(noErr, Load(true));
    EXPECT_EQ("FSFindFolder(-32768, pfrm, 1)", fakes::CallLog().front());
    CFRelease(mBundle);
}

TEST_P(LoadFrameworkBundleTest, LooksInOneFolderOnly) {
    fakes::PutFramework("Movies.framework", {}, true);
    ExpectFailure(-4960);
}

TEST_P(LoadFrameworkBundleTest, GivesAReferenceOfItsOwnEachTime) {
    fakes::PutFramework("Movies.framework", {});
    EXPECT_EQ(noErr, Load());
    const CFBundleRef first = mBundle;
    EXPECT_EQ(noErr, Load());
    EXPECT_EQ(2, fakes::LiveBundles());
    CFRelease(first);
    CFRelease(mBundle);
}

TEST_P(LoadFrameworkBundleTest, FolderStatusIsPassedOn) {
    for (const OSErr error : {OSErr{fnfErr}, OSErr{nsvErr}, OSErr{-1}, OSErr{1}, OSErr{-32768}}) {
        fakes::StartScenario();
        fakes::FailCall(1);
        fakes::SetErrorOfFolders(error);
        ExpectFailure(error);
        EXPECT_EQ(Calls{"FSFindFolder(-32768, fram, 1)"}, fakes::CallLog());
    }
}

TEST_P(LoadFrameworkBundleTest, NoURLOfTheFolder) {
    fakes::FailCall(2);
    ExpectFailure(-4960);
    EXPECT_EQ("CFURLCreateFromFSRef(fram)", fakes::CallLog().back());
}

TEST_P(LoadFrameworkBundleTest, NoURLOfTheBundle) {
    fakes::FailCall(3);
    ExpectFailure(-4960);
    EXPECT_EQ("CFRelease(fram)", fakes::CallLog().back());
    EXPECT_EQ(Calls(), fakes::CallsOf({"CFBundleCreate"}));
}

TEST_P(LoadFrameworkBundleTest, NoSuchFramework) {
    ExpectFailure(-4960);
    EXPECT_EQ(Calls(), fakes::CallsOf({"CFBundleLoadExecutable"}));
    EXPECT_EQ((Calls{"CFRelease", "CFRelease"}), fakes::CallsOf({"CFRelease"}));
}

TEST_P(LoadFrameworkBundleTest, ExecutableDoesNotLoad) {
    fakes::PutFramework("Movies.framework", {{}, false});
    ExpectFailure(-4960);
    EXPECT_EQ((Calls{"CFRelease", "CFRelease", "CFRelease"}), fakes::CallsOf({"CFRelease"}));
}

TEST_P(LoadFrameworkBundleTest, EveryFailingCallInTurn) {
    for (int failing = 1;; ++failing) {
        fakes::StartScenario();
        fakes::PutFramework("Movies.framework", {});
        fakes::FailCall(failing);
        const OSStatus status = Load();
        if (!fakes::FailureDelivered()) {
            EXPECT_EQ(noErr, status);
            EXPECT_EQ(6, failing);
            break;
        }
        EXPECT_EQ(failing == 1 ? OSStatus{fnfErr} : -4960, status) << failing;
        EXPECT_EQ(nullptr, mBundle) << failing;
        EXPECT_EQ(0, fakes::LiveURLs()) << failing;
        EXPECT_EQ(0, fakes::LiveBundles()) << failing;
    }
    CFRelease(mBundle);
}

INSTANTIATE_TEST_SUITE_P(UBundle, LoadFrameworkBundleTest, ::testing::Values(&UBundle::LoadFrameworkBundle));
INSTANTIATE_TEST_SUITE_P(UCarbon, LoadFrameworkBundleTest, ::testing::Values(&UCarbon::LoadFrameworkBundle));

}  // namespace

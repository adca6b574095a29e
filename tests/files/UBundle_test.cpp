#include "SpecTest.h"
#include "fakes/Calls.h"
#include "fakes/Frameworks.h"
#include "fakes/System.h"

#include <files/UBundle.h>
#include <files/UCarbon.h>
#include <gtest/gtest.h>
#include <toolbox/MacErrors.h>

#include <cstring>
#include <string>
#include <vector>

namespace {

using test_files::Thrown;
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

constexpr UInt32 kPlugIn = 50;
constexpr const char* kPlugInPath = "/here/Plug.bundle";

class UBundleTest : public test_files::SpecTest {
  protected:
    UBundleTest() { StartOver(); }
    ~UBundleTest() override { EXPECT_EQ(0, fakes::LiveBundles()); }

    // The application lies in the folder "here", and a bundle beside it.
    void StartOver(const fakes::ScriptedFramework& inBundle = {}) {
        Start();
        fakes::PutFolder(kPlugIn, test_files::kHere, "Plug.bundle");
        fakes::PutBundle(kPlugInPath, inBundle);
        fakes::ScriptProcess(noErr, Spec(fakes::kVolume, test_files::kHere, "program"));
        mBundle = reinterpret_cast<CFBundleRef>(this);
    }
    TFSSpec PlugIn() const { return {mHere, String("Plug.bundle")}; }

    // The calls that are about bundles.
    static Calls AboutBundles() {
        Calls calls;
        for (const std::string& call : fakes::CallLog())
            if (call.rfind("CFURL", 0) == 0 || call.rfind("CFBundle", 0) == 0 ||
                call.rfind("CFRelease(bundle", 0) == 0 || call.rfind("CFRelease(/", 0) == 0 ||
                call.rfind("GetProcess", 0) == 0)
                calls.push_back(call);
        return calls;
    }
    void ExpectNothingIsLeft() {
        EXPECT_EQ(nullptr, mBundle);
        EXPECT_EQ(0, fakes::LiveURLs());
        EXPECT_EQ(0, fakes::LiveBundles());
    }

    CFBundleRef mBundle = nullptr;
};

using CreateBundleFromFSSpecTest = UBundleTest;

TEST_F(CreateBundleFromFSSpecTest, MakesTheBundleAndLoadsNothing) {
    EXPECT_EQ(noErr, UBundle::CreateBundleFromFSSpec(PlugIn(), &mBundle));
    EXPECT_EQ(1, fakes::LiveBundles());
    CFRelease(mBundle);
    EXPECT_EQ((Calls{"CFURLCreateFromFSRef(/here/Plug.bundle)", "CFBundleCreate(/here/Plug.bundle)",
                     "CFRelease(/here/Plug.bundle)", "CFRelease(bundle)"}),
              AboutBundles());
}

TEST_F(CreateBundleFromFSSpecTest, AMissingItemIsThrown) {
    const TFSSpec missing(mHere, String("none"));
    EXPECT_EQ(-43, Thrown([&] { (void)UBundle::CreateBundleFromFSSpec(missing, &mBundle); }));
    ExpectNothingIsLeft();
    EXPECT_EQ(Calls(), AboutBundles());
}

TEST_F(CreateBundleFromFSSpecTest, NoURLOfTheItem) {
    const TFSSpec plugIn = PlugIn();
    plugIn.GetFSRef();
    for (int failing = 1;; ++failing) {
        StartOver();
        fakes::FailCall(failing);
        OSErr error = noErr;
        const long thrown = Thrown([&] { error = UBundle::CreateBundleFromFSSpec(plugIn, &mBundle); });
        if (fakes::CallLog().back() != "CFURLCreateFromFSRef(/here/Plug.bundle)") {
            ASSERT_TRUE(thrown != 0) << "only looking it up comes before";
            continue;
        }
        EXPECT_EQ(0, thrown);
        EXPECT_EQ(-43, error);
        break;
    }
    ExpectNothingIsLeft();
}

TEST_F(CreateBundleFromFSSpecTest, NoBundleIsNoError) {
    const TFSSpec folder(mHere, String("folder"));
    EXPECT_EQ(noErr, UBundle::CreateBundleFromFSSpec(folder, &mBundle));
    ExpectNothingIsLeft();
    EXPECT_EQ((Calls{"CFURLCreateFromFSRef(/here/folder)", "CFBundleCreate(/here/folder)",
                     "CFRelease(/here/folder)"}),
              AboutBundles());
}

using FindApplicationPackageDirectoryTest = UBundleTest;

TEST_F(FindApplicationPackageDirectoryTest, AsksForTheProcessesFile) {
    fakes::ScriptProcess(noErr, {-3, 17, "\7program"});
    short volume = 0;
    long folder = 0;
    EXPECT_EQ(noErr, UBundle::FindApplicationPackageDirectory(&volume, &folder));
    EXPECT_EQ(-3, volume);
    EXPECT_EQ(17, folder);
    EXPECT_EQ(Calls{"GetProcessInformation(0, 2, 60)"}, fakes::CallLog());
}

TEST_F(FindApplicationPackageDirectoryTest, IdsHaveNoSign) {
    fakes::ScriptProcess(noErr, {-3, static_cast<SInt32>(0x80000005U), "\7program"});
    short volume = 0;
    long folder = 0;
    EXPECT_EQ(noErr, UBundle::FindApplicationPackageDirectory(&volume, &folder));
    EXPECT_EQ(static_cast<long>(0x80000005U), folder);
}

TEST_F(FindApplicationPackageDirectoryTest, FailsAndLeavesTheArgumentsAlone) {
    for (const OSErr answer : {OSErr{procNotFound}, OSErr{paramErr}, OSErr{fnfErr}, OSErr{1}}) {
        fakes::ScriptProcess(answer, {-3, 17, "\7program"});
        short volume = 5;
        long folder = 6;
        EXPECT_EQ(answer, UBundle::FindApplicationPackageDirectory(&volume, &folder));
        EXPECT_EQ(5, volume);
        EXPECT_EQ(6, folder);
    }
}

using LoadAppFolderBundleTest = UBundleTest;

TEST_F(LoadAppFolderBundleTest, LoadsWhatLiesBesideTheApplication) {
    EXPECT_EQ(noErr, UBundle::LoadAppFolderBundle(String("Plug.bundle"), &mBundle));
    EXPECT_EQ(1, fakes::LiveBundles());
    CFRelease(mBundle);
    EXPECT_EQ((Calls{"GetProcessInformation(0, 2, 60)", "CFURLCreateFromFSRef(/here/Plug.bundle)",
                     "CFBundleCreate(/here/Plug.bundle)", "CFRelease(/here/Plug.bundle)",
                     "CFBundleLoadExecutable()", "CFRelease(bundle)"}),
              AboutBundles());
}

TEST_F(LoadAppFolderBundleTest, TheProcessIsNotTold) {
    fakes::ScriptProcess(procNotFound, Spec(fakes::kVolume, test_files::kHere, "program"));
    EXPECT_EQ(procNotFound, UBundle::LoadAppFolderBundle(String("Plug.bundle"), &mBundle));
    ExpectNothingIsLeft();
    EXPECT_EQ(Calls{"GetProcessInformation(0, 2, 60)"}, AboutBundles());
}

TEST_F(LoadAppFolderBundleTest, AMissingBundleIsThrown) {
    EXPECT_EQ(-43, Thrown([&] { (void)UBundle::LoadAppFolderBundle(String("None.bundle"), &mBundle); }));
    ExpectNothingIsLeft();
    EXPECT_EQ(Calls{"GetProcessInformation(0, 2, 60)"}, AboutBundles());
}

TEST_F(LoadAppFolderBundleTest, NoBundleIsNoError) {
    EXPECT_EQ(noErr, UBundle::LoadAppFolderBundle(String("folder"), &mBundle));
    ExpectNothingIsLeft();
    EXPECT_EQ(Calls(), fakes::CallsOf({"CFBundleLoadExecutable"}));
}

TEST_F(LoadAppFolderBundleTest, ExecutableDoesNotLoad) {
    StartOver({{}, false});
    EXPECT_EQ(-4960, UBundle::LoadAppFolderBundle(String("Plug.bundle"), &mBundle));
    ExpectNothingIsLeft();
    EXPECT_EQ("CFRelease(bundle)", AboutBundles().back());
}

TEST_F(LoadAppFolderBundleTest, EveryFailingCallInTurn) {
    bool hasNoURL = false;
    bool hasNoCode = false;
    for (int failing = 1;; ++failing) {
        StartOver();
        fakes::FailCall(failing);
        OSErr error = noErr;
        const long thrown =
            Thrown([&] { error = UBundle::LoadAppFolderBundle(String("Plug.bundle"), &mBundle); });
        if (!fakes::FailureDelivered()) break;
        if (mBundle != nullptr) {  // a look that the next one made up for
            EXPECT_TRUE(error == noErr && thrown == 0) << failing;
            CFRelease(mBundle);
            mBundle = nullptr;
        }
        hasNoURL = hasNoURL || error == fnfErr;
        hasNoCode = hasNoCode || error == coreFoundationUnknownErr;
        ExpectNothingIsLeft();
    }
    EXPECT_TRUE(hasNoURL);
    EXPECT_TRUE(hasNoCode);
    CFRelease(mBundle);
}

class GetBundleVersionTest : public UBundleTest {
  protected:
    GetBundleVersionTest() { StartOver({{}, true, 0, 0, 0x10418005}); }

    char mPath[20] = "/here/Plug.bundle";
    unsigned long mVersion = 77;
};

TEST_F(GetBundleVersionTest, ThePackedVersion) {
    EXPECT_EQ(noErr, UBundle::GetBundleVersion(mPath, &mVersion));
    EXPECT_EQ(0x10418005UL, mVersion);
    EXPECT_EQ((Calls{"CFURLCreateFromFileSystemRepresentation(/here/Plug.bundle, 18, 1)",
                     "CFBundleCreate(/here/Plug.bundle)", "CFBundleGetVersionNumber()", "CFRelease(bundle)",
                     "CFRelease(/here/Plug.bundle)"}),
              fakes::CallLog());
}

TEST_F(GetBundleVersionTest, NoVersionWanted) {
    EXPECT_EQ(noErr, UBundle::GetBundleVersion(mPath, nullptr));
    std::strcpy(mPath, "/here/folder");
    EXPECT_EQ(-50, UBundle::GetBundleVersion(mPath, nullptr));
}

TEST_F(GetBundleVersionTest, VersionsHaveNoSign) {
    StartOver({{}, true, 0, 0, 0x99998000});
    EXPECT_EQ(noErr, UBundle::GetBundleVersion(mPath, &mVersion));
    EXPECT_EQ(0x99998000UL, mVersion);
}

TEST_F(GetBundleVersionTest, NoURL) {
    fakes::FailCall(1);
    EXPECT_EQ(-50, UBundle::GetBundleVersion(mPath, &mVersion));
    EXPECT_EQ(0UL, mVersion);
    EXPECT_EQ(1U, fakes::CallLog().size());
}

TEST_F(GetBundleVersionTest, NoPath) {
    EXPECT_EQ(-50, UBundle::GetBundleVersion(nullptr, &mVersion));
    EXPECT_EQ(0UL, mVersion);
    EXPECT_EQ(Calls(), fakes::CallLog());
}

TEST_F(GetBundleVersionTest, NoBundle) {
    std::strcpy(mPath, "/here/folder");
    EXPECT_EQ(-50, UBundle::GetBundleVersion(mPath, &mVersion));
    EXPECT_EQ(0UL, mVersion);
    EXPECT_EQ("CFRelease(/here/folder)", fakes::CallLog().back());
}

TEST_F(GetBundleVersionTest, NoVersion) {
    StartOver();
    EXPECT_EQ(-50, UBundle::GetBundleVersion(mPath, &mVersion));
    EXPECT_EQ(0UL, mVersion);
    EXPECT_EQ((Calls{"CFRelease", "CFRelease"}), fakes::CallsOf({"CFRelease"}));
}

}  // namespace

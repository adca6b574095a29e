// Bundles by specifications, beside the application and by paths, over the real toolbox.
#include "platform/bundles/BundleMaker.h"
#include "platform/catalogue/CatalogTest.h"
#include "support/FailEach.h"
#include "support/FailingCalls.h"
#include "support/FailingNew.h"
#include "support/RunningProgram.h"

#include <corefoundation/CF_test_access.h>
#include <files/TFSSpec.h>
#include <files/UBundle.h>
#include <foundation/LException.h>

#include <cerrno>
#include <new>
#include <string>

namespace {

using namespace test_bundles;
using support::FailEach;
using test_files::FailingCalls;
using test_files::FailingNew;
using toolbox::corefoundation::LiveObjectsForTesting;

// The application "program" is in a folder of its own.
class UBundleOnToolbox : public test_files::CatalogTest {
  protected:
    UBundleOnToolbox() { mProgram.Put(mFolder.MakeFile("program")); }
    ~UBundleOnToolbox() override {
        mBundle = nullptr;
        EXPECT_EQ(mLive, LiveObjectsForTesting());
        EXPECT_EQ(mDescriptors, test_files::OpenDescriptorCount());
    }

    void MakeLoadable() { CopyTo(mFolder, "Code.bundle/Code", TEST_CODE); }
    TFSSpec Spec(std::string_view inName) const { return (mFolder / inName).c_str(); }
    // Answered or thrown.
    template <class Function>
    static long StatusOf(const Function& inFunction) {
        try {
            return inFunction();
        } catch (const LException& exception) {
            return exception.GetErrorCode();
        } catch (const std::bad_alloc&) {
            return memFullErr;
        }
    }
    long Create(const TFSSpec& inSpec) {
        return StatusOf([&] { return UBundle::CreateBundleFromFSSpec(inSpec, &mBundle.ref); });
    }
    long Load(const char* inName) {
        mBundle = nullptr;
        const TCFString name(inName, kCFStringEncodingUTF8);
        return StatusOf([&] { return UBundle::LoadAppFolderBundle(name, &mBundle.ref); });
    }
    long Version(std::string inPath) {
        mVersion = 77;
        return UBundle::GetBundleVersion(inPath.data(), &mVersion);
    }

    SInt64 mLive = LiveObjectsForTesting();
    std::size_t mDescriptors = test_files::OpenDescriptorCount();
    test_files::RunningProgram mProgram;
    OwnedBundle mBundle;
    unsigned long mVersion = 0;
};

TEST_F(UBundleOnToolbox, BundlesOfSpecifications) {
    MakeLoadable();
    EXPECT_EQ(noErr, Create(Spec("Code.bundle")));
    ASSERT_NE(nullptr, mBundle.ref);
    EXPECT_FALSE(CFBundleIsExecutableLoaded(mBundle));
    const OwnedURL url = CFBundleCopyBundleURL(mBundle);
    EXPECT_EQ(mFolder / "Code.bundle", TakeUTF8(CFURLCopyFileSystemPath(url, kCFURLPOSIXPathStyle)));
}

TEST_F(UBundleOnToolbox, WhatIsNoBundle) {
    mFolder.MakeFolder("plain");
    EXPECT_EQ(noErr, Create(Spec("plain")));
    EXPECT_EQ(nullptr, mBundle.ref);
    EXPECT_EQ(noErr, Create(Spec("program")));
    EXPECT_EQ(nullptr, mBundle.ref);
    EXPECT_EQ(fnfErr, Create(Spec("none")));
    EXPECT_EQ(fnfErr, Create(TFSSpec()));
    EXPECT_EQ(nullptr, mBundle.ref);
}

TEST_F(UBundleOnToolbox, TheApplicationsFolder) {
    short volume = 0;
    long folder = 0;
    ASSERT_EQ(noErr, UBundle::FindApplicationPackageDirectory(&volume, &folder));
    const TFSSpec spec(volume, static_cast<unsigned long>(folder));
    EXPECT_EQ(mFolder.Path(), test_files::PathOf(spec.GetFSRef()));
    volume = 5;
    folder = 6;
    mProgram.Put("");
    EXPECT_EQ(fnfErr, UBundle::FindApplicationPackageDirectory(&volume, &folder));
    EXPECT_TRUE(volume == 5 && folder == 6);
}

TEST_F(UBundleOnToolbox, BesideTheApplication) {
    MakeLoadable();
    ASSERT_EQ(noErr, Load("Code.bundle"));
    ASSERT_NE(nullptr, mBundle.ref);
    EXPECT_TRUE(CFBundleIsExecutableLoaded(mBundle));
    EXPECT_NE(nullptr, CFBundleGetFunctionPointerForName(mBundle, CFSTR("TestCodeAnswer")));

    mFolder.MakeFolder("plain");
    EXPECT_EQ(noErr, Load("plain"));
    EXPECT_EQ(nullptr, mBundle.ref);
    EXPECT_EQ(fnfErr, Load("None.bundle"));
    EXPECT_EQ(nullptr, mBundle.ref);
    mFolder.MakeFolder("Empty.bundle");
    EXPECT_EQ(-4960, Load("Empty.bundle"));
    EXPECT_EQ(nullptr, mBundle.ref);
    MakeFileAt(mFolder, "Text.bundle/Text", "no code");
    EXPECT_EQ(-4960, Load("Text.bundle"));
    EXPECT_EQ(nullptr, mBundle.ref);
    mProgram.Put("");
    EXPECT_EQ(fnfErr, Load("Code.bundle"));
    EXPECT_EQ(nullptr, mBundle.ref);
}

TEST_F(UBundleOnToolbox, BesideThePackage) {
    MakeLoadable();
    mFolder.MakeFolder("Game.app");
    MakeFileAt(mFolder, "Game.app/Contents/Linux/program", "");
    mProgram.Put(mFolder / "Game.app/Contents/Linux/program");
    ASSERT_EQ(noErr, Load("Code.bundle"));
    EXPECT_TRUE(CFBundleIsExecutableLoaded(mBundle));
}

TEST_F(UBundleOnToolbox, VersionsOfPaths) {
    MakeFileAt(mFolder, "A.app/Contents/Info.plist", InfoWith("CFBundleVersion", "10.4.1b12"));
    EXPECT_EQ(noErr, Version(mFolder / "A.app"));
    EXPECT_EQ(0x1041600CUL, mVersion);
    EXPECT_EQ(noErr, Version((mFolder / "A.app") + '/'));
    EXPECT_EQ(0x1041600CUL, mVersion);
    EXPECT_EQ(noErr, UBundle::GetBundleVersion((mFolder / "A.app").data(), nullptr));

    mFolder.MakeFolder("plain");
    mFolder.MakeFolder("Empty.bundle");
    for (const std::string& path : {mFolder / "plain", mFolder / "Empty.bundle", mFolder / "program",
                                    mFolder / "none", std::string()}) {
        EXPECT_EQ(-50, Version(path)) << path;
        EXPECT_EQ(0UL, mVersion) << path;
    }
}

TEST_F(UBundleOnToolbox, MemoryIsShort) {
    MakeLoadable();
    MakeFileAt(mFolder, "A.app/Contents/Info.plist", InfoWith("CFBundleVersion", "1.2"));
    const TCFString name("Code.bundle", kCFStringEncodingUTF8);
    std::string path = mFolder / "A.app";
    FailEach<FailingNew>([&](const auto& inUnderFault) {
        mBundle = nullptr;
        long status = noErr;
        const bool isDelivered = inUnderFault(
            [&] { status = StatusOf([&] { return UBundle::LoadAppFolderBundle(name, &mBundle.ref); }); });
        EXPECT_TRUE(isDelivered || (status == noErr && mBundle.ref != nullptr));
        EXPECT_TRUE(status == noErr || mBundle.ref == nullptr) << status;
    });
    FailEach<FailingNew>([&](const auto& inUnderFault) {
        mVersion = 77;
        OSErr error = noErr;
        const bool isDelivered =
            inUnderFault([&] { error = UBundle::GetBundleVersion(path.data(), &mVersion); });
        if (isDelivered)
            EXPECT_TRUE(error == paramErr && mVersion == 0) << error;
        else
            EXPECT_TRUE(error == noErr && mVersion == 0x01208000);
    });
}

TEST_F(UBundleOnToolbox, EveryCallFails) {
    MakeLoadable();
    FailEach<FailingCalls>(
        [&](const auto& inUnderFault) {
            long status = noErr;
            const bool isDelivered = inUnderFault([&] { status = Load("Code.bundle"); });
            EXPECT_TRUE(isDelivered || (status == noErr && mBundle.ref != nullptr)) << status;
            EXPECT_TRUE(status == noErr || mBundle.ref == nullptr) << status;
            EXPECT_TRUE(mBundle.ref == nullptr || CFBundleIsExecutableLoaded(mBundle));
        },
        EIO);
}

}  // namespace

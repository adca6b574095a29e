// A large folder in the real file system, and how often it is read when names are looked for.
#pragma once

#include "ItemChanges.h"
#include "catalogue/KnownNames.h"
#include "catalogue/MountTable.h"
#include "catalogue/VolumeFeatures.h"
#include "os/SystemCalls_test_access.h"
#include "support/FileWorld.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <toolbox/ItemLookup.h>

#include <algorithm>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace test_files {

using support::FileWorld;
using toolbox::files::KnownNames;
using toolbox::os::Calls;
using toolbox::os::CallsForTesting;
using toolbox::os::SystemCalls;

constexpr int kNames = 250;

class RealFolder : public testing::Test {
  protected:
    FileWorld mFolder{FileWorld::kReal};
};

class KnownNamesTest : public ItemChangesTest<RealFolder> {
  protected:
    KnownNamesTest() {
        const std::string volume = mFolder.MakeFolder("volume");
        EXPECT_EQ(0, mFolder.MayMount() ? mFolder.MountVolume(volume) : 0);
        MakeLarge("volume/large");
        mReal = Calls();
        CallsForTesting().fdopendir = [](int inFolder) {
            ++sReadings;
            return ::fdopendir(inFolder);
        };
        sReadings = 0;
    }
    ~KnownNamesTest() override {
        CallsForTesting() = mReal;
        KnownNames::Shared().Close();
        EXPECT_EQ(mDescriptors, OpenDescriptorCount());
    }
    void SetUp() override {
        toolbox::os::ItemStatus status;
        std::vector<toolbox::files::MountEntry> mounts;
        ASSERT_EQ(0, toolbox::os::GetPathStatus(mLarge.c_str(), status));
        ASSERT_EQ(noErr, toolbox::files::ReadMounts(mounts));
        ASSERT_GT(status.sizeBytes, KnownNames::kSmallFolderBytes);
        const auto mount = std::find_if(mounts.begin(), mounts.end(),
                                        [&](const auto& inMount) { return inMount.mount == status.mount; });
        if (mount == mounts.end() || !toolbox::files::FeaturesOf(mount->type).tellsNewNames)
            GTEST_SKIP() << "this file system is not known to tell of all names";
    }

    // Hard links, which are quickly made.
    std::string MakeLarge(const std::string& inName) const {
        std::string path = mFolder.MakeFolder(inName);
        const std::string first = mFolder.MakeFile(inName + "/0 of the names of a large folder");
        for (int i = 1; i < kNames; ++i)
            EXPECT_EQ(0, FileWorld::MakeHardLink(
                             first, path + '/' + std::to_string(i) + " of the names of a large folder"));
        return path;
    }
    static OSErr LookIn(const FSRef& inFolder, std::u16string_view inName, FSRef& outRef) {
        return FSMakeFSRefUnicode(&inFolder, inName.size(), UnitsOf(inName), 0, &outRef);
    }
    static OSErr LookIn(const std::string& inFolder, std::u16string_view inName) {
        FSRef ref = {};
        return LookIn(RefOf(inFolder), inName, ref);
    }
    OSErr Look(std::u16string_view inName) const { return LookIn(mLarge, inName); }
    // How many readings they took.
    int ReadingsOf(const std::function<void()>& inLooks) const {
        const int before = sReadings;
        inLooks();
        return sReadings - before;
    }
    // A name that is missing, and known to be.
    void Know() const {
        EXPECT_EQ(fnfErr, Look(u"missing"));
        EXPECT_EQ(0, ReadingsOf([&] { EXPECT_EQ(fnfErr, Look(u"missing")); })) << "not known";
    }
    // With another mode it is forgotten.
    void ChangeMode() {
        mMode ^= 0055;
        FileWorld::SetMode(mLarge, mMode);
    }
    // A folder of one name, as large as if many had gone.
    void TakeEmptiedFolder() {
        mLarge = mFolder.MakeFolder("volume/emptied");
        mFolder.MakeFile("volume/emptied/Last");
        LetAllSeemLarge();
    }
    static void LetAllSeemLarge() {
        sBefore = Calls();
        CallsForTesting().statx = [](int inFolder, const char* inPath, int inFlags, unsigned inMask,
                                     struct statx* outStatus) {
            const int result = sBefore.statx(inFolder, inPath, inFlags, inMask, outStatus);
            outStatus->stx_size += 2 * KnownNames::kSmallFolderBytes;
            return result;
        };
    }
    // More than there is room for at first, one of which is no ASCII.
    void LetNamesComeAndGo() const {
        std::string before = mLarge + "/Last";
        const std::string path = before;
        for (int i = 0; i < 60; ++i) {
            const std::string after = mLarge + (i == 0 ? "/caf\xC3\xA9" : "/name " + std::to_string(i));
            FileWorld::Rename(before, after);
            before = after;
        }
        FileWorld::Rename(before, path);
    }
    void FindWhatComes(const FSRef& inFolder) const {
        FSRef ref = {};
        const std::string path = mFolder.MakeFile("volume/emptied/later");
        EXPECT_EQ(noErr, LookIn(inFolder, u"LATER", ref));
        FileWorld::Remove(path);
        Know();
    }
    static std::size_t OpenDescriptorCount() { return test_files::OpenDescriptorCount(); }

    static inline int sReadings;
    static inline SystemCalls sBefore;
    mode_t mMode = 0700;
    std::string mLarge = mFolder / "volume/large";
    const std::size_t mDescriptors = OpenDescriptorCount();
    SystemCalls mReal;
};

}  // namespace test_files

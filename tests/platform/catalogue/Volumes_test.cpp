#include "catalogue/Volumes.h"

#include "support/FailingCalls.h"
#include "support/FileWorld.h"

#include <gtest/gtest.h>

#include <cerrno>

using namespace toolbox::files;
using test_files::FailingCalls;

namespace {

FoundItem ItemAt(const std::string& inPath) {
    FoundItem item;
    EXPECT_EQ(noErr, FindByPath(inPath.c_str(), item)) << inPath;
    return item;
}
SInt16 NumberOf(const std::string& inPath) {
    SInt16 number = 0;
    EXPECT_EQ(noErr, GetVolumeNumber(ItemAt(inPath), number)) << inPath;
    return number;
}

}  // namespace

class VolumesTest : public support::FileWorldTest {};
INSTANTIATE_TEST_SUITE_P(Worlds, VolumesTest, support::BothWorlds(), support::NameOfWorld);

TEST_P(VolumesTest, TheRootFoldersIsTheFirst) {
    Volume volume;
    ASSERT_EQ(noErr, GetVolume(kBootVolume, volume));
    EXPECT_EQ("/", volume.rootPath);
    EXPECT_EQ(ItemAt("/").status.identity.device, volume.device);
    EXPECT_EQ(kBootVolume, NumberOf("/"));
}

TEST_P(VolumesTest, EachDeviceHasItsNumber) {
    const SInt16 number = NumberOf("/proc/self");
    EXPECT_LT(number, kBootVolume);
    EXPECT_EQ(number, NumberOf("/proc"));
    EXPECT_EQ(number, NumberOf("/proc/self/fd"));
    Volume volume;
    ASSERT_EQ(noErr, GetVolume(number, volume));
    EXPECT_EQ("/proc", volume.rootPath);
    EXPECT_EQ(ItemAt("/proc").status.identity.device, volume.device);
}

TEST_P(VolumesTest, ItemsOfOneFolderAreOnOneVolume) {
    EXPECT_EQ(NumberOf(mFolder.MakeFile("a")), NumberOf(mFolder.MakeFolder("b")));
}

TEST_P(VolumesTest, NumbersThatNoVolumeHas) {
    Volume volume;
    for (const SInt16 number : {0, 1, 32767, -31000, -32768})
        EXPECT_EQ(nsvErr, GetVolume(number, volume)) << number;
}

TEST_P(VolumesTest, FailingCallsAreTold) {
    Volume volume;
    SInt16 number = 0;
    const FoundItem item = ItemAt("/proc");
    NumberOf("/proc");
    {
        const FailingCalls calls(1, EIO, FailingCalls::kForever);
        EXPECT_EQ(ioErr, GetVolume(kBootVolume, volume));
        EXPECT_EQ(ioErr, GetVolumeNumber(item, number));
    }
    const SInt16 procNumber = NumberOf("/proc");
    const FailingCalls calls(1, ENOENT);
    EXPECT_EQ(nsvErr, GetVolume(procNumber, volume)) << "mounted there no more";
}

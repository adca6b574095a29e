#include "companions/CompanionInfo.h"

#include "companions/Companions.h"
#include "formats/AppleDouble.h"
#include "os/BigEndian.h"
#include "support/FailingCalls.h"
#include "support/FailingNew.h"
#include "support/FileWorld.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <new>
#include <string>
#include <string_view>
#include <vector>

namespace {

using namespace toolbox::files;
using namespace toolbox::os;
using test_files::FailingCalls;
using Bytes = std::vector<UInt8>;

constexpr UInt32 kComment = 4;
constexpr UInt32 kFork = AppleDoubleEntry::kResourceFork;
constexpr UInt32 kDates = AppleDoubleEntry::kFileDates;
constexpr UInt32 kFinder = AppleDoubleEntry::kFinderInfo;
constexpr UInt32 kAttributes = AppleDoubleEntry::kMacFileInfo;

Bytes BytesOf(std::string_view inText) {
    return {inText.begin(), inText.end()};
}

CompanionInfo SomeInfo() {
    CompanionInfo info;
    for (std::size_t i = 0; i < info.finderInfo.size(); ++i)
        info.finderInfo[i] = static_cast<UInt8>(i + 1);
    info.creationSeconds = -3;
    info.backupSeconds = 0x01020304;
    info.isLocked = true;
    info.encodingHint = 0x0A0B0C0D;
    return info;
}

class CompanionInfoTest : public support::FileWorldTest {
  protected:
    CompanionInfoTest() { EXPECT_EQ(0, OpenPlaceOf(mFolder.MakeFile("file", "data"), mPlace)); }

    void MakeCompanion(const std::vector<AppleDoublePart>& inParts) const {
        Bytes file;
        ASSERT_TRUE(EncodeAppleDouble(inParts, file));
        mFolder.MakeFile("._file", {reinterpret_cast<const char*>(file.data()), file.size()});
    }
    bool HasCompanion() const { return mFolder.Exists(mFolder / "._file"); }
    std::string Companion() const { return support::FileWorld::Contents(mFolder / "._file"); }
    CompanionInfo Read(CompanionSizes& outSizes) const {
        CompanionInfo info = SomeInfo();
        EXPECT_EQ(0, ReadInfo(mPlace.folder.Number(), CompanionName(mPlace.name), info, outSizes));
        return info;
    }
    CompanionInfo Read() const {
        CompanionSizes sizes;
        return Read(sizes);
    }
    // The entry's bytes; those of "error" and its number.
    Bytes Entry(UInt32 inID) const {
        FileRange range;
        const int error = OpenEntry(mPlace, inID, range);
        if (error != 0) return BytesOf("error " + std::to_string(error));
        Bytes bytes(range.SizeBytes());
        EXPECT_EQ(0, range.Read(0, bytes.data(), bytes.size()));
        return bytes;
    }
    static Bytes None() { return BytesOf("error " + std::to_string(ENOENT)); }
    bool IsLockedHere() const {
        ItemStatus status;
        EXPECT_EQ(0, GetStatus(mPlace, status));
        bool isLocked = false;
        EXPECT_EQ(0, IsLocked(mPlace, status, isLocked));
        return isLocked;
    }

    Place mPlace;
};
INSTANTIATE_TEST_SUITE_P(Worlds, CompanionInfoTest, support::BothWorlds(), support::NameOfWorld);

TEST_P(CompanionInfoTest, WithoutACompanionAllIsAsItBegins) {
    CompanionSizes sizes = {1, 2};
    EXPECT_EQ(CompanionInfo(), Read(sizes));
    EXPECT_EQ(0U, sizes.forkBytes);
    EXPECT_EQ(0U, sizes.allocatedBytes);
    EXPECT_EQ(0, WriteInfo(mPlace, {}));
    EXPECT_FALSE(HasCompanion());
}

TEST_P(CompanionInfoTest, LiesInTheEntriesThatAreMeantForIt) {
    const CompanionInfo info = SomeInfo();
    ASSERT_EQ(0, WriteInfo(mPlace, info));
    EXPECT_EQ(info, Read());
    EXPECT_EQ(Bytes(info.finderInfo.begin(), info.finderInfo.end()), Entry(kFinder));
    EXPECT_EQ((Bytes{0xFF, 0xFF, 0xFF, 0xFD, 0x80, 0, 0, 0, 1, 2, 3, 4, 0x80, 0, 0, 0}), Entry(kDates));
    EXPECT_EQ((Bytes{0, 0, 0, 1}), Entry(kAttributes));
    EXPECT_EQ((Bytes{10, 11, 12, 13}), Entry(AppleDoubleEntry::kEncodingHint));
    EXPECT_EQ(None(), Entry(kFork));
}

TEST_P(CompanionInfoTest, OneDifferenceMakesTheCompanionAndTheLastOneGoingRemovesIt) {
    const CompanionInfo all = SomeInfo();
    std::vector<CompanionInfo> infos(5);
    infos[0].finderInfo = all.finderInfo;
    infos[1].creationSeconds = 0;
    infos[2].backupSeconds = 0;
    infos[3].isLocked = true;
    infos[4].encodingHint = all.encodingHint;
    for (const CompanionInfo& info : infos) {
        ASSERT_EQ(0, WriteInfo(mPlace, info));
        EXPECT_EQ(info, Read());
        EXPECT_EQ(32U, Entry(kFinder).size()) << "as others write it";
        EXPECT_EQ(info.creationSeconds == info.backupSeconds, Entry(kDates) == None());
        EXPECT_EQ(!info.isLocked, Entry(kAttributes) == None());
        EXPECT_EQ(info.encodingHint == 0, Entry(AppleDoubleEntry::kEncodingHint) == None());
        ASSERT_EQ(0, WriteInfo(mPlace, {}));
        EXPECT_FALSE(HasCompanion());
    }
}

TEST_P(CompanionInfoTest, WhatElseIsThereStays) {
    MakeCompanion({{kComment, BytesOf("comment")}, {kFork, BytesOf("rsrc")}});
    ASSERT_EQ(0, WriteInfo(mPlace, SomeInfo()));
    CompanionSizes sizes;
    EXPECT_EQ(SomeInfo(), Read(sizes));
    EXPECT_EQ(4U, sizes.forkBytes);
    EXPECT_EQ(support::FileWorld::StatusOf(mFolder / "._file").stx_blocks * 512, sizes.allocatedBytes);
    EXPECT_EQ(BytesOf("rsrc"), Entry(kFork));
    EXPECT_EQ(BytesOf("comment"), Entry(kComment));
    ASSERT_EQ(0, WriteInfo(mPlace, {}));
    EXPECT_EQ(BytesOf("rsrc"), Entry(kFork));
    EXPECT_EQ(BytesOf("comment"), Entry(kComment));
    EXPECT_EQ(None(), Entry(kDates));
    MakeCompanion({{kComment, {}}, {kFinder, Bytes(32)}});
    ASSERT_EQ(0, WriteInfo(mPlace, {}));
    EXPECT_TRUE(HasCompanion()) << "another's entry without bytes";
    MakeCompanion({{kFork, {}}, {kFinder, Bytes(32)}});
    ASSERT_EQ(0, WriteInfo(mPlace, {}));
    EXPECT_FALSE(HasCompanion()) << "a fork without bytes is none";
}

TEST_P(CompanionInfoTest, WhatElseIsInItsEntriesStays) {
    const Bytes dates = {0x80, 0, 0, 0, 1, 1, 1, 1, 0x80, 0, 0, 0, 2, 2, 2, 2, 3, 3};
    MakeCompanion({{kDates, dates}, {kAttributes, {9, 0, 0, 2}}});
    EXPECT_EQ(CompanionInfo(), Read());
    CompanionInfo info;
    info.isLocked = true;
    info.backupSeconds = 4;
    ASSERT_EQ(0, WriteInfo(mPlace, info));
    EXPECT_EQ(info, Read());
    EXPECT_EQ((Bytes{9, 0, 0, 3}), Entry(kAttributes));
    ASSERT_EQ(0, WriteInfo(mPlace, {}));
    EXPECT_EQ((Bytes{9, 0, 0, 2}), Entry(kAttributes));
    EXPECT_EQ(dates, Entry(kDates));
}

TEST_P(CompanionInfoTest, ShortEntriesTellWhatTheyHave) {
    MakeCompanion({{kFinder, BytesOf("TEXTttxt")}, {kDates, Bytes(15)}, {kAttributes, Bytes(3, 0xFF)}});
    CompanionInfo expected;
    std::copy_n("TEXTttxt", 8, expected.finderInfo.begin());
    EXPECT_EQ(expected, Read());
    expected.isLocked = true;
    expected.creationSeconds = 5;
    ASSERT_EQ(0, WriteInfo(mPlace, expected));
    EXPECT_EQ(expected, Read());
}

// What lies behind the 32 bytes may tell where in the file it does.
TEST_P(CompanionInfoTest, LongerFinderInformationKeepsItsPlace) {
    Bytes finder(100, 7);
    MakeCompanion({{kFinder, finder, 50}, {kFork, BytesOf("rsrc")}});
    CompanionInfo info = Read();
    info.finderInfo[0] = 1;
    ASSERT_EQ(0, WriteInfo(mPlace, info));
    finder[0] = 1;
    EXPECT_EQ(finder, Entry(kFinder));
    EXPECT_EQ(std::string(finder.begin(), finder.end()), Companion().substr(50, 100));
    const std::string before = Companion();
    info.isLocked = true;
    EXPECT_EQ(ENOSPC, WriteInfo(mPlace, info)) << "there is no room for another entry before it";
    EXPECT_EQ(before, Companion());
    MakeCompanion({{kFinder, finder, 62}, {kFork, BytesOf("rsrc")}});
    ASSERT_EQ(0, WriteInfo(mPlace, info));
    EXPECT_EQ(info, Read());
    EXPECT_EQ(std::string(finder.begin(), finder.end()), Companion().substr(62, 100));
    EXPECT_EQ(BytesOf("rsrc"), Entry(kFork));
    MakeCompanion({{kFinder, finder, 38}});
    EXPECT_EQ(ENOSPC, ReplaceEntry(mPlace, kFork, BytesOf("x")));
}

TEST_P(CompanionInfoTest, WhatIsNoCompanionTellsNothingAndStays) {
    mFolder.MakeFile("._file", "something else altogether, and long enough");
    EXPECT_EQ(CompanionInfo(), Read());
    EXPECT_EQ(EBADMSG, WriteInfo(mPlace, SomeInfo()));
    EXPECT_EQ("something else altogether, and long enough", Companion());
    mFolder.MakeFile("._file", "short");
    EXPECT_EQ(CompanionInfo(), Read());
    EXPECT_EQ(ENODATA, WriteInfo(mPlace, SomeInfo()));
    EXPECT_EQ("short", Companion());
    mFolder.Remove(mFolder / "._file");
    mFolder.MakeFolder("._file");
    EXPECT_EQ(CompanionInfo(), Read());
    EXPECT_EQ(EISDIR, WriteInfo(mPlace, SomeInfo()));
}

TEST_P(CompanionInfoTest, NameWithoutRoomForThePrefix) {
    ASSERT_EQ(0, OpenPlaceOf(mFolder.MakeFile(std::string(254, 'n')), mPlace));
    EXPECT_EQ(CompanionInfo(), Read());
    EXPECT_EQ(0, WriteInfo(mPlace, {})) << "there is nothing to be kept";
    EXPECT_EQ(ENAMETOOLONG, WriteInfo(mPlace, SomeInfo()));
}

TEST_P(CompanionInfoTest, OfAFolderAndOfItsVolumesRoot) {
    ASSERT_EQ(0, OpenPlaceOf(mFolder.MakeFolder("folder"), mPlace));
    ASSERT_EQ(0, WriteInfo(mPlace, SomeInfo()));
    EXPECT_EQ(SomeInfo(), Read());
    EXPECT_TRUE(mFolder.Exists(mFolder / "._folder"));
    ASSERT_EQ(0, OpenFolder(mFolder / "folder", mPlace));
    mPlace.name = ".";
    ASSERT_EQ(0, WriteInfo(mPlace, SomeInfo()));
    EXPECT_EQ(SomeInfo(), Read());
    mPlace.name = "._.";
    EXPECT_FALSE(IsCompanion(mPlace)) << "this is no volume's root";
    support::FileWorld::Rename(mFolder / "folder/._.", mFolder / "folder/._..");
    mPlace.name = "._..";
    EXPECT_FALSE(IsCompanion(mPlace));
    if (!mFolder.MayMount()) return;
    ASSERT_EQ(0, mFolder.MountVolume(mFolder / "folder"));
    ASSERT_EQ(0, OpenFolder(mFolder / "folder", mPlace));
    mPlace.name = ".";
    ASSERT_EQ(0, WriteInfo(mPlace, SomeInfo()));
    mPlace.name = "._.";
    EXPECT_TRUE(IsCompanion(mPlace));
    mPlace = Place();
}

TEST_P(CompanionInfoTest, Locks) {
    EXPECT_FALSE(IsLockedHere());
    CompanionInfo info;
    info.isLocked = true;
    ASSERT_EQ(0, WriteInfo(mPlace, info));
    EXPECT_TRUE(IsLockedHere());
    ASSERT_EQ(0, WriteInfo(mPlace, {}));
    ItemStatus status;
    ASSERT_EQ(0, GetStatus(mPlace, status));
    status.isImmutable = true;
    bool isLocked = false;
    EXPECT_EQ(0, IsLocked(mPlace, status, isLocked));
    EXPECT_TRUE(isLocked);
}

// Making, changing and removing: whatever fails, it is as before or as it is to be.
TEST_P(CompanionInfoTest, EveryFailingCall) {
    CompanionInfo other = SomeInfo();
    other.isLocked = false;
    const CompanionInfo states[] = {{}, SomeInfo(), other, {}};
    for (int i = 0; i < 3; ++i) {
        const CompanionInfo& before = states[i];
        const CompanionInfo& after = states[i + 1];
        for (const auto extent : {FailingCalls::kOnce, FailingCalls::kForever}) {
            for (int failing = 1;; ++failing) {
                ASSERT_EQ(0, WriteInfo(mPlace, before));
                const std::size_t descriptors = mFolder.OpenDescriptorCount();
                int error = 0;
                bool delivered = false;
                {
                    const FailingCalls calls(failing, EIO, extent);
                    error = WriteInfo(mPlace, after);
                    delivered = calls.Delivered();
                }
                EXPECT_EQ(descriptors, mFolder.OpenDescriptorCount()) << i << ' ' << failing;
                EXPECT_EQ(error == 0 ? after : before, Read()) << i << ' ' << failing;
                EXPECT_EQ(Read() != CompanionInfo(), HasCompanion()) << i << ' ' << failing;
                EXPECT_TRUE(error == 0 || error == EIO) << failing << ": " << error;
                if (!delivered) {
                    EXPECT_EQ(0, error);
                    break;
                }
                ASSERT_LT(failing, 100);
            }
        }
    }
}

TEST_P(CompanionInfoTest, EveryFailingCallWhileReading) {
    ASSERT_EQ(0, WriteInfo(mPlace, SomeInfo()));
    for (int failing = 1;; ++failing) {
        const std::size_t descriptors = mFolder.OpenDescriptorCount();
        CompanionInfo info;
        CompanionSizes sizes;
        int error = 0;
        bool delivered = false;
        {
            const FailingCalls calls(failing, EIO);
            error = ReadInfo(mPlace.folder.Number(), "._file", info, sizes);
            delivered = calls.Delivered();
        }
        EXPECT_EQ(descriptors, mFolder.OpenDescriptorCount()) << failing;
        EXPECT_EQ(error == 0 ? SomeInfo() : CompanionInfo(), info) << failing;
        if (!delivered) break;
        ASSERT_LT(failing, 100);
    }
}

TEST_P(CompanionInfoTest, EveryFailingAllocation) {
    const CompanionInfo info = SomeInfo();
    MakeCompanion({{kComment, BytesOf("comment")}});
    const std::string before = Companion();
    for (int failing = 1;; ++failing) {
        const std::size_t descriptors = mFolder.OpenDescriptorCount();
        bool ranOut = false;
        {
            const test_files::FailingNew memory(failing);
            try {
                EXPECT_EQ(0, WriteInfo(mPlace, info));
            } catch (const std::bad_alloc&) {
                ranOut = true;
            }
        }
        EXPECT_EQ(descriptors, mFolder.OpenDescriptorCount()) << failing;
        if (!ranOut) break;
        EXPECT_EQ(before, Companion()) << failing;
    }
    EXPECT_EQ(info, Read());
}

}  // namespace

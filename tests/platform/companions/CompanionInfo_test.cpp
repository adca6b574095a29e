#include "companions/CompanionInfo.h"

#include "companions/Companions.h"
#include "formats/AppleDouble.h"
#include "os/BigEndian.h"
#include "os/SystemCalls_test_access.h"
#include "support/FailingCalls.h"
#include "support/FailingNew.h"
#include "support/FileWorld.h"

#include <fcntl.h>
#include <gtest/gtest.h>

#include <algorithm>
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
// Where it is written: in the companion that there was, or in a new one.
class InPlace : public CompanionInfoTest {
  protected:
    ~InPlace() override { CallsForTesting() = mSaved; }

    std::uint64_t Inode() const { return support::FileWorld::StatusOf(mFolder / "._file").stx_ino; }
    // SomeInfo, set into a companion of these parts.
    bool IsSetInPlace(const std::vector<AppleDoublePart>& inParts) const {
        MakeCompanion(inParts);
        return IsSetInPlace();
    }
    bool IsSetInPlace() const {
        const std::uint64_t before = Inode();
        EXPECT_EQ(0, WriteInfo(mPlace, SomeInfo()));
        EXPECT_EQ(SomeInfo(), Read());
        return Inode() == before;
    }

    const SystemCalls mSaved = Calls();
    static inline SystemCalls sReal;
    static inline int sWrites;
    const std::vector<AppleDoublePart> mAll = {{kComment, BytesOf("comment")},
                                               {kFinder, Bytes(32, 1)},
                                               {kDates, Bytes(16, 2)},
                                               {kAttributes, Bytes(4, 4)},
                                               {AppleDoubleEntry::kEncodingHint, Bytes(4, 5)}};
};
INSTANTIATE_TEST_SUITE_P(Worlds, InPlace, support::BothWorlds(), support::NameOfWorld);

TEST_P(InPlace, WhatKeepsItsLayout) {
    FileRange open;
    MakeCompanion(mAll);
    const std::size_t byteCount = Companion().size();
    ASSERT_EQ(0, OpenEntry(mPlace, kFinder, open));
    EXPECT_TRUE(IsSetInPlace());
    EXPECT_EQ(byteCount, Companion().size());
    EXPECT_EQ(BytesOf("comment"), Entry(kComment));
    EXPECT_EQ((Bytes{4, 4, 4, 5}), Entry(kAttributes)) << "what else is in it stays";
    UInt8 bytes[2] = {};
    EXPECT_EQ(0, open.Read(0, bytes, 2));
    EXPECT_EQ(2, bytes[1]) << "all who have it open see it";
    CompanionInfo none;
    none.finderInfo[31] = 1;
    ASSERT_EQ(0, WriteInfo(mPlace, none));
    EXPECT_EQ(none, Read());
}

TEST_P(InPlace, AllOfItAtOnce) {
    static std::string sBytes;
    static off_t sOffset;
    MakeCompanion(mAll);
    const std::string before = Companion();
    sReal = Calls();
    sWrites = 0;
    CallsForTesting().pwrite = [](int inFile, const void* inBytes, std::size_t inByteCount, off_t inOffset) {
        ++sWrites;
        sBytes.assign(static_cast<const char*>(inBytes), inByteCount);
        sOffset = inOffset;
        return sReal.pwrite(inFile, inBytes, inByteCount, inOffset);
    };
    CallsForTesting().fsync = [](int inFile) {
        EXPECT_EQ(1, sWrites);
        sWrites += 10;
        return sReal.fsync(inFile);
    };
    EXPECT_TRUE(IsSetInPlace());
    EXPECT_EQ(11, sWrites) << "and synced";
    EXPECT_LE(static_cast<std::size_t>(sOffset) + sBytes.size(), 512U);
    std::string after = before;
    after.replace(static_cast<std::size_t>(sOffset), sBytes.size(), sBytes);
    EXPECT_EQ(after, Companion());
    EXPECT_NE(before[static_cast<std::size_t>(sOffset)], sBytes.front()) << "no more than differs";
    EXPECT_NE(before[static_cast<std::size_t>(sOffset) + sBytes.size() - 1], sBytes.back());
}

TEST_P(InPlace, WhatChangesTheLayoutIsReplaced) {
    EXPECT_TRUE(IsSetInPlace(mAll));
    for (std::size_t i = 1; i < mAll.size(); ++i) {
        std::vector<AppleDoublePart> parts = mAll;
        parts.erase(parts.begin() + static_cast<std::ptrdiff_t>(i));
        EXPECT_FALSE(IsSetInPlace(parts)) << "an entry that is not there: " << i;
        parts = mAll;
        parts[i].bytes.pop_back();
        EXPECT_FALSE(IsSetInPlace(parts)) << "an entry that is too short: " << i;
    }
    // With an entry of no use by then.
    MakeCompanion(mAll);
    CompanionInfo info = SomeInfo();
    info.encodingHint = 0;
    const std::uint64_t before = Inode();
    ASSERT_EQ(0, WriteInfo(mPlace, info));
    EXPECT_NE(before, Inode());
    EXPECT_EQ(None(), Entry(AppleDoubleEntry::kEncodingHint));
}

TEST_P(InPlace, OnlyInTheFirstSector) {
    std::vector<AppleDoublePart> parts = mAll;
    const std::size_t headBytes = 26 + 12 * parts.size();
    parts[0].bytes.resize(512 - headBytes - 56, 'c');
    EXPECT_TRUE(IsSetInPlace(parts));
    EXPECT_EQ(512U, Companion().size());
    parts[0].bytes.resize(parts[0].bytes.size() + 1);
    EXPECT_FALSE(IsSetInPlace(parts));
    // What lies behind it and is not set matters to nobody.
    parts = mAll;
    parts[0].bytes.resize(600, 'c');
    std::rotate(parts.begin(), parts.begin() + 1, parts.end());
    EXPECT_TRUE(IsSetInPlace(parts));
    EXPECT_EQ(Bytes(parts.back().bytes), Entry(kComment));
}

// An entry of another program's may lie in one of ours.
TEST_P(InPlace, NotOverOtherEntries) {
    MakeCompanion(mAll);
    std::string file = Companion();
    Bytes place(4);
    Store32(place.data(), Load32(reinterpret_cast<const UInt8*>(file.data()) + 26 + 12 + 4) + 31);
    file.replace(26 + 4, 4, reinterpret_cast<const char*>(place.data()), 4);
    support::FileWorld::Remove(mFolder / "._file");
    mFolder.MakeFile("._file", file);
    const Bytes comment = Entry(kComment);
    EXPECT_FALSE(IsSetInPlace());
    EXPECT_EQ(comment, Entry(kComment));
}

// Who reads a fork tells by the file's times whether it is still the same.
TEST_P(InPlace, NotWhereThereIsAFork) {
    std::vector<AppleDoublePart> parts = mAll;
    parts.push_back({kFork, BytesOf("fork")});
    MakeCompanion(parts);
    FileRange fork;
    ASSERT_EQ(0, OpenEntry(mPlace, kFork, fork));
    EXPECT_FALSE(IsSetInPlace());
    EXPECT_FALSE(fork.HasChanged());
    EXPECT_EQ(BytesOf("fork"), Entry(kFork));
    parts.back().bytes.clear();
    EXPECT_TRUE(IsSetInPlace(parts)) << "one without bytes is none";
}

// The other may be a backup.
TEST_P(InPlace, NotUnderTwoNames) {
    MakeCompanion(mAll);
    const std::string before = Companion();
    ASSERT_EQ(0, support::FileWorld::MakeHardLink(mFolder / "._file", mFolder / "backup"));
    EXPECT_FALSE(IsSetInPlace());
    EXPECT_EQ(before, support::FileWorld::Contents(mFolder / "backup"));
}

// Of another user, or on what can only be read: it is replaced where that can be done, and left where it is
// as it is to be.
TEST_P(InPlace, OneThatMayOnlyBeRead) {
    static int sError;
    sReal = Calls();
    for (const int error : {EACCES, EPERM, EROFS, ETXTBSY}) {
        sError = error;
        MakeCompanion(mAll);
        CallsForTesting().openat = [](int inFolder, const char* inPath, int inFlags, mode_t inMode) {
            const bool isIt = std::string_view(inPath) == "._file" && (inFlags & O_ACCMODE) != O_RDONLY;
            return isIt ? (errno = sError, -1) : sReal.openat(inFolder, inPath, inFlags, inMode);
        };
        EXPECT_FALSE(IsSetInPlace());
        CallsForTesting().renameat2 = [](int, const char*, int, const char*, unsigned) {
            return errno = sError, -1;
        };
        EXPECT_EQ(0, WriteInfo(mPlace, SomeInfo()));
        EXPECT_EQ(error, WriteInfo(mPlace, {}));
        CallsForTesting() = sReal;
    }
}

TEST_P(InPlace, WhatFailsIsPutBack) {
    sReal = Calls();
    MakeCompanion(mAll);
    const std::string before = Companion();
    CallsForTesting().fsync = [](int) { return errno = EIO, -1; };
    EXPECT_EQ(EIO, WriteInfo(mPlace, SomeInfo()));
    CallsForTesting() = sReal;
    EXPECT_EQ(before, Companion());
    sWrites = 0;
    CallsForTesting().pwrite = [](int inFile, const void* inBytes, std::size_t inByteCount, off_t inOffset) {
        // Half of it, and then nothing any more; but what is put back.
        if (++sWrites == 2) return errno = ENOSPC, ssize_t{-1};
        return sReal.pwrite(inFile, inBytes, sWrites == 1 ? inByteCount / 2 : inByteCount, inOffset);
    };
    EXPECT_EQ(ENOSPC, WriteInfo(mPlace, SomeInfo()));
    CallsForTesting() = sReal;
    EXPECT_EQ(before, Companion());
    EXPECT_EQ(3, sWrites);
}

// What another set before the lock was had stays.
TEST_P(InPlace, TwoWriters) {
    MakeCompanion(mAll);
    static const Place* sPlace;
    static ItemStatus sStatus;
    sPlace = &mPlace;
    ASSERT_EQ(0, GetStatus(mPlace, sStatus));
    sReal = Calls();
    CallsForTesting().flock = [](int inDescriptor, int inOperation) {
        CallsForTesting() = sReal;
        EXPECT_EQ(0, ChangeInfo(*sPlace, sStatus.identity,
                                [](CompanionInfo& ioInfo) { ioInfo.encodingHint = 77; }));
        return sReal.flock(inDescriptor, inOperation);
    };
    const std::uint64_t inode = Inode();
    EXPECT_EQ(0,
              ChangeInfo(mPlace, sStatus.identity, [](CompanionInfo& ioInfo) { ioInfo.finderInfo[0] = 88; }));
    EXPECT_EQ(inode, Inode());
    EXPECT_EQ(77U, Read().encodingHint);
    EXPECT_EQ(88, Read().finderInfo[0]);
}

// Header and entries are read at once, so that what is written meanwhile is there whole or not at all.
TEST_P(InPlace, IsReadAtOnce) {
    MakeCompanion(mAll);
    static int sReads;
    sReal = Calls();
    sReads = 0;
    CallsForTesting().pread = [](int inFile, void* outBytes, std::size_t inByteCount, off_t inOffset) {
        ++sReads;
        return sReal.pread(inFile, outBytes, inByteCount, inOffset);
    };
    Read();
    EXPECT_EQ(1, sReads);
    CallsForTesting() = sReal;
}

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

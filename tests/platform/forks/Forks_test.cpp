#include "forks/Forks.h"

#include "formats/AppleDouble.h"
#include "os/ItemStatus.h"
#include "os/Replace.h"
#include "support/FailingCalls.h"
#include "support/FileWorld.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <toolbox/MacErrors.h>

#include <cerrno>
#include <string>
#include <vector>

namespace {

using namespace toolbox::files;
using namespace toolbox::os;
using support::FileWorld;
using test_files::FailingCalls;
using Bytes = std::vector<UInt8>;

Bytes BytesOf(std::string_view inText) {
    return {inText.begin(), inText.end()};
}

FSRef RefOf(const std::string& inPath) {
    FSRef ref = {};
    EXPECT_EQ(noErr, FSPathMakeRef(reinterpret_cast<const UInt8*>(inPath.c_str()), &ref, nullptr));
    return ref;
}

OSStatus ReadFork(const FSRef& inFile, Fork inFork, std::string& outText) {
    OpenFork fork;
    OSStatus status = Open(inFile, inFork, fork);
    outText.resize(status == noErr ? fork.SizeBytes() : 0);
    return status == noErr ? fork.Read(0, outText.data(), outText.size()) : status;
}

class ForksTest : public support::FileWorldTest {
  protected:
    ~ForksTest() override { EXPECT_EQ(mDescriptors, OpenDescriptorCount()); }

    void MakeCompanion(const std::vector<AppleDoublePart>& inParts) {
        Bytes file;
        ASSERT_TRUE(EncodeAppleDouble(inParts, file));
        mFolder.MakeFile("._file", {reinterpret_cast<const char*>(file.data()), file.size()});
    }
    static std::string Contents(const std::string& inPath) { return FileWorld::Contents(inPath); }
    void SetLength(off_t inByteCount) const {
        Descriptor file;
        EXPECT_EQ(0, OpenFile(mPath.c_str(), O_RDWR, file));
        EXPECT_EQ(0, Calls().ftruncate(file.Number(), inByteCount));
    }
    std::size_t ItemCount() const { return FileWorld::NamesIn(mFolder.Path()).size(); }

    std::string mPath = mFolder.MakeFile("file", "the data");
    FSRef mRef = RefOf(mPath);
    std::string mText;

  private:
    std::size_t mDescriptors = OpenDescriptorCount();
};
INSTANTIATE_TEST_SUITE_P(Worlds, ForksTest, support::BothWorlds(), support::NameOfWorld);

TEST_P(ForksTest, ALinkHasNone) {
    MakeCompanion({{AppleDoubleEntry::kResourceFork, BytesOf("the fork")}});
    mFolder.Rename(mFolder / "._file", mFolder / "._link");
    const std::string link = mFolder.MakeLink("file", "link");
    FSRef ref = {};
    ASSERT_EQ(noErr, FSPathMakeRefWithOptions(reinterpret_cast<const UInt8*>(link.c_str()),
                                              kFSPathMakeRefDoNotFollowLeafSymlink, &ref, nullptr));
    for (const Fork fork : {Fork::kData, Fork::kResource}) {
        std::string text;
        EXPECT_EQ(errFSForkNotFound, ReadFork(ref, fork, text));
        EXPECT_EQ(errFSForkNotFound, WriteFork(ref, fork, BytesOf("new")));
    }
    EXPECT_EQ("the data", Contents(mPath));
}

TEST_P(ForksTest, DataForkIsTheFile) {
    EXPECT_EQ(noErr, ReadFork(mRef, Fork::kData, mText));
    EXPECT_EQ("the data", mText);
}

TEST_P(ForksTest, ReadingStaysInside) {
    OpenFork fork;
    ASSERT_EQ(noErr, Open(mRef, Fork::kData, fork));
    char bytes[8];
    EXPECT_EQ(noErr, fork.Read(4, bytes, 4));
    EXPECT_EQ("data", std::string(bytes, 4));
    EXPECT_EQ(noErr, fork.Read(8, bytes, 0));
    EXPECT_EQ(eofErr, fork.Read(8, bytes, 1));
    EXPECT_EQ(eofErr, fork.Read(9, bytes, 0));
    EXPECT_EQ(eofErr, fork.Read(UINT64_MAX, bytes, 2));
    EXPECT_EQ(eofErr, fork.Read(1, bytes, SIZE_MAX));
    SetLength(2);
    EXPECT_EQ(eofErr, fork.Read(0, bytes, 4)) << "cut off meanwhile";
}

TEST_P(ForksTest, ResourceForkIsAnEntryOfTheCompanion) {
    EXPECT_EQ(errFSForkNotFound, ReadFork(mRef, Fork::kResource, mText));
    MakeCompanion(
        {{AppleDoubleEntry::kFinderInfo, Bytes(32)}, {AppleDoubleEntry::kResourceFork, BytesOf("rsrc")}});
    EXPECT_EQ(noErr, ReadFork(mRef, Fork::kResource, mText));
    EXPECT_EQ("rsrc", mText);
    OpenFork fork;
    ASSERT_EQ(noErr, Open(mRef, Fork::kResource, fork));
    char byte;
    EXPECT_EQ(eofErr, fork.Read(4, &byte, 1));
}

TEST_P(ForksTest, CompanionWithoutTheEntry) {
    MakeCompanion({{AppleDoubleEntry::kFinderInfo, Bytes(32)}});
    EXPECT_EQ(errFSForkNotFound, ReadFork(mRef, Fork::kResource, mText));
}

TEST_P(ForksTest, CompanionThatIsNone) {
    mFolder.MakeFile("._file", "something else altogether, and long enough");
    EXPECT_EQ(ioErr, ReadFork(mRef, Fork::kResource, mText));
    EXPECT_EQ(ioErr, WriteFork(mRef, Fork::kResource, BytesOf("rsrc")));
    EXPECT_EQ("something else altogether, and long enough", Contents(mFolder / "._file"));
    mFolder.MakeFile("._file", "short");
    EXPECT_EQ(ioErr, ReadFork(mRef, Fork::kResource, mText));
    FileWorld::Remove(mFolder / "._file");
    mFolder.MakeFolder("._file");
    EXPECT_EQ(errFSForkNotFound, ReadFork(mRef, Fork::kResource, mText));
}

TEST_P(ForksTest, CompanionThatIsALinkIsNotFollowed) {
    MakeCompanion({{AppleDoubleEntry::kResourceFork, BytesOf("rsrc")}});
    FileWorld::Rename(mFolder / "._file", mFolder / "elsewhere");
    mFolder.MakeLink(mFolder / "elsewhere", "._file");
    EXPECT_EQ(errFSForkNotFound, ReadFork(mRef, Fork::kResource, mText));
}

// A link that comes between the look and the writing is no file to be replaced.
TEST_P(ForksTest, ALinkThatComesMeanwhileStays) {
    MakeCompanion({{AppleDoubleEntry::kResourceFork, BytesOf("rsrc")}});
    static support::FileWorld* sFolder;
    static toolbox::os::SystemCalls sReal;
    sFolder = &mFolder;
    sReal = toolbox::os::Calls();
    toolbox::os::CallsForTesting().openat = [](int inFolder, const char* inPath, int inFlags, mode_t inMode) {
        const int descriptor = sReal.openat(inFolder, inPath, inFlags, inMode);
        if ((inFlags & O_EXCL) == 0) return descriptor;
        toolbox::os::CallsForTesting() = sReal;
        FileWorld::Rename(*sFolder / "._file", *sFolder / "elsewhere");
        sFolder->MakeLink("elsewhere", "._file");
        return descriptor;
    };
    const std::string before = Contents(mFolder / "._file");
    EXPECT_NE(noErr, WriteFork(mRef, Fork::kResource, BytesOf("new")));
    toolbox::os::CallsForTesting() = sReal;
    toolbox::os::ItemStatus status;
    EXPECT_EQ(0, toolbox::os::GetPathStatus((mFolder / "._file").c_str(), status));
    EXPECT_EQ(toolbox::os::ItemKind::kLink, status.kind);
    EXPECT_EQ(before, Contents(mFolder / "elsewhere"));
    EXPECT_EQ(3U, ItemCount());
}

TEST_P(ForksTest, WritingMakesACompanion) {
    EXPECT_EQ(noErr, WriteFork(mRef, Fork::kResource, BytesOf("first")));
    EXPECT_EQ(noErr, ReadFork(mRef, Fork::kResource, mText));
    EXPECT_EQ("first", mText);
    EXPECT_EQ(50U + 32 + 5, Contents(mFolder / "._file").size())
        << "with Finder information, as others write it";
    EXPECT_EQ("the data", Contents(mPath));
    EXPECT_EQ(2U, ItemCount());
}

TEST_P(ForksTest, WritingKeepsTheOtherEntries) {
    MakeCompanion({{AppleDoubleEntry::kResourceFork, BytesOf("old")},
                   {4, BytesOf("comment")},
                   {AppleDoubleEntry::kFinderInfo, BytesOf("finder")}});
    EXPECT_EQ(noErr, WriteFork(mRef, Fork::kResource, BytesOf("newer")));
    const std::string file = Contents(mFolder / "._file");
    EXPECT_EQ("commentfindernewer", file.substr(kAppleDoubleHeaderBytes + 3 * kAppleDoubleEntryBytes));
    EXPECT_EQ(noErr, ReadFork(mRef, Fork::kResource, mText));
    EXPECT_EQ("newer", mText);
}

TEST_P(ForksTest, WritingKeepsPermissions) {
    ASSERT_EQ(noErr, WriteFork(mRef, Fork::kResource, BytesOf("first")));
    FileWorld::SetMode(mFolder / "._file", 01640);  // with the mark of a companion of two names
    ASSERT_EQ(noErr, WriteFork(mRef, Fork::kResource, BytesOf("second")));
    EXPECT_EQ(S_IFREG | 0640, FileWorld::StatusOf(mFolder / "._file").stx_mode);
}

TEST_P(ForksTest, DataForkStaysTheSameFile) {
    ASSERT_EQ(0, mFolder.MakeHardLink(mPath, mFolder / "link"));
    for (const std::string text : {"longer than it was", "short", "", "again"}) {
        EXPECT_EQ(noErr, WriteFork(mRef, Fork::kData, BytesOf(text)));
        EXPECT_EQ(noErr, ReadFork(mRef, Fork::kData, mText));
        EXPECT_EQ(text, mText);
        EXPECT_EQ(text, Contents(mFolder / "link"));
    }
}

TEST_P(ForksTest, ItemsThatAreNoFile) {
    const FSRef folder = RefOf(mFolder.Path());
    for (const Fork fork : {Fork::kData, Fork::kResource})
        EXPECT_EQ(notAFileErr, WriteFork(folder, fork, BytesOf("x")));
    FileWorld::Remove(mPath);
    EXPECT_EQ(fnfErr, ReadFork(mRef, Fork::kData, mText));
    EXPECT_EQ(fnfErr, WriteFork(mRef, Fork::kResource, BytesOf("x")));
}

TEST_P(ForksTest, NameWithoutRoomForThePrefix) {
    const FSRef file = RefOf(mFolder.MakeFile(std::string(255, 'n')));
    EXPECT_EQ(errFSForkNotFound, ReadFork(file, Fork::kResource, mText));
    EXPECT_EQ(bdNamErr, WriteFork(file, Fork::kResource, BytesOf("x")));
    EXPECT_EQ(2U, ItemCount());
}

// Whatever call fails, once or from there on, the fork is the old one or the new one, and nothing is left
// behind.
TEST_P(ForksTest, EveryCallFailsWhileACompanionIsReplaced) {
    for (const auto extent : {FailingCalls::kOnce, FailingCalls::kForever}) {
        for (int failing = 1;; ++failing) {
            ASSERT_EQ(noErr, WriteFork(mRef, Fork::kResource, BytesOf("old")));
            bool wasDelivered = false;
            OSStatus status = noErr;
            {
                const FailingCalls calls(failing, ENOSPC, extent);
                status = WriteFork(mRef, Fork::kResource, BytesOf("new"));
                wasDelivered = calls.Delivered();
            }
            ASSERT_EQ(noErr, ReadFork(mRef, Fork::kResource, mText)) << failing;
            EXPECT_EQ(status == noErr ? "new" : "old", mText) << failing;
            // When even removing fails, what was begun has to stay.
            if (extent == FailingCalls::kOnce) {
                EXPECT_EQ(2U, ItemCount()) << failing;
            }
            if (!wasDelivered) {
                EXPECT_EQ(noErr, status);
                EXPECT_GT(failing, 10) << "open, write, set mode, sync, close and rename at least";
                break;
            }
            ASSERT_LT(failing, 100);
        }
    }
}

TEST_P(ForksTest, EveryCallFailsWhileADataForkIsOverwritten) {
    int successes = 0;
    for (int failing = 1;; ++failing) {
        ASSERT_EQ(noErr, WriteFork(mRef, Fork::kData, BytesOf("old")));
        OSStatus status = noErr;
        bool wasDelivered = false;
        {
            const FailingCalls calls(failing, ENOSPC);
            status = WriteFork(mRef, Fork::kData, BytesOf("longer"));
            wasDelivered = calls.Delivered();
        }
        const std::string contents = Contents(mPath);
        if (!wasDelivered) {
            EXPECT_EQ(noErr, status);
            EXPECT_EQ("longer", contents);
            break;
        }
        // Where locks are unknown it goes without.
        EXPECT_TRUE(status != noErr || contents == "longer") << failing;
        // No room is told before a byte is changed; the rest are the device's failures.
        EXPECT_TRUE(contents == "old" || contents == "longer" || contents == std::string("old\0\0\0", 6))
            << failing;
        successes += contents == "old";
        ASSERT_LT(failing, 100);
    }
    EXPECT_GT(successes, 3);
}

// Contents that begin with the place of their text, as one digit.
constexpr toolbox::os::MovableHead kDigitHead = {1, [](UInt8* ioHead, UInt32 inDistanceBytes) {
                                                     *ioHead = static_cast<UInt8>(*ioHead + inDistanceBytes);
                                                 }};

std::string TextOfMovable(const std::string& inPath) {
    const std::string contents = FileWorld::Contents(inPath);
    const auto place = static_cast<std::size_t>(contents.empty() ? 0 : contents[0] - '0');
    return place > contents.size() ? "nothing" : contents.substr(place, 3);
}

// Wherever it stops for good, the file has one text or the other.
TEST_P(ForksTest, EveryCallFailsWhileMovableContentsAreOverwritten) {
    for (const auto extent : {FailingCalls::kOnce, FailingCalls::kForever}) {
        bool wasOld = false, wasMoved = false;
        for (int failing = 1;; ++failing) {
            ASSERT_EQ(noErr, WriteFork(mRef, Fork::kData, BytesOf("1old")));
            OSStatus status = noErr;
            bool wasDelivered = false;
            {
                const FailingCalls calls(failing, EIO, extent);
                status = WriteFork(mRef, Fork::kData, BytesOf("1new"), kDigitHead);
                wasDelivered = calls.Delivered();
            }
            const std::string contents = Contents(mPath);
            const std::string text = TextOfMovable(mPath);
            EXPECT_TRUE(text == "new" || (text == "old" && status != noErr)) << failing << ' ' << contents;
            wasOld = wasOld || text == "old";
            wasMoved = wasMoved || contents[0] == '5';
            if (!wasDelivered) {
                EXPECT_EQ("1new", contents);
                break;
            }
            ASSERT_LT(failing, 100);
        }
        EXPECT_TRUE(wasOld && wasMoved);
    }
}

TEST_P(ForksTest, MovableContentsAreNeverMissing) {
    static std::string sPath;
    static int sLooks;
    static SystemCalls sReal;
    sPath = mPath;
    sLooks = 0;
    sReal = Calls();
    ASSERT_EQ(noErr, WriteFork(mRef, Fork::kData, BytesOf("1old")));
    auto& calls = CallsForTesting();
    calls.pwrite = [](int inDescriptor, const void* inBytes, std::size_t inByteCount, off_t inOffset) {
        const ssize_t count = sReal.pwrite(inDescriptor, inBytes, inByteCount, inOffset);
        const std::string text = TextOfMovable(sPath);
        EXPECT_TRUE(text == "old" || text == "new") << Contents(sPath);
        ++sLooks;
        return count;
    };
    EXPECT_EQ(noErr, WriteFork(mRef, Fork::kData, BytesOf("1new"), kDigitHead));
    calls = sReal;
    EXPECT_EQ(4, sLooks) << "rest and head, twice";
    EXPECT_EQ("1new", Contents(mPath));
}

TEST_P(ForksTest, OneWriterAtATime) {
    Descriptor other;
    ASSERT_EQ(0, OpenFile(mPath.c_str(), O_RDWR, other));
    ASSERT_EQ(0, Calls().flock(other.Number(), LOCK_EX));
    const std::string before = Contents(mPath);
    EXPECT_EQ(fBsyErr, WriteFork(mRef, Fork::kData, BytesOf("text")));
    EXPECT_EQ(before, Contents(mPath));
    EXPECT_EQ(0, other.Close());
    EXPECT_EQ(noErr, WriteFork(mRef, Fork::kData, BytesOf("text")));
}

// Also where the file has holes, which take room only when they are written.
TEST_P(ForksTest, RoomIsTakenForTheWhole) {
    static off_t sFrom, sCount;
    auto& calls = CallsForTesting();
    const SystemCalls saved = calls;
    calls.posix_fallocate = [](int, off_t inOffset, off_t inCount) {
        sFrom = inOffset;
        sCount = inCount;
        return ENOSPC;
    };
    SetLength(100);
    EXPECT_EQ(dskFulErr, WriteFork(mRef, Fork::kData, BytesOf("text")));
    EXPECT_EQ(0, sFrom);
    EXPECT_EQ(4, sCount);
    EXPECT_EQ(dskFulErr, WriteFork(mRef, Fork::kData, BytesOf("1new"), kDigitHead));
    EXPECT_EQ(104, sCount);
    calls = saved;
    EXPECT_EQ(100U, Contents(mPath).size());
}

// The C library does it by hand where the file system cannot, and reads what is there.
TEST_P(ForksTest, RoomIsTakenWithoutTheFileSystem) {
    static SystemCalls sReal;
    auto& calls = CallsForTesting();
    sReal = calls;
    calls.posix_fallocate = [](int inDescriptor, off_t inOffset, off_t) {
        char byte;
        return sReal.pread(inDescriptor, &byte, 1, inOffset) < 0 ? errno : 0;
    };
    const OSStatus status = WriteFork(mRef, Fork::kData, BytesOf("text"));
    calls = sReal;
    EXPECT_EQ(noErr, status);
    EXPECT_EQ("text", Contents(mPath));
}

TEST_P(ForksTest, AFileThatMayOnlyBeWrittenIsWritten) {
    static SystemCalls sReal;
    auto& calls = CallsForTesting();
    sReal = calls;
    calls.openat = [](int inFolder, const char* inPath, int inFlags, mode_t inMode) {
        if ((inFlags & O_ACCMODE) != O_RDWR) return sReal.openat(inFolder, inPath, inFlags, inMode);
        errno = EACCES;
        return -1;
    };
    const OSStatus status = WriteFork(mRef, Fork::kData, BytesOf("text"));
    calls = sReal;
    EXPECT_EQ(noErr, status);
    EXPECT_EQ("text", Contents(mPath));
}

TEST_P(ForksTest, InterruptedCallsAreMadeAgain) {
    static SystemCalls sReal;
    static bool sIsSecond;
    auto& calls = CallsForTesting();
    sReal = calls;
    sIsSecond = true;
    calls.fsync = [](int inDescriptor) {
        sIsSecond = !sIsSecond;
        errno = EINTR;
        return sIsSecond ? sReal.fsync(inDescriptor) : -1;
    };
    calls.ftruncate = [](int inDescriptor, off_t inByteCount) {
        sIsSecond = !sIsSecond;
        errno = EINTR;
        return sIsSecond ? sReal.ftruncate(inDescriptor, inByteCount) : -1;
    };
    calls.posix_fallocate = [](int inDescriptor, off_t inOffset, off_t inCount) {
        sIsSecond = !sIsSecond;
        return sIsSecond ? sReal.posix_fallocate(inDescriptor, inOffset, inCount) : EINTR;
    };
    const OSStatus dataStatus = WriteFork(mRef, Fork::kData, BytesOf("1new"), kDigitHead);
    const OSStatus resourceStatus = WriteFork(mRef, Fork::kResource, BytesOf("new"));
    calls = sReal;
    EXPECT_EQ(noErr, dataStatus);
    EXPECT_EQ(noErr, resourceStatus);
    EXPECT_EQ("1new", Contents(mPath));
}

TEST_P(ForksTest, WritesInterruptedAndShort) {
    auto& calls = CallsForTesting();
    static SystemCalls sReal;
    static int sCalls;
    sReal = calls;
    sCalls = 0;
    calls.pwrite = [](int inDescriptor, const void* inBytes, std::size_t inByteCount,
                      off_t inOffset) -> ssize_t {
        if (++sCalls % 2 != 0) {
            errno = EINTR;
            return -1;
        }
        return sReal.pwrite(inDescriptor, inBytes, inByteCount > 0 ? 1 : 0, inOffset);
    };
    const OSStatus status = WriteFork(mRef, Fork::kData, BytesOf("slowly"));
    calls.pwrite = [](int, const void*, std::size_t, off_t) -> ssize_t { return 0; };
    EXPECT_EQ(ioErr, WriteFork(mRef, Fork::kData, BytesOf("nothing")));
    calls = sReal;
    EXPECT_EQ(noErr, status);
    EXPECT_EQ(12, sCalls);
}

}  // namespace

// A resource fork in its companion, whatever becomes of that.
#include "ForkTest.h"
#include "companions/CompanionInfo.h"

#include <sys/stat.h>

namespace {

using namespace test_files;
using namespace toolbox::files;
using support::FileWorld;

class ResourceForkFiles : public ForkTest {
  protected:
    Place PlaceOf(const std::string& inPath) const {
        Place place;
        EXPECT_EQ(0, OpenPlaceOf(inPath, place));
        return place;
    }
    // As another program would: the companion becomes another file.
    void Replace(std::string_view inFork) const {
        ASSERT_EQ(0, ReplaceEntry(PlaceOf(mPath), AppleDoubleEntry::kResourceFork, BytesOf(inFork)));
    }
    std::uint64_t Inode() const { return FileWorld::StatusOf(mCompanion).stx_ino; }
};
INSTANTIATE_TEST_SUITE_P(Worlds, ResourceForkFiles, support::BothWorlds(), support::NameOfWorld);

TEST_P(ResourceForkFiles, TheFirstByteMakesTheCompanion) {
    FileWorld::SetMode(mPath, 0640);
    const Opened fork(mRef, Which::kResource);
    EXPECT_EQ(0, SizeOf(fork));
    EXPECT_EQ("-39 ", Read(fork, fsAtMark, 0, 1));
    EXPECT_FALSE(FileWorld::Exists(mCompanion));
    EXPECT_EQ(noErr, Write(fork, fsAtMark, 0, "fork"));
    EXPECT_EQ("fork", ForkIn(mCompanion));
    EXPECT_EQ(std::string(32, '\0'), EntryIn(mCompanion, AppleDoubleEntry::kFinderInfo))
        << "as others write it";
    EXPECT_EQ(S_IFREG | 0640, FileWorld::StatusOf(mCompanion).stx_mode) << "as its item";
    EXPECT_EQ(2U, FileWorld::NamesIn(mFolder.Path()).size());
}

TEST_P(ResourceForkFiles, PrivateStaysPrivate) {
    for (const auto& [mode, expected] :
         {std::pair<mode_t, int>{0600, 0600}, {0755, 0644}, {0400 | 0200, 0600}}) {
        FileWorld::SetMode(mPath, mode);
        {
            const Opened fork(mRef, Which::kResource);
            EXPECT_EQ(noErr, FSSetForkSize(fork, fsFromStart, 3));
            EXPECT_EQ(S_IFREG | expected, FileWorld::StatusOf(mCompanion).stx_mode);
            EXPECT_EQ(noErr, FSSetForkSize(fork, fsFromStart, 0));
        }
        EXPECT_FALSE(FileWorld::Exists(mCompanion)) << "it told nothing any more";
    }
}

TEST_P(ResourceForkFiles, IsWrittenInPlace) {
    MakeFork("the fork");
    const std::uint64_t inode = Inode();
    const Opened fork(mRef, Which::kResource);
    EXPECT_EQ(noErr, Write(fork, fsFromStart, 4, "FORK"));
    EXPECT_EQ("the FORK", ForkIn(mCompanion));
    EXPECT_EQ(noErr, Write(fork, fsFromLEOF, 0, " grows"));
    EXPECT_EQ("the FORK grows", ForkIn(mCompanion));
    EXPECT_EQ(noErr, FSSetForkSize(fork, fsFromStart, 3));
    EXPECT_EQ("the", ForkIn(mCompanion));
    EXPECT_EQ(82U + 3, Contents(mCompanion).size()) << "cut off";
    EXPECT_EQ(noErr, FSSetForkSize(fork, fsFromStart, 5));
    EXPECT_EQ(std::string("the\0\0", 5), ForkIn(mCompanion));
    EXPECT_EQ(inode, Inode());
    EXPECT_EQ('T', EntryIn(mCompanion, AppleDoubleEntry::kFinderInfo)[0]);
}

// As after a crash: bytes that no entry tells of.
TEST_P(ResourceForkFiles, WhatIsLeftBehindTheForkIsNotSeen) {
    mFolder.MakeFile("._file", CompanionWithFork("fork") + "left over");
    const Opened fork(mRef, Which::kResource);
    EXPECT_EQ("fork", Whole(fork));
    EXPECT_EQ(noErr, Write(fork, fsFromStart, 6, "x"));
    EXPECT_EQ(std::string("fork\0\0x", 7), Whole(fork));
    mFolder.MakeFile("._file", CompanionWithFork("fork") + "left over");
    EXPECT_EQ(noErr, FSSetForkSize(fork, fsFromStart, 7));
    EXPECT_EQ(std::string("fork\0\0\0", 7), ForkIn(mCompanion));
}

TEST_P(ResourceForkFiles, ForeignLayoutsAreLaidOutAnew) {
    // The fork first, and a comment behind it.
    std::string foreign =
        CompanionOf({{4, BytesOf("comment")}, {AppleDoubleEntry::kResourceFork, BytesOf("fork")}});
    const std::size_t bytes = kAppleDoubleHeaderBytes + 2 * kAppleDoubleEntryBytes;
    foreign.replace(bytes, 11, "forkcomment");
    foreign[kAppleDoubleHeaderBytes + 7] = static_cast<char>(bytes + 4);
    foreign[kAppleDoubleHeaderBytes + kAppleDoubleEntryBytes + 7] = static_cast<char>(bytes);
    for (const bool isResized : {false, true}) {
        mFolder.MakeFile("._file", foreign);
        const Opened fork(mRef, Which::kResource);
        EXPECT_EQ("fork", Whole(fork));
        EXPECT_EQ(noErr, Write(fork, fsFromStart, 0, "FORK"));
        EXPECT_EQ("comment", EntryIn(mCompanion, 4)) << "within it";
        const std::uint64_t inode = Inode();
        if (isResized)
            EXPECT_EQ(noErr, FSSetForkSize(fork, fsFromStart, 2));
        else
            EXPECT_EQ(noErr, Write(fork, fsFromLEOF, 0, " and more"));
        EXPECT_EQ(isResized ? "FO" : "FORK and more", ForkIn(mCompanion));
        EXPECT_EQ(isResized ? "FO" : "FORK and more", Whole(fork));
        EXPECT_EQ("comment", EntryIn(mCompanion, 4));
        EXPECT_NE(inode, Inode());
    }
    {
        mFolder.MakeFile("._file", foreign);
        const Opened fork(mRef, Which::kResource);
        EXPECT_EQ(noErr, FSSetForkSize(fork, fsFromStart, 0));
        EXPECT_EQ("comment", EntryIn(mCompanion, 4));
        EXPECT_EQ("none", ForkIn(mCompanion));
    }
    // An entry of no bytes, that could lie anywhere.
    mFolder.MakeFile("._file", CompanionOf({{AppleDoubleEntry::kResourceFork, {}},
                                            {AppleDoubleEntry::kFinderInfo, BytesOf("i")}}));
    const Opened fork(mRef, Which::kResource);
    EXPECT_EQ(noErr, Write(fork, fsFromStart, 0, "new"));
    EXPECT_EQ("new", ForkIn(mCompanion));
    EXPECT_EQ("i", EntryIn(mCompanion, AppleDoubleEntry::kFinderInfo));
}

TEST_P(ResourceForkFiles, AnEmptyEntryThatLiesInTheHeader) {
    std::string file = CompanionOf({{4, BytesOf("comment")}, {AppleDoubleEntry::kResourceFork, {}}});
    for (int i = 4; i < 8; ++i)  // its offset is 0
        file[kAppleDoubleHeaderBytes + kAppleDoubleEntryBytes + static_cast<std::size_t>(i)] = 0;
    for (const bool isResized : {false, true}) {
        mFolder.MakeFile("._file", file);
        const Opened fork(mRef, Which::kResource);
        EXPECT_EQ(0, SizeOf(fork));
        if (isResized)
            EXPECT_EQ(noErr, FSSetForkSize(fork, fsFromStart, 2));
        else
            EXPECT_EQ(noErr, Write(fork, fsFromStart, 0, "xx"));
        EXPECT_EQ(2U, ForkIn(mCompanion).size());
        EXPECT_EQ("comment", EntryIn(mCompanion, 4));
    }
}

TEST_P(ResourceForkFiles, OpeningsSeeOneAnother) {
    const Opened reader(mRef, Which::kResource, fsRdPerm);
    const Opened writer(mRef, Which::kResource);
    EXPECT_EQ(0, SizeOf(reader));
    EXPECT_EQ(noErr, Write(writer, fsFromStart, 0, "first"));
    EXPECT_EQ("first", Whole(reader));
    Replace("replaced");
    EXPECT_EQ("replaced", Whole(reader));
    EXPECT_EQ("replaced", Whole(writer));
    EXPECT_EQ(noErr, Write(writer, fsFromLEOF, 0, "!"));
    EXPECT_EQ("replaced!", Whole(reader));
    EXPECT_EQ("replaced!", ForkIn(mCompanion));
    FileWorld::Remove(mCompanion);
    EXPECT_EQ(0, SizeOf(reader)) << "somebody took it away";
    EXPECT_EQ(noErr, Write(writer, fsFromStart, 0, "anew"));
    EXPECT_EQ("anew", Whole(reader));
    EXPECT_EQ(noErr, FSSetForkSize(writer, fsFromStart, 0));
    EXPECT_EQ("-39 ", Read(reader, fsFromStart, 0, 1));
    EXPECT_EQ(noErr, FSFlushFork(writer));
}

TEST_P(ResourceForkFiles, InformationAndForkLeaveEachOtherAlone) {
    const Opened fork(mRef, Which::kResource);
    EXPECT_EQ(noErr, Write(fork, fsFromStart, 0, "fork"));
    CompanionInfo info;
    info.encodingHint = 7;
    ASSERT_EQ(0, WriteInfo(PlaceOf(mPath), info));
    EXPECT_EQ("fork", Whole(fork));
    EXPECT_EQ(noErr, Write(fork, fsFromLEOF, 0, " grown"));
    CompanionInfo read;
    CompanionSizes sizes;
    ASSERT_EQ(0, ReadInfo(PlaceOf(mPath).folder.Number(), "._file", read, sizes));
    EXPECT_EQ(info, read);
    EXPECT_EQ(10U, sizes.forkBytes);
    EXPECT_EQ(noErr, FSSetForkSize(fork, fsFromStart, 0));
    ASSERT_EQ(0, ReadInfo(PlaceOf(mPath).folder.Number(), "._file", read, sizes));
    EXPECT_EQ(info, read) << "the companion stays for that";
    ASSERT_EQ(0, WriteInfo(PlaceOf(mPath), {}));
    EXPECT_FALSE(FileWorld::Exists(mCompanion));
    EXPECT_EQ(noErr, Write(fork, fsFromStart, 0, "again"));
    EXPECT_EQ("again", ForkIn(mCompanion));
}

TEST_P(ResourceForkFiles, FollowsItsFile) {
    mFolder.MakeFolder("sub");
    MakeFork("fork");
    const Opened fork(mRef, Which::kResource);
    const FSRef sub = RefOf(mFolder / "sub");
    FSRef file = {};
    ASSERT_EQ(noErr, FSMoveObject(&mRef, &sub, &file));
    EXPECT_EQ("fork", Whole(fork));
    EXPECT_EQ(noErr, Write(fork, fsFromLEOF, 0, " moved"));
    EXPECT_EQ("fork moved", ForkIn(mFolder / "sub/._file"));
    EXPECT_FALSE(FileWorld::Exists(mCompanion));
    const std::u16string name = u"renamed";
    ASSERT_EQ(noErr,
              FSRenameUnicode(&file, name.size(), reinterpret_cast<const UniChar*>(name.data()), 0, &file));
    EXPECT_EQ(noErr, Write(fork, fsFromStart, 0, "FORK"));
    EXPECT_EQ("FORK moved", ForkIn(mFolder / "sub/._renamed"));
    EXPECT_EQ(2U, FileWorld::NamesIn(mFolder / "sub").size());
    FileWorld::Rename(mFolder / "sub", mFolder / "elsewhere");
    EXPECT_EQ(noErr, FSSetForkSize(fork, fsFromStart, 4));
    EXPECT_EQ("FORK", ForkIn(mFolder / "elsewhere/._renamed"));
    // Where another takes the name, it is that one's.
    FileWorld::Rename(mFolder / "elsewhere/._renamed", mFolder / "elsewhere/taken away");
    mFolder.MakeFile("elsewhere/._renamed", CompanionWithFork("another"));
    EXPECT_EQ(noErr, Write(fork, fsFromLEOF, 0, "!"));
    EXPECT_EQ("another!", ForkIn(mFolder / "elsewhere/._renamed"));
    EXPECT_EQ("FORK", ForkIn(mFolder / "elsewhere/taken away"));
}

TEST_P(ResourceForkFiles, GoesOnAfterItsFileIsDeleted) {
    MakeFork("fork");
    {
        const Opened fork(mRef, Which::kResource);
        const Opened reader(mRef, Which::kResource, fsRdPerm);
        ASSERT_EQ(noErr, FSDeleteObject(&mRef));
        EXPECT_EQ("fork", Whole(fork));
        EXPECT_EQ(noErr, Write(fork, fsFromLEOF, 0, " goes on"));
        EXPECT_EQ(noErr, Write(fork, fsFromStart, 0, "F"));
        EXPECT_EQ("Fork goes on", Whole(reader));
        EXPECT_EQ(noErr, FSSetForkSize(fork, fsFromStart, 1));
        EXPECT_EQ("F", Whole(fork));
        EXPECT_EQ(noErr, FSSetForkSize(fork, fsFromStart, 0));
        EXPECT_EQ(0, SizeOf(fork));
        EXPECT_EQ(noErr, FSFlushFork(fork));
        EXPECT_EQ(0U, FileWorld::NamesIn(mFolder.Path()).size());
        mFolder.MakeFile("file", "another");
        EXPECT_EQ(noErr, Write(fork, fsFromStart, 0, "text"));
        EXPECT_FALSE(FileWorld::Exists(mCompanion)) << "nothing is made for who took the name";
    }
    const FSRef file = RefOf(mPath);
    const Opened empty(file, Which::kResource);
    ASSERT_EQ(noErr, FSDeleteObject(&file));
    EXPECT_EQ(fnfErr, Write(empty, fsFromStart, 0, "text")) << "there is nothing to be written";
    EXPECT_EQ(0, SizeOf(empty));
    EXPECT_EQ(0U, FileWorld::NamesIn(mFolder.Path()).size());
}

TEST_P(ResourceForkFiles, WhatIsNoCompanionStays) {
    const std::string other = "something else altogether, and long enough";
    mFolder.MakeFile("._file", other);
    EXPECT_EQ(ioErr, OpeningOf(Which::kResource, fsRdPerm));
    EXPECT_EQ(ioErr, OpeningOf(Which::kResource, fsRdWrPerm));
    FileWorld::Remove(mCompanion);
    {
        const Opened fork(mRef, Which::kResource);
        mFolder.MakeFile("._file", other);
        EXPECT_EQ(ioErr, Write(fork, fsFromStart, 0, "x"));
        EXPECT_EQ(ioErr, FSSetForkSize(fork, fsFromStart, 3));
        EXPECT_EQ(other, Contents(mCompanion));
    }
    FileWorld::Remove(mCompanion);
    mFolder.MakeFile("elsewhere", CompanionWithFork("fork"));
    const Opened fork(mRef, Which::kResource);
    for (const int kind : {0, 1, 2}) {
        if (kind == 0) mFolder.MakeFolder("._file");
        if (kind == 1) mFolder.MakeLink("elsewhere", "._file");
        if (kind == 2) mFolder.MakePipe("._file");
        EXPECT_EQ(errFSForkNotFound, OpeningOf(Which::kResource, fsRdPerm)) << kind;
        EXPECT_EQ(errFSForkNotFound, Write(fork, fsFromStart, 0, "x")) << kind;
        FileWorld::Remove(mCompanion, kind == 0);
    }
    EXPECT_EQ("fork", ForkIn(mFolder / "elsewhere"));
}

TEST_P(ResourceForkFiles, NamesWithoutRoomForThePrefix) {
    const FSRef file = RefOf(mFolder.MakeFile(std::string(254, 'n')));
    const Opened fork(file, Which::kResource);
    EXPECT_EQ(0, SizeOf(fork));
    EXPECT_EQ(bdNamErr, Write(fork, fsFromStart, 0, "x"));
    EXPECT_EQ(2U, FileWorld::NamesIn(mFolder.Path()).size());
}

TEST_P(ResourceForkFiles, NoMoreThanTheFormatCanTell) {
    MakeFork("fork");
    const Opened fork(mRef, Which::kResource);
    EXPECT_EQ(dskFulErr, Write(fork, fsFromStart, 0xFFFFFFFF - 82, "x"));
    EXPECT_EQ(dskFulErr, Write(fork, fsFromStart, SInt64{1} << 40, "x"));
    EXPECT_EQ(dskFulErr, FSSetForkSize(fork, fsFromStart, 0xFFFFFFFF - 81));
    EXPECT_EQ(dskFulErr, FSSetForkSize(fork, fsFromStart, SInt64{1} << 40));
    UInt64 reserved = 0;
    EXPECT_EQ(dskFulErr, FSAllocateFork(fork, 0, fsFromStart, 0, UInt64{1} << 32, &reserved));
    EXPECT_EQ("fork", ForkIn(mCompanion));
    if (mFolder.Memory() != nullptr) return;  // it has no holes
    EXPECT_EQ(noErr, FSSetForkSize(fork, fsFromStart, 0xFFFFFFFF - 82));
    EXPECT_EQ(noErr, Write(fork, fsFromLEOF, -4, "last"));
    EXPECT_EQ("0 last", Read(fork, fsFromLEOF, -4, 4));
    EXPECT_EQ(0xFFFFFFFF - 82, SizeOf(fork));
}

// Whoever holds the companion's lock is waited for.
TEST_P(ResourceForkFiles, WaitsForOtherWriters) {
    MakeFork("fork");
    using namespace toolbox::os;
    static SystemCalls sReal;
    static int sWaits;
    sReal = Calls();
    sWaits = 0;
    CallsForTesting().flock = [](int inDescriptor, int inOperation) {
        return sWaits < 3 ? (errno = EWOULDBLOCK, -1) : sReal.flock(inDescriptor, inOperation);
    };
    CallsForTesting().clock_nanosleep = [](clockid_t, int, const timespec*, timespec*) {
        return ++sWaits, 0;
    };
    OSErr error = noErr;
    {
        sWaits = 3;
        const Opened fork(mRef, Which::kResource);
        sWaits = 0;
        error = Write(fork, fsFromStart, 0, "F");
        EXPECT_EQ(3, sWaits);
        sWaits = -100'000;
        EXPECT_EQ(fBsyErr, Write(fork, fsFromStart, 0, "X")) << "but not for ever";
        sWaits = 3;
    }
    CallsForTesting() = sReal;
    EXPECT_EQ(noErr, error);
    EXPECT_EQ("Fork", ForkIn(mCompanion));
}

}  // namespace

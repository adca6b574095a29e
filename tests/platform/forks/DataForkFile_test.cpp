#include "ForkTest.h"
#include "forks/Forks.h"

namespace {

using namespace test_files;
using support::FileWorld;

class DataForkFiles : public ForkTest {};
INSTANTIATE_TEST_SUITE_P(Worlds, DataForkFiles, support::BothWorlds(), support::NameOfWorld);

TEST_P(DataForkFiles, GoOnWithAFileThatMoves) {
    mFolder.MakeFolder("sub");
    const Opened fork(mRef, Which::kData);
    const FSRef sub = RefOf(mFolder / "sub");
    FSRef moved = {};
    ASSERT_EQ(noErr, FSMoveObject(&mRef, &sub, &moved));
    EXPECT_EQ(noErr, Write(fork, fsFromLEOF, 0, ", moved"));
    EXPECT_EQ("the data, moved", Contents(mFolder / "sub/file"));
    ASSERT_EQ(noErr, FSDeleteObject(&moved));
    EXPECT_EQ(noErr, Write(fork, fsFromLEOF, 0, ", deleted"));
    EXPECT_EQ("the data, moved, deleted", Whole(fork));
    EXPECT_EQ(noErr, FSSetForkSize(fork, fsFromStart, 3));
    EXPECT_EQ("the", Whole(fork));
}

TEST_P(DataForkFiles, StayTheFileOfAllItsNames) {
    ASSERT_EQ(0, FileWorld::MakeHardLink(mPath, mFolder / "other"));
    const Opened fork(mRef, Which::kData);
    EXPECT_EQ(noErr, Write(fork, fsFromStart, 0, "THE"));
    EXPECT_EQ("THE data", Contents(mFolder / "other"));
    EXPECT_FALSE(FileWorld::Exists(mCompanion));
}

TEST_P(DataForkFiles, OverwritingTheWholeWaitsForNobody) {
    const Opened fork(mRef, Which::kData);
    EXPECT_EQ(fBsyErr, toolbox::files::WriteFork(mRef, toolbox::files::Fork::kData, BytesOf("new")));
    EXPECT_EQ("the data", Whole(fork));
}

TEST_P(DataForkFiles, OfMoreThanFourGigabytes) {
    if (mFolder.Memory() != nullptr) return;  // it has no holes
    constexpr SInt64 kFar = (SInt64{5} << 30) + 3;
    {
        const Opened fork(mRef, Which::kData);
        EXPECT_EQ(noErr, Write(fork, fsFromStart, kFar, "far out"));
        EXPECT_EQ(kFar + 7, SizeOf(fork));
        EXPECT_EQ(kFar + 7, MarkOf(fork));
        EXPECT_EQ("0 out", Read(fork, fsFromLEOF, -3, 3));
        EXPECT_EQ("0 far", Read(fork, fsFromStart, kFar, 3));
        EXPECT_EQ(noErr, FSSetForkPosition(fork, fsFromLEOF, -7));
        EXPECT_EQ(kFar, MarkOf(fork));
        FSForkInfo info = {};
        EXPECT_EQ(noErr, FSGetForkCBInfo(fork, 0, nullptr, nullptr, &info, nullptr, nullptr));
        EXPECT_EQ(static_cast<UInt64>(kFar + 7), info.logicalEOF);
        EXPECT_LT(info.physicalEOF, UInt64{1} << 20);
        EXPECT_EQ(noErr, FSSetForkSize(fork, fsFromStart, kFar * 2));
    }
    CatPositionRec position = {};
    SInt64 size = 0;
    EXPECT_EQ(noErr, FSIterateForks(&mRef, &position, nullptr, &size, nullptr));
    EXPECT_EQ(kFar * 2, size);
    const Opened fork(mRef, Which::kData);
    EXPECT_EQ(noErr, FSSetForkSize(fork, fsFromStart, 3));
    EXPECT_EQ("the", Whole(fork));
}

TEST_P(DataForkFiles, FullDisk) {
    if (mFolder.Memory() == nullptr) return;  // the real one has room
    mFolder.Memory()->SetCapacity(12);
    const Opened fork(mRef, Which::kData);
    ByteCount count = 0;
    EXPECT_EQ(dskFulErr, FSWriteFork(fork, fsFromLEOF, 0, 10, "0123456789", &count));
    EXPECT_EQ(4U, count) << "as much as there was room for";
    EXPECT_EQ(12, MarkOf(fork));
    EXPECT_EQ("the data0123", Whole(fork));
    UInt64 reserved = 5;
    EXPECT_EQ(dskFulErr, FSAllocateFork(fork, 0, fsFromStart, 0, 100, &reserved));
    EXPECT_EQ(0U, reserved);
}

TEST_P(DataForkFiles, ClosingTells) {
    static toolbox::os::SystemCalls sReal;
    sReal = toolbox::os::Calls();
    Opened fork(mRef, Which::kData);
    const SInt16 number = fork.Release();
    toolbox::os::CallsForTesting().close = [](int inDescriptor) {
        (void)sReal.close(inDescriptor);
        return errno = ENOSPC, -1;
    };
    const OSErr error = FSCloseFork(number);
    toolbox::os::CallsForTesting() = sReal;
    EXPECT_EQ(dskFulErr, error);
    EXPECT_EQ(rfNumErr, FSCloseFork(number)) << "it is closed all the same";
    EXPECT_EQ(noErr, OpeningOf(Which::kData, fsRdWrPerm));
}

}  // namespace

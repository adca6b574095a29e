// What the calls answer; both forks are alike.
#include "ForkTest.h"

#include <toolbox/CatalogInfo.h>
#include <unistd.h>

#include <tuple>

namespace {

using namespace test_files;
using support::FileWorld;

static_assert(sizeof(FSForkInfo) == 48 && sizeof(CatPositionRec) == 16);

class OpenForks : public ForkTest {
  protected:
    void MakeBoth(std::string_view inText) const {
        mFolder.MakeFile("file", inText);
        MakeFork(inText);
    }
    template <typename Body>
    void ForBoth(Body inBody) {
        for (const Which which : {Which::kData, Which::kResource}) {
            const testing::ScopedTrace trace(__FILE__, __LINE__, which == Which::kData ? "data" : "resource");
            MakeBoth("0123456789");
            inBody(which);
        }
    }
};
INSTANTIATE_TEST_SUITE_P(Worlds, OpenForks, support::BothWorlds(), support::NameOfWorld);

TEST_P(OpenForks, AreReadFromEveryPosition) {
    ForBoth([this](Which inFork) {
        const Opened fork(mRef, inFork, fsRdPerm);
        EXPECT_EQ("0 012", Read(fork, fsAtMark, 77, 3)) << "the offset does not count";
        EXPECT_EQ(3, MarkOf(fork));
        EXPECT_EQ("0 56", Read(fork, fsFromMark, 2, 2));
        EXPECT_EQ("0 4", Read(fork, fsFromMark, -3, 1));
        EXPECT_EQ("0 12", Read(fork, fsFromStart, 1, 2));
        EXPECT_EQ("0 78", Read(fork, fsFromLEOF, -3, 2));
        EXPECT_EQ(9, MarkOf(fork));
        EXPECT_EQ("-39 9", Read(fork, fsAtMark, 0, 5));
        EXPECT_EQ(10, MarkOf(fork));
        EXPECT_EQ("-39 ", Read(fork, fsAtMark, 0, 1));
        EXPECT_EQ("0 ", Read(fork, fsAtMark, 0, 0));
        EXPECT_EQ("-39 ", Read(fork, fsFromStart, 50, 1));
        EXPECT_EQ(10, MarkOf(fork)) << "a position behind the end is at the end";
        EXPECT_EQ("0 ", Read(fork, fsFromStart, 50, 0));
        EXPECT_EQ(10, MarkOf(fork)) << "also where nothing is asked for";
        EXPECT_EQ(noErr, FSSetForkPosition(fork, fsFromStart, 4));
        EXPECT_EQ("-40 ", Read(fork, fsFromStart, -1, 1));
        EXPECT_EQ("-40 ", Read(fork, fsFromMark, -5, 1));
        EXPECT_EQ("-40 ", Read(fork, fsFromLEOF, -11, 1));
        EXPECT_EQ("-40 ", Read(fork, fsFromLEOF, INT64_MIN, 1));
        EXPECT_EQ("-50 ", Read(fork, fsFromLEOF, INT64_MAX, 1));
        EXPECT_EQ("-1412 ", Read(fork, 0x04, 0, 1));
        EXPECT_EQ("-1412 ", Read(fork, 0x08, 0, 1));
        EXPECT_EQ(4, MarkOf(fork)) << "stays";
        EXPECT_EQ("0 01", Read(fork, fsFromStart + noCacheMask + pleaseCacheMask, 0, 2));
    });
}

TEST_P(OpenForks, AreReadToTheEndOfALine) {
    ForBoth([this](Which inFork) {
        MakeBoth("one\rtwo\rend");
        const Opened fork(mRef, inFork, fsRdPerm);
        constexpr UInt16 kLine = newLineMask + ('\r' << 8);
        EXPECT_EQ("0 one\r", Read(fork, kLine, 0, 100));
        EXPECT_EQ(4, MarkOf(fork));
        EXPECT_EQ("0 tw", Read(fork, kLine, 0, 2)) << "no more than asked for";
        EXPECT_EQ("0 o\r", Read(fork, kLine, 0, 2));
        EXPECT_EQ("-39 end", Read(fork, kLine, 0, 100));
        EXPECT_EQ("0 one\rtw", Read(fork, newLineMask + fsFromStart + ('w' << 8), 0, 100));
        EXPECT_EQ("0 one", Read(fork, fsFromStart + ('\r' << 8), 0, 3)) << "no line without the bit";
    });
    MakeBoth(std::string(10000, 'x') + "\r" + std::string(5000, 'y'));
    const Opened fork(mRef, Which::kData, fsRdPerm);
    EXPECT_EQ("0 " + std::string(10000, 'x') + "\r", Read(fork, newLineMask + ('\r' << 8), 0, 15000));
}

TEST_P(OpenForks, AreComparedWithABuffer) {
    ForBoth([this](Which inFork) {
        const Opened fork(mRef, inFork, fsRdPerm);
        const auto verify = [&fork](std::string inText) {
            const std::string before = inText;
            ByteCount count = 0;
            const OSErr error =
                FSReadFork(fork, fsFromStart + rdVerifyMask, 2, inText.size(), inText.data(), &count);
            EXPECT_EQ(before, inText) << "nothing is read to it";
            return error;
        };
        EXPECT_EQ(noErr, verify("2345"));
        EXPECT_EQ(6, MarkOf(fork));
        EXPECT_EQ(ioErr, verify("2346"));
        EXPECT_EQ(eofErr, verify("23456789x"));
    });
}

TEST_P(OpenForks, AreWrittenAtEveryPosition) {
    ForBoth([this](Which inFork) {
        {
            const Opened fork(mRef, inFork);
            EXPECT_EQ(noErr, Write(fork, fsAtMark + noCacheMask, 0, "ab"));
            EXPECT_EQ(2, MarkOf(fork));
            EXPECT_EQ(noErr, Write(fork, fsFromMark, 1, "cd"));
            EXPECT_EQ(noErr, Write(fork, fsFromLEOF, -1, "yz"));
            EXPECT_EQ("ab2cd5678yz", Whole(fork));
            EXPECT_EQ(noErr, Write(fork, fsFromStart, 13, "end"));
            EXPECT_EQ(16, MarkOf(fork));
            EXPECT_EQ(std::string("ab2cd5678yz\0\0end", 16), Whole(fork)) << "what lies between is zero";
            EXPECT_EQ(noErr, Write(fork, fsFromStart, 20, "")) << "nothing is no length";
            EXPECT_EQ(16, SizeOf(fork));
            EXPECT_EQ(16, MarkOf(fork));
            EXPECT_EQ(noErr, Write(fork, fsFromStart, 3, ""));
            EXPECT_EQ(3, MarkOf(fork)) << "it is the position all the same";
            EXPECT_EQ(posErr, Write(fork, fsFromStart, -1, "x"));
            EXPECT_EQ(errFSBadPosMode, Write(fork, 4, 0, "x"));
            EXPECT_EQ(dskFulErr, Write(fork, fsFromStart, INT64_MAX, "x"));
        }
        const std::string expected("ab2cd5678yz\0\0end", 16);
        EXPECT_EQ(expected, inFork == Which::kData ? Contents(mPath) : ForkIn(mCompanion));
    });
}

TEST_P(OpenForks, PositionsAreSet) {
    ForBoth([this](Which inFork) {
        const Opened fork(mRef, inFork, fsRdPerm);
        EXPECT_EQ(0, MarkOf(fork));
        EXPECT_EQ(noErr, FSSetForkPosition(fork, fsFromStart, 4));
        EXPECT_EQ(noErr, FSSetForkPosition(fork, fsFromMark, 3));
        EXPECT_EQ(7, MarkOf(fork));
        EXPECT_EQ(noErr, FSSetForkPosition(fork, fsAtMark, 3));
        EXPECT_EQ(7, MarkOf(fork));
        EXPECT_EQ(noErr, FSSetForkPosition(fork, fsFromLEOF, -10));
        EXPECT_EQ(0, MarkOf(fork));
        EXPECT_EQ(noErr, FSSetForkPosition(fork, fsFromLEOF, 0));
        EXPECT_EQ(10, MarkOf(fork));
        EXPECT_EQ(posErr, FSSetForkPosition(fork, fsFromStart, -1));
        EXPECT_EQ(errFSBadPosMode, FSSetForkPosition(fork, 8, 0));
        EXPECT_EQ(10, MarkOf(fork));
        EXPECT_EQ(noErr, FSSetForkPosition(fork, fsFromStart, 1));
        EXPECT_EQ(eofErr, FSSetForkPosition(fork, fsFromStart, 11));
        EXPECT_EQ(10, MarkOf(fork));
    });
}

TEST_P(OpenForks, SizesAreSet) {
    ForBoth([this](Which inFork) {
        {
            const Opened fork(mRef, inFork);
            EXPECT_EQ(10, SizeOf(fork));
            EXPECT_EQ(noErr, FSSetForkPosition(fork, fsFromStart, 6));
            EXPECT_EQ(noErr, FSSetForkSize(fork, fsFromStart, 4));
            EXPECT_EQ(4, MarkOf(fork));
            EXPECT_EQ("0123", Whole(fork));
            EXPECT_EQ(noErr, FSSetForkSize(fork, fsFromLEOF, 3));
            EXPECT_EQ(std::string("0123\0\0\0", 7), Whole(fork)) << "what was cut off does not come back";
            EXPECT_EQ(noErr, FSSetForkPosition(fork, fsFromStart, 2));
            EXPECT_EQ(noErr, FSSetForkSize(fork, fsAtMark, 99));
            EXPECT_EQ("01", Whole(fork));
            EXPECT_EQ(noErr, FSSetForkPosition(fork, fsFromStart, 1));
            EXPECT_EQ(noErr, FSSetForkSize(fork, fsFromMark, 0));
            EXPECT_EQ("0", Whole(fork));
            EXPECT_EQ(posErr, FSSetForkSize(fork, fsFromStart, -1));
            EXPECT_EQ(errFSBadPosMode, FSSetForkSize(fork, 4, 0));
            EXPECT_EQ(noErr, FSSetForkSize(fork, fsFromStart, 0));
            EXPECT_EQ(0, SizeOf(fork));
            EXPECT_EQ(0, MarkOf(fork));
            EXPECT_EQ(noErr, Write(fork, fsAtMark, 0, "again"));
        }
        const Opened fork(mRef, inFork, fsRdPerm);
        EXPECT_EQ("again", Whole(fork));
    });
}

TEST_P(OpenForks, RoomIsReserved) {
    ForBoth([this](Which inFork) {
        const Opened fork(mRef, inFork);
        UInt64 count = 7;
        EXPECT_EQ(noErr, FSAllocateFork(fork, kFSAllocDefaultFlags, fsFromLEOF, 0, 5000, &count));
        EXPECT_EQ(5000U, count);
        constexpr FSAllocationFlags kAll =
            kFSAllocAllOrNothingMask | kFSAllocContiguousMask | kFSAllocNoRoundUpMask;
        EXPECT_EQ(noErr, FSAllocateFork(fork, kAll, fsFromStart, 0, 5000, nullptr));
        EXPECT_EQ("0123456789", Whole(fork)) << "no longer, and as it was";
        EXPECT_EQ(noErr, FSAllocateFork(fork, kAll, fsFromStart, 0, 0, &count));
        EXPECT_EQ(0U, count);
        EXPECT_EQ(errFSBadAllocFlags, FSAllocateFork(fork, 8, fsFromStart, 0, 1, &count));
        EXPECT_EQ(posErr, FSAllocateFork(fork, 0, fsFromStart, -1, 1, &count));
        EXPECT_EQ(errFSBadPosMode, FSAllocateFork(fork, 0, 4, 0, 1, &count));
        EXPECT_EQ(dskFulErr, FSAllocateFork(fork, 0, fsFromStart, 0, UINT64_MAX, &count));
        const auto saved = toolbox::os::CallsForTesting();
        toolbox::os::CallsForTesting().fallocate = [](int, int, off_t, off_t) {
            return errno = EOPNOTSUPP, -1;
        };
        EXPECT_EQ(noErr, FSAllocateFork(fork, 0, fsFromStart, 0, 10, &count));
        EXPECT_EQ(0U, count) << "told";
        EXPECT_EQ(dskFulErr, FSAllocateFork(fork, kFSAllocAllOrNothingMask, fsFromStart, 0, 10, &count));
        toolbox::os::CallsForTesting().fallocate = [](int, int, off_t, off_t) {
            static bool sIsOver;
            sIsOver = !sIsOver;
            return sIsOver ? (errno = EINTR, -1) : 0;
        };
        EXPECT_EQ(noErr, FSAllocateFork(fork, 0, fsFromStart, 0, 10, &count)) << "after a signal";
        EXPECT_EQ(10U, count);
        toolbox::os::CallsForTesting().fallocate = [](int, int, off_t, off_t) { return errno = ENOSPC, -1; };
        EXPECT_EQ(dskFulErr, FSAllocateFork(fork, 0, fsFromStart, 0, 10, &count));
        toolbox::os::CallsForTesting() = saved;
        const Opened toRead(mRef, inFork, fsRdPerm);
        EXPECT_EQ(wrPermErr, FSAllocateFork(toRead, 0, fsFromStart, 0, 10, &count));
    });
    mFolder.Remove(mCompanion);
    const Opened empty(mRef, Which::kResource);
    UInt64 count = 7;
    EXPECT_EQ(noErr, FSAllocateFork(empty, 0, fsFromStart, 0, 10, &count));
    EXPECT_EQ(0U, count);
    EXPECT_EQ(dskFulErr, FSAllocateFork(empty, kFSAllocAllOrNothingMask, fsFromStart, 0, 10, &count));
}

TEST_P(OpenForks, AreFlushed) {
    ForBoth([this](Which inFork) {
        static int sSyncs;
        static int sError;
        sSyncs = sError = 0;
        const Opened fork(mRef, inFork);
        const auto saved = toolbox::os::CallsForTesting();
        toolbox::os::CallsForTesting().fsync = [](int) {
            return ++sSyncs, errno = sError, sError != 0 ? -1 : 0;
        };
        EXPECT_EQ(noErr, FSFlushFork(fork));
        EXPECT_EQ(1, sSyncs);
        sError = EIO;
        EXPECT_EQ(ioErr, FSFlushFork(fork));
        sError = ENOSPC;
        EXPECT_EQ(dskFulErr, FSFlushFork(fork)) << "told only now";
        toolbox::os::CallsForTesting() = saved;
    });
}

TEST_P(OpenForks, WhatMayOnlyBeReadIsNotWritten) {
    ForBoth([this](Which inFork) {
        const Opened fork(mRef, inFork, fsRdPerm);
        EXPECT_EQ(wrPermErr, Write(fork, fsFromStart, 0, "x"));
        EXPECT_EQ(wrPermErr, FSSetForkSize(fork, fsFromStart, 0));
        EXPECT_EQ("0123456789", Whole(fork));
        EXPECT_EQ(noErr, FSFlushFork(fork));
    });
}

TEST_P(OpenForks, NumbersThatNameNone) {
    Opened fork(mRef, Which::kData, fsRdPerm);
    const SInt16 closed = fork.Release();
    ASSERT_EQ(noErr, FSCloseFork(closed));
    const std::pair<SInt16, OSErr> numbers[] = {{closed, rfNumErr},
                                                {SInt16{32767}, rfNumErr},
                                                {SInt16{0}, errFSBadForkRef},
                                                {SInt16{-1}, errFSBadForkRef}};
    for (const auto& [number, expected] : numbers) {
        char byte = 0;
        SInt64 where = 5;
        UInt64 reserved = 5;
        ByteCount count = 5;
        EXPECT_EQ(expected, FSCloseFork(number));
        EXPECT_EQ(expected, FSReadFork(number, fsAtMark, 0, 1, &byte, &count));
        EXPECT_EQ(0U, count);
        EXPECT_EQ(expected, FSWriteFork(number, fsAtMark, 0, 1, &byte, nullptr));
        EXPECT_EQ(expected, FSGetForkPosition(number, &where));
        EXPECT_EQ(expected, FSSetForkPosition(number, fsFromStart, 0));
        EXPECT_EQ(expected, FSGetForkSize(number, &where));
        EXPECT_EQ(expected, FSSetForkSize(number, fsFromStart, 0));
        EXPECT_EQ(expected, FSAllocateFork(number, 0, fsFromStart, 0, 1, &reserved));
        EXPECT_EQ(expected, FSFlushFork(number));
        SInt16 iterator = 0;
        if (number != 0) {
            EXPECT_EQ(expected, FSGetForkCBInfo(number, 0, &iterator, nullptr, nullptr, nullptr, nullptr));
        }
        EXPECT_EQ(5, where);
    }
}

TEST_P(OpenForks, ArgumentsThatMayNotBeNull) {
    SInt16 number = 7;
    EXPECT_EQ(paramErr, FSOpenFork(nullptr, 0, nullptr, fsRdPerm, &number));
    EXPECT_EQ(paramErr, FSOpenFork(&mRef, 0, nullptr, fsRdPerm, nullptr));
    const FSRef none = {};
    EXPECT_EQ(errFSBadFSRef, FSOpenFork(&none, 0, nullptr, fsRdPerm, &number));
    EXPECT_EQ(7, number);
    EXPECT_EQ(paramErr, FSCreateFork(nullptr, 0, nullptr));
    EXPECT_EQ(paramErr, FSDeleteFork(nullptr, 0, nullptr));
    CatPositionRec position = {};
    EXPECT_EQ(paramErr, FSIterateForks(nullptr, &position, nullptr, nullptr, nullptr));
    EXPECT_EQ(paramErr, FSIterateForks(&mRef, nullptr, nullptr, nullptr, nullptr));
    const Opened fork(mRef, Which::kData);
    ByteCount count = 7;
    EXPECT_EQ(errFSBadBuffer, FSReadFork(fork, fsAtMark, 0, 1, nullptr, &count));
    EXPECT_EQ(0U, count);
    EXPECT_EQ(noErr, FSReadFork(fork, fsAtMark, 0, 0, nullptr, nullptr));
    EXPECT_EQ(errFSBadBuffer, FSWriteFork(fork, fsAtMark, 0, 1, nullptr, nullptr));
    EXPECT_EQ(noErr, FSWriteFork(fork, fsAtMark, 0, 0, nullptr, nullptr));
    EXPECT_EQ(paramErr, FSGetForkPosition(fork, nullptr));
    EXPECT_EQ(paramErr, FSGetForkSize(fork, nullptr));
    EXPECT_EQ(paramErr, FSGetForkCBInfo(0, 0, nullptr, nullptr, nullptr, nullptr, nullptr));
    char byte = 0;
    EXPECT_EQ(noErr, FSReadFork(fork, fsFromStart, 0, 1, &byte, nullptr));
    EXPECT_EQ(noErr, FSAllocateFork(fork, 0, fsFromStart, 0, 1, nullptr));
}

TEST_P(OpenForks, AreTold) {
    MakeFork("fork");
    FSCatalogInfo info = {};
    ASSERT_EQ(noErr,
              FSGetCatalogInfo(&mRef, kFSCatInfoVolume | kFSCatInfoNodeID, &info, nullptr, nullptr, nullptr));
    const Opened data(mRef, Which::kData, fsCurPerm);
    const Opened resource(mRef, Which::kResource, fsRdWrShPerm);
    const Opened toRead(mRef, Which::kResource, fsRdPerm);
    EXPECT_EQ("0 the", Read(data, fsAtMark, 0, 3));
    FSForkInfo fork = {};
    SInt16 number = 0;
    FSRef file = {};
    HFSUniStr255 name = {};
    ASSERT_EQ(noErr, FSGetForkCBInfo(data, 0, nullptr, &number, &fork, &file, &name));
    EXPECT_EQ(data, number);
    EXPECT_EQ(kFSForkIsWritableMask, fork.flags);
    EXPECT_EQ(fsRdWrPerm, fork.permissions);
    EXPECT_EQ(info.volume, fork.volume);
    EXPECT_EQ(info.nodeID, fork.nodeID);
    EXPECT_EQ(0U, fork.forkID);
    EXPECT_EQ(3U, fork.currentPosition);
    EXPECT_EQ(8U, fork.logicalEOF);
    EXPECT_GT(fork.physicalEOF, 0U);
    EXPECT_EQ(static_cast<UInt64>(getpid()), fork.process);
    EXPECT_EQ(noErr, FSCompareFSRefs(&file, &mRef));
    EXPECT_EQ(0, name.length);
    ASSERT_EQ(noErr, FSGetForkCBInfo(resource, 0, nullptr, nullptr, &fork, nullptr, &name));
    EXPECT_EQ(kFSForkIsWritableMask | kFSForkIsResourceMask | kFSForkIsSharedMask, fork.flags);
    EXPECT_EQ(fsRdWrShPerm, fork.permissions);
    EXPECT_EQ(255U, fork.forkID);
    EXPECT_EQ(4U, fork.logicalEOF);
    EXPECT_GT(fork.physicalEOF, 0U);
    EXPECT_EQ(13, name.length);
    ASSERT_EQ(noErr, FSGetForkCBInfo(toRead, 0, nullptr, nullptr, &fork, nullptr, nullptr));
    EXPECT_EQ(kFSForkIsResourceMask, fork.flags);
}

TEST_P(OpenForks, AreToldOneAfterTheOther) {
    const Opened one(mRef, Which::kData, fsRdPerm);
    const Opened other(mRef, Which::kData, fsRdPerm);
    FSForkInfo info = {};
    ASSERT_EQ(noErr, FSGetForkCBInfo(one, 0, nullptr, nullptr, &info, nullptr, nullptr));
    for (const SInt16 volume : {SInt16{0}, info.volume}) {
        SInt16 iterator = 0;
        std::vector<SInt16> numbers;
        SInt16 number = 0;
        while (FSGetForkCBInfo(0, volume, &iterator, &number, nullptr, nullptr, nullptr) == noErr)
            numbers.push_back(number);
        EXPECT_EQ((std::vector<SInt16>{std::min<SInt16>(one, other), std::max<SInt16>(one, other)}), numbers);
        EXPECT_EQ(errFSNoMoreItems,
                  FSGetForkCBInfo(0, volume, &iterator, &number, nullptr, nullptr, nullptr));
    }
    const auto saved = toolbox::os::CallsForTesting();
    toolbox::os::CallsForTesting().statx = [](int, const char*, int, unsigned, struct statx*) {
        return errno = EIO, -1;
    };
    SInt16 next = 0;
    FSForkInfo untold = {};
    EXPECT_EQ(ioErr, FSGetForkCBInfo(0, 0, &next, nullptr, &untold, nullptr, nullptr));
    toolbox::os::CallsForTesting() = saved;
    SInt16 second = 0;
    EXPECT_EQ(noErr, FSGetForkCBInfo(0, 0, &next, &second, &untold, nullptr, nullptr));
    EXPECT_EQ(std::max<SInt16>(one, other), second) << "behind the one that tells nothing";
    SInt16 iterator = 0;
    EXPECT_EQ(errFSNoMoreItems, FSGetForkCBInfo(0, 12345, &iterator, nullptr, nullptr, nullptr, nullptr));
    EXPECT_EQ(0, iterator);
}

}  // namespace

// Forks written by several threads and processes at once. Run under the thread sanitizer too.
#include "ForkTest.h"
#include "companions/CompanionInfo.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <thread>

namespace {

using namespace test_files;
using namespace toolbox::files;
using support::FileWorld;

constexpr int kRounds = 100;

class ForkThreads : public testing::Test {
  protected:
    CompanionInfo InfoOf() const {
        Place place;
        EXPECT_EQ(0, OpenPlaceOf(mPath, place));
        CompanionInfo info;
        CompanionSizes sizes;
        EXPECT_EQ(0, ReadInfo(place.folder.Number(), "._file", info, sizes));
        return info;
    }
    bool WriteHint(UInt32 inHint) const {
        Place place;
        CompanionInfo info;
        info.encodingHint = inHint;
        info.finderInfo[0] = 'T';
        return OpenPlaceOf(mPath, place) == 0 && WriteInfo(place, info) == 0;
    }

    FileWorld mFolder{FileWorld::kReal};
    std::string mPath = mFolder.MakeFile("file", "");
    FSRef mRef = RefOf(mPath);
};

OSErr Append(const FSRef& inFile, Which inFork, char inCharacter, int inCount) {
    SInt16 number = 0;
    OSErr error = OpenFork(inFile, inFork, fsRdWrPerm, number);
    if (error != noErr) return error;
    for (int round = 0; round < inCount && error == noErr; ++round)
        error = FSWriteFork(number, fsFromLEOF, 0, 1, &inCharacter, nullptr);
    const OSErr closeError = FSCloseFork(number);
    return error == noErr ? closeError : error;
}

TEST_F(ForkThreads, TwoForksOfOneFileAndItsInformation) {
    const std::size_t descriptors = test_files::OpenDescriptorCount();
    std::atomic<bool> isOver = false;
    std::thread data([this] { EXPECT_EQ(noErr, Append(mRef, Which::kData, 'd', kRounds)); });
    std::thread resource([this] { EXPECT_EQ(noErr, Append(mRef, Which::kResource, 'r', kRounds)); });
    std::thread info([this] {
        for (UInt32 round = 1; round <= kRounds; ++round)
            EXPECT_TRUE(WriteHint(round));
    });
    std::thread reader([this, &isOver] {
        const Opened fork(mRef, Which::kResource, fsRdPerm);
        SInt64 before = 0;
        while (!isOver) {
            const SInt64 size = SizeOf(fork);
            EXPECT_GE(size, before) << "nothing is ever lost";
            EXPECT_EQ(std::string(static_cast<std::size_t>(size), 'r'),
                      Read(fork, fsFromStart, 0, static_cast<ByteCount>(size)).substr(2));
            before = size;
        }
    });
    data.join();
    resource.join();
    info.join();
    isOver = true;
    reader.join();
    EXPECT_EQ(descriptors, test_files::OpenDescriptorCount());
    EXPECT_EQ(std::string(kRounds, 'd'), FileWorld::Contents(mPath));
    EXPECT_EQ(std::string(kRounds, 'r'), ForkIn(mFolder / "._file"));
    EXPECT_EQ(UInt32{kRounds}, InfoOf().encodingHint);
    EXPECT_EQ(2U, FileWorld::NamesIn(mFolder.Path()).size());
}

TEST_F(ForkThreads, OneOpeningOfAll) {
    const Opened fork(mRef, Which::kData);
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i)
        threads.emplace_back([&fork] {
            for (int round = 0; round < kRounds; ++round)
                EXPECT_EQ(noErr, FSWriteFork(fork, fsAtMark, 0, 2, "ab", nullptr));
        });
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(4 * kRounds * 2, MarkOf(fork)) << "one after the other";
    EXPECT_EQ(4 * kRounds * 2, SizeOf(fork));
}

TEST_F(ForkThreads, ClosedWhileItIsRead) {
    for (int round = 0; round < kRounds; ++round) {
        SInt16 number = 0;
        ASSERT_EQ(noErr, OpenFork(mRef, Which::kData, fsRdWrPerm, number));
        std::thread reader([number] {
            SInt64 size = 0;
            OSErr error = noErr;
            while (error == noErr)
                error = FSGetForkSize(number, &size);
            EXPECT_EQ(rfNumErr, error);
        });
        EXPECT_EQ(noErr, FSCloseFork(number));
        reader.join();
    }
}

TEST_F(ForkThreads, TwoWritersOfOneForkTakeTurns) {
    std::vector<std::thread> threads;
    std::atomic<int> openCount = 0;
    for (int i = 0; i < 2; ++i)
        threads.emplace_back([this, &openCount] {
            for (int round = 0; round < kRounds;) {
                SInt16 number = 0;
                const OSErr error = OpenFork(mRef, Which::kResource, fsRdWrPerm, number);
                if (error == opWrErr) continue;
                ASSERT_EQ(noErr, error);
                EXPECT_EQ(1, ++openCount);
                EXPECT_EQ(noErr, FSSetForkSize(number, fsFromStart, round % 3));
                --openCount;
                EXPECT_EQ(noErr, FSCloseFork(number));
                ++round;
            }
        });
    for (std::thread& thread : threads)
        thread.join();
}

TEST_F(ForkThreads, MovedWhileItIsWritten) {
    const std::string paths[] = {mFolder.MakeFolder("one"), mFolder.MakeFolder("two")};
    const FSRef folders[] = {RefOf(paths[0]), RefOf(paths[1])};
    ASSERT_EQ(noErr, Append(mRef, Which::kResource, 'r', 1));
    std::atomic<bool> isOver = false;
    std::atomic<int> moves = 0;
    std::thread mover([&] {
        FSRef file = mRef;
        for (int round = 0; !isOver; ++round) {
            const OSErr error = FSMoveObject(&file, &folders[round % 2], &file);
            EXPECT_TRUE(error == noErr || error == fBsyErr) << error;
            moves += error == noErr;
        }
    });
    while (moves == 0)
        std::this_thread::yield();
    EXPECT_EQ(noErr, Append(mRef, Which::kResource, 'r', kRounds));
    isOver = true;
    mover.join();
    UInt8 path[4096] = {};
    ASSERT_EQ(noErr, FSRefMakePath(&mRef, path, sizeof path));
    std::string companion = reinterpret_cast<const char*>(path);
    companion.insert(companion.rfind('/') + 1, "._");
    EXPECT_EQ(std::string(kRounds + 1, 'r'), ForkIn(companion));
    EXPECT_EQ(2U, FileWorld::NamesIn(paths[0]).size() + FileWorld::NamesIn(paths[1]).size());
}

// What one process tells another of its files.
TEST_F(ForkThreads, AnotherProcess) {
    const Opened data(mRef, Which::kData);
    const Opened resource(mRef, Which::kResource);
    EXPECT_EQ(noErr, Write(resource, fsFromStart, 0, "fork"));
    int toChild[2];
    ASSERT_EQ(0, pipe(toChild));
    const pid_t child = fork();
    if (child == 0) {
        // What was inherited holds the parent's locks, so the child asks by files that it opens itself.
        (void)close(toChild[1]);
        char byte = 0;
        if (read(toChild[0], &byte, 1) != 1) _exit(1);
        const auto isRefused = [](const std::string& inPath, short inType, bool inIsFlock) {
            const int file = open(inPath.c_str(), O_RDWR | O_CLOEXEC);
            struct flock lock = {};
            lock.l_type = inType;
            lock.l_whence = SEEK_SET;
            lock.l_start = 0x7FFFFFFFFFFFFF00;
            lock.l_len = 1;
            const int result = inIsFlock ? flock(file, LOCK_EX | LOCK_NB) : fcntl(file, F_OFD_SETLK, &lock);
            return result != 0;
        };
        _exit(isRefused(mPath, F_WRLCK, true) && isRefused(mPath, F_WRLCK, false) ? 0 : 2);
    }
    ASSERT_EQ(1, write(toChild[1], "x", 1));
    int status = 0;
    EXPECT_EQ(child, waitpid(child, &status, 0));
    EXPECT_EQ(0, status);
    (void)close(toChild[0]);
    (void)close(toChild[1]);
}

// Two processes make a fork longer and change the information of the same file: neither loses anything.
TEST_F(ForkThreads, TwoProcessesWriteOneCompanion) {
    const pid_t child = fork();
    if (child == 0) {
        bool isGood = true;
        for (UInt32 round = 1; round <= kRounds && isGood; ++round)
            isGood = WriteHint(round);
        _exit(isGood ? 0 : 1);
    }
    EXPECT_EQ(noErr, Append(mRef, Which::kResource, 'r', kRounds));
    int status = 0;
    EXPECT_EQ(child, waitpid(child, &status, 0));
    EXPECT_EQ(0, status);
    EXPECT_EQ(std::string(kRounds, 'r'), ForkIn(mFolder / "._file"));
    EXPECT_EQ(UInt32{kRounds}, InfoOf().encodingHint);
}

}  // namespace

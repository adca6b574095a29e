#include "os/Descriptor.h"

#include "os/SystemCalls_test_access.h"
#include "support/FailingCalls.h"
#include "support/FailingNew.h"
#include "support/TemporaryFolder.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <new>
#include <vector>

namespace {

using namespace toolbox::os;
using test_files::FailingCalls;
using test_files::OpenDescriptorCount;
using test_files::TemporaryFolder;

std::vector<UInt8> BytesOf(std::string_view inText) {
    return {inText.begin(), inText.end()};
}

class DescriptorTest : public testing::Test {
  protected:
    ~DescriptorTest() override {
        CallsForTesting() = mReal;
        EXPECT_EQ(mDescriptors, OpenDescriptorCount());
    }
    Descriptor OpenedForBoth(std::string_view inContents = "0123456789") {
        Descriptor file;
        EXPECT_EQ(0, OpenFile(mFolder.MakeFile("file", inContents).c_str(), O_RDWR, file));
        return file;
    }
    std::string Contents() {
        Descriptor file;
        std::string contents;
        EXPECT_EQ(0, OpenFile((mFolder / "file").c_str(), O_RDONLY, file));
        EXPECT_EQ(0, ReadFromStart(file.Number(), 1000000, contents));
        return contents;
    }

    const std::size_t mDescriptors = OpenDescriptorCount();
    const SystemCalls mReal = Calls();
    TemporaryFolder mFolder;
};

TEST_F(DescriptorTest, ClosesWhatItHolds) {
    Descriptor file = OpenedForBoth();
    EXPECT_TRUE(file.IsOpen());
    EXPECT_EQ(mDescriptors + 1, OpenDescriptorCount());
    Descriptor other = std::move(file);
    EXPECT_EQ(mDescriptors + 1, OpenDescriptorCount());
    other = Descriptor();
    EXPECT_EQ(mDescriptors, OpenDescriptorCount());
    EXPECT_FALSE(other.IsOpen());
    EXPECT_EQ(0, other.Close()) << "nothing to close";
}

TEST_F(DescriptorTest, OfWhatIsAlreadyOpenAnotherIsClosed) {
    Descriptor file = OpenedForBoth();
    EXPECT_EQ(ENOENT, OpenFile((mFolder / "none").c_str(), O_RDONLY, file));
    EXPECT_FALSE(file.IsOpen());
    EXPECT_EQ(mDescriptors, OpenDescriptorCount());
}

TEST_F(DescriptorTest, ReleasedItIsTheCallersToClose) {
    Descriptor file = OpenedForBoth();
    const int number = file.Release();
    EXPECT_FALSE(file.IsOpen());
    EXPECT_EQ(0, file.Close());
    EXPECT_EQ(mDescriptors + 1, OpenDescriptorCount());
    close(number);
}

TEST_F(DescriptorTest, TellsWhatClosingTells) {
    Descriptor file = OpenedForBoth();
    {
        const FailingCalls failing(1, ENOSPC);
        EXPECT_EQ(ENOSPC, file.Close());
    }
    EXPECT_FALSE(file.IsOpen()) << "and never closed again: the number may be another file's";
}

TEST_F(DescriptorTest, NotForOtherPrograms) {
    const Descriptor file = OpenedForBoth();
    EXPECT_NE(0, fcntl(file.Number(), F_GETFD) & FD_CLOEXEC);
}

TEST_F(DescriptorTest, InAFolder) {
    mFolder.MakeFile("file", "in it");
    Descriptor folder;
    ASSERT_EQ(0, OpenFile(mFolder.Path().c_str(), O_PATH | O_DIRECTORY, folder));
    Descriptor file;
    ASSERT_EQ(0, OpenFile(folder.Number(), "file", O_RDONLY | kItemItself, file));
    std::string contents;
    EXPECT_EQ(0, ReadFromStart(file.Number(), 100, contents));
    EXPECT_EQ("in it", contents);
    EXPECT_EQ(EEXIST, OpenFile(folder.Number(), "file", O_RDWR | O_CREAT | O_EXCL, file, 0600));
}

// Every second call is interrupted, the others move a byte or two.
int sCalls;
void MoveSlowly() {
    sCalls = 0;
    CallsForTesting().pread = [](int inFile, void* outBytes, std::size_t inCount, off_t inOffset) -> ssize_t {
        if (++sCalls % 2 == 1) return errno = EINTR, -1;
        return pread(inFile, outBytes, std::min<std::size_t>(inCount, 2), inOffset);
    };
    CallsForTesting().pwrite = [](int inFile, const void* inBytes, std::size_t inCount,
                                  off_t inOffset) -> ssize_t {
        if (++sCalls % 2 == 1) return errno = EINTR, -1;
        return pwrite(inFile, inBytes, std::min<std::size_t>(inCount, 2), inOffset);
    };
    CallsForTesting().read = [](int inFile, void* outBytes, std::size_t inCount) -> ssize_t {
        if (++sCalls % 2 == 1) return errno = EINTR, -1;
        return read(inFile, outBytes, std::min<std::size_t>(inCount, 2));
    };
    CallsForTesting().write = [](int inFile, const void* inBytes, std::size_t inCount) -> ssize_t {
        if (++sCalls % 2 == 1) return errno = EINTR, -1;
        return write(inFile, inBytes, std::min<std::size_t>(inCount, 2));
    };
}

TEST_F(DescriptorTest, ReadsUntilAllIsThere) {
    const Descriptor file = OpenedForBoth();
    MoveSlowly();
    char bytes[6] = {};
    std::size_t count = 99;
    EXPECT_EQ(0, ReadAt(file.Number(), bytes, 5, 3, count));
    EXPECT_EQ(5U, count);
    EXPECT_STREQ("34567", bytes);
    std::string contents;
    EXPECT_EQ(0, ReadFromStart(file.Number(), 7, contents));
    EXPECT_EQ("0123456", contents);
    EXPECT_EQ(0, ReadFromStart(file.Number(), 0, contents));
    EXPECT_EQ("", contents);
}

TEST_F(DescriptorTest, ReadsUntilTheEnd) {
    const Descriptor file = OpenedForBoth();
    char bytes[20];
    std::size_t count = 99;
    EXPECT_EQ(0, ReadAt(file.Number(), bytes, 20, 8, count));
    EXPECT_EQ(2U, count);
    EXPECT_EQ(0, ReadAt(file.Number(), bytes, 20, 1000, count));
    EXPECT_EQ(0U, count);
    EXPECT_EQ(0, ReadAt(file.Number(), bytes, 0, 0, count));
    EXPECT_EQ(0U, count);
}

TEST_F(DescriptorTest, ReadsManyBlocks) {
    std::string contents(200'000, '\0');
    for (std::size_t i = 0; i < contents.size(); ++i)
        contents[i] = static_cast<char>(i * 7 >> 3);
    const Descriptor file = OpenedForBoth(contents);
    EXPECT_TRUE(contents == Contents());
    std::string some;
    EXPECT_EQ(0, ReadFromStart(file.Number(), 131'073, some));
    EXPECT_TRUE(contents.substr(0, 131'073) == some);
    EXPECT_EQ(0, ReadFromStart(file.Number(), 200'000, some));
    EXPECT_TRUE(contents == some);
}

TEST_F(DescriptorTest, ReadsTheKernelsFiles) {
    Descriptor file;
    ASSERT_EQ(0, OpenFile("/proc/self/status", O_RDONLY, file));
    std::string contents;
    EXPECT_EQ(0, ReadFromStart(file.Number(), 100'000, contents));
    EXPECT_EQ(0U, contents.find("Name:"));
    EXPECT_EQ('\n', contents.back());
}

TEST_F(DescriptorTest, TellsWhatWasReadBeforeAFailure) {
    const Descriptor file = OpenedForBoth();
    CallsForTesting().pread = [](int inFile, void* outBytes, std::size_t, off_t inOffset) -> ssize_t {
        if (inOffset == 3) return errno = EIO, -1;
        return pread(inFile, outBytes, 1, inOffset);
    };
    char bytes[10];
    std::size_t count = 99;
    EXPECT_EQ(EIO, ReadAt(file.Number(), bytes, 10, 0, count));
    EXPECT_EQ(3U, count);
    std::string contents;
    EXPECT_EQ(EIO, ReadFromStart(file.Number(), 10, contents));
}

TEST_F(DescriptorTest, WritesAll) {
    const Descriptor file = OpenedForBoth();
    MoveSlowly();
    EXPECT_EQ(0, WriteAt(file.Number(), BytesOf("abcde"), 7));
    EXPECT_EQ("0123456abcde", Contents());
    EXPECT_EQ(0, WriteAt(file.Number(), {}));
    EXPECT_EQ(0, WriteAll(file.Number(), "ABC", 3));
    EXPECT_EQ("ABC3456abcde", Contents());
}

TEST_F(DescriptorTest, WhatTakesNothingHasFailed) {
    const Descriptor file = OpenedForBoth();
    CallsForTesting().pwrite = [](int, const void*, std::size_t, off_t) -> ssize_t { return 0; };
    CallsForTesting().write = [](int, const void*, std::size_t) -> ssize_t { return 0; };
    EXPECT_EQ(EIO, WriteAt(file.Number(), BytesOf("abc")));
    EXPECT_EQ(EIO, WriteAll(file.Number(), "abc", 3));
    CallsForTesting() = mReal;
    const FailingCalls failing(1, ENOSPC, FailingCalls::kForever);
    EXPECT_EQ(ENOSPC, WriteAt(file.Number(), BytesOf("abc")));
    EXPECT_EQ(ENOSPC, WriteAll(file.Number(), "abc", 3));
}

TEST_F(DescriptorTest, ReadsWhatIsThere) {
    int ends[2];
    ASSERT_EQ(0, pipe(ends));
    const Descriptor out(ends[0]);
    Descriptor in(ends[1]);
    ASSERT_EQ(0, WriteAll(in.Number(), "ab", 2));
    char bytes[10];
    std::size_t count = 99;
    EXPECT_EQ(0, ReadSome(out.Number(), bytes, 1, count));
    EXPECT_EQ(1U, count);
    EXPECT_EQ(0, ReadSome(out.Number(), bytes, 10, count)) << "no more is waited for";
    EXPECT_EQ(1U, count);
    EXPECT_EQ('b', bytes[0]);
    EXPECT_EQ(0, in.Close());
    EXPECT_EQ(0, ReadSome(out.Number(), bytes, 10, count));
    EXPECT_EQ(0U, count);
    EXPECT_EQ(EBADF, ReadSome(-1, bytes, 10, count));
}

TEST_F(DescriptorTest, WithoutMemoryForTheContents) {
    const Descriptor file = OpenedForBoth();
    std::string contents;
    const test_files::FailingNew memory(1);
    EXPECT_THROW((void)ReadFromStart(file.Number(), 100, contents), std::bad_alloc);
}

}  // namespace

#include "track/MediaFile.h"

#include "platform/catalogue/Refs.h"
#include "support/FailingCalls.h"
#include "support/FailingNew.h"
#include "support/TemporaryFolder.h"

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <limits>
#include <thread>
#include <vector>

namespace {

namespace fs = std::filesystem;
using test_files::FailingCalls;
using test_files::FailingNew;
using test_files::MakeRef;
using test_files::OpenDescriptorCount;
using test_files::TemporaryFolder;
using toolbox::movies::MediaFile;

FSRef RefOf(const std::string& inPath) {
    FSRef ref = {};
    EXPECT_EQ(noErr, MakeRef(inPath, &ref)) << inPath;
    return ref;
}

std::shared_ptr<const MediaFile> OpenPath(const std::string& inPath) {
    std::shared_ptr<const MediaFile> file;
    EXPECT_EQ(noErr, MediaFile::Open(RefOf(inPath), file)) << inPath;
    return file;
}

// The bytes read, after the status when it is no success: "status -36 after abc".
std::string Read(const MediaFile& inFile, std::int64_t inOffset, std::size_t inByteCount) {
    std::string bytes(inByteCount + 1, '#');
    std::size_t count = 12345;
    const OSStatus status = inFile.ReadAt(inOffset, bytes.data(), inByteCount, &count);
    EXPECT_LE(count, inByteCount);
    EXPECT_EQ('#', bytes.back());
    bytes.resize(count);
    return status == noErr ? bytes : "status " + std::to_string(status) + " after " + bytes;
}

TEST(MediaFile, SizeAndPath) {
    const TemporaryFolder folder;
    const auto file = OpenPath(folder.MakeFile("a", "0123456789"));
    EXPECT_EQ(10, file->SizeBytes());
    EXPECT_EQ(folder / "a", file->Path());
    EXPECT_EQ(0, OpenPath(folder.MakeFile("empty", ""))->SizeBytes());
}

TEST(MediaFile, ReadsByPosition) {
    const TemporaryFolder folder;
    const auto file = OpenPath(folder.MakeFile("a", "0123456789"));
    EXPECT_EQ("0123456789", Read(*file, 0, 10));
    EXPECT_EQ("567", Read(*file, 5, 3));
    EXPECT_EQ("0", Read(*file, 0, 1));
    EXPECT_EQ("", Read(*file, 3, 0));
    EXPECT_EQ("9", Read(*file, 9, 1));
}

TEST(MediaFile, ReadsFewerOnlyAtTheEnd) {
    const TemporaryFolder folder;
    const auto file = OpenPath(folder.MakeFile("a", "0123456789"));
    EXPECT_EQ("89", Read(*file, 8, 100));
    EXPECT_EQ("", Read(*file, 10, 1));
    EXPECT_EQ("", Read(*file, 11, 5));
    EXPECT_EQ("", Read(*file, std::numeric_limits<std::int64_t>::max(), 5));
    EXPECT_EQ("", Read(*OpenPath(folder.MakeFile("empty", "")), 0, 1));
}

TEST(MediaFile, NegativeOffset) {
    const TemporaryFolder folder;
    const auto file = OpenPath(folder.MakeFile("a", "0123456789"));
    EXPECT_EQ("status -50 after ", Read(*file, -1, 5));
    EXPECT_EQ("status -50 after ", Read(*file, std::numeric_limits<std::int64_t>::min(), 5));
}

TEST(MediaFile, ByteCountBeyondAnyFile) {
    const TemporaryFolder folder;
    const auto file = OpenPath(folder.MakeFile("a", "0123456789"));
    char bytes[10];
    std::size_t count = 0;
    EXPECT_EQ(noErr, file->ReadAt(0, bytes, std::numeric_limits<std::size_t>::max(), &count));
    EXPECT_EQ(10u, count);
    EXPECT_EQ(noErr, file->ReadAt(9, bytes, std::numeric_limits<std::size_t>::max(), &count));
    EXPECT_EQ(1u, count);
}

TEST(MediaFile, OffsetsBeyond32Bits) {
    const TemporaryFolder folder;
    const std::string path = folder.MakeFile("a", "");
    const std::int64_t place = (std::int64_t{1} << 32) + 5;
    {
        std::ofstream stream(path, std::ios::binary);
        stream.seekp(place);
        stream << "far";
    }
    const auto file = OpenPath(path);
    EXPECT_EQ(place + 3, file->SizeBytes());
    EXPECT_EQ("far", Read(*file, place, 10));
    EXPECT_EQ(std::string(4, '\0'), Read(*file, 5, 4));
}

TEST(MediaFile, KeepsReadingWhatWasOpened) {
    const TemporaryFolder folder;
    const std::string path = folder.MakeFile("a", "0123456789");
    const auto file = OpenPath(path);
    fs::remove(path);
    folder.MakeFile("a", "another's");
    EXPECT_EQ("0123456789", Read(*file, 0, 100));
}

TEST(MediaFile, GrowsNotAndMayShrink) {
    const TemporaryFolder folder;
    const std::string path = folder.MakeFile("a", "0123456789");
    const auto file = OpenPath(path);
    fs::resize_file(path, 20);
    EXPECT_EQ("89", Read(*file, 8, 100));
    EXPECT_EQ("", Read(*file, 12, 1));
    fs::resize_file(path, 4);
    EXPECT_EQ("23", Read(*file, 2, 100));
    EXPECT_EQ("", Read(*file, 6, 1));
    EXPECT_EQ(10, file->SizeBytes());
}

TEST(MediaFile, RefusesWhatIsNoFile) {
    const TemporaryFolder folder;
    auto file = OpenPath(folder.MakeFile("a"));
    EXPECT_EQ(notAFileErr, MediaFile::Open(RefOf(folder.Path()), file));
    EXPECT_EQ(nullptr, file);
    ASSERT_EQ(0, mkfifo((folder / "pipe").c_str(), 0600));
    EXPECT_EQ(errFSForkNotFound, MediaFile::Open(RefOf(folder / "pipe"), file));
    EXPECT_EQ(errFSBadFSRef, MediaFile::Open(FSRef{}, file));
    const FSRef gone = RefOf(folder / "a");
    fs::remove(folder / "a");
    EXPECT_EQ(fnfErr, MediaFile::Open(gone, file));
    EXPECT_EQ(nullptr, file);
}

TEST(MediaFile, ClosesItsDescriptor) {
    const TemporaryFolder folder;
    const std::string path = folder.MakeFile("a");
    const std::size_t before = OpenDescriptorCount();
    {
        const auto file = OpenPath(path);
        const auto second = OpenPath(path);
        const auto shared = file;
        EXPECT_EQ(before + 2, OpenDescriptorCount());
    }
    EXPECT_EQ(before, OpenDescriptorCount());
}

// Readers of the system that give what a test wants them to: one byte at most.
int sCallCount;
ssize_t ReadOneByte(int inDescriptor, void* outBytes, std::size_t, off_t inOffset) {
    ++sCallCount;
    return pread(inDescriptor, outBytes, 1, inOffset);
}
ssize_t ReadEveryThirdTime(int inDescriptor, void* outBytes, std::size_t, off_t inOffset) {
    errno = EINTR;
    return ++sCallCount % 3 == 0 ? pread(inDescriptor, outBytes, 1, inOffset) : -1;
}
ssize_t ReadThreeTimes(int inDescriptor, void* outBytes, std::size_t, off_t inOffset) {
    errno = EIO;
    return ++sCallCount <= 3 ? pread(inDescriptor, outBytes, 1, inOffset) : -1;
}

std::string ReadWith(const MediaFile& inFile, decltype(toolbox::os::SystemCalls::pread) inReader) {
    const toolbox::os::SystemCalls real = toolbox::os::Calls();
    sCallCount = 0;
    toolbox::os::CallsForTesting().pread = inReader;
    const std::string bytes = Read(inFile, 2, 6);
    toolbox::os::CallsForTesting() = real;
    return bytes;
}

TEST(MediaFile, ShortReads) {
    const TemporaryFolder folder;
    const auto file = OpenPath(folder.MakeFile("a", "0123456789"));
    EXPECT_EQ("234567", ReadWith(*file, ReadOneByte));
    EXPECT_EQ(6, sCallCount);
}

TEST(MediaFile, InterruptedReads) {
    const TemporaryFolder folder;
    const auto file = OpenPath(folder.MakeFile("a", "0123456789"));
    EXPECT_EQ("234567", ReadWith(*file, ReadEveryThirdTime));
    EXPECT_EQ(18, sCallCount);
}

// Says yes when it is asked for the n-th time.
struct StopAt {
    int last;
    int asked = 0;
    static Boolean Ask(void* inContext) {
        auto& self = *static_cast<StopAt*>(inContext);
        return ++self.asked == self.last;
    }
};

TEST(MediaFile, StopsBeforeTheNextCall) {
    const TemporaryFolder folder;
    const auto file = OpenPath(folder.MakeFile("a", "0123456789"));
    StopAt stop{4};
    toolbox::movies::StopCheck check(StopAt::Ask, &stop);
    file->SetStopCheck(&check);
    EXPECT_EQ("status -128 after 234", ReadWith(*file, ReadOneByte));
    EXPECT_EQ(3, sCallCount);
    EXPECT_TRUE(check.IsStopped());
    EXPECT_TRUE(file->MustStop());
    EXPECT_EQ("status -128 after ", Read(*file, 0, 5));
    EXPECT_EQ(4, stop.asked) << "it is not asked again";
    file->SetStopCheck(nullptr);
    EXPECT_FALSE(file->MustStop());
    EXPECT_EQ("01234", Read(*file, 0, 5));
}

// A signal that interrupts a read may be what the answer comes of.
TEST(MediaFile, InterruptedReadsAskAgain) {
    const TemporaryFolder folder;
    const auto file = OpenPath(folder.MakeFile("a", "0123456789"));
    StopAt stop{2};
    toolbox::movies::StopCheck check(StopAt::Ask, &stop);
    file->SetStopCheck(&check);
    EXPECT_EQ("status -128 after ", ReadWith(*file, ReadEveryThirdTime));
    EXPECT_EQ(1, sCallCount);
    file->SetStopCheck(nullptr);
}

TEST(MediaFile, NobodyStopsIt) {
    const TemporaryFolder folder;
    const auto file = OpenPath(folder.MakeFile("a", "0123456789"));
    toolbox::movies::StopCheck check(nullptr, nullptr);
    file->SetStopCheck(&check);
    EXPECT_EQ("0123456789", Read(*file, 0, 20));
    EXPECT_FALSE(file->MustStop());
    file->SetStopCheck(nullptr);
}

TEST(MediaFile, DeviceThatFails) {
    const TemporaryFolder folder;
    const auto file = OpenPath(folder.MakeFile("a", "0123456789"));
    EXPECT_EQ("status -36 after 234", ReadWith(*file, ReadThreeTimes));
}

TEST(MediaFile, EveryFailingCall) {
    const TemporaryFolder folder;
    const FSRef ref = RefOf(folder.MakeFile("a", "0123456789"));
    const std::size_t descriptors = OpenDescriptorCount();
    for (int failing = 1;; ++failing) {
        std::shared_ptr<const MediaFile> file;
        OSStatus opened = noErr;
        std::string bytes;
        bool delivered = false;
        {
            const FailingCalls calls(failing, EIO);
            opened = MediaFile::Open(ref, file);
            if (opened == noErr) bytes = Read(*file, 0, 10);
            file.reset();
            delivered = calls.Delivered();
        }
        EXPECT_EQ(descriptors, OpenDescriptorCount());
        if (!delivered) {
            EXPECT_EQ(7, failing);  // three to open, one for the size, one to read, one to close
            EXPECT_EQ("0123456789", bytes);
            break;
        }
        if (failing <= 4) {
            EXPECT_EQ(ioErr, opened) << failing;
        } else {
            // A file that was only read loses nothing when closing it fails.
            EXPECT_EQ(failing == 5 ? "status -36 after " : "0123456789", bytes);
        }
    }
}

TEST(MediaFile, EveryFailingAllocation) {
    const TemporaryFolder folder;
    const FSRef ref = RefOf(folder.MakeFile("a name of more than some bytes"));
    const std::size_t descriptors = OpenDescriptorCount();
    for (int failing = 1;; ++failing) {
        std::shared_ptr<const MediaFile> file;
        OSStatus status = noErr;
        bool delivered = false;
        {
            const FailingNew memory(failing);
            status = MediaFile::Open(ref, file);
            delivered = memory.Delivered();
        }
        EXPECT_EQ(delivered ? memFullErr : noErr, status) << failing;
        EXPECT_EQ(!delivered, file != nullptr);
        file.reset();
        EXPECT_EQ(descriptors, OpenDescriptorCount());
        if (!delivered) {
            EXPECT_GT(failing, 2);
            break;
        }
    }
}

TEST(MediaFile, ReadOnManyThreads) {
    const TemporaryFolder folder;
    std::string contents;
    for (int number = 0; number < 100'000; ++number)
        contents += static_cast<char>(number * 31 >> 3);
    const auto file = OpenPath(folder.MakeFile("a", contents));
    std::vector<std::thread> threads;
    for (int thread = 0; thread < 8; ++thread) {
        threads.emplace_back([&, thread] {
            for (std::size_t round = 0; round < 100; ++round) {
                const std::size_t offset = (round * 997 + static_cast<std::size_t>(thread) * 13) % 90'000;
                EXPECT_EQ(contents.substr(offset, 5000),
                          Read(*file, static_cast<std::int64_t>(offset), 5000));
            }
        });
    }
    for (std::thread& thread : threads)
        thread.join();
}

}  // namespace

#include "catalogue/FileAccess.h"

#include "Refs.h"
#include "status/StatusOfErrno.h"
#include "support/FailingCalls.h"
#include "support/FileWorld.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <functional>
#include <string>
#include <utility>

namespace {

using support::FileWorld;
using test_files::FailingCalls;
using test_files::MakeRef;
using toolbox::files::OpenForReading;
namespace os = toolbox::os;

FSRef RefOf(const std::string& inPath) {
    FSRef ref = {};
    EXPECT_EQ(noErr, MakeRef(inPath, &ref)) << inPath;
    return ref;
}

class FileAccessTest : public support::FileWorldTest {
  protected:
    // What opening an item that cannot be opened answers; fails when anything is left open.
    OSStatus Refusal(const FSRef& inItem) const {
        const std::size_t before = OpenDescriptorCount();
        os::Descriptor file;
        std::string path = "before";
        const OSStatus status = OpenForReading(inItem, file, path);
        EXPECT_FALSE(file.IsOpen());
        EXPECT_EQ(before, OpenDescriptorCount());
        return status;
    }
};
class OpenForReadingTest : public FileAccessTest {};
class ReadSmallFileTest : public FileAccessTest {};
INSTANTIATE_TEST_SUITE_P(Worlds, OpenForReadingTest, support::BothWorlds(), support::NameOfWorld);
INSTANTIATE_TEST_SUITE_P(Worlds, ReadSmallFileTest, support::BothWorlds(), support::NameOfWorld);

TEST_P(OpenForReadingTest, AFile) {
    const std::string path = mFolder.MakeFile("a", "bytes");
    os::Descriptor file;
    std::string found;
    ASSERT_EQ(noErr, OpenForReading(RefOf(path), file, found));
    EXPECT_EQ(path, found);
    EXPECT_EQ("bytes", FileWorld::Contents(file.Number()));
    EXPECT_EQ(-1, os::Calls().pwrite(file.Number(), "x", 1, 0));
    EXPECT_EQ(EBADF, errno);
    if (GetParam() != FileWorld::kReal) return;
    EXPECT_NE(0, fcntl(file.Number(), F_GETFD) & FD_CLOEXEC);
    EXPECT_EQ(O_RDONLY, fcntl(file.Number(), F_GETFL) & O_ACCMODE);
}

TEST_P(OpenForReadingTest, AnEmptyFile) {
    os::Descriptor file;
    std::string found;
    ASSERT_EQ(noErr, OpenForReading(RefOf(mFolder.MakeFile("a", "")), file, found));
    EXPECT_EQ("", FileWorld::Contents(file.Number()));
}

TEST_P(OpenForReadingTest, ARenamedFile) {
    const std::string path = mFolder.MakeFile("a", "bytes");
    const FSRef ref = RefOf(path);
    FileWorld::Rename(path, mFolder / "b");
    mFolder.MakeFile("a", "another's");
    os::Descriptor file;
    std::string found;
    ASSERT_EQ(noErr, OpenForReading(ref, file, found));
    EXPECT_EQ(mFolder / "b", found);
    EXPECT_EQ("bytes", FileWorld::Contents(file.Number()));
}

TEST_P(OpenForReadingTest, WhatHasNoDataFork) {
    EXPECT_EQ(notAFileErr, Refusal(RefOf(mFolder.Path())));
    EXPECT_EQ(errFSForkNotFound, Refusal(RefOf(mFolder.MakePipe("pipe"))));
    EXPECT_EQ(errFSForkNotFound, Refusal(RefOf("/dev/null")));
    if (GetParam() != FileWorld::kReal) return;
    const int listener = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    (mFolder / "socket").copy(address.sun_path, sizeof(address.sun_path) - 1);
    ASSERT_EQ(0, bind(listener, reinterpret_cast<const sockaddr*>(&address), sizeof(address)));
    EXPECT_EQ(errFSForkNotFound, Refusal(RefOf(mFolder / "socket")));
    close(listener);
}

TEST_P(OpenForReadingTest, BadReferenceAndDeletedFile) {
    EXPECT_EQ(errFSBadFSRef, Refusal(FSRef{}));
    const std::string path = mFolder.MakeFile("a");
    const FSRef ref = RefOf(path);
    FileWorld::Remove(path);
    EXPECT_EQ(fnfErr, Refusal(ref));
}

TEST_P(OpenForReadingTest, NoMoreDescriptors) {
    const FSRef ref = RefOf(mFolder.MakeFile("a"));
    os::Descriptor file;
    std::string path;
    OSStatus status = noErr;
    {
        const FileWorld::NoMoreDescriptors none(mFolder);
        status = OpenForReading(ref, file, path);
    }
    EXPECT_EQ(tmfoErr, status);
    EXPECT_FALSE(file.IsOpen());
}

TEST_P(OpenForReadingTest, EveryFailingCall) {
    const FSRef ref = RefOf(mFolder.MakeFile("a", "bytes"));
    const std::size_t descriptors = OpenDescriptorCount();
    for (const int number : {EIO, EACCES, EMFILE, EAGAIN}) {
        for (int failing = 1;; ++failing) {
            os::Descriptor file;
            std::string path;
            OSStatus status = noErr;
            bool delivered = false;
            {
                const FailingCalls calls(failing, number);
                status = OpenForReading(ref, file, path);
                delivered = calls.Delivered();
            }
            if (!delivered) {
                EXPECT_EQ(noErr, status);
                EXPECT_EQ("bytes", FileWorld::Contents(file.Number()));
                EXPECT_EQ(4, failing);  // looked at, opened, looked at again
                break;
            }
            if (number == EACCES && failing == 1) {
                EXPECT_EQ(noErr, status) << "its folder is asked next";
                continue;
            }
            EXPECT_EQ(toolbox::StatusOfErrno(number), status) << failing;
            EXPECT_FALSE(file.IsOpen());
            EXPECT_EQ(descriptors, OpenDescriptorCount());
        }
    }
}

// Before each open but those of folders, which are searched, another program does something.
toolbox::os::SystemCalls sReal;
std::function<void()> sMeanwhile;

int OpenMeanwhile(int inFolder, const char* inPath, int inFlags, mode_t inMode) {
    if ((inFlags & O_DIRECTORY) == 0) {
        toolbox::os::CallsForTesting().openat = sReal.openat;
        sMeanwhile();
        toolbox::os::CallsForTesting().openat = OpenMeanwhile;
    }
    return sReal.openat(inFolder, inPath, inFlags, inMode);
}

OSStatus OpenWhile(const FSRef& inRef, std::function<void()> inMeanwhile, os::Descriptor& outFile,
                   std::string& outPath) {
    sReal = toolbox::os::Calls();
    sMeanwhile = std::move(inMeanwhile);
    toolbox::os::CallsForTesting().openat = OpenMeanwhile;
    const OSStatus status = OpenForReading(inRef, outFile, outPath);
    toolbox::os::CallsForTesting() = sReal;
    return status;
}

TEST_P(OpenForReadingTest, AnotherFileTakesThePathMeanwhile) {
    const std::string path = mFolder.MakeFile("a", "bytes");
    const FSRef ref = RefOf(path);
    os::Descriptor file;
    std::string found;
    const std::size_t descriptors = OpenDescriptorCount();
    int openCount = 0;
    const auto replace = [&] {
        if (++openCount > 1) return;
        FileWorld::Rename(path, path + " moved");
        mFolder.MakeFile("a", "another's");
    };
    ASSERT_EQ(noErr, OpenWhile(ref, replace, file, found));
    EXPECT_EQ(2, openCount);
    EXPECT_EQ(path + " moved", found);
    EXPECT_EQ("bytes", FileWorld::Contents(file.Number()));
    file = os::Descriptor();
    EXPECT_EQ(descriptors, OpenDescriptorCount());
}

TEST_P(OpenForReadingTest, APipeTakesThePathMeanwhile) {
    const std::string path = mFolder.MakeFile("a", "bytes");
    const FSRef ref = RefOf(path);
    os::Descriptor file;
    std::string found;
    const auto replace = [&] {
        FileWorld::Remove(path);
        mFolder.MakePipe("a");
    };
    EXPECT_EQ(fnfErr, OpenWhile(ref, replace, file, found));
    EXPECT_FALSE(file.IsOpen());
    EXPECT_EQ("", found);
}

TEST_P(OpenForReadingTest, ALinkTakesThePathMeanwhile) {
    const std::string path = mFolder.MakeFile("a", "bytes");
    const FSRef ref = RefOf(path);
    os::Descriptor file;
    std::string found;
    bool isLink = false;
    const auto replace = [&] {
        if (std::exchange(isLink, true)) return;
        FileWorld::Rename(path, path + " moved");
        mFolder.MakeLink("/dev/null", "a");
    };
    ASSERT_EQ(noErr, OpenWhile(ref, replace, file, found));
    EXPECT_EQ("bytes", FileWorld::Contents(file.Number()));
}

TEST_P(ReadSmallFileTest, ReadsAll) {
    std::string contents = "old";
    EXPECT_EQ(noErr, toolbox::files::ReadSmallFile(RefOf(mFolder.MakeFile("empty", "")), 10, contents));
    EXPECT_EQ("", contents);
    EXPECT_EQ(noErr,
              toolbox::files::ReadSmallFile(RefOf(mFolder.MakeFile("ten", "0123456789")), 10, contents));
    EXPECT_EQ("0123456789", contents);
    const std::string large(200'000, 'x');
    EXPECT_EQ(noErr,
              toolbox::files::ReadSmallFile(RefOf(mFolder.MakeFile("large", large)), 1'000'000, contents));
    EXPECT_EQ(large, contents);
}

TEST_P(ReadSmallFileTest, RefusesWhatIsTooLarge) {
    std::string contents;
    EXPECT_EQ(fileBoundsErr,
              toolbox::files::ReadSmallFile(RefOf(mFolder.MakeFile("a", "0123456789")), 9, contents));
    EXPECT_EQ(fileBoundsErr, toolbox::files::ReadSmallFile(RefOf(mFolder.MakeFile("a", "0")), 0, contents));
    EXPECT_EQ(notAFileErr, toolbox::files::ReadSmallFile(RefOf(mFolder.MakeFolder("b")), 9, contents));
}

TEST_P(ReadSmallFileTest, EveryFailingCallIsTold) {
    const FSRef ref = RefOf(mFolder.MakeFile("a", std::string(100'000, 'x')));
    const std::size_t descriptorsBefore = OpenDescriptorCount();
    int failureCount = 0;
    for (int n = 1;; ++n) {
        std::string contents;
        const FailingCalls calls(n, EIO);
        const OSStatus status = toolbox::files::ReadSmallFile(ref, 200'000, contents);
        ASSERT_EQ(descriptorsBefore, OpenDescriptorCount()) << n;
        if (!calls.Delivered()) {
            EXPECT_EQ(noErr, status);
            break;
        }
        failureCount += status == ioErr;
    }
    EXPECT_GE(failureCount, 5);
}

TEST_P(ReadSmallFileTest, InterruptedReadsGoOn) {
    const FSRef ref = RefOf(mFolder.MakeFile("a", "0123456789"));
    auto& calls = toolbox::os::CallsForTesting();
    static auto sReadAt = calls.pread;
    static int sCallCount;
    sReadAt = calls.pread;
    sCallCount = 0;
    // Every second call is interrupted, the others give a byte or two.
    calls.pread = [](int inDescriptor, void* outBytes, std::size_t inByteCount, off_t inOffset) -> ssize_t {
        errno = EINTR;
        if (++sCallCount % 2 == 1) return -1;
        return sReadAt(inDescriptor, outBytes, inByteCount < 2 ? inByteCount : 2, inOffset);
    };
    std::string contents;
    const OSStatus status = toolbox::files::ReadSmallFile(ref, 100, contents);
    calls.pread = sReadAt;
    EXPECT_EQ(noErr, status);
    EXPECT_EQ("0123456789", contents);
}

}  // namespace

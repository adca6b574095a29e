#include "catalogue/FileAccess.h"

#include "Refs.h"
#include "status/StatusOfErrno.h"
#include "support/FailingCalls.h"
#include "support/TemporaryFolder.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <filesystem>

namespace {

namespace fs = std::filesystem;
using test_files::FailingCalls;
using test_files::MakeRef;
using test_files::OpenDescriptorCount;
using test_files::TemporaryFolder;
using toolbox::files::OpenForReading;
namespace os = toolbox::os;

FSRef RefOf(const std::string& inPath) {
    FSRef ref = {};
    EXPECT_EQ(noErr, MakeRef(inPath, &ref)) << inPath;
    return ref;
}

std::string ReadAll(int inDescriptor) {
    char bytes[100];
    const ssize_t count = read(inDescriptor, bytes, sizeof(bytes));
    return std::string(bytes, static_cast<std::size_t>(count < 0 ? 0 : count));
}

// What opening an item that cannot be opened answers; fails when anything is left open.
OSStatus Refusal(const FSRef& inItem) {
    const std::size_t before = OpenDescriptorCount();
    os::Descriptor file;
    std::string path = "before";
    const OSStatus status = OpenForReading(inItem, file, path);
    EXPECT_FALSE(file.IsOpen());
    EXPECT_EQ(before, OpenDescriptorCount());
    return status;
}

TEST(OpenForReading, AFile) {
    const TemporaryFolder folder;
    const std::string path = folder.MakeFile("a", "bytes");
    os::Descriptor file;
    std::string found;
    ASSERT_EQ(noErr, OpenForReading(RefOf(path), file, found));
    EXPECT_EQ(path, found);
    EXPECT_EQ("bytes", ReadAll(file.Number()));
    EXPECT_NE(0, fcntl(file.Number(), F_GETFD) & FD_CLOEXEC);
    EXPECT_EQ(O_RDONLY, fcntl(file.Number(), F_GETFL) & O_ACCMODE);
}

TEST(OpenForReading, AnEmptyFile) {
    const TemporaryFolder folder;
    os::Descriptor file;
    std::string found;
    ASSERT_EQ(noErr, OpenForReading(RefOf(folder.MakeFile("a", "")), file, found));
    EXPECT_EQ("", ReadAll(file.Number()));
}

TEST(OpenForReading, ARenamedFile) {
    const TemporaryFolder folder;
    const std::string path = folder.MakeFile("a", "bytes");
    const FSRef ref = RefOf(path);
    fs::rename(path, folder / "b");
    folder.MakeFile("a", "another's");
    os::Descriptor file;
    std::string found;
    ASSERT_EQ(noErr, OpenForReading(ref, file, found));
    EXPECT_EQ(folder / "b", found);
    EXPECT_EQ("bytes", ReadAll(file.Number()));
}

TEST(OpenForReading, WhatHasNoDataFork) {
    const TemporaryFolder folder;
    EXPECT_EQ(notAFileErr, Refusal(RefOf(folder.Path())));
    ASSERT_EQ(0, mkfifo((folder / "pipe").c_str(), 0600));
    EXPECT_EQ(errFSForkNotFound, Refusal(RefOf(folder / "pipe")));
    EXPECT_EQ(errFSForkNotFound, Refusal(RefOf("/dev/null")));
    const int listener = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    (folder / "socket").copy(address.sun_path, sizeof(address.sun_path) - 1);
    ASSERT_EQ(0, bind(listener, reinterpret_cast<const sockaddr*>(&address), sizeof(address)));
    EXPECT_EQ(errFSForkNotFound, Refusal(RefOf(folder / "socket")));
    close(listener);
}

TEST(OpenForReading, BadReferenceAndDeletedFile) {
    const TemporaryFolder folder;
    EXPECT_EQ(errFSBadFSRef, Refusal(FSRef{}));
    const std::string path = folder.MakeFile("a");
    const FSRef ref = RefOf(path);
    fs::remove(path);
    EXPECT_EQ(fnfErr, Refusal(ref));
}

TEST(OpenForReading, NoMoreDescriptors) {
    const TemporaryFolder folder;
    const FSRef ref = RefOf(folder.MakeFile("a"));
    rlimit before = {};
    ASSERT_EQ(0, getrlimit(RLIMIT_NOFILE, &before));
    rlimit none = before;
    none.rlim_cur = 0;
    ASSERT_EQ(0, setrlimit(RLIMIT_NOFILE, &none));
    os::Descriptor file;
    std::string path;
    const OSStatus status = OpenForReading(ref, file, path);
    ASSERT_EQ(0, setrlimit(RLIMIT_NOFILE, &before));
    EXPECT_EQ(tmfoErr, status);
    EXPECT_FALSE(file.IsOpen());
}

TEST(OpenForReading, EveryFailingCall) {
    const TemporaryFolder folder;
    const FSRef ref = RefOf(folder.MakeFile("a", "bytes"));
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
                EXPECT_EQ("bytes", ReadAll(file.Number()));
                EXPECT_EQ(4, failing);  // looked at, opened, looked at again
                break;
            }
            EXPECT_EQ(toolbox::StatusOfErrno(number), status) << failing;
            EXPECT_FALSE(file.IsOpen());
            EXPECT_EQ(descriptors, OpenDescriptorCount());
        }
    }
}

// Stands in for the system's open; what it does first is another program's doing.
std::string sPath;
int sOpenCount;
void (*sMeanwhile)();

OSStatus OpenWhile(const FSRef& inRef, void (*inMeanwhile)(), os::Descriptor& outFile, std::string& outPath) {
    const toolbox::os::SystemCalls real = toolbox::os::Calls();
    sOpenCount = 0;
    sMeanwhile = inMeanwhile;
    toolbox::os::CallsForTesting().openat = [](int, const char* inPath, int inFlags, mode_t) {
        if ((inFlags & O_DIRECTORY) != 0) return open(inPath, inFlags);  // the folder that is searched
        ++sOpenCount;
        sMeanwhile();
        return open(inPath, inFlags);
    };
    const OSStatus status = OpenForReading(inRef, outFile, outPath);
    toolbox::os::CallsForTesting() = real;
    return status;
}

TEST(OpenForReading, AnotherFileTakesThePathMeanwhile) {
    const TemporaryFolder folder;
    sPath = folder.MakeFile("a", "bytes");
    const FSRef ref = RefOf(sPath);
    os::Descriptor file;
    std::string found;
    const std::size_t descriptors = OpenDescriptorCount();
    ASSERT_EQ(noErr, OpenWhile(
                         ref,
                         [] {
                             if (sOpenCount > 1) return;
                             fs::rename(sPath, sPath + " moved");
                             fs::copy_file("/proc/self/comm", sPath);
                         },
                         file, found));
    EXPECT_EQ(2, sOpenCount);
    EXPECT_EQ(sPath + " moved", found);
    EXPECT_EQ("bytes", ReadAll(file.Number()));
    file = os::Descriptor();
    EXPECT_EQ(descriptors, OpenDescriptorCount());
}

TEST(OpenForReading, APipeTakesThePathMeanwhile) {
    const TemporaryFolder folder;
    sPath = folder.MakeFile("a", "bytes");
    const FSRef ref = RefOf(sPath);
    os::Descriptor file;
    std::string found;
    EXPECT_EQ(fnfErr, OpenWhile(
                          ref,
                          [] {
                              fs::remove(sPath);
                              ASSERT_EQ(0, mkfifo(sPath.c_str(), 0600));
                          },
                          file, found));
    EXPECT_FALSE(file.IsOpen());
    EXPECT_EQ("", found);
}

TEST(OpenForReading, ALinkTakesThePathMeanwhile) {
    const TemporaryFolder folder;
    sPath = folder.MakeFile("a", "bytes");
    const FSRef ref = RefOf(sPath);
    os::Descriptor file;
    std::string found;
    ASSERT_EQ(noErr, OpenWhile(
                         ref,
                         [] {
                             if (sOpenCount > 1) return;
                             fs::rename(sPath, sPath + " moved");
                             ASSERT_EQ(0, symlink("/dev/null", sPath.c_str()));
                         },
                         file, found));
    EXPECT_EQ("bytes", ReadAll(file.Number()));
}

TEST(ReadSmallFile, ReadsAll) {
    const TemporaryFolder folder;
    std::string contents = "old";
    EXPECT_EQ(noErr, toolbox::files::ReadSmallFile(RefOf(folder.MakeFile("empty", "")), 10, contents));
    EXPECT_EQ("", contents);
    EXPECT_EQ(noErr,
              toolbox::files::ReadSmallFile(RefOf(folder.MakeFile("ten", "0123456789")), 10, contents));
    EXPECT_EQ("0123456789", contents);
    const std::string large(200'000, 'x');
    EXPECT_EQ(noErr,
              toolbox::files::ReadSmallFile(RefOf(folder.MakeFile("large", large)), 1'000'000, contents));
    EXPECT_EQ(large, contents);
}

TEST(ReadSmallFile, RefusesWhatIsTooLarge) {
    const TemporaryFolder folder;
    std::string contents;
    EXPECT_EQ(fileBoundsErr,
              toolbox::files::ReadSmallFile(RefOf(folder.MakeFile("a", "0123456789")), 9, contents));
    EXPECT_EQ(fileBoundsErr, toolbox::files::ReadSmallFile(RefOf(folder.MakeFile("a", "0")), 0, contents));
    EXPECT_EQ(notAFileErr, toolbox::files::ReadSmallFile(RefOf(folder.MakeFolder("b")), 9, contents));
}

TEST(ReadSmallFile, EveryFailingCallIsTold) {
    const TemporaryFolder folder;
    const FSRef ref = RefOf(folder.MakeFile("a", std::string(100'000, 'x')));
    const std::size_t descriptorsBefore = test_files::OpenDescriptorCount();
    int failureCount = 0;
    for (int n = 1;; ++n) {
        std::string contents;
        const FailingCalls calls(n, EIO);
        const OSStatus status = toolbox::files::ReadSmallFile(ref, 200'000, contents);
        ASSERT_EQ(descriptorsBefore, test_files::OpenDescriptorCount()) << n;
        if (!calls.Delivered()) {
            EXPECT_EQ(noErr, status);
            break;
        }
        failureCount += status == ioErr;
    }
    EXPECT_GE(failureCount, 5);
}

TEST(ReadSmallFile, InterruptedReadsGoOn) {
    const TemporaryFolder folder;
    const FSRef ref = RefOf(folder.MakeFile("a", "0123456789"));
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

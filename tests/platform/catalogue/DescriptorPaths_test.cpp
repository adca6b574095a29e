#include "catalogue/DescriptorPaths.h"

#include "Refs.h"
#include "catalogue/FileAccess.h"
#include "support/FileWorld.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <toolbox/Aliases.h>
#include <toolbox/MacMemory.h>
#include <unistd.h>

#include <cerrno>
#include <string>

namespace {

using support::FileWorld;
using test_files::MakeRef;
using test_files::PathOf;
using toolbox::files::IsDescriptorPath;
using toolbox::files::OpenForReading;

// Those of memory files and pipes, which only the kernel makes, are of the real system alone.
class DescriptorPathsTest : public support::FileWorldTest {
  protected:
    int Open(const std::string& inPath) const {
        return toolbox::os::Calls().openat(AT_FDCWD, inPath.c_str(), O_RDONLY | O_CLOEXEC, 0);
    }
    static void Close(int inDescriptor) { EXPECT_EQ(0, toolbox::os::Calls().close(inDescriptor)); }
};
INSTANTIATE_TEST_SUITE_P(Worlds, DescriptorPathsTest, support::BothWorlds(), support::NameOfWorld);

std::string SelfPath(int inDescriptor) {
    return "/proc/self/fd/" + std::to_string(inDescriptor);
}

std::string OwnPath(int inDescriptor) {
    return "/proc/" + std::to_string(getpid()) + "/fd/" + std::to_string(inDescriptor);
}

// A file in memory, which has a descriptor and nothing else.
class NamelessFile {
  public:
    explicit NamelessFile(const std::string& inContents)
        : mDescriptor(memfd_create("nameless", MFD_CLOEXEC)) {
        EXPECT_EQ(static_cast<ssize_t>(inContents.size()),
                  write(mDescriptor, inContents.data(), inContents.size()));
    }
    ~NamelessFile() { close(mDescriptor); }
    NamelessFile(const NamelessFile&) = delete;
    NamelessFile& operator=(const NamelessFile&) = delete;

    int Descriptor() const { return mDescriptor; }

  private:
    int mDescriptor;
};

std::string ContentsOf(const FSRef& inRef) {
    toolbox::os::Descriptor file;
    std::string path;
    const OSStatus status = OpenForReading(inRef, file, path);
    if (status != noErr) return "status " + std::to_string(status);
    return FileWorld::Contents(file.Number());
}

TEST(DescriptorPaths, AreToldByTheirForm) {
    EXPECT_TRUE(IsDescriptorPath("/proc/1/fd/0"));
    EXPECT_TRUE(IsDescriptorPath("/proc/12345/fd/678"));
    for (const char* path :
         {"", "7", "/7", "/proc/fd/7", "/proc/1/fd/", "/proc/1/fd/x", "/proc/1/fd/7/", "/proc/x/fd/7",
          "/proc/1/fdinfo/7", "/proc/1/task/1/fd/7", "/tmp/1/fd/7", "/proc//fd/7"})
        EXPECT_FALSE(IsDescriptorPath(path)) << path;
}

TEST(DescriptorPaths, LeadToAFileWithoutAName) {
    const NamelessFile file("bytes");
    FSRef ref;
    Boolean isFolder = 1;
    ASSERT_EQ(noErr, MakeRef(SelfPath(file.Descriptor()), &ref, &isFolder));
    EXPECT_FALSE(isFolder);
    EXPECT_EQ(OwnPath(file.Descriptor()), PathOf(ref));
    EXPECT_EQ("bytes", ContentsOf(ref));
    FSRef again;
    ASSERT_EQ(noErr, MakeRef("/dev/fd/" + std::to_string(file.Descriptor()), &again));
    EXPECT_EQ(PathOf(ref), PathOf(again));
}

TEST_P(DescriptorPathsTest, LeadToADeletedFile) {
    const int descriptor = Open(mFolder.MakeFile("a", "bytes"));
    FileWorld::Remove(mFolder / "a");
    FSRef ref;
    ASSERT_EQ(noErr, MakeRef(SelfPath(descriptor), &ref));
    EXPECT_EQ(OwnPath(descriptor), PathOf(ref));
    EXPECT_EQ("bytes", ContentsOf(ref));
    FSRef again;
    ASSERT_EQ(noErr, MakeRef("/dev/fd/" + std::to_string(descriptor), &again));
    EXPECT_EQ(PathOf(ref), PathOf(again));
    Close(descriptor);
    EXPECT_EQ("status -43", ContentsOf(ref));
    EXPECT_EQ(fnfErr, MakeRef(SelfPath(descriptor), &ref));
}

TEST_P(DescriptorPathsTest, OfAFileWithANameLeadToIt) {
    const std::string path = mFolder.MakeFile("a");
    const int descriptor = Open(path);
    FSRef ref;
    ASSERT_EQ(noErr, MakeRef(SelfPath(descriptor), &ref));
    EXPECT_EQ(path, PathOf(ref));
    Close(descriptor);
}

// It was opened by somebody who may search its folder, and handed on.
std::string sOpened;
char* (*sRealPath)(const char*, char*) = nullptr;
TEST_P(DescriptorPathsTest, LeadToAFileInAFolderThatMayNotBeSearched) {
    const int descriptor = Open(mFolder.MakeFile("a", "bytes"));
    const toolbox::os::SystemCalls real = toolbox::os::Calls();
    sOpened = SelfPath(descriptor);
    sRealPath = real.realpath;
    toolbox::os::CallsForTesting().realpath = [](const char* inPath, char* outBuffer) -> char* {
        if (inPath != sOpened) return sRealPath(inPath, outBuffer);
        errno = EACCES;
        return nullptr;
    };
    FSRef ref;
    const OSStatus status = MakeRef(SelfPath(descriptor), &ref);
    sOpened = mFolder / "a";
    FSRef none;
    EXPECT_EQ(afpAccessDenied, MakeRef(sOpened, &none));
    toolbox::os::CallsForTesting() = real;
    ASSERT_EQ(noErr, status);
    EXPECT_EQ(OwnPath(descriptor), PathOf(ref));
    EXPECT_EQ("bytes", ContentsOf(ref));
    Close(descriptor);
}

TEST(DescriptorPaths, AreFollowedByAnAlias) {
    const NamelessFile file("bytes");
    FSRef ref;
    ASSERT_EQ(noErr, MakeRef(SelfPath(file.Descriptor()), &ref));
    AliasHandle alias = nullptr;
    ASSERT_EQ(noErr, FSNewAliasMinimal(&ref, &alias));
    FSRef found;
    Boolean wasChanged = 1;
    EXPECT_EQ(noErr, FSResolveAlias(nullptr, alias, &found, &wasChanged));
    EXPECT_FALSE(wasChanged);
    EXPECT_EQ("bytes", ContentsOf(found));
    DisposeHandle(reinterpret_cast<Handle>(alias));
}

// Its number belongs to another file now.
TEST(DescriptorPaths, ThatAnotherFileHasTakenLeadNowhere) {
    FSRef ref;
    int number = -1;
    const NamelessFile other("other");
    {
        const NamelessFile file("bytes");
        number = file.Descriptor();
        ASSERT_EQ(noErr, MakeRef(SelfPath(number), &ref));
    }
    ASSERT_EQ(number, dup2(other.Descriptor(), number));
    EXPECT_EQ("status -43", ContentsOf(ref));
    close(number);
}

TEST(DescriptorPaths, OfPipesAreNoFiles) {
    int ends[2];
    ASSERT_EQ(0, pipe(ends));
    FSRef ref;
    EXPECT_NE(noErr, MakeRef(SelfPath(ends[0]), &ref));
    close(ends[0]);
    close(ends[1]);
}

}  // namespace

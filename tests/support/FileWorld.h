// A folder of a test's own in the real file system or in one in memory: what is told of the one is told of
// the other, and so a test that runs in both keeps them alike.
#pragma once

#include "os/SystemCalls.h"
#include "support/MemoryFiles.h"
#include "support/TemporaryFolder.h"

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/types.h>

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace support {

// What the table has a call for goes through it. Failures of what a test prepares fail the test. While the
// real world is there fsync waits for no disk: no test outlives a failure of its machine.
class FileWorld {
  public:
    enum Kind { kReal, kMemory };

    explicit FileWorld(Kind inKind);
    ~FileWorld();
    FileWorld(const FileWorld&) = delete;
    FileWorld& operator=(const FileWorld&) = delete;

    const std::string& Path() const { return mPath; }
    std::string operator/(std::string_view inName) const { return mPath + '/' + std::string(inName); }
    // Null in the real world.
    MemoryFiles* Memory() { return mMemory ? &*mMemory : nullptr; }

    // These return the new item's path.
    std::string MakeFile(std::string_view inName, std::string_view inContents = "contents") const;
    std::string MakeFolder(std::string_view inName) const;  // with those above it
    std::string MakeLink(const std::string& inTarget, std::string_view inName);
    std::string MakePipe(std::string_view inName);

    // Another name for a file. 0 or an errno, as are all that mount.
    static int MakeHardLink(const std::string& inOldPath, const std::string& inNewPath);
    static void SetTimes(const std::string& inPath, const timespec& inAccess, const timespec& inChange);
    static void SetMode(const std::string& inPath, mode_t inMode);
    static void Rename(const std::string& inOldPath, const std::string& inNewPath);
    static void Remove(const std::string& inPath, bool inIsFolder = false);
    // With all that is in it; what is not there is as good.
    static void RemoveAll(const std::string& inPath);

    // Links are not followed.
    static bool Exists(const std::string& inPath);
    static std::vector<std::string> NamesIn(const std::string& inPath);  // sorted
    // Of what a link leads to.
    static struct statx StatusOf(const std::string& inPath);
    // Or "errno 2" for instance.
    static std::string Contents(const std::string& inPath);
    static std::string Contents(int inDescriptor);
    std::size_t OpenDescriptorCount() const;

    // Only an administrator may, of a machine that lets its processes have mounts of their own.
    bool MayMount() const;
    int MountVolume(const std::string& inPath);
    int MountFolder(const std::string& inFolder, const std::string& inPath);
    int Unmount(const std::string& inPath);
    int ForbidWriting(const std::string& inPath);

    // For a test's time.
    class CurrentFolder {
      public:
        CurrentFolder(FileWorld& ioWorld, const std::string& inPath);
        ~CurrentFolder();
        void Go(const std::string& inPath);
        CurrentFolder(const CurrentFolder&) = delete;
        CurrentFolder& operator=(const CurrentFolder&) = delete;

      private:
        FileWorld& mWorld;
        std::string mBefore;
    };
    class NoMoreDescriptors {
      public:
        explicit NoMoreDescriptors(FileWorld& ioWorld);
        ~NoMoreDescriptors();
        NoMoreDescriptors(const NoMoreDescriptors&) = delete;
        NoMoreDescriptors& operator=(const NoMoreDescriptors&) = delete;

      private:
        FileWorld& mWorld;
        struct rlimit mBefore = {};
    };
    // Who is an administrator becomes one who is not, and owns the folder.
    class OrdinaryUser {
      public:
        explicit OrdinaryUser(FileWorld& ioWorld);
        ~OrdinaryUser();
        OrdinaryUser(const OrdinaryUser&) = delete;
        OrdinaryUser& operator=(const OrdinaryUser&) = delete;

      private:
        bool mIsChanged = false;
        std::vector<gid_t> mGroups;
    };

  private:
    std::optional<test_files::TemporaryFolder> mRealFolder;
    std::optional<MemoryFiles> mMemory;
    std::string mPath;
    std::vector<std::string> mRealMounts;
    int (*mRealSync)(int) = nullptr;
};

// A test of both: INSTANTIATE_TEST_SUITE_P(Worlds, Name, support::BothWorlds(), support::NameOfWorld).
class FileWorldTest : public testing::TestWithParam<FileWorld::Kind> {
  protected:
    std::size_t OpenDescriptorCount() const { return mFolder.OpenDescriptorCount(); }

    FileWorld mFolder{GetParam()};
};
inline auto BothWorlds() {
    return testing::Values(FileWorld::kReal, FileWorld::kMemory);
}
inline std::string NameOfWorld(const testing::TestParamInfo<FileWorld::Kind>& inInfo) {
    return inInfo.param == FileWorld::kReal ? "Real" : "Memory";
}

}  // namespace support

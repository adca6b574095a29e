// A folder of a test's own in the real file system or in one in memory: what is told of the one is told of
// the other, and so a test that runs in both keeps them alike.
#pragma once

#include "os/SystemCalls.h"
#include "support/MemoryFiles.h"
#include "support/TemporaryFolder.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cerrno>
#include <optional>
#include <string>
#include <string_view>

namespace support {

// All that it does goes through the table of system calls.
class FileWorld {
  public:
    enum Kind { kReal, kMemory };

    explicit FileWorld(Kind inKind) {
        if (inKind == kReal) {
            mRealFolder.emplace();
            mPath = mRealFolder->Path();
            return;
        }
        mMemory.emplace();
        mPath = "/folder";
        EXPECT_EQ(0, Calls().mkdirat(AT_FDCWD, mPath.c_str(), 0700));
    }

    const std::string& Path() const { return mPath; }
    std::string operator/(std::string_view inName) const { return mPath + '/' + std::string(inName); }
    // Null in the real world.
    MemoryFiles* Memory() { return mMemory ? &*mMemory : nullptr; }

    // These return the new item's path.
    std::string MakeFile(std::string_view inName, std::string_view inContents = "contents") const {
        const std::string path = *this / inName;
        const int file =
            Calls().openat(AT_FDCWD, path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
        EXPECT_GE(file, 0) << path;
        EXPECT_EQ(static_cast<ssize_t>(inContents.size()),
                  Calls().write(file, inContents.data(), inContents.size()));
        EXPECT_EQ(0, Calls().close(file));
        return path;
    }
    std::string MakeFolder(std::string_view inName) const {
        for (std::size_t end = 0; end != std::string_view::npos;) {
            end = inName.find('/', end + 1);
            const std::string path = *this / inName.substr(0, end);
            EXPECT_TRUE(Calls().mkdirat(AT_FDCWD, path.c_str(), 0755) == 0 || errno == EEXIST) << path;
        }
        return *this / inName;
    }
    std::string MakeLink(const std::string& inTarget, std::string_view inName) {
        const std::string path = *this / inName;
        EXPECT_EQ(0, mMemory ? mMemory->MakeLink(inTarget, path) : symlink(inTarget.c_str(), path.c_str()));
        return path;
    }

    static void Rename(const std::string& inOldPath, const std::string& inNewPath) {
        EXPECT_EQ(0, Calls().renameat2(AT_FDCWD, inOldPath.c_str(), AT_FDCWD, inNewPath.c_str(), 0))
            << inOldPath;
    }
    static void Remove(const std::string& inPath, bool inIsFolder = false) {
        EXPECT_EQ(0, Calls().unlinkat(AT_FDCWD, inPath.c_str(), inIsFolder ? AT_REMOVEDIR : 0)) << inPath;
    }
    static bool Exists(const std::string& inPath) {
        return Calls().faccessat(AT_FDCWD, inPath.c_str(), F_OK, AT_SYMLINK_NOFOLLOW) == 0;
    }
    std::size_t OpenDescriptorCount() const {
        return mMemory ? mMemory->OpenCount() : test_files::OpenDescriptorCount();
    }

  private:
    static const toolbox::os::SystemCalls& Calls() { return toolbox::os::Calls(); }

    std::optional<test_files::TemporaryFolder> mRealFolder;
    std::optional<MemoryFiles> mMemory;
    std::string mPath;
};

// A test of both: INSTANTIATE_TEST_SUITE_P(Worlds, Name, support::BothWorlds(), support::NameOfWorld).
class FileWorldTest : public testing::TestWithParam<FileWorld::Kind> {
  protected:
    FileWorld mFolder{GetParam()};
};
inline auto BothWorlds() {
    return testing::Values(FileWorld::kReal, FileWorld::kMemory);
}
inline std::string NameOfWorld(const testing::TestParamInfo<FileWorld::Kind>& inInfo) {
    return inInfo.param == FileWorld::kReal ? "Real" : "Memory";
}

}  // namespace support

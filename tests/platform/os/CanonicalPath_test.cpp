#include "support/FailingCalls.h"
#include "support/TemporaryFolder.h"

#include <gtest/gtest.h>
#include <os/CanonicalPath.h>

#include <cerrno>
#include <filesystem>
#include <string>

namespace {

using toolbox::os::GetCanonicalPath;

TEST(CanonicalPath, HasNoLinks) {
    const test_files::TemporaryFolder folder;
    std::filesystem::create_directory(folder / "a");
    const std::string file = folder.MakeFile("a/file", "");
    std::filesystem::create_symlink("a", folder / "link");
    std::string path;
    ASSERT_EQ(0, GetCanonicalPath((folder / "link/../link/./file").c_str(), path));
    EXPECT_EQ(std::filesystem::canonical(file), path);
}

TEST(CanonicalPath, StaysAsItWasOnFailure) {
    const test_files::TemporaryFolder folder;
    std::string path = "before";
    EXPECT_EQ(ENOENT, GetCanonicalPath((folder / "missing").c_str(), path));
    std::filesystem::create_symlink("circle", folder / "circle");
    EXPECT_EQ(ELOOP, GetCanonicalPath((folder / "circle").c_str(), path));
    {
        const test_files::FailingCalls failure(1, EIO);
        EXPECT_EQ(EIO, GetCanonicalPath("/", path));
    }
    EXPECT_EQ("before", path);
}

}  // namespace

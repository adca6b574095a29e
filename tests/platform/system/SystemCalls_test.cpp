#include "system/SystemCalls.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <filesystem>
#include <fstream>
#include <string_view>

#include "support/TemporaryFolder.h"

namespace {

using toolbox::system::sSystemCalls;

TEST(SystemCalls, ReadFile) {
    const test_files::TemporaryFolder folder;
    const std::string path = folder.MakeFile("f", "contents");
    const std::size_t descriptors = test_files::OpenDescriptorCount();
    char bytes[16];
    EXPECT_EQ(8, sSystemCalls.readFile(path.c_str(), bytes, sizeof bytes));
    EXPECT_EQ("contents", std::string_view(bytes, 8));
    EXPECT_EQ(3, sSystemCalls.readFile(path.c_str(), bytes, 3));
    EXPECT_EQ(-1, sSystemCalls.readFile((folder / "none").c_str(), bytes, sizeof bytes));
    EXPECT_EQ(ENOENT, errno);
    EXPECT_EQ(-1, sSystemCalls.readFile(folder.Path().c_str(), bytes, sizeof bytes));
    EXPECT_EQ(EISDIR, errno);
    EXPECT_EQ(descriptors, test_files::OpenDescriptorCount());
}

}  // namespace

#include "os/Folders.h"

#include "os/SystemCalls_test_access.h"
#include "support/FailingCalls.h"
#include "support/TemporaryFolder.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cerrno>
#include <set>

namespace {

using namespace toolbox::os;
using test_files::FailingCalls;
using test_files::OpenDescriptorCount;
using test_files::TemporaryFolder;

class FoldersTest : public testing::Test {
  protected:
    ~FoldersTest() override {
        CallsForTesting() = mReal;
        EXPECT_EQ(mDescriptors, OpenDescriptorCount());
    }
    // The names, each with a blank behind it; "?" and the error when reading fails.
    std::string Names() const {
        FolderReader folder;
        int error = folder.Open(mFolder.Path().c_str());
        std::set<std::string> names;
        while (error == 0) {
            const struct dirent* entry = nullptr;
            error = folder.Next(entry);
            if (entry == nullptr) break;
            names.insert(entry->d_name);
        }
        if (error != 0) return '?' + std::to_string(error);
        std::string text;
        for (const std::string& name : names)
            text += name + ' ';
        return text;
    }

    const std::size_t mDescriptors = OpenDescriptorCount();
    const SystemCalls mReal = Calls();
    TemporaryFolder mFolder;
};

TEST_F(FoldersTest, WhatIsInThem) {
    EXPECT_EQ("", Names());
    mFolder.MakeFile("a");
    mFolder.MakeFile("..b");
    mFolder.MakeFolder("...");
    EXPECT_EQ("... ..b a ", Names());
}

TEST_F(FoldersTest, NoFolder) {
    FolderReader folder;
    EXPECT_EQ(ENOTDIR, folder.Open(mFolder.MakeFile("a").c_str()));
    EXPECT_EQ(ENOENT, folder.Open((mFolder / "none").c_str()));
    ASSERT_EQ(0, mkfifo((mFolder / "pipe").c_str(), 0600));
    EXPECT_EQ(ENOTDIR, folder.Open((mFolder / "pipe").c_str())) << "without waiting for a writer";
}

TEST_F(FoldersTest, EveryCallFails) {
    mFolder.MakeFile("a");
    for (int failing = 1;; ++failing) {
        std::string names;
        bool wasDelivered = false;
        {
            const FailingCalls failure(failing, EIO);
            names = Names();
            wasDelivered = failure.Delivered();
        }
        EXPECT_EQ(mDescriptors, OpenDescriptorCount()) << failing;
        if (!wasDelivered) {
            EXPECT_EQ("a ", names);
            EXPECT_EQ(8, failing) << "opened, made a stream, read four times, closed";
            break;
        }
        EXPECT_EQ(failing == 7 ? "a " : '?' + std::to_string(EIO), names) << failing;
    }
}

TEST_F(FoldersTest, MadeWithThoseAbove) {
    EXPECT_EQ(0, MakeFolders(mFolder / "a/b/c", 0700));
    struct stat status = {};
    ASSERT_EQ(0, stat((mFolder / "a/b").c_str(), &status));
    EXPECT_EQ(0700U, status.st_mode & 07777);
    EXPECT_EQ(0, MakeFolders(mFolder / "a/b/c", 0700)) << "there already";
    EXPECT_EQ(0, MakeFolders("/", 0700));
}

TEST_F(FoldersTest, CannotBeMade) {
    mFolder.MakeFile("a");
    EXPECT_EQ(ENOTDIR, MakeFolders(mFolder / "a/b", 0700));
    CallsForTesting().mkdirat = [](int, const char*, mode_t) { return errno = ENOENT, -1; };
    EXPECT_EQ(ENOENT, MakeFolders(mFolder / "b/c", 0700)) << "up to the root";
    EXPECT_EQ(ENOENT, MakeFolders("b", 0700));
    CallsForTesting().mkdirat = [](int, const char*, mode_t) { return errno = EACCES, -1; };
    EXPECT_EQ(EACCES, MakeFolders(mFolder / "b/c", 0700));
}

TEST_F(FoldersTest, SomebodyElseMakesThemMeanwhile) {
    CallsForTesting().mkdirat = [](int inFolder, const char* inPath, mode_t inMode) {
        if (mkdirat(inFolder, inPath, inMode) == 0) errno = EEXIST;
        return -1;
    };
    EXPECT_EQ(0, MakeFolders(mFolder / "a/b", 0700));
    EXPECT_TRUE(std::filesystem::is_directory(mFolder / "a/b"));
}

}  // namespace

#include "os/FileRange.h"

#include "support/FailingCalls.h"
#include "support/TemporaryFolder.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <string>

namespace {

using namespace toolbox::os;
using test_files::FailingCalls;
using test_files::OpenDescriptorCount;

class FileRangeTest : public testing::Test {
  protected:
    ~FileRangeTest() override { EXPECT_EQ(mDescriptors, OpenDescriptorCount()); }

    int Adopt(FileRange& outRange) const {
        Descriptor file;
        EXPECT_EQ(0, OpenFile(mPath.c_str(), O_RDONLY | O_NONBLOCK, file));
        return outRange.Adopt(std::move(file));
    }
    // What can be read, or the error.
    static std::string TextAt(const FileRange& inRange, UInt64 inOffset, std::size_t inCount) {
        std::string text(inCount, '?');
        const int error = inRange.Read(inOffset, text.data(), inCount);
        return error == 0 ? text : std::to_string(error);
    }

    const std::size_t mDescriptors = OpenDescriptorCount();
    test_files::TemporaryFolder mFolder;
    const std::string mPath = mFolder.MakeFile("file", "0123456789");
};

TEST_F(FileRangeTest, OfAWholeFile) {
    FileRange range;
    EXPECT_FALSE(range.IsOpen());
    EXPECT_EQ(0U, range.SizeBytes());
    ASSERT_EQ(0, Adopt(range));
    EXPECT_TRUE(range.IsOpen());
    EXPECT_EQ(10U, range.SizeBytes());
    EXPECT_EQ("0123456789", TextAt(range, 0, 10));
    EXPECT_EQ("89", TextAt(range, 8, 2));
    EXPECT_EQ("", TextAt(range, 10, 0));
    EXPECT_EQ(std::to_string(ENODATA), TextAt(range, 8, 3));
    EXPECT_EQ(std::to_string(ENODATA), TextAt(range, 11, 0));
    EXPECT_EQ(std::to_string(ENODATA), TextAt(range, ~UInt64{0}, 2));
}

TEST_F(FileRangeTest, OfAPartOfIt) {
    FileRange range;
    ASSERT_EQ(0, Adopt(range));
    range.Narrow(2, 6);
    EXPECT_EQ(6U, range.SizeBytes());
    EXPECT_EQ("234567", TextAt(range, 0, 6));
    EXPECT_EQ(std::to_string(ENODATA), TextAt(range, 5, 2));
    range.Narrow(1, 2);
    EXPECT_EQ("34", TextAt(range, 0, 2));
}

TEST_F(FileRangeTest, AnotherFileTakesItsPlace) {
    FileRange range;
    ASSERT_EQ(0, Adopt(range));
    range.Narrow(2, 6);
    ASSERT_EQ(0, Adopt(range));
    EXPECT_EQ("0123456789", TextAt(range, 0, 10));
    EXPECT_EQ(mDescriptors + 1, OpenDescriptorCount());
}

TEST_F(FileRangeTest, WhatIsNoFile) {
    FileRange range;
    ASSERT_EQ(0, Adopt(range));
    Descriptor folder;
    ASSERT_EQ(0, OpenFile(mFolder.Path().c_str(), O_RDONLY | O_DIRECTORY, folder));
    EXPECT_EQ(EINVAL, range.Adopt(std::move(folder)));
    EXPECT_FALSE(range.IsOpen());
}

TEST_F(FileRangeTest, CutOrWrittenMeanwhile) {
    FileRange range;
    ASSERT_EQ(0, Adopt(range));
    EXPECT_FALSE(range.HasChanged());
    std::filesystem::last_write_time(mPath,
                                     std::filesystem::last_write_time(mPath) + std::chrono::seconds(1));
    EXPECT_TRUE(range.HasChanged());
    ASSERT_EQ(0, truncate(mPath.c_str(), 4));
    EXPECT_EQ("0123", TextAt(range, 0, 4));
    EXPECT_EQ(std::to_string(ENODATA), TextAt(range, 0, 5));
}

TEST_F(FileRangeTest, EveryCallFails) {
    for (int failing = 1;; ++failing) {
        FileRange range;
        Descriptor file;
        ASSERT_EQ(0, OpenFile(mPath.c_str(), O_RDONLY, file));
        int adopted = 0;
        std::string text;
        bool wasDelivered = false;
        {
            const FailingCalls failure(failing, EIO);
            adopted = range.Adopt(std::move(file));
            if (adopted == 0) text = TextAt(range, 0, 10);
            wasDelivered = failure.Delivered();
        }
        if (!wasDelivered) {
            EXPECT_EQ("0123456789", text);
            EXPECT_EQ(3, failing) << "asked for its size, read";
            break;
        }
        EXPECT_TRUE(adopted == EIO || text == std::to_string(EIO)) << failing;
        EXPECT_EQ(adopted == 0, range.IsOpen()) << failing;
    }
}

}  // namespace

#include "Run.h"

#include "Command.h"
#include "support/FailingNew.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sysexits.h>

#include <filesystem>
#include <string>
#include <vector>

namespace {

using namespace tools_test;
using test_files::FailingNew;

struct Ran {
    int code = -1;
    bool hasFailed = false;  // an allocation
    std::string told;
};

Ran RunWithout(int inFailingAllocation, FailingNew::Extent inExtent,
               const std::vector<std::string>& inWords) {
    std::vector<const char*> arguments{"aac2wav"};
    for (const std::string& word : inWords)
        arguments.push_back(word.c_str());
    Ran ran;
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    {
        const FailingNew failing(inFailingAllocation, inExtent);
        ran.code = tool::RunCommand(static_cast<int>(arguments.size()), arguments.data());
        ran.hasFailed = failing.Delivered();
    }
    ran.told = testing::internal::GetCapturedStderr();
    testing::internal::GetCapturedStdout();
    return ran;
}

// Runs again and again, until all of the allocations have failed.
class RunCommand : public testing::Test {
  protected:
    void SetUp() override {
        mFolder.MakeFolder("music/album-of-a-name-that-takes-memory");
        std::filesystem::copy(Fixture("tone-8000-mono.m4a"), mSong);
    }

    void FailEach(FailingNew::Extent inExtent, const std::vector<std::string>& inWords) const {
        int failed = 0;
        for (bool isWhole = false; !isWhole;) {
            mFolder.MakeFolder("out");
            const Ran ran = RunWithout(failed + 1, inExtent, inWords);
            isWhole = !ran.hasFailed;
            failed += isWhole ? 0 : 1;
            // Some are not missed.
            if (ran.code != EX_OK) {
                ASSERT_EQ(EX_OSERR, ran.code) << failed << ": " << ran.told;
                ASSERT_THAT(ran.told, testing::EndsWith("memory\n")) << failed;
            }
            ASSERT_TRUE(!isWhole || ran.code == EX_OK) << ran.told;
            ExpectNothingUnfinished(failed);
            std::filesystem::remove_all(mOut);
        }
        EXPECT_LT(20, failed) << inWords[0];
    }

    void ExpectNothingUnfinished(int inFailed) const {
        bool hasSong = false;
        for (const auto& item : std::filesystem::recursive_directory_iterator(mOut)) {
            const std::string name = item.path().filename();
            hasSong = hasSong || name == "song.wav";
            ASSERT_TRUE(item.is_directory() || name == "song.wav") << inFailed << ' ' << name;
        }
        ASSERT_TRUE(hasSong || std::filesystem::is_empty(mOut)) << inFailed;
    }

    TemporaryFolder mFolder;
    const std::string mSong = mFolder / "music/album-of-a-name-that-takes-memory/song.m4a";
    const std::string mOut = mFolder / "out";
};

// From an allocation on, all fail: also those for telling of it.
TEST_F(RunCommand, EndsInGoodOrderWithoutMemory) {
    FailEach(FailingNew::kForever, {"--length", mSong});
    FailEach(FailingNew::kForever, {mSong, mOut + "/song.wav"});
    FailEach(FailingNew::kForever, {"--json", mSong, mOut + "/song.wav"});
    FailEach(FailingNew::kForever, {"-r", mFolder / "music", mOut});
}

TEST_F(RunCommand, EndsInGoodOrderWhereMemoryIsShortOnce) {
    FailEach(FailingNew::kOnce, {"--json", mSong, mOut + "/song.wav"});
    FailEach(FailingNew::kOnce, {"--probe", mSong});
}

}  // namespace

#include "catalogue/FolderNames.h"

#include "os/SystemCalls_test_access.h"
#include "support/FailingCalls.h"
#include "support/FileWorld.h"

#include <dirent.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <set>
#include <string>
#include <vector>

namespace {

using support::FileWorld;
using toolbox::files::FolderNames;
using toolbox::files::Place;

class FolderNamesTest : public support::FileWorldTest {
  protected:
    void Open() { ASSERT_EQ(0, OpenFolder(mFolder.Path(), mPlace)); }
    // The next names, read when they must be; as many as there are at most.
    std::vector<std::string> Take(FolderNames& ioNames, std::size_t inCount = SIZE_MAX) {
        std::vector<std::string> names;
        while (names.size() < inCount) {
            if (ioNames.MustRead()) {
                EXPECT_EQ(0, ioNames.Read(mPlace));
                ++mReadCount;
                if (mReadCount > 1000) {
                    ADD_FAILURE() << "it is read for ever";
                    break;
                }
                continue;
            }
            if (ioNames.Current() == nullptr) break;
            names.emplace_back(ioNames.Current());
            ioNames.Pass();
        }
        return names;
    }
    void MakeFiles(int inCount) const {
        for (int i = 0; i < inCount; ++i)
            mFolder.MakeFile("file " + std::to_string(i), "");
    }
    static std::set<std::string> SetOf(const std::vector<std::string>& inNames) {
        std::set<std::string> names(inNames.begin(), inNames.end());
        EXPECT_EQ(inNames.size(), names.size()) << "a name twice";
        return names;
    }
    std::set<std::string> Expected() const { return SetOf(FileWorld::NamesIn(mFolder.Path())); }

    Place mPlace;
    int mReadCount = 0;
};
INSTANTIATE_TEST_SUITE_P(Worlds, FolderNamesTest, support::BothWorlds(), support::NameOfWorld);

TEST_P(FolderNamesTest, EmptyFolder) {
    Open();
    FolderNames names;
    EXPECT_TRUE(names.MustRead());
    EXPECT_EQ(0U, Take(names).size());
    EXPECT_EQ(1, mReadCount);
    EXPECT_FALSE(names.MustRead());
    EXPECT_EQ(nullptr, names.Current());
}

TEST_P(FolderNamesTest, AllNamesOnceHoweverFewAreKept) {
    MakeFiles(100);
    for (int i = 0; i < 100; i += 3)
        mFolder.MakeFile("._file " + std::to_string(i), "");
    Open();
    for (const std::size_t maxNames : {1U, 2U, 3U, 7U, 64U, 134U, 135U, 1000U}) {
        FolderNames names(maxNames);
        mReadCount = 0;
        EXPECT_EQ(Expected(), SetOf(Take(names))) << maxNames;
        EXPECT_EQ(maxNames >= 134, mReadCount == 1) << maxNames;
    }
    FolderNames names(1000, 100);
    EXPECT_EQ(Expected(), SetOf(Take(names))) << "by their bytes";
}

TEST_P(FolderNamesTest, DroppedAtAnyTime) {
    MakeFiles(20);
    mFolder.MakeFile("._file 7", "");
    Open();
    FolderNames names;
    std::vector<std::string> all;
    for (std::size_t count = 1; count == 1;) {
        const std::vector<std::string> next = Take(names, 1);
        all.insert(all.end(), next.begin(), next.end());
        count = next.size();
        names.Drop();
    }
    EXPECT_EQ(Expected(), SetOf(all));
    EXPECT_EQ(21, mReadCount);
    EXPECT_EQ(0U, Take(names).size());
    EXPECT_EQ(21, mReadCount) << "nothing was left when it was dropped for the last time";
}

// Whatever comes and goes, no name comes twice, and what stays comes.
TEST_P(FolderNamesTest, NamesThatComeAndGo) {
    MakeFiles(50);
    Open();
    FolderNames names(8);
    std::vector<std::string> all;
    for (int round = 0;; ++round) {
        const std::vector<std::string> next = Take(names, 3);
        if (next.empty()) break;
        all.insert(all.end(), next.begin(), next.end());
        FileWorld::Rename(mFolder / next[0], mFolder / "away");
        FileWorld::Rename(mFolder / "away", mFolder / next[0]);
        FileWorld::Remove(mFolder / next.back());
        mFolder.MakeFile(next.back(), "again");
        mFolder.MakeFile("new " + std::to_string(round), "");
        names.Drop();
        ASSERT_LT(round, 200);
    }
    const std::set<std::string> met = SetOf(all);
    for (int i = 0; i < 50; ++i)
        EXPECT_TRUE(met.contains("file " + std::to_string(i))) << i;
}

TEST_P(FolderNamesTest, CompanionsAreKnownBesideTheirItems) {
    for (const char* const name : {"a", "._a", "._._a", "b", "._c", ".d", "._.d", "._", "._.", "!a", "._!a"})
        mFolder.MakeFile(name, "");
    Open();
    for (const std::size_t maxNames : {1U, 3U, 1000U}) {
        FolderNames names(maxNames);
        std::set<std::string> withCompanion;
        for (;;) {
            while (names.MustRead())
                ASSERT_EQ(0, names.Read(mPlace));
            if (names.Current() == nullptr) break;
            if (names.HasCompanionName()) withCompanion.insert(names.Current());
            names.Pass();
            names.Drop();
        }
        EXPECT_EQ((std::set<std::string>{"a", "._a", ".d", "!a"}), withCompanion) << maxNames;
    }
}

// As a folder may that is changed while it is read.
TEST_P(FolderNamesTest, NamesThatTheSystemTellsTwice) {
    MakeFiles(30);
    mFolder.MakeFile("._file 3", "");
    Open();
    const std::set<std::string> expected = Expected();
    const toolbox::os::SystemCalls real = toolbox::os::CallsForTesting();
    static struct dirent* (*sReaddir)(DIR*) = nullptr;
    static struct dirent* sAgain = nullptr;
    sReaddir = real.readdir;
    sAgain = nullptr;
    toolbox::os::CallsForTesting().readdir = [](DIR* ioFolder) {
        struct dirent* const again = sAgain;
        sAgain = again == nullptr ? sReaddir(ioFolder) : nullptr;
        return again == nullptr ? sAgain : again;
    };
    for (const std::size_t maxNames : {3U, 1000U}) {
        FolderNames names(maxNames);
        EXPECT_EQ(expected, SetOf(Take(names)));
    }
    toolbox::os::CallsForTesting() = real;
}

TEST_P(FolderNamesTest, EndedEarly) {
    MakeFiles(5);
    Open();
    FolderNames names(2);
    EXPECT_EQ(1U, Take(names, 1).size());
    names.End();
    EXPECT_FALSE(names.MustRead());
    EXPECT_EQ(nullptr, names.Current());
}

TEST_P(FolderNamesTest, FailedReadingIsTriedAgain) {
    MakeFiles(5);
    Open();
    FolderNames names;
    const std::vector<std::string> first = Take(names, 2);
    for (int call = 1; call <= 4; ++call) {
        names.Drop();
        const test_files::FailingCalls failing(call, EIO);
        EXPECT_EQ(EIO, names.Read(mPlace)) << call;
        EXPECT_TRUE(names.MustRead());
        EXPECT_EQ(nullptr, names.Current());
    }
    std::vector<std::string> all = Take(names);
    all.insert(all.end(), first.begin(), first.end());
    EXPECT_EQ(Expected(), SetOf(all));
}

}  // namespace

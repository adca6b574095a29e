#include "os/UserPaths.h"

#include "support/UserDatabase.h"
#include "support/Variables.h"

#include <gtest/gtest.h>
#include <pwd.h>
#include <unistd.h>

#include <cerrno>
#include <string>

namespace {

using namespace toolbox::os;
using test_files::UserDatabase;
using test_files::Variables;

TEST(HomePath, OfTheEnvironment) {
    Variables variables{{"HOME", "/home/u/"}};
    const UserDatabase database("/home/of/database");
    EXPECT_EQ("/home/u", HomePath());
    variables["HOME"] = "/";
    EXPECT_EQ("/", HomePath());
}

TEST(HomePath, OfTheUserDatabase) {
    Variables variables({});
    const UserDatabase database("/home/of/database/");
    EXPECT_EQ("/home/of/database", HomePath());
    variables["HOME"] = "relative";
    EXPECT_EQ("/home/of/database", HomePath());
    variables["HOME"] = "";
    EXPECT_EQ("/home/of/database", HomePath());
    EXPECT_EQ("/home/of/database/.local/state", BaseFolderPath("XDG_STATE_HOME", ".local/state"));
}

TEST(HomePath, LongEntriesOfTheUserDatabase) {
    const Variables none({});
    const std::string home = '/' + std::string(5000, 'h');
    const UserDatabase database(home.c_str());
    EXPECT_EQ(home, HomePath());
}

TEST(HomePath, NobodyTells) {
    const Variables none({});
    {
        const UserDatabase unknown(nullptr);
        EXPECT_EQ("", HomePath());
        EXPECT_EQ("", BaseFolderPath("XDG_DATA_HOME", ".local/share"));
    }
    {
        const UserDatabase broken("/home/u", EIO);
        EXPECT_EQ("", HomePath());
    }
    {
        const UserDatabase endless("/home/u", ERANGE);
        EXPECT_EQ("", HomePath());
    }
    const UserDatabase relative("home");
    EXPECT_EQ("", HomePath());
}

TEST(HomePath, TheUserDatabaseOfThisMachine) {
    const Variables none({});
    const struct passwd* const entry = getpwuid(getuid());
    if (entry == nullptr)
        EXPECT_EQ("", HomePath());
    else
        EXPECT_EQ(std::string(entry->pw_dir), HomePath());
}

TEST(BaseFolderPath, OfTheVariableOrInTheHomeFolder) {
    Variables variables{{"HOME", "/home/u"}};
    EXPECT_EQ("/home/u/.local/share", BaseFolderPath("XDG_DATA_HOME", ".local/share"));
    variables["XDG_DATA_HOME"] = "/data/";
    EXPECT_EQ("/data", BaseFolderPath("XDG_DATA_HOME", ".local/share"));
    variables["XDG_DATA_HOME"] = "data";
    EXPECT_EQ("/home/u/.local/share", BaseFolderPath("XDG_DATA_HOME", ".local/share"));
    variables["XDG_DATA_HOME"] = "";
    EXPECT_EQ("/home/u/.local/share", BaseFolderPath("XDG_DATA_HOME", ".local/share"));
}

}  // namespace

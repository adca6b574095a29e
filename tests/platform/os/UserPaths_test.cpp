#include "os/UserPaths.h"

#include "support/FailingCalls.h"
#include "support/UserDatabase.h"
#include "support/Variables.h"

#include <gtest/gtest.h>
#include <pwd.h>
#include <unistd.h>

#include <cerrno>
#include <string>
#include <string_view>

namespace {

using namespace toolbox::os;
using test_files::FailingCalls;
using test_files::UserDatabase;
using test_files::Variables;

// The path, or '?' and the error.
std::string Told(int inError, const std::string& inPath) {
    return inError == 0 ? inPath : '?' + std::to_string(inError);
}
std::string Home() {
    std::string path = "before";
    const int error = GetHomePath(path);
    return Told(error, path);
}
std::string BaseFolder(const char* inVariable, std::string_view inPathInHome) {
    std::string path = "before";
    const int error = GetBaseFolderPath(inVariable, inPathInHome, path);
    return Told(error, path);
}

TEST(HomePath, OfTheEnvironment) {
    Variables variables{{"HOME", "/home/u/"}};
    const UserDatabase database("/home/of/database");
    EXPECT_EQ("/home/u", Home());
    variables["HOME"] = "/";
    EXPECT_EQ("/", Home());
}

TEST(HomePath, OfTheUserDatabase) {
    Variables variables({});
    const UserDatabase database("/home/of/database/");
    EXPECT_EQ("/home/of/database", Home());
    variables["HOME"] = "relative";
    EXPECT_EQ("/home/of/database", Home());
    variables["HOME"] = "";
    EXPECT_EQ("/home/of/database", Home());
    EXPECT_EQ("/home/of/database/.local/state", BaseFolder("XDG_STATE_HOME", ".local/state"));
}

TEST(HomePath, LongEntriesOfTheUserDatabase) {
    const Variables none({});
    const std::string home = '/' + std::string(5000, 'h');
    const UserDatabase database(home.c_str());
    EXPECT_EQ(home, Home());
}

TEST(HomePath, NobodyTells) {
    const Variables none({});
    for (const int error : {0, ENOENT, ESRCH, EBADF, EPERM}) {
        const UserDatabase unknown(nullptr, error);
        EXPECT_EQ("", Home());
        EXPECT_EQ("", BaseFolder("XDG_DATA_HOME", ".local/share"));
    }
    const UserDatabase relative("home");
    EXPECT_EQ("", Home());
}

TEST(HomePath, TheUserDatabaseCannotBeAsked) {
    Variables variables({});
    for (const int error : {EMFILE, ENFILE, EIO, ENOMEM, EINTR, ERANGE}) {
        const UserDatabase broken("/home/u", error);
        EXPECT_EQ(Told(error, {}), Home());
        EXPECT_EQ(Told(error, {}), BaseFolder("XDG_DATA_HOME", ".local/share"));
    }
    variables["XDG_DATA_HOME"] = "/data";
    const UserDatabase broken("/home/u", EMFILE);
    EXPECT_EQ("/data", BaseFolder("XDG_DATA_HOME", ".local/share")) << "nobody asks it";
    variables["HOME"] = "/home/v";
    EXPECT_EQ("/home/v/.cache", BaseFolder("XDG_CACHE_HOME", ".cache"));
}

TEST(HomePath, AnInterruptedQuestionIsAskedAgain) {
    const Variables none({});
    const UserDatabase database("/home/u");
    const FailingCalls failing(3, EINTR);  // two variables are gone first
    EXPECT_EQ("/home/u/.cache", BaseFolder("XDG_CACHE_HOME", ".cache"));
    EXPECT_TRUE(failing.Delivered());
}

TEST(HomePath, AVariableThatIsGoneIsSurvived) {
    const Variables variables{{"HOME", "/home/u"}, {"XDG_CACHE_HOME", "/home/u/.cache"}};
    const UserDatabase database("/home/u");
    for (int n = 1;; ++n) {
        const FailingCalls failing(n, EIO);
        EXPECT_EQ("/home/u/.cache", BaseFolder("XDG_CACHE_HOME", ".cache")) << n;
        if (failing.Delivered()) continue;
        EXPECT_EQ(2, n);
        break;
    }
    const FailingCalls failing(1, EMFILE, FailingCalls::kForever);
    EXPECT_EQ(Told(EMFILE, {}), BaseFolder("XDG_CACHE_HOME", ".cache"));
}

TEST(HomePath, TheUserDatabaseOfThisMachine) {
    const Variables none({});
    const struct passwd* const entry = getpwuid(getuid());
    if (entry == nullptr)
        EXPECT_EQ("", Home());
    else
        EXPECT_EQ(std::string(entry->pw_dir), Home());
}

TEST(BaseFolderPath, OfTheVariableOrInTheHomeFolder) {
    Variables variables{{"HOME", "/home/u"}};
    EXPECT_EQ("/home/u/.local/share", BaseFolder("XDG_DATA_HOME", ".local/share"));
    variables["XDG_DATA_HOME"] = "/data/";
    EXPECT_EQ("/data", BaseFolder("XDG_DATA_HOME", ".local/share"));
    variables["XDG_DATA_HOME"] = "data";
    EXPECT_EQ("/home/u/.local/share", BaseFolder("XDG_DATA_HOME", ".local/share"));
    variables["XDG_DATA_HOME"] = "";
    EXPECT_EQ("/home/u/.local/share", BaseFolder("XDG_DATA_HOME", ".local/share"));
}

}  // namespace

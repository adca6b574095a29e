#include "os/UserDatabase.h"

#include "os/SystemCalls_test_access.h"
#include "support/FailEach.h"
#include "support/FailingCalls.h"

#include <grp.h>
#include <gtest/gtest.h>
#include <pwd.h>

#include <cerrno>
#include <cstring>
#include <string>

namespace {

using namespace toolbox::os;

TEST(UserDatabase, TheSystemsOwn) {
    std::string name;
    ASSERT_EQ(0, GetUserName(0, name));
    EXPECT_EQ("root", name);
    ASSERT_EQ(0, GetGroupName(0, name));
    EXPECT_EQ("root", name);
    uid_t user = 77;
    EXPECT_EQ(0, FindUser("root", user));
    EXPECT_EQ(0U, user);
    gid_t group = 77;
    EXPECT_EQ(0, FindGroup("root", group));
    EXPECT_EQ(0U, group);
    EXPECT_EQ(ENOENT, FindUser("no such user", user));
    EXPECT_EQ(ENOENT, FindGroup("no such group", group));
    EXPECT_EQ(ENOENT, GetUserName(0xFFFFFFF0, name));
    EXPECT_EQ(ENOENT, GetGroupName(0xFFFFFFF0, name));
    EXPECT_EQ("root", name) << "untouched";
}

class ScriptedGroups : public testing::Test {
  protected:
    ~ScriptedGroups() override { CallsForTesting() = mSaved; }

    SystemCalls mSaved = CallsForTesting();
};

TEST_F(ScriptedGroups, LongEntries) {
    CallsForTesting().getgrgid_r = [](gid_t, struct group* outEntry, char* outText, std::size_t inCapacity,
                                      struct group** outFound) {
        if (inCapacity < 100'000) return ERANGE;
        outEntry->gr_name = std::strcpy(outText, "of many members");
        *outFound = outEntry;
        return 0;
    };
    std::string name;
    EXPECT_EQ(0, GetGroupName(5, name));
    EXPECT_EQ("of many members", name);
    CallsForTesting().getgrgid_r = [](gid_t, struct group*, char*, std::size_t, struct group**) {
        return ERANGE;
    };
    EXPECT_EQ(ERANGE, GetGroupName(5, name)) << "longer than anybody would want";
}

TEST_F(ScriptedGroups, ErrorsAreTold) {
    static int sError;
    CallsForTesting().getgrnam_r = [](const char*, struct group*, char*, std::size_t, struct group**) {
        return sError;
    };
    gid_t group = 77;
    for (const int error : {EIO, EMFILE, ENOMEM}) {
        sError = error;
        EXPECT_EQ(error, FindGroup("x", group));
    }
    for (const int error : {ENOENT, ESRCH, EBADF, EPERM}) {
        sError = error;
        EXPECT_EQ(ENOENT, FindGroup("x", group)) << "nobody tells: " << error;
    }
    EXPECT_EQ(77U, group);
}

}  // namespace

// A user database of the test's making.
#pragma once

#include "os/SystemCalls_test_access.h"

#include <gtest/gtest.h>
#include <pwd.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

namespace test_files {

// While it lives, this is what the user database knows of the user. One at a time, on one thread.
class UserDatabase {
  public:
    // Null: it does not know the user.
    explicit UserDatabase(const char* inHome, int inError = 0)
        : mReal(toolbox::os::CallsForTesting().getpwuid_r) {
        sHome = inHome;
        sError = inError;
        toolbox::os::CallsForTesting().getpwuid_r = [](uid_t inUser, struct passwd* outEntry, char* outText,
                                                       std::size_t inCapacity, struct passwd** outFound) {
            EXPECT_EQ(getuid(), inUser);
            *outFound = nullptr;
            if (sError != 0 || sHome == nullptr) return sError;
            if (std::strlen(sHome) >= inCapacity) return ERANGE;
            outEntry->pw_dir = std::strcpy(outText, sHome);
            *outFound = outEntry;
            return 0;
        };
    }
    ~UserDatabase() { toolbox::os::CallsForTesting().getpwuid_r = mReal; }
    UserDatabase(const UserDatabase&) = delete;
    UserDatabase& operator=(const UserDatabase&) = delete;

  private:
    using Call = decltype(toolbox::os::SystemCalls::getpwuid_r);
    static inline const char* sHome;
    static inline int sError;
    Call mReal;
};

}  // namespace test_files

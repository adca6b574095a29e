#include "support/Rounds.h"

#include <gtest/gtest.h>

#include <cstdlib>

namespace {

TEST(Rounds, AreMoreWhereTheEnvironmentAsksForIt) {
    ASSERT_EQ(0, unsetenv("MIRTAL_TEST_LONG"));
    EXPECT_EQ(7, support::Rounds(7));
    for (const char* value : {"", "0", "10"}) {
        ASSERT_EQ(0, setenv("MIRTAL_TEST_LONG", value, 1));
        EXPECT_EQ(7, support::Rounds(7)) << value;
    }
    ASSERT_EQ(0, setenv("MIRTAL_TEST_LONG", "1", 1));
    EXPECT_EQ(70, support::Rounds(7));
}

}  // namespace

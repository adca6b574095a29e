#include "support/Rounds.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <optional>
#include <string>

namespace {

class Rounds : public testing::Test {
  protected:
    Rounds() {
        if (const char* const before = std::getenv(kVariable)) mBefore = before;
    }
    ~Rounds() override {
        if (mBefore)
            setenv(kVariable, mBefore->c_str(), 1);
        else
            unsetenv(kVariable);
    }

    static constexpr char kVariable[] = "MIRTAL_TEST_LONG";

  private:
    std::optional<std::string> mBefore;
};

TEST_F(Rounds, AreMoreWhereTheEnvironmentAsksForIt) {
    ASSERT_EQ(0, unsetenv(kVariable));
    EXPECT_EQ(7, support::Rounds(7));
    for (const char* value : {"", "0", "10"}) {
        ASSERT_EQ(0, setenv(kVariable, value, 1));
        EXPECT_EQ(7, support::Rounds(7)) << value;
    }
    ASSERT_EQ(0, setenv(kVariable, "1", 1));
    EXPECT_EQ(70, support::Rounds(7));
}

}  // namespace

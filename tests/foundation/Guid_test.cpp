#include "GuardTest.h"
#include "fakes/Movies.h"
#include "fakes/System.h"
#include "foundation/SystemStatics.h"

#include <foundation/Guid.h>
#include <gtest/gtest.h>
#include <toolbox/MacTypes.h>

#include <array>
#include <cstring>

namespace {

using Words = std::array<UInt32, 4>;

class SmartCreateGuidTest : public GuardTest {
  protected:
    ~SmartCreateGuidTest() override {
        EXPECT_EQ(0, fakes::LiveIdentifiers());
        sTrueGuid = false;
    }
    // The bytes around the identifier are checked to be untouched.
    static Words Create() {
        std::array<unsigned char, 32> bytes;
        bytes.fill(0xEE);
        SmartCreateGuid(bytes.data() + 5);
        for (std::size_t i = 0; i < bytes.size(); ++i)
            EXPECT_TRUE((i >= 5 && i < 21) || bytes[i] == 0xEE) << i;
        Words words;
        std::memcpy(words.data(), bytes.data() + 5, sizeof words);
        return words;
    }
};

TEST_F(SmartCreateGuidTest, IsOffFromTheStart) {
    EXPECT_FALSE(sTrueGuid);
}

TEST_F(SmartCreateGuidTest, ProductsOfClocks) {
    fakes::SetMicroseconds(0x00000001, 0x00000002);
    fakes::SetUpTime(0x00000003, 0x80000000);
    fakes::SetTicks(3);
    EXPECT_EQ((Words{3, 6, 10, 0x80000000}), Create());
    EXPECT_EQ(0U, Count("CFUUIDCreate"));
    EXPECT_EQ(1, fakes::TicksAskedCount());
}

TEST_F(SmartCreateGuidTest, ProductsWrap) {
    fakes::SetMicroseconds(0xFFFFFFFF, 0xFFFFFFFF);
    fakes::SetUpTime(0x80000000, 0x00000001);
    fakes::SetTicks(0xFFFFFFFE);
    // Ticks count as 32 bits without a sign.
    EXPECT_EQ((Words{0xFFFFFFFF, 0x00000002, 0, 0xFFFFFFFE}), Create());
}

TEST_F(SmartCreateGuidTest, TrueIdentifier) {
    sTrueGuid = true;
    fakes::SetIdentifier(0x10);
    Words expected;
    unsigned char bytes[16];
    for (unsigned char i = 0; i < 16; ++i)
        bytes[i] = static_cast<unsigned char>(0x10 + i);
    std::memcpy(expected.data(), bytes, sizeof bytes);
    EXPECT_EQ(expected, Create());
    EXPECT_EQ(0, fakes::TicksAskedCount());
}

TEST_F(SmartCreateGuidTest, ClocksWhenNoTrueOneCanBeHad) {
    sTrueGuid = true;
    fakes::SetMicroseconds(0, 5);
    fakes::SetUpTime(0, 7);
    fakes::SetTicks(2);
    fakes::FailCall(1);
    EXPECT_EQ((Words{0, 10, 0, 14}), Create());
    EXPECT_TRUE(fakes::FailureDelivered());
}

}  // namespace

#include "os/BigEndian.h"

#include <gtest/gtest.h>

namespace {

using namespace toolbox::os;

constexpr UInt8 kBytes[] = {0xFF, 0x81, 0x02, 0xF3, 0x04, 0x85, 0x06, 0xF7, 0x08, 0xFF};

TEST(BigEndian, Loads) {
    EXPECT_EQ(0x8102, Load16(kBytes + 1));
    EXPECT_EQ(0x8102F304U, Load32(kBytes + 1));
    EXPECT_EQ(0x8102F3048506F708U, Load64(kBytes + 1));
    EXPECT_EQ(0U, LoadNumber(kBytes, 0));
    EXPECT_EQ(0x81U, LoadNumber(kBytes + 1, 1));
    EXPECT_EQ(0x8102F3U, LoadNumber(kBytes + 1, 3));
    EXPECT_EQ(0x8102F3048506F708U, LoadNumber(kBytes + 1, 8));
}

TEST(BigEndian, StoresWhatItLoads) {
    UInt8 bytes[10] = {};
    Store16(bytes + 1, 0x8102);
    EXPECT_EQ(0x00810200U, Load32(bytes));
    Store32(bytes + 1, 0x8102F304);
    EXPECT_EQ(0x8102F304U, Load32(bytes + 1));
    EXPECT_EQ(0, bytes[5]);
    Store64(bytes + 1, 0x8102F3048506F708);
    EXPECT_EQ(0x8102F3048506F708U, Load64(bytes + 1));
    EXPECT_EQ(0, bytes[0]);
    EXPECT_EQ(0, bytes[9]);
}

}  // namespace

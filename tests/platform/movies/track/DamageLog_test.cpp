#include <gtest/gtest.h>
#include <track/DamageLog.h>

#include <cstdint>
#include <random>
#include <set>

namespace {

using toolbox::movies::DamageLog;

TEST(DamageLog, StartsEmpty) {
    const DamageLog log;
    EXPECT_EQ(0U, log.PacketCount());
    EXPECT_EQ(0, log.SilencedFrameCount());
}

TEST(DamageLog, CountsEachPacketOnce) {
    DamageLog log;
    log.Note(7, 1024);
    log.Note(7, 1024);
    EXPECT_EQ(1U, log.PacketCount());
    EXPECT_EQ(1024, log.SilencedFrameCount());
}

TEST(DamageLog, JoinsNeighbours) {
    DamageLog log;
    for (const std::uint32_t packet : {5U, 7U, 6U, 4U, 8U, 5U, 6U, 7U})
        log.Note(packet, 10);
    EXPECT_EQ(5U, log.PacketCount());
    EXPECT_EQ(50, log.SilencedFrameCount());
}

TEST(DamageLog, EndsOfTheNumberRange) {
    DamageLog log;
    log.Note(0, 1);
    log.Note(UINT32_MAX, 1);
    log.Note(UINT32_MAX, 1);
    log.Note(UINT32_MAX - 1, 1);
    log.Note(0, 1);
    EXPECT_EQ(3U, log.PacketCount());
}

TEST(DamageLog, AgreesWithASetInAnyOrder) {
    std::mt19937 random(3);
    DamageLog log;
    std::set<std::uint32_t> noted;
    for (int i = 0; i < 5000; ++i) {
        const auto packet = static_cast<std::uint32_t>(random() % 700);
        log.Note(packet, 3);
        noted.insert(packet);
        ASSERT_EQ(noted.size(), log.PacketCount());
    }
    EXPECT_EQ(static_cast<std::int64_t>(noted.size()) * 3, log.SilencedFrameCount());
}

}  // namespace

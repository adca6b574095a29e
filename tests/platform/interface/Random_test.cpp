#include <gtest/gtest.h>
#include <toolbox/QuickDraw.h>

#include <thread>
#include <vector>

namespace {

class RandomTest : public testing::Test {
  protected:
    RandomTest() { SetQDGlobalsRandomSeed(1); }
    ~RandomTest() override { SetQDGlobalsRandomSeed(1); }
};

TEST_F(RandomTest, FirstNumbers) {
    for (const int number : {16807, 15089, -21287, 3114})
        EXPECT_EQ(number, Random());
    EXPECT_EQ(984'943'658, GetQDGlobalsRandomSeed());
}

TEST_F(RandomTest, TenThousandthSeed) {
    for (int i = 0; i < 10'000; ++i)
        (void)Random();
    EXPECT_EQ(1'043'618'065, GetQDGlobalsRandomSeed());
}

TEST_F(RandomTest, ASeedBeginsTheSequence) {
    SetQDGlobalsRandomSeed(16'807);
    EXPECT_EQ(15'089, Random());
    SetQDGlobalsRandomSeed(0x7FFF'FFFE);  // the largest
    EXPECT_EQ(static_cast<SInt16>(0x7FFF'FFFF - 16'807), Random());
}

// The numbers behind these end in 0x8000.
TEST_F(RandomTest, TheNumberOutOfRangeIsZero) {
    for (const SInt32 seed : {958'682'087, 196'277'760}) {
        SetQDGlobalsRandomSeed(seed);
        EXPECT_EQ(0, Random());
        EXPECT_EQ(0x8000, GetQDGlobalsRandomSeed() & 0xFFFF);
    }
}

TEST_F(RandomTest, ThreadsShareTheSequence) {
    constexpr int kThreadCount = 4;
    constexpr int kNumbers = 2'500;
    std::vector<std::thread> threads;
    for (int i = 0; i < kThreadCount; ++i)
        threads.emplace_back([] {
            for (int k = 0; k < kNumbers; ++k)
                (void)Random();
        });
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(1'043'618'065, GetQDGlobalsRandomSeed()) << "as many steps as calls";
}

}  // namespace

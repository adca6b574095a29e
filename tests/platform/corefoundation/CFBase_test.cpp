#include "CFSupport.h"

#include <corefoundation/CF_test_access.h>
#include <gtest/gtest.h>
#include <toolbox/CFBase.h>

#include <limits>
#include <thread>
#include <vector>

using toolbox::corefoundation::LiveObjectsForTesting;

TEST(CFBase, CountsRetainsAndReleases) {
    const SInt64 before = LiveObjectsForTesting();
    CFStringRef string = CFStringCreateWithCString(kCFAllocatorDefault, "abc", kCFStringEncodingUTF8);
    ASSERT_NE(nullptr, string);
    EXPECT_EQ(before + 1, LiveObjectsForTesting());
    EXPECT_EQ(1, CFGetRetainCount(string));
    EXPECT_EQ(string, CFRetain(string));
    EXPECT_EQ(2, CFGetRetainCount(string));
    CFRelease(string);
    EXPECT_EQ(1, CFGetRetainCount(string));
    EXPECT_EQ(before + 1, LiveObjectsForTesting());
    CFRelease(string);
    EXPECT_EQ(before, LiveObjectsForTesting());
}

TEST(CFBase, ConstantStringsAreNotCounted) {
    const SInt64 before = LiveObjectsForTesting();
    CFStringRef string = CFSTR("abc");
    EXPECT_EQ(std::numeric_limits<CFIndex>::max(), CFGetRetainCount(string));
    EXPECT_EQ(string, CFRetain(string));
    for (int i = 0; i < 3; ++i)
        CFRelease(string);
    EXPECT_EQ(std::numeric_limits<CFIndex>::max(), CFGetRetainCount(string));
    EXPECT_EQ(u"abc", TextOf(string));
    EXPECT_EQ(before, LiveObjectsForTesting());
}

TEST(CFBase, TypeID) {
    const OwnedString string = StringOf(u"abc");
    EXPECT_EQ(CFStringGetTypeID(), CFGetTypeID(string.get()));
    EXPECT_EQ(CFStringGetTypeID(), CFGetTypeID(CFSTR("abc")));
    EXPECT_NE(0U, CFStringGetTypeID());
}

TEST(CFBase, RetainsAndReleasesOnManyThreads) {
    constexpr int kThreads = 8;
    constexpr int kRounds = 20'000;
    const SInt64 before = LiveObjectsForTesting();
    CFStringRef string = CFStringCreateWithCString(kCFAllocatorDefault, "shared", kCFStringEncodingUTF8);
    std::vector<std::thread> threads;
    for (int i = 0; i < kThreads; ++i) {
        CFRetain(string);  // the thread's own
        threads.emplace_back([string] {
            for (int round = 0; round < kRounds; ++round) {
                CFRetain(string);
                EXPECT_EQ('s', CFStringGetCharacterAtIndex(string, 0));
                CFRelease(string);
            }
            CFRelease(string);
        });
    }
    // The last of the threads destroys it.
    CFRelease(string);
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(before, LiveObjectsForTesting());
}

TEST(CFBase, MadeOnManyThreadsAtOnce) {
    const SInt64 before = LiveObjectsForTesting();
    std::vector<std::thread> threads;
    for (int i = 0; i < 8; ++i) {
        threads.emplace_back([] {
            for (int round = 0; round < 500; ++round) {
                // The first use of an encoding and of a collator makes their tables.
                const OwnedString roman = StringOf("\xDB\xF0", kCFStringEncodingMacRoman);
                const OwnedString latin = StringOf("\x80", kCFStringEncodingWindowsLatin1);
                ASSERT_EQ(u"\u20AC\uF8FF", TextOf(roman));
                ASSERT_EQ(u"\u20AC", TextOf(latin));
                ASSERT_EQ(kCFCompareLessThan, CFStringCompare(latin.get(), roman.get(), kCFCompareLocalized));
            }
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(before, LiveObjectsForTesting());
}

TEST(CFBase, Equality) {
    const OwnedString string = StringOf(u"abc");
    const OwnedString same = StringOf(u"abc");
    const OwnedMutable changing = MutableOf(u"abc");
    EXPECT_TRUE(CFEqual(string.get(), string.get()));
    EXPECT_TRUE(CFEqual(string.get(), same.get()));
    EXPECT_TRUE(CFEqual(string.get(), changing.get()));
    EXPECT_TRUE(CFEqual(CFSTR("abc"), string.get()));
    EXPECT_FALSE(CFEqual(string.get(), CFSTR("abC")));
    EXPECT_FALSE(CFEqual(CFSTR("\u00E9"), CFSTR("e\u0301"))) << "not the same units";
    EXPECT_EQ(CFHash(string.get()), CFHash(changing.get()));
    EXPECT_EQ(CFHash(string.get()), CFHash(CFSTR("abc")));
    EXPECT_NE(CFHash(string.get()), CFHash(CFSTR("abd")));
}

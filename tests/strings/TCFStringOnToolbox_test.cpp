// The string core over the real Core Foundation.
#include "corefoundation/CF_test_access.h"
#include "os/SystemCalls_test_access.h"
#include "support/Rounds.h"

#include <gtest/gtest.h>
#include <strings/TCFString.h>

#include <algorithm>
#include <string>
#include <thread>
#include <vector>

namespace {

TCFString ASCII(const std::string& inText) {
    return TCFString(inText.c_str(), kCFStringEncodingASCII);
}
TCFString UTF8(const std::string& inText) {
    return TCFString(inText.c_str(), kCFStringEncodingUTF8);
}
CFIndex Count(const TCFString& inString) {
    return CFGetRetainCount(inString.StringRef());
}

std::string AsCString(const TCFString& inString, long inMaxLength) {
    std::vector<char> buffer(static_cast<std::size_t>(inMaxLength) + 1, '#');
    return inString.CString(inMaxLength, buffer.data());
}

std::string AsPString(const TCFString& inString, long inMaxLength) {
    std::vector<unsigned char> buffer(static_cast<std::size_t>(inMaxLength) + 1, '#');
    inString.PString(buffer.data(), inMaxLength);
    EXPECT_LE(buffer[0], inMaxLength);
    return {reinterpret_cast<const char*>(buffer.data() + 1), buffer[0]};
}

TCFString Unencodable() {
    HFSUniStr255 name = {};
    name.length = 2;
    name.unicode[0] = 'x';
    name.unicode[1] = 0xD800;
    return TCFString(name);
}

TEST(TCFStringOnToolboxTest, LoadTimeConstants) {
    EXPECT_TRUE(TCFString::Empty.IsEmpty());
    EXPECT_EQ(TCFString::EmptyCFString(), TCFString::Empty.StringRef());
    EXPECT_TRUE(TCFString::kCannotDisplayCFString == ASCII("<CANNOT DISPLAY>"));
}

TEST(TCFStringOnToolboxTest, WhatCannotBeCreatedIsEmpty) {
    EXPECT_TRUE(TCFString(nullptr).IsEmpty());
    EXPECT_NE(nullptr, TCFString(nullptr).StringRef());
    EXPECT_TRUE(ASCII("\xFF").IsEmpty());
    EXPECT_NE(nullptr, ASCII("\xFF").StringRef());
    EXPECT_TRUE(UTF8("\xC3").IsEmpty());
    EXPECT_TRUE(TCFString(static_cast<const char*>(nullptr), kCFStringEncodingUTF8).IsEmpty());
    TCFString adopted = ASCII("abc");
    adopted.Adopt(nullptr);
    EXPECT_TRUE(adopted.IsEmpty());
    EXPECT_NE(nullptr, adopted.StringRef());
}

TEST(TCFStringOnToolboxTest, CountsFollowOwnership) {
    TCFString string = ASCII("abc");
    EXPECT_EQ(1, Count(string));
    {
        const TCFString copy(string);
        string = copy;
        EXPECT_EQ(2, Count(string));
    }
    TCFString& itself = string;
    string = itself;
    EXPECT_EQ(1, Count(string));
    CFRetain(string.StringRef());
    string.Adopt(string.StringRef());
    EXPECT_EQ(2, Count(string));
    CFRelease(string.StringRef());
}

// No memory for anything that Core Foundation makes, as long as this lives.
class NoMemory {
  public:
    NoMemory() {
        toolbox::os::CallsForTesting().malloc = [](std::size_t) -> void* { return nullptr; };
    }
    ~NoMemory() { toolbox::os::CallsForTesting().malloc = mAllocate; }

  private:
    void* (*mAllocate)(std::size_t) = toolbox::os::CallsForTesting().malloc;
};

TEST(TCFStringOnToolboxTest, CopiesAndAssignmentsMakeNothing) {
    const TCFString first = ASCII("first"), second = ASCII("second");
    const SInt64 objects = toolbox::corefoundation::LiveObjectsForTesting();
    const NoMemory noMemory;
    TCFString string(first);
    EXPECT_TRUE(string == first);
    string = second;
    EXPECT_TRUE(string == second);
    EXPECT_EQ(1, Count(first));
    EXPECT_EQ(2, Count(second));
    EXPECT_EQ(objects, toolbox::corefoundation::LiveObjectsForTesting());
}

TEST(TCFStringOnToolboxTest, WithoutMemoryWhatIsMadeIsEmpty) {
    const TCFString string = ASCII("0123456789");
    HFSUniStr255 name = {};
    name.length = 1;
    const NoMemory noMemory;
    EXPECT_TRUE(ASCII("a").IsEmpty());
    EXPECT_TRUE(TCFString(reinterpret_cast<const unsigned char*>("\1a"), kCFStringEncodingASCII).IsEmpty());
    EXPECT_TRUE(TCFString(name).IsEmpty());
    EXPECT_TRUE(string.Substring(2, 3).IsEmpty());
    EXPECT_EQ("0123", AsCString(string, 4)) << "conversions to bytes need none";
}

TEST(TCFStringOnToolboxTest, Encodings) {
    const TCFString roman("caf\x8E", kCFStringEncodingMacRoman);
    EXPECT_TRUE(roman == UTF8("caf\xC3\xA9"));
    EXPECT_EQ(2, UTF8("\xF0\x9D\x84\x9E").Length()) << "a surrogate pair";
    const auto* const pascal = reinterpret_cast<const unsigned char*>("\3abcdef");
    EXPECT_TRUE(TCFString(pascal, kCFStringEncodingASCII) == ASCII("abc"));
}

TEST(TCFStringOnToolboxTest, ComparisonAndSubstring) {
    EXPECT_FALSE(ASCII("abc") == ASCII("ABC"));
    EXPECT_TRUE(ASCII("abc") != ASCII("ABC"));
    EXPECT_EQ(kCFCompareEqualTo, ASCII("abc").CompareTo(ASCII("ABC"), kCFCompareCaseInsensitive));
    EXPECT_EQ(kCFCompareLessThan, ASCII("abc").CompareTo(ASCII("abd"), 0));
    const TCFString string = ASCII("0123456789");
    const CFRange range = string.CheckRange(CFRangeMake(-2, 5));
    EXPECT_TRUE(string.Substring(range.location, range.length) == ASCII("0123456"));
    EXPECT_TRUE(string.Substring(10, 0).IsEmpty());
}

TEST(TCFStringOnToolboxTest, CString) {
    EXPECT_EQ("caf\xC3\xA9", AsCString(UTF8("caf\xC3\xA9"), 5));
    EXPECT_EQ("0123", AsCString(ASCII("0123456789"), 4));
    EXPECT_EQ("", AsCString(TCFString::Empty, 0));
    EXPECT_EQ("", AsCString(ASCII("0123456789"), 0)) << "terminated, though nothing fits";
    EXPECT_EQ("<CANNOT DISPLAY>", AsCString(Unencodable(), 100));
    EXPECT_EQ("<CAN", AsCString(Unencodable(), 4));
    EXPECT_EQ("zzzz", AsCString(ASCII(std::string(1023, 'z')), 4));
    EXPECT_EQ("<CAN", AsCString(ASCII(std::string(1024, 'z')), 4));
}

TEST(TCFStringOnToolboxTest, PString) {
    EXPECT_EQ("abc", AsPString(ASCII("abc"), 255));
    EXPECT_EQ("ab", AsPString(ASCII("abc"), 2));
    EXPECT_EQ("", AsPString(TCFString::Empty, 255));
    EXPECT_EQ(std::string(255, 'z'), AsPString(ASCII(std::string(300, 'z')), 255));
    EXPECT_EQ(std::string(10, 'z'), AsPString(ASCII(std::string(300, 'z')), 10));
    EXPECT_EQ("<CANNOT DISPLAY>", AsPString(Unencodable(), 255));
}

TEST(TCFStringOnToolboxTest, ReadersOnManyThreads) {
    const TCFString shared = ASCII("shared");
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i)
        threads.emplace_back([&shared] {
            for (int k = 0, rounds = support::Rounds(2000); k < rounds; ++k) {
                const TCFString copy(shared);
                const CFStringEncoding encoding = TCFString::DefaultEncoding();
                if (copy != shared || TCFString::DefaultEncoding() != encoding)
                    ADD_FAILURE() << "copies differ";
            }
        });
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(1, Count(shared));
}

}  // namespace

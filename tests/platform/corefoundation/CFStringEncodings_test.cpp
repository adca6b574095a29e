// Which encodings there are, and what Mac Japanese does that no other encoding does. A program of its own,
// whose first test is the first to ask for the tables.
#include "CFSupport.h"

#include <corefoundation/CF_test_access.h>
#include <gtest/gtest.h>
#include <os/SystemCalls_test_access.h>
#include <toolbox/CFStringEncodings.h>

#include <cstdlib>
#include <limits>
#include <set>
#include <string>
#include <thread>
#include <vector>

using namespace std::string_literals;

namespace {

struct Encoded {
    CFIndex unitCount;
    std::string bytes;
    bool operator==(const Encoded&) const = default;
};

void PrintTo(const Encoded& inEncoded, std::ostream* ioStream) {
    *ioStream << inEncoded.unitCount << " units: " << testing::PrintToString(inEncoded.bytes);
}

Encoded InMacJapanese(std::u16string_view inText, UInt8 inLossByte = 0, CFIndex inCapacity = 100) {
    const OwnedString string = StringOf(inText);
    std::vector<UInt8> bytes(static_cast<std::size_t>(inCapacity) + 1);
    CFIndex used = -1;
    const CFIndex unitCount =
        CFStringGetBytes(string.get(), CFRangeMake(0, CFStringGetLength(string.get())),
                         kCFStringEncodingMacJapanese, inLossByte, false, bytes.data(), inCapacity, &used);
    return {unitCount, std::string(reinterpret_cast<char*>(bytes.data()), static_cast<std::size_t>(used))};
}

std::u16string FromMacJapanese(const std::string& inBytes) {
    const OwnedString string = StringOf(inBytes, kCFStringEncodingMacJapanese);
    return string != nullptr ? TextOf(string) : u"(none)";
}

// While it lives, memory is short or ICU fails.
class Failure {
  public:
    enum Kind { kMemory, kICU };
    explicit Failure(Kind inKind) {
        auto& calls = toolbox::os::CallsForTesting();
        if (inKind == kMemory) calls.malloc = [](std::size_t) -> void* { return nullptr; };
        if (inKind == kICU) toolbox::corefoundation::ICUCallsForTesting().startStatus = [] { return 7; };
    }
    ~Failure() {
        toolbox::os::CallsForTesting() = mSaved;
        toolbox::corefoundation::ICUCallsForTesting() = mSavedICU;
    }

  private:
    toolbox::os::SystemCalls mSaved = toolbox::os::CallsForTesting();
    toolbox::corefoundation::ICUCalls mSavedICU = toolbox::corefoundation::ICUCallsForTesting();
};

}  // namespace

TEST(CFStringEncodings, TablesThatCannotBeHadAreTriedAgain) {
    static int sHeld = 0;
    const auto saved = toolbox::os::CallsForTesting();
    for (const CFStringEncoding encoding :
         std::initializer_list<CFStringEncoding>{kCFStringEncodingMacJapanese, kCFStringEncodingDOSKorean}) {
        {
            const Failure failure(Failure::kMemory);
            EXPECT_FALSE(CFStringIsEncodingAvailable(encoding));
        }
        sHeld = 0;
        {
            const Failure failure(Failure::kICU);
            auto& calls = toolbox::os::CallsForTesting();
            calls.malloc = [](std::size_t inByteCount) { return ++sHeld, std::malloc(inByteCount); };
            calls.free = [](void* inBlock) { --sHeld, std::free(inBlock); };
            EXPECT_FALSE(CFStringIsEncodingAvailable(encoding));
            EXPECT_EQ(kCFNotFound, CFStringGetMaximumSizeForEncoding(1, encoding));
        }
        toolbox::os::CallsForTesting() = saved;
        EXPECT_EQ(0, sHeld) << "half-made tables are given back";
        EXPECT_TRUE(CFStringIsEncodingAvailable(encoding));
    }
    {
        const Failure failure(Failure::kICU);
        EXPECT_FALSE(CFStringIsEncodingAvailable(kCFStringEncodingMacCroatian));
        EXPECT_TRUE(CFStringIsEncodingAvailable(kCFStringEncodingMacJapanese)) << "made, they stay";
    }
    EXPECT_TRUE(CFStringIsEncodingAvailable(kCFStringEncodingMacCroatian));
}

TEST(CFStringEncodings, FirstUseOnSeveralThreads) {
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([] {
            for (const CFStringEncoding* each = CFStringGetListOfAvailableEncodings();
                 *each != kCFStringEncodingInvalidId; ++each) {
                EXPECT_TRUE(CFStringIsEncodingAvailable(*each)) << std::hex << *each;
            }
        });
    }
    for (std::thread& thread : threads)
        thread.join();
}

TEST(CFStringEncodings, ListIsWhole) {
    std::set<CFStringEncoding> listed;
    for (const CFStringEncoding* each = CFStringGetListOfAvailableEncodings();
         *each != kCFStringEncodingInvalidId; ++each) {
        EXPECT_TRUE(listed.insert(*each).second) << "twice: " << std::hex << *each;
    }
    EXPECT_EQ(47U, listed.size());
    for (CFStringEncoding encoding = 0; encoding < 0x10000; ++encoding)
        ASSERT_EQ(listed.count(encoding) != 0, CFStringIsEncodingAvailable(encoding)) << std::hex << encoding;
    EXPECT_FALSE(CFStringIsEncodingAvailable(kCFStringEncodingInvalidId));
    EXPECT_TRUE(CFStringIsEncodingAvailable(CFStringGetSystemEncoding()));
}

TEST(CFStringEncodings, MaximumSize) {
    constexpr CFIndex kMax = std::numeric_limits<CFIndex>::max();
    const struct {
        CFStringEncoding encoding;
        CFIndex bytesPerUnit;
    } rows[] = {
        {kCFStringEncodingASCII, 1},     {kCFStringEncodingMacRoman, 1}, {kCFStringEncodingMacJapanese, 2},
        {kCFStringEncodingDOSKorean, 2}, {kCFStringEncodingUTF8, 3},     {kCFStringEncodingUnicode, 2},
        {kCFStringEncodingUTF16LE, 2},   {kCFStringEncodingUTF32, 4},    {kCFStringEncodingUTF32BE, 4}};
    for (const auto& row : rows) {
        EXPECT_EQ(0, CFStringGetMaximumSizeForEncoding(0, row.encoding));
        EXPECT_EQ(row.bytesPerUnit, CFStringGetMaximumSizeForEncoding(1, row.encoding));
        EXPECT_EQ(10 * row.bytesPerUnit, CFStringGetMaximumSizeForEncoding(10, row.encoding));
        const CFIndex longest = kMax / row.bytesPerUnit;
        EXPECT_EQ(longest * row.bytesPerUnit, CFStringGetMaximumSizeForEncoding(longest, row.encoding));
        EXPECT_EQ(kCFNotFound, CFStringGetMaximumSizeForEncoding(-1, row.encoding));
        if (row.bytesPerUnit > 1) {
            EXPECT_EQ(kCFNotFound, CFStringGetMaximumSizeForEncoding(longest + 1, row.encoding));
        }
    }
    EXPECT_EQ(kCFNotFound, CFStringGetMaximumSizeForEncoding(1, kCFStringEncodingInvalidId));
}

TEST(MacJapanese, WhereASCIIDiffers) {
    EXPECT_EQ(u"C:\u00A5a", FromMacJapanese("C:\\a"));
    EXPECT_EQ(u"\\", FromMacJapanese("\x80"));
    EXPECT_EQ((Encoded{5, "a\x80\\~\0"s}), InMacJapanese(u"a\\\u00A5~\0"s));
    char text[8];
    EXPECT_TRUE(CFStringGetCString(CFSTR("\u00A5\\"), text, sizeof text, kCFStringEncodingMacJapanese));
    EXPECT_STREQ("\\\x80", text);
    unsigned char pascal[8];
    EXPECT_TRUE(
        CFStringGetPascalString(CFSTR("\u65E5\u672C"), pascal, sizeof pascal, kCFStringEncodingMacJapanese));
    EXPECT_EQ("\x04\x93\xFA\x96\x7B"s, std::string(reinterpret_cast<char*>(pascal), 5));
}

TEST(MacJapanese, GroupsAndVariantsAreOneCode) {
    EXPECT_EQ(u"\uF862XIII", FromMacJapanese("\x85\xAB"));
    EXPECT_EQ((Encoded{5, "\x85\xAB"}), InMacJapanese(u"\uF862XIII"));
    EXPECT_EQ((Encoded{2, "\xFF"}), InMacJapanese(u"\u2026\uF87F"));
    EXPECT_EQ((Encoded{2, "\xEB\x63"}), InMacJapanese(u"\u2026\uF87E"));
    EXPECT_EQ((Encoded{1, "\x81\x63"}), InMacJapanese(u"\u2026"));
    EXPECT_EQ((Encoded{2, "\x87\x91"}), InMacJapanese(u"\u5927\u20DD"));
    EXPECT_EQ((Encoded{8,
                       "a\x85\xAB\x85\xAD"
                       "b"})
                  .bytes,
              InMacJapanese(u"a\uF862XIII\uF860XVb").bytes);
    EXPECT_EQ(10, InMacJapanese(u"a\uF862XIII\uF860XVb").unitCount);
}

TEST(MacJapanese, HintsAloneAreNothing) {
    EXPECT_EQ((Encoded{0, ""}), InMacJapanese(u"\uF862XII")) << "a group cut off";
    EXPECT_EQ((Encoded{0, ""}), InMacJapanese(u"\uF862"));
    EXPECT_EQ((Encoded{1, "a"}), InMacJapanese(u"a\uF87F")) << "no such variant";
    EXPECT_EQ((Encoded{4, "?XII"}), InMacJapanese(u"\uF862XII", '?'));
    EXPECT_EQ((Encoded{2, "a?"}), InMacJapanese(u"a\uF87F", '?'));
}

TEST(MacJapanese, OnlyWholeCharactersFit) {
    const std::u16string_view text = u"a\uF862XIII\u3042";
    EXPECT_EQ((Encoded{0, ""}), InMacJapanese(text, 0, 0));
    EXPECT_EQ((Encoded{1, "a"}), InMacJapanese(text, 0, 1));
    EXPECT_EQ((Encoded{1, "a"}), InMacJapanese(text, 0, 2));
    EXPECT_EQ((Encoded{6, "a\x85\xAB"}), InMacJapanese(text, 0, 4));
    EXPECT_EQ((Encoded{7, "a\x85\xAB\x82\xA0"}), InMacJapanese(text, 0, 5));
}

TEST(MacJapanese, BytesThatAreNoText) {
    for (const std::string& bytes :
         {"\x81"s, "\x82\xA0\x82"s, "\x81\x20"s, "\x85\x7F"s, "\xF0\x40"s, "\xA0\x81"s})
        EXPECT_EQ(u"(none)", FromMacJapanese(bytes)) << testing::PrintToString(bytes);
}

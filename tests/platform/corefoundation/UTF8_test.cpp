// The two loops beside ICU's macros, which look at one character at a time.
#include <corefoundation/UTF8.h>
#include <gtest/gtest.h>
#include <unicode/utf16.h>
#include <unicode/utf8.h>

#include <optional>
#include <random>
#include <string>
#include <vector>

namespace cf = toolbox::corefoundation;

namespace {

std::optional<std::u16string> DecodedOneByOne(const std::string& inBytes) {
    std::u16string units;
    for (std::size_t i = 0; i < inBytes.size();) {
        UChar32 codePoint;
        U8_NEXT(inBytes.data(), i, inBytes.size(), codePoint);
        if (codePoint < 0) return std::nullopt;
        char16_t pair[2];
        int count = 0;
        U16_APPEND_UNSAFE(pair, count, codePoint);
        units.append(pair, static_cast<std::size_t>(count));
    }
    return units;
}

// Into exactly the room that was counted, so that a write beyond it shows.
std::optional<std::u16string> Decoded(const std::string& inBytes) {
    // A block of its own, lest a byte behind the end is read.
    const std::vector<UInt8> bytes(inBytes.begin(), inBytes.end());
    const auto byteCount = static_cast<CFIndex>(bytes.size());
    const CFIndex unitCount = cf::CountUTF8Units(bytes.data(), byteCount);
    std::vector<UniChar> units(static_cast<std::size_t>(unitCount));
    if (!cf::DecodeUTF8(bytes.data(), byteCount, units.data(), unitCount)) return std::nullopt;
    return std::u16string(units.begin(), units.end());
}

std::string EncodedOneByOne(const std::u16string& inUnits, std::size_t& outUnitCount) {
    std::string bytes;
    std::size_t i = 0;
    while (i < inUnits.size()) {
        std::size_t next = i;
        UChar32 codePoint;
        U16_NEXT(inUnits.data(), next, inUnits.size(), codePoint);
        if (U16_IS_SURROGATE(codePoint)) break;
        char buffer[4];
        int count = 0;
        U8_APPEND_UNSAFE(buffer, count, codePoint);
        bytes.append(buffer, static_cast<std::size_t>(count));
        i = next;
    }
    outUnitCount = i;
    return bytes;
}

std::string Encoded(const std::u16string& inUnits, CFIndex inCapacity, CFIndex& outUnitCount) {
    const std::vector<UniChar> units(inUnits.begin(), inUnits.end());
    std::vector<UInt8> bytes(static_cast<std::size_t>(inCapacity) + 1);  // so that there is an address
    const cf::Encoded done =
        cf::EncodeUTF8(units.data(), static_cast<CFIndex>(units.size()), bytes.data(), inCapacity);
    const cf::Encoded counted =
        cf::EncodeUTF8(units.data(), static_cast<CFIndex>(units.size()), nullptr, inCapacity);
    EXPECT_EQ(done.unitCount, counted.unitCount);
    EXPECT_EQ(done.byteCount, counted.byteCount);
    outUnitCount = done.unitCount;
    return std::string(bytes.begin(), bytes.begin() + done.byteCount);
}

}  // namespace

TEST(UTF8, EverySequenceOfUpToThreeBytes) {
    for (int first = 0; first < 0x100; ++first) {
        const std::string one(1, static_cast<char>(first));
        ASSERT_EQ(DecodedOneByOne(one), Decoded(one)) << first;
        for (int second = 0; second < 0x100; ++second) {
            const std::string two = one + static_cast<char>(second);
            ASSERT_EQ(DecodedOneByOne(two), Decoded(two)) << first << " " << second;
            // Of the third, those at the borders between kinds of bytes.
            for (const int third : {0x00, 0x7F, 0x80, 0x81, 0xBE, 0xBF, 0xC0, 0xC2, 0xE0, 0xF0, 0xFF}) {
                const std::string three = two + static_cast<char>(third);
                ASSERT_EQ(DecodedOneByOne(three), Decoded(three)) << first << " " << second << " " << third;
            }
        }
    }
}

TEST(UTF8, SequencesOfFourBytes) {
    constexpr int kBytes[] = {0x00, 0x7F, 0x80, 0x8F, 0x90, 0x9F, 0xA0, 0xBF, 0xC0, 0xED, 0xFF};
    for (int first = 0xE0; first < 0x100; ++first) {
        for (int second = 0; second < 0x100; ++second) {
            for (const int third : kBytes) {
                for (const int fourth : kBytes) {
                    const char bytes[] = {static_cast<char>(first), static_cast<char>(second),
                                          static_cast<char>(third), static_cast<char>(fourth)};
                    const std::string four(bytes, 4);
                    ASSERT_EQ(DecodedOneByOne(four), Decoded(four))
                        << first << " " << second << " " << third << " " << fourth;
                }
            }
        }
    }
}

TEST(UTF8, EveryCodePointThereAndBack) {
    for (UChar32 codePoint = 0; codePoint <= 0x10FFFF; ++codePoint) {
        if (U_IS_SURROGATE(codePoint)) continue;
        std::u16string units(2, u' ');
        int count = 0;
        U16_APPEND_UNSAFE(units.data(), count, codePoint);
        units.resize(static_cast<std::size_t>(count));
        CFIndex taken = 0;
        const std::string bytes = Encoded(units, 4, taken);
        std::size_t expectedTaken = 0;
        ASSERT_EQ(EncodedOneByOne(units, expectedTaken), bytes) << codePoint;
        ASSERT_EQ(count, taken);
        ASSERT_EQ(units, Decoded(bytes)) << codePoint;
    }
}

// Characters at every place of the blocks that ASCII is looked at in, and ends of the text everywhere.
TEST(UTF8, AmongASCII) {
    for (const char* character :
         {"\xC3\xA9", "\xE6\x97\xA5", "\xF0\x9F\x8E\xB5", "\xFF", "\xC3", "\xED\xA0\x80"}) {
        for (std::size_t before = 0; before <= 20; ++before) {
            for (std::size_t after = 0; after <= 20; ++after) {
                const std::string text =
                    std::string(before, 'a') + character + std::string(after, 'b') + character;
                ASSERT_EQ(DecodedOneByOne(text), Decoded(text)) << before << " " << after;
            }
        }
    }
}

TEST(UTF8, IntoEveryCapacity) {
    for (const std::u16string& text :
         {std::u16string(u"0123456789 abcdefgh \u00E9\u65E5\U0001F3B5x 0123456789"),
          std::u16string(u"\u65E5\u672C\u8A9E"), std::u16string(u"0123456789\xD800 0123456789"),
          std::u16string(u"\xDC00"), std::u16string(u"a\xD83C"), std::u16string(u"01234567\U0001F3B5")}) {
        std::size_t encodable = 0;
        const std::string whole = EncodedOneByOne(text, encodable);
        for (CFIndex capacity = 0; capacity <= static_cast<CFIndex>(whole.size()) + 3; ++capacity) {
            CFIndex taken = 0;
            const std::string bytes = Encoded(text, capacity, taken);
            ASSERT_EQ(whole.substr(0, bytes.size()), bytes);
            std::size_t again = 0;
            ASSERT_EQ(EncodedOneByOne(text.substr(0, static_cast<std::size_t>(taken)), again), bytes);
            if (capacity >= static_cast<CFIndex>(whole.size())) {
                ASSERT_EQ(whole, bytes);
                ASSERT_EQ(encodable, static_cast<std::size_t>(taken));
                continue;
            }
            // The next character would not have fitted.
            const std::u16string rest = text.substr(static_cast<std::size_t>(taken));
            const std::size_t nextLength =
                rest.size() > 1 && U16_IS_LEAD(rest[0]) && U16_IS_TRAIL(rest[1]) ? 2 : 1;
            const std::string next = EncodedOneByOne(rest.substr(0, nextLength), again);
            ASSERT_GT(bytes.size() + next.size(), static_cast<std::size_t>(capacity));
        }
    }
}

TEST(UTF8, LongTextOfAllKinds) {
    std::mt19937 random(3);
    for (int round = 0; round < 300; ++round) {
        std::u16string units;
        while (units.size() < 3000) {
            const int kind = std::uniform_int_distribution<int>(0, 3)(random);
            const int count = std::uniform_int_distribution<int>(1, 30)(random);
            for (int i = 0; i < count; ++i) {
                const UChar32 codePoint = kind == 0   ? 'a' + i
                                          : kind == 1 ? 0x400 + i
                                          : kind == 2 ? 0x3040 + i
                                                      : 0x1F300 + i;
                char16_t pair[2];
                int length = 0;
                U16_APPEND_UNSAFE(pair, length, codePoint);
                units.append(pair, static_cast<std::size_t>(length));
            }
        }
        std::size_t expectedTaken = 0;
        std::string bytes = EncodedOneByOne(units, expectedTaken);
        CFIndex taken = 0;
        ASSERT_EQ(bytes, Encoded(units, static_cast<CFIndex>(bytes.size()), taken));
        ASSERT_EQ(static_cast<CFIndex>(units.size()), taken);
        ASSERT_EQ(units, Decoded(bytes));
        const auto place = std::uniform_int_distribution<std::size_t>(0, bytes.size() - 1)(random);
        bytes[place] = static_cast<char>(std::uniform_int_distribution<int>(0, 255)(random));
        ASSERT_EQ(DecodedOneByOne(bytes), Decoded(bytes)) << place;
    }
}

// The sums of the counting loop are of bytes, and carried over before they run full.
TEST(UTF8, CountsOfLongText) {
    for (const std::size_t count : {1000U, 1016U, 1017U, 2032U, 5000U}) {
        std::string fours;
        for (std::size_t i = 0; i < count; ++i)
            fours += "\xF0\x9F\x8E\xB5";
        const std::string ascii(count, 'a');
        const auto counted = [](const std::string& inBytes) {
            return cf::CountUTF8Units(reinterpret_cast<const UInt8*>(inBytes.data()),
                                      static_cast<CFIndex>(inBytes.size()));
        };
        EXPECT_EQ(static_cast<CFIndex>(2 * count), counted(fours));
        EXPECT_EQ(static_cast<CFIndex>(count), counted(ascii));
        EXPECT_EQ(static_cast<CFIndex>(2 * count), counted(std::string(count, '\xFF')))
            << "no text, and enough";
    }
}

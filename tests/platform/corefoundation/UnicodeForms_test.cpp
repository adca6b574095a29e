// Every code point, and every byte and pair of bytes, in the forms of Unicode, against the C library's iconv.
#include "CFSupport.h"

#include <gtest/gtest.h>
#include <iconv.h>
#include <toolbox/CFString.h>

#include <bit>
#include <cstring>
#include <string>

namespace {

constexpr bool kHostIsBigEndian = std::endian::native == std::endian::big;

// Converts whole texts; nothing when any part is malformed.
class Converter {
  public:
    Converter(const char* inTo, const char* inFrom) : mHandle(iconv_open(inTo, inFrom)) {}
    ~Converter() { iconv_close(mHandle); }
    Converter(const Converter&) = delete;
    Converter& operator=(const Converter&) = delete;

    bool Convert(std::string_view inBytes, std::string& outBytes) {
        iconv(mHandle, nullptr, nullptr, nullptr, nullptr);
        outBytes.assign(inBytes.size() * 4 + 8, '\0');
        char* in = const_cast<char*>(inBytes.data());
        char* out = outBytes.data();
        std::size_t inLeft = inBytes.size();
        std::size_t outLeft = outBytes.size();
        if (iconv(mHandle, &in, &inLeft, &out, &outLeft) == static_cast<std::size_t>(-1)) return false;
        outBytes.resize(outBytes.size() - outLeft);
        return true;
    }

  private:
    iconv_t mHandle;
};

constexpr const char* kHostUTF16 = kHostIsBigEndian ? "UTF-16BE" : "UTF-16LE";
constexpr const char* kHostUTF32 = kHostIsBigEndian ? "UTF-32BE" : "UTF-32LE";

std::string_view BytesOf(const std::u16string& inUnits) {
    return {reinterpret_cast<const char*>(inUnits.data()), inUnits.size() * sizeof(char16_t)};
}

std::u16string UnitsOf(const std::string& inBytes) {
    std::u16string units(inBytes.size() / sizeof(char16_t), u'\0');
    std::memcpy(units.data(), inBytes.data(), units.size() * sizeof(char16_t));
    return units;
}

std::u16string UnitsOf(char32_t inCodePoint) {
    if (inCodePoint < 0x10000) return {static_cast<char16_t>(inCodePoint)};
    return {static_cast<char16_t>(0xD7C0 + (inCodePoint >> 10)),
            static_cast<char16_t>(0xDC00 + (inCodePoint & 0x3FF))};
}

struct Row {
    CFStringEncoding encoding;
    const char* name;
};

void PrintTo(const Row& inRow, std::ostream* ioStream) {
    *ioStream << inRow.name;
}

class UnicodeForms : public testing::TestWithParam<Row> {
  protected:
    CFStringEncoding Encoding() const { return GetParam().encoding; }

    void ExpectAsDecoded(const std::string& inBytes) {
        std::string expected;
        const OwnedString string = StringOf(inBytes, Encoding());
        if (mDecoder.Convert(inBytes, expected)) {
            ASSERT_NE(nullptr, string) << testing::PrintToString(inBytes);
            ASSERT_EQ(UnitsOf(expected), TextOf(string)) << testing::PrintToString(inBytes);
        } else {
            ASSERT_EQ(nullptr, string) << testing::PrintToString(inBytes);
        }
    }

    Converter mDecoder{kHostUTF16, GetParam().name};
    Converter mEncoder{GetParam().name, kHostUTF16};
};

}  // namespace

TEST_P(UnicodeForms, EveryCodePoint) {
    for (char32_t codePoint = 0; codePoint <= 0x10FFFF; ++codePoint) {
        if (codePoint >= 0xD800 && codePoint <= 0xDFFF) continue;  // with no partner they are no characters
        const std::u16string units = UnitsOf(codePoint);
        std::string expected;
        ASSERT_TRUE(mEncoder.Convert(BytesOf(units), expected));
        const OwnedString string = StringOf(units);
        char bytes[8];
        CFIndex used = 0;
        const CFIndex taken =
            CFStringGetBytes(string.get(), CFRangeMake(0, static_cast<CFIndex>(units.size())), Encoding(), 0,
                             false, reinterpret_cast<UInt8*>(bytes), sizeof bytes, &used);
        ASSERT_EQ(static_cast<CFIndex>(units.size()), taken) << std::hex << static_cast<int>(codePoint);
        const std::string encoded(bytes, static_cast<std::size_t>(used));
        ASSERT_EQ(expected, encoded) << std::hex << static_cast<int>(codePoint);
        ASSERT_EQ(units, TextOf(StringOf(encoded, Encoding()))) << std::hex << static_cast<int>(codePoint);
    }
}

TEST_P(UnicodeForms, EveryByteAndPairOfBytes) {
    const bool isUTF16 = std::strncmp(GetParam().name, "UTF-16", 6) == 0;
    for (unsigned first = 0; first < 0x100; ++first) {
        ASSERT_NO_FATAL_FAILURE(ExpectAsDecoded({static_cast<char>(first)}));
        for (unsigned second = 0; second < 0x100; ++second) {
            const std::string pair{static_cast<char>(first), static_cast<char>(second)};
            const unsigned high = std::strcmp(GetParam().name, "UTF-16LE") == 0 ? second : first;
            // Units pass as they are, but iconv refuses a surrogate without its partner.
            const bool isLoneSurrogate = isUTF16 && high >= 0xD8 && high <= 0xDF;
            if (isLoneSurrogate) {
                ASSERT_NE(nullptr, StringOf(pair, Encoding()));
            } else {
                ASSERT_NO_FATAL_FAILURE(ExpectAsDecoded(pair));
            }
        }
    }
}

INSTANTIATE_TEST_SUITE_P(
    All, UnicodeForms,
    testing::Values(Row{kCFStringEncodingUTF8, "UTF-8"}, Row{kCFStringEncodingUnicode, kHostUTF16},
                    Row{kCFStringEncodingUTF16BE, "UTF-16BE"}, Row{kCFStringEncodingUTF16LE, "UTF-16LE"},
                    Row{kCFStringEncodingUTF32, kHostUTF32}, Row{kCFStringEncodingUTF32BE, "UTF-32BE"},
                    Row{kCFStringEncodingUTF32LE, "UTF-32LE"}),
    [](const auto& inInfo) {
        std::string name = inInfo.param.name;
        std::erase(name, '-');
        return name + "_" + std::to_string(inInfo.param.encoding);
    });

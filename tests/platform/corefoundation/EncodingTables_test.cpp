// Every byte, every pair of bytes and every code point in each encoding of one or two bytes a character,
// against what another implementation says: the tables that write-encoding-tables has written.
#include "CFSupport.h"

#include <gtest/gtest.h>
#include <toolbox/CFStringEncodings.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <map>
#include <string>
#include <vector>

namespace {

// What one encoding converts, by another's word. Empty: not at all.
struct Tables {
    std::vector<std::u16string> units = std::vector<std::u16string>(0x10000);  // of a byte, of a pair
    std::vector<std::string> bytes = std::vector<std::string>(0x10000);        // of a character
};

std::string FromHex(const std::string& inDigits) {
    std::string bytes;
    for (std::size_t i = 0; i + 1 < inDigits.size(); i += 2)
        bytes += static_cast<char>(std::stoi(inDigits.substr(i, 2), nullptr, 16));
    return bytes;
}

std::u16string FromUTF16BE(const std::string& inBytes) {
    std::u16string units;
    for (std::size_t i = 0; i + 1 < inBytes.size(); i += 2)
        units +=
            static_cast<char16_t>(static_cast<UInt8>(inBytes[i]) << 8 | static_cast<UInt8>(inBytes[i + 1]));
    return units;
}

std::size_t CodeOf(const std::string& inBytes) {
    std::size_t code = 0;
    for (const char byte : inBytes)
        code = code << 8 | static_cast<UInt8>(byte);
    return code;
}

std::string BytesOf(std::size_t inCode) {
    std::string bytes;
    if (inCode > 0xFF) bytes += static_cast<char>(inCode >> 8);
    return bytes + static_cast<char>(inCode);
}

std::map<std::string, Tables> ReadTables() {
    std::map<std::string, Tables> tables;
    std::ifstream file(ENCODING_TABLES);
    std::string kind, from, to;
    Tables* current = nullptr;
    while (file >> kind >> from) {
        if (kind == "E") {
            current = &tables[from];
            continue;
        }
        file >> to;
        if (kind == "D") current->units[CodeOf(FromHex(from))] = FromUTF16BE(FromHex(to));
        if (kind == "C") current->bytes[std::stoul(from, nullptr, 16)] = FromHex(to);
    }
    return tables;
}

Tables& TablesOf(const std::string& inName) {
    static std::map<std::string, Tables> sTables = ReadTables();
    return sTables.at(inName);
}

// Both ways.
void Add(Tables& ioTables, std::size_t inCode, char16_t inUnit) {
    ioTables.units[inCode] = inUnit;
    ioTables.bytes[inUnit] = BytesOf(inCode);
}

void Remove(Tables& ioTables, std::size_t inCode) {
    ioTables.bytes[ioTables.units[inCode].at(0)].clear();
    ioTables.units[inCode].clear();
}

// The Mac tables begin at the space and end at the tilde, Windows' leave out what has no picture: control
// characters are themselves in all, as far as the bytes have no other meaning.
void AddControls(Tables& ioTables, std::size_t inFirst, std::size_t inLast) {
    for (std::size_t code = inFirst; code <= inLast; ++code) {
        if (ioTables.units[code].empty()) Add(ioTables, code, static_cast<char16_t>(code));
    }
}

enum class Kind { kOther, kMac, kWindows };

struct Row {
    CFStringEncoding encoding;
    std::string name;
    Kind kind;
    std::vector<std::pair<std::size_t, char16_t>> more;  // what Perl lacks
    std::vector<std::size_t> less;                       // what the published table lacks
};

// Prints as its name.
void PrintTo(const Row& inRow, std::ostream* ioStream) {
    *ioStream << inRow.name;
}

// Perl puts a similar character for some that the encoding does not hold.
void RemoveBestFits(Tables& ioTables) {
    for (std::size_t unit = 0; unit < 0x10000; ++unit) {
        std::string& bytes = ioTables.bytes[unit];
        const auto back = std::u16string(1, static_cast<char16_t>(unit));
        if (!bytes.empty() && ioTables.units[CodeOf(bytes)] != back) bytes.clear();
    }
}

Tables ExpectedBy(const Row& inRow) {
    Tables tables = TablesOf(inRow.name);
    RemoveBestFits(tables);
    if (inRow.kind == Kind::kMac) AddControls(tables, 0x7F, 0x7F);
    if (inRow.kind == Kind::kWindows) AddControls(tables, 0x80, 0x9F);
    for (const auto& [code, unit] : inRow.more)
        Add(tables, code, unit);
    for (const std::size_t code : inRow.less)
        Remove(tables, code);
    return tables;
}

const Row kRows[] = {
    {kCFStringEncodingMacRoman, "MacRoman", Kind::kMac, {}, {}},
    {kCFStringEncodingMacJapanese, "MacJapanese", Kind::kMac, {}, {}},
    {kCFStringEncodingMacGreek, "MacGreek", Kind::kMac, {}, {}},
    {kCFStringEncodingMacCyrillic, "MacCyrillic", Kind::kMac, {}, {}},
    {kCFStringEncodingMacUkrainian, "MacCyrillic", Kind::kMac, {}, {}},
    {kCFStringEncodingMacCentralEurRoman, "MacCentralEurRoman", Kind::kMac, {}, {}},
    {kCFStringEncodingMacTurkish, "MacTurkish", Kind::kMac, {}, {}},
    {kCFStringEncodingMacCroatian, "MacCroatian", Kind::kMac, {}, {}},
    {kCFStringEncodingMacIcelandic, "MacIcelandic", Kind::kMac, {}, {}},
    {kCFStringEncodingMacRomanian, "MacRomanian", Kind::kMac, {}, {}},
    {kCFStringEncodingASCII, "ascii", Kind::kOther, {}, {}},
    {kCFStringEncodingNextStepLatin, "nextstep", Kind::kOther, {}, {0xFF}},
    {kCFStringEncodingISOLatin1, "iso-8859-1", Kind::kOther, {}, {}},
    {kCFStringEncodingISOLatin2, "iso-8859-2", Kind::kOther, {}, {}},
    {kCFStringEncodingISOLatin3, "iso-8859-3", Kind::kOther, {}, {}},
    {kCFStringEncodingISOLatin4, "iso-8859-4", Kind::kOther, {}, {}},
    {kCFStringEncodingISOLatinCyrillic, "iso-8859-5", Kind::kOther, {}, {}},
    {kCFStringEncodingISOLatinArabic, "iso-8859-6", Kind::kOther, {}, {}},
    {kCFStringEncodingISOLatinGreek, "iso-8859-7", Kind::kOther, {}, {}},
    {kCFStringEncodingISOLatinHebrew, "iso-8859-8", Kind::kOther, {}, {}},
    {kCFStringEncodingISOLatin5, "iso-8859-9", Kind::kOther, {}, {}},
    {kCFStringEncodingISOLatin6, "iso-8859-10", Kind::kOther, {}, {}},
    {kCFStringEncodingISOLatinThai, "iso-8859-11", Kind::kOther, {}, {}},
    {kCFStringEncodingISOLatin7, "iso-8859-13", Kind::kOther, {}, {}},
    {kCFStringEncodingISOLatin8, "iso-8859-14", Kind::kOther, {}, {}},
    {kCFStringEncodingISOLatin9, "iso-8859-15", Kind::kOther, {}, {}},
    {kCFStringEncodingWindowsLatin1, "cp1252", Kind::kWindows, {}, {}},
    {kCFStringEncodingWindowsLatin2, "cp1250", Kind::kWindows, {}, {}},
    {kCFStringEncodingWindowsCyrillic, "cp1251", Kind::kWindows, {}, {}},
    {kCFStringEncodingWindowsGreek, "cp1253", Kind::kWindows, {{0xAA, 0xAA}}, {}},
    {kCFStringEncodingWindowsLatin5, "cp1254", Kind::kWindows, {}, {}},
    {kCFStringEncodingWindowsHebrew, "cp1255", Kind::kWindows, {}, {}},
    {kCFStringEncodingWindowsArabic, "cp1256", Kind::kWindows, {}, {}},
    {kCFStringEncodingWindowsBalticRim, "cp1257", Kind::kWindows, {}, {}},
    {kCFStringEncodingWindowsVietnamese, "cp1258", Kind::kWindows, {}, {}},
    {kCFStringEncodingDOSThai,
     "cp874",
     Kind::kWindows,
     {{0xDB, 0xF8C1},
      {0xDC, 0xF8C2},
      {0xDD, 0xF8C3},
      {0xDE, 0xF8C4},
      {0xFC, 0xF8C5},
      {0xFD, 0xF8C6},
      {0xFE, 0xF8C7},
      {0xFF, 0xF8C8}},
     {}},
    {kCFStringEncodingDOSJapanese, "cp932", Kind::kOther, {}, {0x80, 0xA0, 0xFD, 0xFE, 0xFF}},
    {kCFStringEncodingDOSChineseSimplif, "cp936", Kind::kOther, {}, {}},
    {kCFStringEncodingDOSKorean, "cp949", Kind::kOther, {}, {}},
    {kCFStringEncodingDOSChineseTrad, "cp950", Kind::kOther, {}, {}},
};

class EncodingTables : public testing::TestWithParam<Row> {
  protected:
    CFStringEncoding Encoding() const { return GetParam().encoding; }
    const Tables mExpected = ExpectedBy(GetParam());
};

void ExpectDecoded(const std::u16string& inExpected, const std::string& inBytes,
                   CFStringEncoding inEncoding) {
    const OwnedString string = StringOf(inBytes, inEncoding);
    const std::u16string decoded = string != nullptr ? TextOf(string) : u"";
    ASSERT_EQ(inExpected, decoded) << "bytes " << std::hex << CodeOf(inBytes);
}

// The bytes of the range; empty when it cannot be encoded whole.
std::string Encoded(CFStringRef inString, CFRange inRange, CFStringEncoding inEncoding) {
    char bytes[16];
    CFIndex used = 0;
    const CFIndex taken = CFStringGetBytes(inString, inRange, inEncoding, 0, false,
                                           reinterpret_cast<UInt8*>(bytes), sizeof bytes, &used);
    return taken == inRange.length ? std::string(bytes, static_cast<std::size_t>(used)) : std::string();
}

std::string Encoded(const std::u16string& inText, CFStringEncoding inEncoding) {
    return Encoded(StringOf(inText).get(), CFRangeMake(0, static_cast<CFIndex>(inText.size())), inEncoding);
}

}  // namespace

TEST_P(EncodingTables, EveryByte) {
    for (std::size_t byte = 0; byte < 0x100; ++byte)
        ASSERT_NO_FATAL_FAILURE(ExpectDecoded(mExpected.units[byte], BytesOf(byte), Encoding()));
}

TEST_P(EncodingTables, EveryPairOfBytes) {
    for (std::size_t first = 0; first < 0x100; ++first) {
        for (std::size_t second = 0; second < 0x100; ++second) {
            const std::u16string& one = mExpected.units[first];
            const std::u16string& other = mExpected.units[second];
            std::u16string expected = one.empty() || other.empty() ? u"" : one + other;
            if (one.empty()) expected = mExpected.units[first << 8 | second];
            const std::string pair{static_cast<char>(first), static_cast<char>(second)};
            ASSERT_NO_FATAL_FAILURE(ExpectDecoded(expected, pair, Encoding()));
        }
    }
}

TEST_P(EncodingTables, EveryCodePoint) {
    std::u16string all;
    for (unsigned unit = 0; unit < 0x10000; ++unit)
        all += static_cast<char16_t>(unit);
    const OwnedString string = StringOf(all);
    for (std::size_t unit = 0; unit < 0x10000; ++unit) {
        ASSERT_EQ(mExpected.bytes[unit],
                  Encoded(string.get(), CFRangeMake(static_cast<CFIndex>(unit), 1), Encoding()))
            << "U+" << std::hex << unit;
    }
}

// None of these encodings goes beyond the first plane: another character stands in for each that does.
TEST_P(EncodingTables, NothingBeyondTheFirstPlane) {
    std::u16string pairs;
    for (unsigned high = 0xD800; high < 0xDC00; ++high) {
        for (unsigned low = 0xDC00; low < 0xE000; ++low)
            pairs += {static_cast<char16_t>(high), static_cast<char16_t>(low)};
    }
    const auto unitCount = static_cast<CFIndex>(pairs.size());
    std::string bytes(pairs.size() / 2, '-');
    CFIndex used = 0;
    EXPECT_EQ(unitCount,
              CFStringGetBytes(StringOf(pairs).get(), CFRangeMake(0, unitCount), Encoding(), '?', false,
                               reinterpret_cast<UInt8*>(bytes.data()), unitCount / 2, &used));
    EXPECT_EQ(unitCount / 2, used);
    EXPECT_EQ(std::string::npos, bytes.find_first_not_of('?'));
}

// What more than one code stands for goes back to one of them, and to the same text from there.
TEST_P(EncodingTables, WhatIsDecodedGoesBack) {
    int differing = 0;
    for (std::size_t code = 0; code < 0x10000; ++code) {
        const std::u16string& text = mExpected.units[code];
        if (text.empty()) continue;
        const std::string bytes = Encoded(text, Encoding());
        if (bytes != BytesOf(code)) ++differing;
        ASSERT_NO_FATAL_FAILURE(ExpectDecoded(text, bytes, Encoding())) << code;
    }
    // Windows' Japanese code page has 398 characters twice, and its traditional Chinese one has 10.
    const std::map<CFStringEncoding, int> kTwice = {{kCFStringEncodingDOSJapanese, 398},
                                                    {kCFStringEncodingDOSChineseTrad, 10}};
    const auto found = kTwice.find(Encoding());
    EXPECT_EQ(found == kTwice.end() ? 0 : found->second, differing);
}

TEST_P(EncodingTables, MaximumSize) {
    const CFIndex most = CFStringGetMaximumSizeForEncoding(1, Encoding());
    std::size_t longest = 0;
    for (const std::string& bytes : mExpected.bytes)
        longest = std::max(longest, bytes.size());
    EXPECT_EQ(static_cast<CFIndex>(longest), most);
    EXPECT_EQ(1000 * most, CFStringGetMaximumSizeForEncoding(1000, Encoding()));
}

INSTANTIATE_TEST_SUITE_P(All, EncodingTables, testing::ValuesIn(kRows), [](const auto& inInfo) {
    std::string name = inInfo.param.name;
    std::erase(name, '-');
    return name + "_" + std::to_string(inInfo.param.encoding);
});

// The letters are those whose simple upper case in Unicode the same encoding holds, by the published tables
// of the Mac encodings and of the national standards that the double-byte ones extend.
#include "ScriptRules.h"

#include <algorithm>

namespace toolbox::text {

namespace {

constexpr ScriptRules kASCIIOnly{};

constexpr ScriptRules kRoman{
    {},
    "\x87\x88\x89\x8A\x8B\x8C\x8D\x8E\x8F\x90\x91\x92\x93\x94\x95\x96\x97\x98\x99\x9A\x9B\x9C\x9D\x9E\x9F\xBE"
    "\xBF\xCF\xD8\xF5",
    "\xE7\xCB\xE5\x80\xCC\x81\x82\x83\xE9\xE6\xE8\xEA\xED\xEB\xEC\x84\xEE\xF1\xEF\x85\xCD\xF2\xF4\xF3\x86\xAE"
    "\xAF\xCE\xD9I",
    {}};

constexpr ScriptRules kGreek{
    {},
    "\x8A\x8E\x9A\x9F\xC0\xDB\xDC\xDD\xDE\xE0\xE1\xE2\xE3\xE4\xE5\xE6\xE7\xE8\xE9\xEA\xEB\xEC\xED\xEE\xEF\xF0"
    "\xF1\xF2\xF3\xF4\xF5\xF6\xF7\xF8\xF9\xFA\xFB\xFC",
    "\x80\x83\x85\x86\xCD\xCE\xD7\xD8\xD9\xDA\xB0\xB5\xBE\xA2\xB6\xBC\xA1\xB8\xB9\xA5\xBA\xA4\xBB\xC1\xC3\xA6"
    "\xDF\xC4\xAA\xC6\xA3\xBF\xAA\xCC\xCB\xB7\xAB\xBD",
    {}};

constexpr ScriptRules kCyrillic{
    {},
    "\xAC\xAF\xB4\xB6\xB9\xBB\xBD\xBF\xC0\xCC\xCE\xCF\xD9\xDB\xDE\xDF\xE0\xE1\xE2\xE3\xE4\xE5\xE6\xE7\xE8\xE9"
    "\xEA\xEB\xEC\xED\xEE\xEF\xF0\xF1\xF2\xF3\xF4\xF5\xF6\xF7\xF8\xF9\xFA\xFB\xFC\xFD\xFE",
    "\xAB\xAE\xA7\xA2\xB8\xBA\xBC\xBE\xB7\xCB\xCD\xC1\xD8\xDA\xDD\x9F\x80\x81\x82\x83\x84\x85\x86\x87\x88\x89"
    "\x8A\x8B\x8C\x8D\x8E\x8F\x90\x91\x92\x93\x94\x95\x96\x97\x98\x99\x9A\x9B\x9C\x9D\x9E",
    {}};

constexpr ScriptRules kCentralEuroRoman{
    {},
    "\x82\x87\x88\x8A\x8B\x8D\x8E\x90\x92\x93\x95\x97\x98\x99\x9A\x9B\x9C\x9E\x9F\xAB\xAE\xB0\xB4\xB8\xBA\xBC"
    "\xBE\xC0\xC4\xCB\xCE\xD8\xDA\xDE\xE0\xE4\xE6\xE9\xEC\xF0\xF3\xF5\xF7\xF9\xFA\xFD",
    "\x81\xE7\x84\x80\x89\x8C\x83\x8F\xEA\x91\x94\xEE\x96\xEF\x85\xCD\xF2\x9D\x86\xA2\xFE\xAF\xB1\xFC\xB9\xBB"
    "\xBD\xBF\xC1\xC5\xCC\xCF\xD9\xDB\xDF\xE1\xE5\xE8\xEB\xED\xF1\xF4\xF6\xF8\xB5\xFB",
    {}};

// Arabic and Hebrew keep a few of the Roman letters where Roman has them.
constexpr ScriptRules kArabicOrHebrew{{}, "\x8A\x8D\x8E\x96\x9A\x9F", "\x80\x82\x83\x84\x85\x86", {}};

// In each: Latin, Greek, Cyrillic (Big5 has none); Korean also has the letters of Danish, Polish and their
// like. The second bytes of Japanese skip 0x7F.
constexpr ByteRange kJapaneseFirst[] = {{0x81, 0x9F}, {0xE0, 0xFC}};
constexpr LetterRange kJapaneseLetters[] = {
    {0x8281, 0x829A, 0x8260}, {0x83BF, 0x83D6, 0x839F}, {0x8470, 0x847E, 0x8440}, {0x8480, 0x8491, 0x844F}};
constexpr ScriptRules kJapanese{kJapaneseFirst, {}, {}, kJapaneseLetters};

constexpr ByteRange kChineseFirst[] = {{0xA1, 0xFC}};
constexpr LetterRange kTradChineseLetters[] = {
    {0xA2E9, 0xA2FE, 0xA2CF}, {0xA340, 0xA343, 0xA2E5}, {0xA35C, 0xA373, 0xA344}};
constexpr ScriptRules kTradChinese{kChineseFirst, {}, {}, kTradChineseLetters};

constexpr LetterRange kSimpChineseLetters[] = {
    {0xA3E1, 0xA3FA, 0xA3C1}, {0xA6C1, 0xA6D8, 0xA6A1}, {0xA7D1, 0xA7F1, 0xA7A1}};
constexpr ScriptRules kSimpChinese{kChineseFirst, {}, {}, kSimpChineseLetters};

constexpr ByteRange kKoreanFirst[] = {{0xA1, 0xFD}};
constexpr LetterRange kKoreanLetters[] = {
    {0xA3E1, 0xA3FA, 0xA3C1}, {0xA5E1, 0xA5F8, 0xA5C1}, {0xACD1, 0xACF1, 0xACA1},
    {0xA9A1, 0xA9A1, 0xA8A1}, {0xA9A3, 0xA9A3, 0xA8A2}, {0xA9A4, 0xA9A4, 0xA8A4},
    {0xA9A6, 0xA9A6, 0xA8A6}, {0xA9A8, 0xA9AB, 0xA8A8}, {0xA9AD, 0xA9AF, 0xA8AD}};
constexpr ScriptRules kKorean{kKoreanFirst, {}, {}, kKoreanLetters};

constexpr ByteRange kUTF8First[] = {{0xC2, 0xDF}};
constexpr ScriptRules kUTF8{kUTF8First, {}, {}, {}};

}  // namespace

bool ScriptRules::IsFirstByte(std::uint8_t inByte) const {
    return std::any_of(firstBytes.begin(), firstBytes.end(), [inByte](ByteRange inRange) {
        return inByte >= inRange.first && inByte <= inRange.last;
    });
}

const ScriptRules* FindRules(ScriptCode inScript) {
    if (inScript < 0 || inScript > smUninterp) return nullptr;
    switch (inScript) {
        case smRoman:
            return &kRoman;
        case smJapanese:
            return &kJapanese;
        case smTradChinese:
            return &kTradChinese;
        case smKorean:
            return &kKorean;
        case smArabic:
        case smHebrew:
            return &kArabicOrHebrew;
        case smGreek:
            return &kGreek;
        case smCyrillic:
            return &kCyrillic;
        case smSimpChinese:
            return &kSimpChinese;
        case smCentralEuroRoman:
            return &kCentralEuroRoman;
        default:
            return &kASCIIOnly;
    }
}

const ScriptRules& UTF8Rules() {
    return kUTF8;
}

}  // namespace toolbox::text

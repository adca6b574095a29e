#include "ScriptRules.h"

#include <toolbox/TextUtils.h>
#include <unicode/uchar.h>
#include <unicode/utf8.h>

#include <charconv>
#include <span>

namespace toolbox::text {

namespace {

using Bytes = std::span<UInt8>;

bool IsWellFormedUTF8(Bytes inText) {
    const auto byteCount = static_cast<int>(inText.size());
    UChar32 codePoint = 0;
    for (int at = 0; at < byteCount && codePoint >= 0;)
        U8_NEXT(inText.data(), at, byteCount, codePoint);
    return codePoint >= 0;
}

void UppercaseUTF8(Bytes ioText) {
    const auto byteCount = static_cast<int>(ioText.size());
    for (int at = 0; at < byteCount;) {
        int write = at;
        UChar32 codePoint;
        U8_NEXT_UNSAFE(ioText.data(), at, codePoint);
        const UChar32 capital = u_toupper(codePoint);
        if (capital != codePoint && U8_LENGTH(capital) == at - write)
            U8_APPEND_UNSAFE(ioText.data(), write, capital);
    }
}

UInt8 CapitalOf(UInt8 inByte, const ScriptRules& inRules) {
    if (inByte < 0x80)
        return static_cast<UInt8>(inByte >= 'a' && inByte <= 'z' ? inByte - 'a' + 'A' : inByte);
    const std::size_t found = inRules.smallLetters.find(static_cast<char>(inByte));
    return found == std::string_view::npos ? inByte : static_cast<UInt8>(inRules.capitalLetters[found]);
}

void UppercaseDoubleByte(UInt8* ioBytes, const ScriptRules& inRules) {
    const int code = ioBytes[0] << 8 | ioBytes[1];
    for (const LetterRange& range : inRules.doubleByteLetters) {
        if (code < range.firstSmall || code > range.lastSmall) continue;
        const int capital = range.firstCapital + (code - range.firstSmall);
        ioBytes[0] = static_cast<UInt8>(capital >> 8);
        ioBytes[1] = static_cast<UInt8>(capital);
        return;
    }
}

void UppercaseByRules(Bytes ioText, const ScriptRules& inRules) {
    for (std::size_t at = 0; at < ioText.size(); ++at) {
        if (!inRules.IsFirstByte(ioText[at]))
            ioText[at] = CapitalOf(ioText[at], inRules);
        else if (++at < ioText.size())
            UppercaseDoubleByte(&ioText[at - 1], inRules);
    }
}

}  // namespace

}  // namespace toolbox::text

using namespace toolbox::text;

void UppercaseText(char* ioText, SInt16 inByteCount, ScriptCode inScript) {
    if (inByteCount <= 0) return;
    const Bytes text(reinterpret_cast<UInt8*>(ioText), static_cast<std::size_t>(inByteCount));
    const TextForm form = FormOf(inScript);
    if (form.isUTF8 && IsWellFormedUTF8(text)) return UppercaseUTF8(text);
    const ScriptRules* const rules = FindRules(form.script);
    if (rules != nullptr) UppercaseByRules(text, *rules);
}

void NumToString(SInt32 inNumber, Str255 outText) {
    char* const begin = reinterpret_cast<char*>(outText) + 1;
    outText[0] = static_cast<UInt8>(std::to_chars(begin, begin + 255, inNumber).ptr - begin);
}

#include "CharacterBytes.h"
#include "MoveBytes.h"
#include "PascalText.h"

#include <strings/PascalStrings.h>
#include <toolbox/Resources.h>
#include <toolbox/Script.h>
#include <toolbox/TextUtils.h>

#include <algorithm>
#include <cstddef>
#include <cstdio>
#include <cstring>

namespace {

constexpr int kMaxLength = 255;

}  // namespace

unsigned char StrLength(const unsigned char* inText) {
    return inText[0];
}

Boolean PStrEqual(const unsigned char* inLeft, const unsigned char* inRight) {
    return TextOf(inLeft) == TextOf(inRight);
}

Boolean PStrNEqual(const unsigned char* inLeft, const unsigned char* inRight, unsigned char inCount) {
    if (inLeft[0] < inCount || inRight[0] < inCount) return false;
    return std::memcmp(inLeft + 1, inRight + 1, inCount) == 0;
}

Boolean PStrContains(const unsigned char* inText, const unsigned char* inPart) {
    return TextOf(inText).find(TextOf(inPart)) != std::string_view::npos;
}

Boolean PStrContainsChar(const unsigned char* inText, unsigned char inChar) {
    return std::memchr(inText + 1, inChar, inText[0]) != nullptr;
}

Boolean PStrEndsWith(const unsigned char* inText, const unsigned char* inTail) {
    return TextOf(inText).ends_with(TextOf(inTail));
}

// The exported one, beside the one in callers.
extern "C" MIRTAL_EXPORT void PStrCopyByName(const unsigned char* inSource,
                                             unsigned char* outDestination) __asm__("PStrCopy");
void PStrCopyByName(const unsigned char* inSource, unsigned char* outDestination) {
    MoveBytes(outDestination, inSource, std::size_t{inSource[0]} + 1);
}

void PStrNCopy(const unsigned char* inSource, unsigned char* outDestination, short inMaxLength) {
    std::size_t length = inSource[0];
    if (inSource[0] >= inMaxLength) {
        length = static_cast<std::size_t>(std::max<short>(inMaxLength, 0));
        const auto* const text = reinterpret_cast<const char*>(inSource) + 1;
        if (IsSecondByte(text, inMaxLength, smCurrentScript)) --length;
    }
    if (inSource != outDestination) std::memmove(outDestination, inSource, length + 1);
    outDestination[0] = static_cast<unsigned char>(length);
}

void PStrCat(unsigned char* ioText, const unsigned char* inTail) {
    const std::size_t count = std::min<std::size_t>(inTail[0], kMaxLength - ioText[0]);
    unsigned char* const end = ioText + 1 + ioText[0];
    ioText[0] = static_cast<unsigned char>(ioText[0] + count);
    MoveBytes(end, inTail + 1, count);  // last: a jump, no call
}

void PAddChar(unsigned char* ioText, unsigned char inChar) {
    if (ioText[0] == kMaxLength) return;
    ++ioText[0];
    ioText[ioText[0]] = inChar;
}

void PAddBlank(unsigned char* ioText) {
    PAddChar(ioText, ' ');
}

void PAddNum(unsigned char* ioText, long inNumber) {
    Str255 number;
    NumToString(static_cast<SInt32>(inNumber), number);
    PStrCat(ioText, number);
}

void PAddIndString(unsigned char* ioText, short inListID, short inIndex) {
    Str255 string;
    GetIndString(string, inListID, inIndex);
    PStrCat(ioText, string);
}

void PStrStripLeadingBlanks(const unsigned char* inSource, unsigned char* outDestination) {
    const int length = inSource[0];
    int blankCount = 0;
    while (blankCount < length - 1 && inSource[blankCount + 1] == ' ')
        ++blankCount;
    if (inSource + blankCount == outDestination) return;
    const int keptCount = length - blankCount;
    std::memmove(outDestination + 1, inSource + 1 + blankCount, static_cast<std::size_t>(keptCount));
    outDestination[0] = static_cast<unsigned char>(keptCount);
}

void PLowerText(unsigned char* ioText, short inByteCount) {
    for (short i = 0; i < inByteCount; ++i)
        if (ioText[i] >= 'A' && ioText[i] <= 'Z') ioText[i] = static_cast<unsigned char>(ioText[i] + 32);
}

void PLowerString(unsigned char* ioText) {
    PLowerText(ioText + 1, ioText[0]);
}

void PStrUppercase(unsigned char* ioText) {
    UppercaseText(reinterpret_cast<char*>(ioText) + 1, ioText[0], smSystemScript);
}

double PStr2Double(const unsigned char* inText) {
    char text[kMaxLength + 1];
    std::memcpy(text, inText + 1, inText[0]);
    text[inText[0]] = '\0';
    double number = 0;
    return std::sscanf(text, "%lf", &number) == 1 ? number : 0;
}

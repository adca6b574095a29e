#include <strings/PascalStrings.h>

#include <algorithm>
#include <cstddef>
#include <cstring>

namespace {

// Bytes of the longest suffix, the dot among them.
constexpr int kMaxSuffix = 6;

// The position of the last dot from inLast down to the sixth byte from the end; 0 when there is none.
int FindDot(const unsigned char* inText, int inLast) {
    const int first = std::max(inText[0] - kMaxSuffix + 1, 1);
    int position = inLast;
    while (position >= first && inText[position] != '.')
        --position;
    return position >= first ? position : 0;
}

// Gives outSuffix, a buffer of one byte more than the longest suffix, what begins at inPosition.
void CopySuffix(const unsigned char* inText, int inPosition, unsigned char* outSuffix) {
    const int byteCount = inText[0] - inPosition + 1;
    std::memmove(outSuffix + 1, inText + inPosition, static_cast<std::size_t>(byteCount));
    outSuffix[0] = static_cast<unsigned char>(byteCount);
}

}  // namespace

void PStrRemoveSuffix(unsigned char* ioText) {
    // The buffer ends with the longest text.
    const int position = FindDot(ioText, std::min(ioText[0] + 1, 255));
    if (position != 0) ioText[0] = static_cast<unsigned char>(position - 1);
}

void PStrExtractSuffix(unsigned char* ioText, unsigned char* outSuffix) {
    outSuffix[0] = 0;
    const int position = FindDot(ioText, ioText[0]);
    if (position == 0) return;
    CopySuffix(ioText, position, outSuffix);
    ioText[0] = static_cast<unsigned char>(position - 1);
}

Boolean PStrHasSuffix(const unsigned char* inText, const unsigned char* inSuffix) {
    const int position = FindDot(inText, inText[0]);
    if (position == 0) return false;
    unsigned char own[kMaxSuffix + 1];
    CopySuffix(inText, position, own);
    Str255 asked;
    PStrCopy(inSuffix, asked);
    PStrUppercase(own);
    PStrUppercase(asked);
    return PStrEqual(own, asked);
}

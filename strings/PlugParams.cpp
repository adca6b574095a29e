#include "PascalText.h"

#include <strings/PascalStrings.h>

#include <string_view>

namespace {

constexpr char kMark = '^';
constexpr int kParamCount = 4;

}  // namespace

void PPlugParams(unsigned char* ioText, const unsigned char* inParam0, const unsigned char* inParam1,
                 const unsigned char* inParam2, const unsigned char* inParam3) {
    const unsigned char* const params[kParamCount] = {inParam0, inParam1, inParam2, inParam3};
    const std::string_view text = TextOf(ioText);
    Str255 result = {0};
    for (std::size_t at = 0; at < text.size(); ++at) {
        const char character = text[at];
        if (character != kMark || at + 1 == text.size()) {
            PAddChar(result, static_cast<unsigned char>(character));
            continue;
        }
        const char next = text[++at];
        const int index = next - '0';
        if (index < 0 || index >= kParamCount) {
            PAddChar(result, kMark);
            PAddChar(result, static_cast<unsigned char>(next));
        } else if (params[index] != nullptr) {
            PStrCat(result, params[index]);
        }
    }
    PStrCopy(result, ioText);
}

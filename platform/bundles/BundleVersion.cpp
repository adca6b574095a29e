#include "BundleFolder.h"

#include <algorithm>

namespace toolbox::corefoundation {

namespace {

constexpr std::string_view kBlanks = " \t\r\n";

std::string_view WithoutBlanksAround(std::string_view inText) {
    inText.remove_prefix(std::min(inText.find_first_not_of(kBlanks), inText.size()));
    return inText.substr(0, inText.find_last_not_of(kBlanks) + 1);
}

// Takes a decimal number from the front. False when there is none, or it is above inMax.
bool TakeNumber(std::string_view& ioText, UInt32 inMax, UInt32& outNumber) {
    std::size_t digitCount = 0;
    outNumber = 0;
    for (; digitCount < ioText.size() && ioText[digitCount] >= '0' && ioText[digitCount] <= '9';
         ++digitCount) {
        outNumber = outNumber * 10 + static_cast<UInt32>(ioText[digitCount] - '0');
        if (outNumber > inMax) return false;
    }
    ioText.remove_prefix(digitCount);
    return digitCount > 0;
}

// A dot and a number, if a dot comes next.
bool TakeFurtherNumber(std::string_view& ioText, UInt32 inMax, UInt32& outNumber) {
    outNumber = 0;
    if (!ioText.starts_with('.')) return true;
    ioText.remove_prefix(1);
    return TakeNumber(ioText, inMax, outNumber);
}

bool TakeStage(std::string_view& ioText, UInt32& outStage) {
    struct Stage {
        std::string_view name;
        UInt32 code;
    };
    constexpr Stage kStages[] = {{"d", 0x20}, {"a", 0x40}, {"b", 0x60}, {"fc", 0x80}, {"f", 0x80}};
    for (const Stage& stage : kStages) {
        if (!ioText.starts_with(stage.name)) continue;
        ioText.remove_prefix(stage.name.size());
        outStage = stage.code;
        return true;
    }
    return false;
}

}  // namespace

UInt32 PackVersion(std::string_view inText) {
    std::string_view text = WithoutBlanksAround(inText);
    UInt32 major = 0;
    UInt32 minor = 0;
    UInt32 bugFix = 0;
    UInt32 stage = 0x80;
    UInt32 number = 0;
    if (!TakeNumber(text, 99, major) || !TakeFurtherNumber(text, 9, minor) ||
        !TakeFurtherNumber(text, 9, bugFix))
        return 0;
    if (TakeStage(text, stage) && !text.empty() && !TakeNumber(text, 255, number)) return 0;
    if (!text.empty()) return 0;
    return (major / 10) << 28 | (major % 10) << 24 | minor << 20 | bugFix << 16 | stage << 8 | number;
}

}  // namespace toolbox::corefoundation

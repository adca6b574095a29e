#include "AlertText.h"

#include <toolbox/CFString.h>
#include <toolbox/TextEncoding.h>

#include <algorithm>
#include <tuple>

namespace toolbox::interface {

namespace {

std::string UTF8Of(CFStringRef inString) {
    const CFRange whole = CFRangeMake(0, CFStringGetLength(inString));
    CFIndex byteCount = 0;
    CFStringGetBytes(inString, whole, kCFStringEncodingUTF8, '?', false, nullptr, 0, &byteCount);
    std::string text(static_cast<std::size_t>(byteCount), '\0');
    CFStringGetBytes(inString, whole, kCFStringEncodingUTF8, '?', false,
                     reinterpret_cast<UInt8*>(text.data()), byteCount, &byteCount);
    return text;
}

std::string Recoded(std::string_view inBytes) {
    for (const CFStringEncoding encoding :
         {GetApplicationTextEncoding(), CFStringEncoding{kCFStringEncodingMacRoman}}) {
        CFStringRef string =
            CFStringCreateWithBytes(kCFAllocatorDefault, reinterpret_cast<const UInt8*>(inBytes.data()),
                                    static_cast<CFIndex>(inBytes.size()), encoding, false);
        if (string == nullptr) continue;
        std::string text = UTF8Of(string);
        CFRelease(string);
        return text;
    }
    return std::string(inBytes.size(), '?');
}

// The C1 controls, U+0080 to U+009F, are two bytes of UTF-8.
bool IsWideControl(std::string_view inText, std::size_t inIndex) {
    return inText[inIndex] == '\xC2' && inIndex + 1 < inText.size() &&
           static_cast<UInt8>(inText[inIndex + 1]) < 0xA0;
}

std::vector<std::size_t> InReadingOrder(const std::vector<AlertItem>& inItems, AlertItem::Kind inKind) {
    std::vector<std::size_t> order;
    for (std::size_t i = 0; i < inItems.size(); ++i)
        if (inItems[i].kind == inKind) order.push_back(i);
    std::stable_sort(order.begin(), order.end(), [&](std::size_t inLeft, std::size_t inRight) {
        const Rect& left = inItems[inLeft].bounds;
        const Rect& right = inItems[inRight].bounds;
        return std::tie(left.top, left.left) < std::tie(right.top, right.left);
    });
    return order;
}

}  // namespace

std::string Substituted(std::string_view inText, const ParamTexts& inTexts) {
    std::string text;
    for (std::size_t i = 0; i < inText.size(); ++i) {
        const bool isSlot =
            inText[i] == '^' && i + 1 < inText.size() && inText[i + 1] >= '0' && inText[i + 1] <= '3';
        if (isSlot)
            text += inTexts[static_cast<std::size_t>(inText[++i] - '0')];
        else
            text += inText[i];
    }
    return text;
}

std::string TerminalText(std::string_view inBytes) {
    const std::string recoded = Recoded(inBytes);
    std::string text;
    for (std::size_t i = 0; i < recoded.size(); ++i) {
        const char byte = recoded[i];
        if (byte == '\r' || byte == '\n')
            text += '\n';
        else if (static_cast<UInt8>(byte) < 0x20 || byte == 0x7F)
            text += '?';
        else if (IsWideControl(recoded, i))
            text += '?', ++i;
        else
            text += byte;
    }
    return text;
}

std::string AlertLines(const std::vector<AlertItem>& inItems, const ParamTexts& inTexts,
                       SInt16 inDefaultItem) {
    std::string lines;
    for (const std::size_t index : InReadingOrder(inItems, AlertItem::kStaticText))
        lines += TerminalText(Substituted(inItems[index].text, inTexts)) + '\n';
    std::string buttons;
    for (const std::size_t index : InReadingOrder(inItems, AlertItem::kButton)) {
        if (!inItems[index].isEnabled) continue;
        const auto number = static_cast<SInt16>(index + 1);
        buttons += buttons.empty() ? "" : "  ";
        buttons += (number == inDefaultItem ? "*[" : "[") + std::to_string(number) + "] ";
        buttons += TerminalText(Substituted(inItems[index].text, inTexts));
    }
    return buttons.empty() ? lines : lines + buttons + '\n';
}

std::string PlainLines(const ParamTexts& inTexts) {
    std::string lines;
    for (const std::string& text : inTexts)
        if (!text.empty()) lines += TerminalText(text) + '\n';
    return lines;
}

}  // namespace toolbox::interface

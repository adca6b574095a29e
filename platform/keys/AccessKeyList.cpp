#include "keys/AccessKeyList.h"

#include <algorithm>

namespace toolbox::keys {

namespace {

constexpr std::string_view kFirstLine = "mirtal access keys 1\n";
constexpr std::string_view kLastLine = "end\n";  // a file that was cut off lacks it
constexpr std::string_view kDigits = "0123456789ABCDEF";
constexpr std::size_t kMaxTypeBytes = 255;

char Lower(char inByte) {
    return inByte >= 'A' && inByte <= 'Z' ? static_cast<char>(inByte - 'A' + 'a') : inByte;
}

bool IsPlain(char inByte) {
    return inByte > ' ' && inByte < 0x7F && inByte != '%' && inByte != '=';
}

void AppendEscaped(std::string& ioText, std::string_view inBytes) {
    for (const char byte : inBytes) {
        if (IsPlain(byte)) {
            ioText += byte;
            continue;
        }
        const auto value = static_cast<unsigned char>(byte);
        ioText += {'%', kDigits[value >> 4], kDigits[value & 15]};
    }
}

// -1 when it is no digit.
int DigitValue(char inDigit) {
    if (inDigit >= '0' && inDigit <= '9') return inDigit - '0';
    const char letter = Lower(inDigit);
    return letter >= 'a' && letter <= 'f' ? letter - 'a' + 10 : -1;
}

bool Unescape(std::string_view inText, std::string& outBytes) {
    outBytes.clear();
    for (std::size_t i = 0; i < inText.size(); ++i) {
        if (IsPlain(inText[i])) {
            outBytes += inText[i];
            continue;
        }
        if (inText[i] != '%' || inText.size() - i < 3) return false;
        const int high = DigitValue(inText[i + 1]);
        const int low = DigitValue(inText[i + 2]);
        if (high < 0 || low < 0) return false;
        outBytes += static_cast<char>(high << 4 | low);
        i += 2;
    }
    return true;
}

bool DecodeLine(std::string_view inLine, AccessKey& outKey) {
    const std::size_t middle = inLine.find('=');
    return middle != std::string_view::npos && Unescape(inLine.substr(0, middle), outKey.type) &&
           Unescape(inLine.substr(middle + 1), outKey.key) && outKey.type.size() <= kMaxTypeBytes;
}

bool IsSame(const AccessKey& inOne, const AccessKey& inOther) {
    // Keys differ sooner than types do.
    return IsSameKeyText(inOne.key, inOther.key) && IsSameKeyText(inOne.type, inOther.type);
}

}  // namespace

bool IsSameKeyText(std::string_view inOne, std::string_view inOther) {
    return std::equal(inOne.begin(), inOne.end(), inOther.begin(), inOther.end(),
                      [](char inLeft, char inRight) { return Lower(inLeft) == Lower(inRight); });
}

bool AccessKeyList::Contains(const AccessKey& inKey) const {
    return std::any_of(mKeys.begin(), mKeys.end(),
                       [&](const AccessKey& inHeld) { return IsSame(inHeld, inKey); });
}

void AccessKeyList::Remove(const AccessKey& inKey) {
    std::erase_if(mKeys, [&](const AccessKey& inHeld) { return IsSame(inHeld, inKey); });
}

std::vector<std::string_view> AccessKeyList::KeysOf(std::string_view inType) const& {
    std::vector<std::string_view> keys;
    for (const AccessKey& held : mKeys)
        if (IsSameKeyText(held.type, inType)) keys.push_back(held.key);
    return keys;
}

std::string AccessKeyList::Encode() const {
    std::string text(kFirstLine);
    for (const AccessKey& held : mKeys) {
        AppendEscaped(text, held.type);
        text += '=';
        AppendEscaped(text, held.key);
        text += '\n';
    }
    return text.append(kLastLine);
}

bool AccessKeyList::Decode(std::string_view inText) {
    mKeys.clear();
    if (!inText.starts_with(kFirstLine)) return false;
    inText.remove_prefix(kFirstLine.size());
    while (inText != kLastLine) {
        const std::size_t end = inText.find('\n');
        AccessKey key;
        if (end == std::string_view::npos || mKeys.size() == kMaxKeys ||
            !DecodeLine(inText.substr(0, end), key))
            return false;
        mKeys.push_back(std::move(key));
        inText.remove_prefix(end + 1);
    }
    return true;
}

}  // namespace toolbox::keys

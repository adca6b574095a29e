#include "StringsFile.h"

#include "bundles/PropertyList.h"
#include "corefoundation/UTF8Text.h"

#include <toolbox/CFDictionary.h>

#include <algorithm>
#include <optional>

namespace toolbox::launch {

namespace {

using corefoundation::GetUTF8;
using corefoundation::Owned;
using corefoundation::StringOf;

// The text of pairs, read from its beginning.
class PairReader {
  public:
    explicit PairReader(std::string_view inText) : mRest(inText) {}

    // False at the end and at the first mistake.
    bool Next(std::string& outKey, std::string& outValue) {
        return ReadWord(outKey) && Skip('=') && ReadWord(outValue) && Skip(';');
    }

  private:
    void SkipBlanks() {
        for (;;) {
            const std::size_t first = mRest.find_first_not_of(" \t\r\n");
            mRest.remove_prefix(std::min(first, mRest.size()));
            if (mRest.starts_with("/*"))
                SkipBehind("*/");
            else if (mRest.starts_with("//"))
                SkipBehind("\n");
            else
                return;
        }
    }
    void SkipBehind(std::string_view inText) {
        const std::size_t at = mRest.find(inText, 2);
        mRest.remove_prefix(at == std::string_view::npos ? mRest.size() : at + inText.size());
    }
    bool Skip(char inSign) {
        SkipBlanks();
        if (!mRest.starts_with(inSign)) return false;
        mRest.remove_prefix(1);
        return true;
    }
    bool ReadWord(std::string& outWord) {
        SkipBlanks();
        if (mRest.starts_with('"')) return ReadQuoted(outWord);
        constexpr std::string_view kSigns = "_$/:.-";
        std::size_t size = 0;
        for (; size < mRest.size(); ++size) {
            const char byte = mRest[size];
            const char letter = static_cast<char>(byte | 0x20);
            if (!(byte >= '0' && byte <= '9') && !(letter >= 'a' && letter <= 'z') &&
                kSigns.find(byte) == std::string_view::npos)
                break;
        }
        outWord = mRest.substr(0, size);
        mRest.remove_prefix(size);
        return size > 0;
    }
    bool ReadQuoted(std::string& outWord) {
        outWord.clear();
        for (std::size_t i = 1; i < mRest.size(); ++i) {
            if (mRest[i] == '"') {
                mRest.remove_prefix(i + 1);
                return true;
            }
            const bool isEscape = mRest[i] == '\\' && i + 1 < mRest.size();
            const char byte = isEscape ? mRest[++i] : mRest[i];
            outWord += !isEscape ? byte : byte == 'n' ? '\n' : byte == 't' ? '\t' : byte;
        }
        return false;
    }

    std::string_view mRest;
};

// Text as UTF-8; nothing when it is none.
std::optional<std::string> TextOf(std::string_view inContents) {
    const bool isUTF16 = inContents.starts_with("\xFE\xFF") || inContents.starts_with("\xFF\xFE");
    const Owned<CFStringRef> string(
        CFStringCreateWithBytes(kCFAllocatorDefault, reinterpret_cast<const UInt8*>(inContents.data()),
                                static_cast<CFIndex>(inContents.size()),
                                isUTF16 ? kCFStringEncodingUnicode : kCFStringEncodingUTF8, true));
    std::string text;
    if (!string || !GetUTF8(string.Get(), text)) return std::nullopt;
    return text;
}

std::string StringInList(CFTypeRef inList, std::string_view inKey) {
    const Owned<CFStringRef> key = StringOf(inKey);
    std::string text;
    if (!key || CFGetTypeID(inList) != CFDictionaryGetTypeID()) return text;
    const void* const value = CFDictionaryGetValue(static_cast<CFDictionaryRef>(inList), key.Get());
    if (value == nullptr || CFGetTypeID(value) != CFStringGetTypeID() ||
        !GetUTF8(static_cast<CFStringRef>(value), text))
        text.clear();
    return text;
}

}  // namespace

std::string StringInFile(std::string_view inContents, std::string_view inKey) {
    if (inContents.size() > kMaxStringsFileBytes) return {};
    const Owned<CFTypeRef> list = corefoundation::ReadPropertyList(inContents);
    if (list) return StringInList(list.Get(), inKey);
    const std::optional<std::string> text = TextOf(inContents);
    PairReader pairs(text ? *text : std::string_view());
    std::string key;
    std::string value;
    while (pairs.Next(key, value))
        if (key == inKey) return value;
    return {};
}

}  // namespace toolbox::launch

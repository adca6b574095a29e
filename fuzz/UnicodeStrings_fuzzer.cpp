// Search, replacement, names and UTF-8 of Unicode strings against the plain second implementation of the
// tests. Without regard to case there is no second implementation for all characters, so case counts here.
#include "strings/NaiveStrings.h"

#include <strings/TCFString.h>

#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

namespace {

using naive::Range;
using naive::Text;

void Require(bool inIsTrue) {
    if (!inIsTrue) std::abort();
}

// Takes pieces off the input.
class Input {
  public:
    Input(const std::uint8_t* inData, std::size_t inSize)
        : mRest(reinterpret_cast<const char*>(inData), inSize) {}

    unsigned char Byte() {
        if (mRest.empty()) return 0;
        const auto byte = static_cast<unsigned char>(mRest[0]);
        mRest.remove_prefix(1);
        return byte;
    }
    long Number() { return static_cast<signed char>(Byte()); }

    // A byte for the length, one for each ASCII character, and two for another unit.
    Text String() {
        Text text(Byte() & 0x3F, u'\0');
        for (char16_t& unit : text) {
            unit = Byte();
            if (unit >= 0x80) unit = static_cast<char16_t>((unit & 0x7F) << 9 | Byte() << 1 | (unit & 1));
        }
        return text;
    }

  private:
    std::string_view mRest;
};

TCFString Units(const Text& inText) {
    TCFString string;
    string.Adopt(CFStringCreateWithCharacters(kCFAllocatorDefault,
                                              reinterpret_cast<const UniChar*>(inText.data()),
                                              static_cast<CFIndex>(inText.size())));
    return string;
}

bool Holds(const TCFString& inString, const Text& inText) {
    Text units(static_cast<std::size_t>(inString.Length()), u'\0');
    inString.Unicode(inString.Length(), reinterpret_cast<UniChar*>(units.data()));
    return units == inText;
}

bool IsRange(CFRange inRange, Range inExpected) {
    return inRange.location == inExpected.location && inRange.length == inExpected.length;
}

bool HasLoneSurrogate(const Text& inText) {
    for (std::size_t i = 0; i < inText.size(); ++i) {
        if (inText[i] < 0xD800 || inText[i] > 0xDFFF) continue;
        const bool isPair =
            inText[i] < 0xDC00 && i + 1 < inText.size() && inText[i + 1] >= 0xDC00 && inText[i + 1] <= 0xDFFF;
        if (!isPair) return true;
        ++i;
    }
    return false;
}

void CheckUTF8(const TCFString& inString, const Text& inText) {
    std::string bytes = "before";
    const bool isText = inString.StdStringWithEncoding(bytes, kCFStringEncodingUTF8);
    Require(isText == !HasLoneSurrogate(inText));
    Require(isText || bytes == "before");
    Require(inString.UTF8Length() == (isText ? static_cast<long>(bytes.size()) : 0));
    if (!isText) return;
    const auto* const start = reinterpret_cast<const unsigned char*>(bytes.data());
    const TCFString back =
        TCFString::WithBytes(start, static_cast<long>(bytes.size()), kCFStringEncodingUTF8, false);
    Require(Holds(back, inText.substr(0, inText.find(u'\0'))));
}

void CheckNames(const TCFString& inString, const Text& inText, long inMaxLength) {
    Require(Holds(inString.Suffix(), naive::Suffix(inText)));
    Require(Holds(inString.RemoveSuffix(), naive::RemoveSuffix(inText)));
    Require(Holds(inString.HFSName(inMaxLength), naive::HFSName(inText, inMaxLength)));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* inData, std::size_t inSize) {
    Input input(inData, inSize);
    const unsigned long flags = input.Byte() & (naive::kBackwards | naive::kAnchored);
    const long location = input.Number(), length = input.Number();
    const Range range = {location, length};
    const CFRange cfRange = CFRangeMake(location, length);
    const Text text = input.String(), find = input.String(), with = input.String();
    const TCFString string = Units(text), wanted = Units(find), put = Units(with);

    Require(IsRange(string.CheckRange(cfRange), naive::Checked(text, range)));
    Require(
        IsRange(string.FindInRange(cfRange, wanted, flags), naive::FindInRange(text, range, find, flags)));
    Require(string.HasPrefix(wanted, false) == naive::HasPrefix(text, find, false));
    Require(Holds(string + wanted, text + find));
    Require(Holds(string.Replace(cfRange, put), naive::Replace(text, range, with)));
    Require(
        Holds(string.ReplaceSubstring(wanted, put, flags), naive::ReplaceSubstring(text, find, with, flags)));
    Require(Holds(string.FindAndReplace(wanted, put, cfRange, flags),
                  naive::FindAndReplace(text, find, with, range, flags)));
    Require(Holds(string.PlugParams(wanted, put, wanted, put),
                  naive::PlugParams(text, {find, with, find, with})));
    CheckNames(string, text, length);
    CheckUTF8(string, text);
    Require(Holds(string, text));
    return 0;
}

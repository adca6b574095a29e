// Placeholders, suffixes and blanks of Pascal strings against the plain second implementation of the tests.
#include "strings/NaiveByteStrings.h"
#include "strings/PascalBuffer.h"

#include <strings/PascalStrings.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <optional>
#include <string>
#include <string_view>

namespace {

// Takes pieces off the input, each behind a byte that tells its length.
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

    std::string Text() {
        const unsigned char byteCount = Byte();
        const std::string text(mRest.substr(0, byteCount));
        mRest.remove_prefix(text.size());
        return text;
    }

  private:
    std::string_view mRest;
};

void Require(bool inIsTrue) {
    if (!inIsTrue) std::abort();
}

void PlugParams(const std::string& inText, Input& ioInput) {
    std::optional<std::string> params[4];
    PascalBuffer buffers[4];
    const unsigned char* pointers[4] = {};
    const unsigned char present = ioInput.Byte();
    for (int i = 0; i < 4; ++i) {
        if ((present >> i & 1) == 0) continue;
        params[i] = ioInput.Text();
        buffers[i] = PascalBuffer(*params[i]);
        pointers[i] = buffers[i];
    }
    PascalBuffer text(inText);
    PPlugParams(text, pointers[0], pointers[1], pointers[2], pointers[3]);
    Require(text.Text() == naive::PlugParams(inText, params));
}

void Suffixes(const std::string& inText, unsigned char inBehind, const std::string& inAsked) {
    PascalBuffer removed(inText, inBehind), extracted(inText, inBehind), suffix;
    PStrRemoveSuffix(removed);
    Require(removed.Text() == naive::RemoveSuffix(inText, static_cast<char>(inBehind)));
    PStrExtractSuffix(extracted, suffix);
    Require(suffix.Text() == naive::Suffix(inText));
    Require(extracted.Text() + suffix.Text() == inText);
    const auto isASCII = [](const std::string& inBytes) {
        return std::all_of(inBytes.begin(), inBytes.end(),
                           [](char inByte) { return static_cast<unsigned char>(inByte) < 0x80; });
    };
    const bool has = PStrHasSuffix(PascalBuffer(inText), PascalBuffer(inAsked)) != 0;
    if (isASCII(inText) && isASCII(inAsked)) Require(has == naive::HasSuffix(inText, inAsked));
    if (!suffix.Text().empty()) Require(PStrHasSuffix(PascalBuffer(inText), suffix) == 1);
}

void Blanks(const std::string& inText) {
    PascalBuffer copy, inPlace(inText);
    PStrStripLeadingBlanks(PascalBuffer(inText), copy);
    PStrStripLeadingBlanks(inPlace, inPlace);
    Require(copy.Text() == naive::StripLeadingBlanks(inText));
    Require(inPlace.Text() == copy.Text());
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* inData, std::size_t inSize) {
    Input input(inData, inSize);
    const std::string text = input.Text();
    PlugParams(text, input);
    const unsigned char behind = input.Byte();
    Suffixes(text, behind, input.Text());
    Blanks(text);
    return 0;
}

// A Pascal string in a buffer of its own, which sees writes past its end.
#pragma once

#include <algorithm>
#include <array>
#include <cstring>
#include <string>
#include <string_view>

class PascalBuffer {
  public:
    static constexpr unsigned char kUntouched = 0xEE;

    // inBehind is the byte that follows the text.
    explicit PascalBuffer(std::string_view inText = {}, unsigned char inBehind = kUntouched) {
        mBytes.fill(kUntouched);
        mBytes[0] = static_cast<unsigned char>(inText.size());
        std::copy(inText.begin(), inText.end(), mBytes.begin() + 1);
        mBytes[inText.size() + 1] = inBehind;
    }

    operator unsigned char*() { return mBytes.data(); }
    operator const unsigned char*() const { return mBytes.data(); }
    std::string Text() const { return {reinterpret_cast<const char*>(mBytes.data()) + 1, mBytes[0]}; }

    // Whether nothing from byte inFirst of the buffer on was written.
    bool IsUntouchedFrom(std::size_t inFirst) const {
        return std::all_of(mBytes.begin() + static_cast<std::ptrdiff_t>(inFirst), mBytes.end(),
                           [](unsigned char inByte) { return inByte == kUntouched; });
    }

  private:
    std::array<unsigned char, 256 + 16> mBytes;
};

// So many bytes, no two neighbours alike, and no byte that means anything to the functions.
inline std::string Filler(std::size_t inByteCount, unsigned inSeed = 0) {
    std::string text(inByteCount, '\0');
    for (std::size_t i = 0; i < inByteCount; ++i)
        text[i] = static_cast<char>('A' + (i * 7 + inSeed) % 23);
    return text;
}

#include "Printable.h"

#include <cstddef>
#include <cstdio>
#include <string_view>

namespace tool {
namespace {

struct Character {
    char32_t code = 0;
    std::size_t byteCount = 1;
    bool isValid = false;
};

Character FirstCharacter(std::string_view inText) {
    const auto byteAt = [inText](std::size_t inIndex) { return static_cast<unsigned char>(inText[inIndex]); };
    const unsigned lead = byteAt(0);
    if (lead < 0x80) return {lead, 1, true};
    const std::size_t count = lead < 0xC2 ? 0 : lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : lead < 0xF5 ? 4 : 0;
    if (count == 0 || count > inText.size()) return {};
    char32_t code = lead & (0x7Fu >> count);
    for (std::size_t at = 1; at < count; ++at) {
        if ((byteAt(at) & 0xC0) != 0x80) return {};
        code = code << 6 | (byteAt(at) & 0x3Fu);
    }
    constexpr char32_t kLeast[] = {0, 0, 0x80, 0x800, 0x10000};
    const bool isSurrogate = code >= 0xD800 && code <= 0xDFFF;
    if (code < kLeast[count] || code > 0x10FFFF || isSurrogate) return {};
    return {code, count, true};
}

bool IsHarmful(char32_t inCode) {
    return inCode < 0x20 || (inCode >= 0x7F && inCode <= 0x9F) ||  // C0, DEL, C1
           inCode == 0x061C || inCode == 0x200E || inCode == 0x200F ||
           (inCode >= 0x2028 && inCode <= 0x202E) ||  // separators, embeddings, overrides
           (inCode >= 0x2066 && inCode <= 0x2069);    // isolates
}

}  // namespace

std::string CountOf(std::uint64_t inCount, const char* inUnit) {
    return std::to_string(inCount) + ' ' + inUnit + (inCount == 1 ? "" : "s");
}

bool IsUTF8(const std::string& inText) {
    for (std::string_view rest = inText; !rest.empty();) {
        const Character character = FirstCharacter(rest);
        if (!character.isValid) return false;
        rest.remove_prefix(character.byteCount);
    }
    return true;
}

std::string Printable(const std::string& inText) {
    std::string text;
    for (std::string_view rest = inText; !rest.empty();) {
        const Character character = FirstCharacter(rest);
        if (character.isValid && !IsHarmful(character.code))
            text += rest.substr(0, character.byteCount);
        else
            text += '?';
        rest.remove_prefix(character.byteCount);
    }
    return text;
}

std::string QuotedJSON(const std::string& inText) {
    std::string text = "\"";
    for (std::string_view rest = inText; !rest.empty();) {
        const Character character = FirstCharacter(rest);
        if (!character.isValid) {
            text += "\xEF\xBF\xBD";
        } else if (IsHarmful(character.code)) {
            char escape[8];
            std::snprintf(escape, sizeof escape, "\\u%04x", static_cast<unsigned>(character.code));
            text += escape;
        } else {
            if (character.code == '"' || character.code == '\\') text += '\\';
            text += rest.substr(0, character.byteCount);
        }
        rest.remove_prefix(character.byteCount);
    }
    return text + '"';
}

}  // namespace tool

// What is known of each script's encoding: its double-byte characters and its letters.
#pragma once

#include <toolbox/Script.h>

#include <cstdint>
#include <span>
#include <string_view>

namespace toolbox::text {

struct ByteRange {
    std::uint8_t first;
    std::uint8_t last;
};

// Double-byte small letters with consecutive codes, and the capital of the first.
struct LetterRange {
    std::uint16_t firstSmall;
    std::uint16_t lastSmall;
    std::uint16_t firstCapital;
};

struct ScriptRules {
    std::span<const ByteRange> firstBytes;  // of double-byte characters
    // Letters of one byte beyond ASCII, each small one with its capital at the same place in the other.
    std::string_view smallLetters;
    std::string_view capitalLetters;
    std::span<const LetterRange> doubleByteLetters;

    bool IsFirstByte(std::uint8_t inByte) const;
};

// The rules of scripts 0 to smUninterp; null for any other code.
const ScriptRules* FindRules(ScriptCode inScript);
// UTF-8 as far as a script can be: its characters of two bytes are double-byte. It has no letters here.
const ScriptRules& UTF8Rules();

// What the byte strings of an implicit script are in.
struct TextForm {
    bool isUTF8;
    ScriptCode script;  // of bytes that are not UTF-8
};
// inScript may be any code; other codes than the two implicit ones stand for themselves.
TextForm FormOf(ScriptCode inScript);

}  // namespace toolbox::text

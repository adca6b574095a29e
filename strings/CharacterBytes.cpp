#include "CharacterBytes.h"

#include <strings/CharacterBytes.h>

#include <atomic>

namespace {

constexpr ScriptCode kNotFilled = -32768;

// Single values that any thread may read and fill; nothing keeps them together, and a reader on another
// script than a filler's goes wrong, but not out of bounds.
std::atomic<SInt8> cTable[256];
std::atomic<ScriptCode> cCurrentScriptCode{kNotFilled};

void FillTable(ScriptCode inScript) {
    CharByteTable table;
    FillParseTable(table, inScript);
    for (int byte = 0; byte < 256; ++byte)
        cTable[byte].store(table[byte], std::memory_order_relaxed);
    cCurrentScriptCode.store(inScript, std::memory_order_release);
}

bool IsFirstByte(char inByte) {
    return cTable[static_cast<unsigned char>(inByte)].load(std::memory_order_relaxed) == 1;
}

}  // namespace

// A byte that cannot be a first one ends a character whatever it is, so the first bytes in a row before
// inOffset tell: they pair up from the left.
bool IsSecondByte(const char* inText, short inOffset, ScriptCode inScript) {
    if (cCurrentScriptCode.load(std::memory_order_acquire) != inScript) FillTable(inScript);
    int start = inOffset;
    while (start > 0 && IsFirstByte(inText[start - 1]))
        --start;
    return (inOffset - start) % 2 != 0;
}

short InterruptSafeCharacterByteType(const char* inText, short inOffset, ScriptCode inScript) {
    if (IsSecondByte(inText, inOffset, inScript)) return smLastByte;
    return IsFirstByte(inText[inOffset]) ? smFirstByte : smSingleByte;
}

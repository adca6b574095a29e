#include "Script.h"

#include "Calls.h"

#include <toolbox/TextUtils.h>

#include <cstdio>
#include <cstring>

namespace fakes {

namespace {

ScriptCode sCurrentScript = smRoman;

bool IsJapaneseFirstByte(int inByte) {
    return (inByte >= 0x81 && inByte <= 0x9F) || (inByte >= 0xE0 && inByte <= 0xFC);
}

}  // namespace

void SetCurrentScript(ScriptCode inScript) {
    sCurrentScript = inScript;
}

void ForgetScripts() {
    sCurrentScript = smRoman;
}

}  // namespace fakes

using namespace fakes;

extern "C" {

Boolean FillParseTable(CharByteTable outTable, ScriptCode inScript) {
    Log(CallText("FillParseTable", inScript));
    const ScriptCode script = inScript == smCurrentScript ? sCurrentScript : inScript;
    for (int byte = 0; byte < 256; ++byte)
        outTable[byte] = script == smJapanese && IsJapaneseFirstByte(byte);
    return true;
}

void UppercaseText(char* ioText, SInt16 inByteCount, ScriptCode inScript) {
    Log(CallText("UppercaseText", inByteCount, inScript));
    for (SInt16 i = 0; i < inByteCount; ++i) {
        if (ioText[i] >= 'a' && ioText[i] <= 'z') ioText[i] = static_cast<char>(ioText[i] - 'a' + 'A');
        if (ioText[i] == '\x8E') ioText[i] = '\x83';
    }
}

void NumToString(SInt32 inNumber, Str255 outText) {
    char text[16];
    outText[0] =
        static_cast<unsigned char>(std::snprintf(text, sizeof text, "%ld", static_cast<long>(inNumber)));
    std::memcpy(outText + 1, text, outText[0]);
}
}

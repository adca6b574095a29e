#include "ScriptRules.h"

#include <toolbox/Script.h>
#include <toolbox/TextEncoding.h>

#include <atomic>

namespace toolbox::text {

namespace {

// Encodings that are a variant of a script's, and not numbered like it.
enum : TextEncoding {
    kTextEncodingMacTurkish = 35,
    kTextEncodingMacCroatian = 36,
    kTextEncodingMacIcelandic = 37,
    kTextEncodingMacRomanian = 38,
    kTextEncodingMacUkrainian = 0x98
};

std::atomic<ScriptCode> sCurrentScript{smCurrentScript};

TextForm ApplicationForm() {
    const TextEncoding encoding = GetApplicationTextEncoding();
    if (encoding == kCFStringEncodingUTF8) return {true, smRoman};
    if (encoding == kTextEncodingMacUkrainian) return {false, smCyrillic};
    const bool isNumberedAsScript = encoding <= smUninterp;
    return {false, isNumberedAsScript ? static_cast<ScriptCode>(encoding) : ScriptCode{smRoman}};
}

// Null for a code that is no script.
const ScriptRules* FindByteRules(ScriptCode inScript) {
    const TextForm form = FormOf(inScript);
    return form.isUTF8 ? &UTF8Rules() : FindRules(form.script);
}

}  // namespace

TextForm FormOf(ScriptCode inScript) {
    if (inScript == smCurrentScript) inScript = sCurrentScript.load(std::memory_order_relaxed);
    const bool isApplications = inScript == smCurrentScript || inScript == smSystemScript;
    return isApplications ? ApplicationForm() : TextForm{false, inScript};
}

}  // namespace toolbox::text

using namespace toolbox::text;

SInt16 CharacterByteType(const char* inText, SInt16 inOffset, ScriptCode inScript) {
    const ScriptRules* const rules = FindByteRules(inScript);
    if (rules == nullptr) return smSingleByte;
    const auto isFirst = [&](int inAt) { return rules->IsFirstByte(static_cast<UInt8>(inText[inAt])); };
    int at = 0;
    while (at < inOffset)
        at += isFirst(at) ? 2 : 1;
    if (at > inOffset) return smLastByte;
    return isFirst(at) ? smFirstByte : smSingleByte;
}

Boolean FillParseTable(CharByteTable outTable, ScriptCode inScript) {
    const ScriptRules* const rules = FindByteRules(inScript);
    for (int byte = 0; byte < 256; ++byte)
        outTable[byte] = rules != nullptr && rules->IsFirstByte(static_cast<UInt8>(byte)) ? 1 : 0;
    return rules != nullptr;
}

Boolean SetCurrentScript(ScriptCode inScript) {
    if (inScript != smCurrentScript && FindRules(inScript) == nullptr) return false;
    sCurrentScript.store(inScript, std::memory_order_relaxed);
    return true;
}

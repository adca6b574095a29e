#include "Collation.h"

#include "Calls.h"

namespace fakes {

namespace {

struct Script {
    OSStatus status = 0;
    SInt32 order = 0;
    bool isEquivalent = false;
    bool comparesUnits = false;
    CollationQuestion last;
};

Script& TheScript() {
    static Script& sScript = *new Script;
    return sScript;
}

std::u16string TextOf(const UniChar* inText, UniCharCount inLength) {
    return std::u16string(inText, inText + inLength);
}

}  // namespace

void ScriptCollation(OSStatus inStatus, SInt32 inOrder, bool inIsEquivalent) {
    TheScript().status = inStatus;
    TheScript().order = inOrder;
    TheScript().isEquivalent = inIsEquivalent;
}

void CollateByUnits() {
    TheScript().comparesUnits = true;
}

const CollationQuestion& LastCollation() {
    return TheScript().last;
}

void ForgetCollation() {
    TheScript() = Script();
}

}  // namespace fakes

using namespace fakes;

OSStatus UCCompareTextDefault(UCCollateOptions inOptions, const UniChar* inText1, UniCharCount inLength1,
                              const UniChar* inText2, UniCharCount inLength2, Boolean* outEquivalent,
                              SInt32* outOrder) {
    Log(CallText("UCCompareTextDefault", inOptions));
    Script& script = TheScript();
    script.last = {inOptions, TextOf(inText1, inLength1), TextOf(inText2, inLength2),
                   outEquivalent != nullptr};
    if (script.status != 0) return script.status;
    if (outEquivalent != nullptr) *outEquivalent = script.isEquivalent;
    *outOrder = script.comparesUnits ? script.last.text1.compare(script.last.text2) : script.order;
    return 0;
}

#include "ScriptRules.h"

#include <corefoundation/CurrentLocale.h>
#include <toolbox/Script.h>

#include <algorithm>
#include <string_view>

namespace toolbox::text {

namespace {

// Scripts that have no other use here.
constexpr ScriptCode kDevanagariScript = 9;
constexpr ScriptCode kThaiScript = 21;

struct Language {
    std::string_view name;  // as a locale begins with it
    SInt32 code;
    ScriptCode script;
};

// A name comes before those that it begins with.
constexpr Language kLanguages[] = {
    {"en", langEnglish, smRoman},
    {"fr", langFrench, smRoman},
    {"de", langGerman, smRoman},
    {"it", langItalian, smRoman},
    {"nl", langDutch, smRoman},
    {"sv", langSwedish, smRoman},
    {"es", langSpanish, smRoman},
    {"da", langDanish, smRoman},
    {"pt", langPortuguese, smRoman},
    {"nb", langNorwegian, smRoman},
    {"nn", langNorwegian, smRoman},
    {"no", langNorwegian, smRoman},
    {"he", langHebrew, smHebrew},
    {"ja", langJapanese, smJapanese},
    {"ar", langArabic, smArabic},
    {"fi", langFinnish, smRoman},
    {"el", langGreek, smGreek},
    {"is", langIcelandic, smRoman},
    {"mt", langMaltese, smRoman},
    {"tr", langTurkish, smRoman},
    {"hr", langCroatian, smRoman},
    {"zh_TW", langTradChinese, smTradChinese},
    {"zh_HK", langTradChinese, smTradChinese},
    {"zh_MO", langTradChinese, smTradChinese},
    {"zh_Hant", langTradChinese, smTradChinese},
    {"zh", langSimpChinese, smSimpChinese},
    {"ur", langUrdu, smArabic},
    {"hi", langHindi, kDevanagariScript},
    {"th", langThai, kThaiScript},
    {"ko", langKorean, smKorean},
    {"lt", langLithuanian, smCentralEuroRoman},
    {"pl", langPolish, smCentralEuroRoman},
    {"hu", langHungarian, smCentralEuroRoman},
    {"et", langEstonian, smCentralEuroRoman},
    {"lv", langLatvian, smCentralEuroRoman},
    {"fo", langFaroese, smRoman},
    {"fa", langPersian, smArabic},
    {"ru", langRussian, smCyrillic},
    {"ga", langIrishGaelic, smRoman},
    {"sq", langAlbanian, smRoman},
    {"ro", langRomanian, smRoman},
    {"cs", langCzech, smCentralEuroRoman},
    {"sk", langSlovak, smCentralEuroRoman},
    {"sl", langSlovenian, smRoman},
    {"yi", langYiddish, smHebrew},
    {"sr", langSerbian, smCyrillic},
    {"mk", langMacedonian, smCyrillic},
    {"bg", langBulgarian, smCyrillic},
    {"uk", langUkrainian, smCyrillic},
};

struct ScriptLanguage {
    ScriptCode script;
    SInt32 code;
};
constexpr ScriptLanguage kFirstLanguages[] = {
    {smRoman, langEnglish},  {smJapanese, langJapanese},       {smTradChinese, langTradChinese},
    {smKorean, langKorean},  {smArabic, langArabic},           {smHebrew, langHebrew},
    {smGreek, langGreek},    {smCyrillic, langRussian},        {kDevanagariScript, langHindi},
    {kThaiScript, langThai}, {smSimpChinese, langSimpChinese}, {smCentralEuroRoman, langCzech},
};

// Letters follow that are no part of the language's name: "fil" is not "fi".
bool BeginsWith(std::string_view inLocale, std::string_view inName) {
    if (inLocale.substr(0, inName.size()) != inName) return false;
    return inLocale.size() == inName.size() ||
           std::string_view("_.@-").find(inLocale[inName.size()]) != std::string_view::npos;
}

const Language& LanguageOfEnvironment() {
    const std::string_view locale = corefoundation::LocaleVariable();
    const auto* const found =
        std::find_if(std::begin(kLanguages), std::end(kLanguages),
                     [locale](const Language& inOne) { return BeginsWith(locale, inOne.name); });
    return found == std::end(kLanguages) ? kLanguages[0] : *found;
}

SInt32 LanguageOf(ScriptCode inScript) {
    const Language& language = LanguageOfEnvironment();
    if (inScript == smSystemScript || inScript == smCurrentScript || inScript == language.script)
        return language.code;
    for (const ScriptLanguage& first : kFirstLanguages)
        if (first.script == inScript) return first.code;
    return 0;
}

bool IsRightToLeft(ScriptCode inScript) {
    return inScript == smArabic || inScript == smHebrew;
}

}  // namespace

}  // namespace toolbox::text

using namespace toolbox::text;

SInt32 GetScriptVariable(SInt16 inScript, SInt16 inSelector) {
    const bool isImplicit = inScript == smSystemScript || inScript == smCurrentScript;
    const ScriptCode script = isImplicit ? FormOf(inScript).script : inScript;
    if (FindRules(script) == nullptr) return 0;
    switch (inSelector) {
        case smScriptEnabled:
            return 1;
        case smScriptRight:
        case smScriptJust:
            return IsRightToLeft(script) ? -1 : 0;
        case smScriptLang:
            return LanguageOf(inScript);
        default:
            return 0;
    }
}

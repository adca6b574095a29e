#include <gtest/gtest.h>
#include <toolbox/Script.h>

#include <cstdlib>
#include <string>

namespace {

constexpr const char* kVariables[] = {"LC_ALL", "LC_MESSAGES", "LANG"};

// An environment of the test's own: none of the variables at first.
class ScriptVariablesTest : public testing::Test {
  protected:
    ScriptVariablesTest() {
        for (int i = 0; i < 3; ++i) {
            const char* const value = std::getenv(kVariables[i]);
            mWasSet[i] = value != nullptr;
            if (mWasSet[i]) mSaved[i] = value;
            unsetenv(kVariables[i]);
        }
    }
    ~ScriptVariablesTest() override {
        for (int i = 0; i < 3; ++i)
            if (mWasSet[i])
                setenv(kVariables[i], mSaved[i].c_str(), 1);
            else
                unsetenv(kVariables[i]);
    }
    static SInt32 Language(const char* inLocale, SInt16 inScript = smSystemScript) {
        setenv("LANG", inLocale, 1);
        return GetScriptVariable(inScript, smScriptLang);
    }

  private:
    bool mWasSet[3];
    std::string mSaved[3];
};

TEST_F(ScriptVariablesTest, LanguageOfTheEnvironment) {
    struct Row {
        const char* locale;
        SInt32 language;
    };
    constexpr Row kRows[] = {
        {"", langEnglish},
        {"C", langEnglish},
        {"POSIX", langEnglish},
        {"C.UTF-8", langEnglish},
        {"en_GB.UTF-8", langEnglish},
        {"de", langGerman},
        {"de_AT.UTF-8@euro", langGerman},
        {"ja_JP.eucJP", langJapanese},
        {"nn_NO", langNorwegian},
        {"nb_NO", langNorwegian},
        {"zh_CN", langSimpChinese},
        {"zh_SG.UTF-8", langSimpChinese},
        {"zh_TW.UTF-8", langTradChinese},
        {"zh_HK", langTradChinese},
        {"zh_Hant_TW", langTradChinese},
        {"ru_RU.KOI8-R", langRussian},
        {"uk_UA", langUkrainian},
        {"fi_FI", langFinnish},
        {"fil_PH", langEnglish},  // no code: not Finnish
        {"xx_YY", langEnglish},
        {"DE", langEnglish},
    };
    for (const Row& row : kRows)
        EXPECT_EQ(row.language, Language(row.locale)) << row.locale;
}

TEST_F(ScriptVariablesTest, OrderOfVariables) {
    EXPECT_EQ(langEnglish, GetScriptVariable(smSystemScript, smScriptLang)) << "none is set";
    setenv("LANG", "fr_FR", 1);
    EXPECT_EQ(langFrench, GetScriptVariable(smSystemScript, smScriptLang));
    setenv("LC_MESSAGES", "it_IT", 1);
    EXPECT_EQ(langItalian, GetScriptVariable(smSystemScript, smScriptLang));
    setenv("LC_ALL", "sv_SE", 1);
    EXPECT_EQ(langSwedish, GetScriptVariable(smSystemScript, smScriptLang));
    setenv("LC_ALL", "", 1);
    EXPECT_EQ(langItalian, GetScriptVariable(smSystemScript, smScriptLang)) << "an empty one is as if unset";
    EXPECT_EQ(langItalian, GetScriptVariable(smCurrentScript, smScriptLang));
}

TEST_F(ScriptVariablesTest, LanguageOfAScript) {
    struct Row {
        ScriptCode script;
        SInt32 language;
    };
    constexpr Row kRows[] = {
        {smRoman, langGerman},
        {smJapanese, langJapanese},
        {smTradChinese, langTradChinese},
        {smKorean, langKorean},
        {smArabic, langArabic},
        {smHebrew, langHebrew},
        {smGreek, langGreek},
        {smCyrillic, langRussian},
        {smSimpChinese, langSimpChinese},
        {smCentralEuroRoman, langCzech},
        {smUninterp, 0},
    };
    for (const Row& row : kRows)
        EXPECT_EQ(row.language, Language("de_DE", row.script)) << row.script;
    EXPECT_EQ(langPolish, Language("pl_PL", smCentralEuroRoman)) << "written in that script";
    EXPECT_EQ(langPersian, Language("fa_IR", smArabic));
    EXPECT_EQ(langEnglish, Language("pl_PL", smRoman));
}

TEST_F(ScriptVariablesTest, OtherFacts) {
    EXPECT_EQ(-1, GetScriptVariable(smArabic, smScriptRight));
    EXPECT_EQ(-1, GetScriptVariable(smHebrew, smScriptJust));
    EXPECT_EQ(0, GetScriptVariable(smRoman, smScriptRight));
    EXPECT_EQ(0, GetScriptVariable(smSystemScript, smScriptJust));
    EXPECT_EQ(1, GetScriptVariable(smJapanese, smScriptEnabled));
    EXPECT_EQ(1, GetScriptVariable(smSystemScript, smScriptEnabled));
}

TEST_F(ScriptVariablesTest, NothingKnown) {
    EXPECT_EQ(0, GetScriptVariable(33, smScriptEnabled));
    EXPECT_EQ(0, GetScriptVariable(-3, smScriptLang));
    setenv("LANG", "de_DE", 1);
    EXPECT_EQ(0, GetScriptVariable(smSystemScript, 0));
    EXPECT_EQ(0, GetScriptVariable(smSystemScript, 29));
    EXPECT_EQ(0, GetScriptVariable(smSystemScript, -28));
}

}  // namespace

// The Script Manager: scripts, and where the characters of a script's text begin and end.
//
// A script is a family of writing systems with one encoding of its own, in which a character is one byte or
// two. Every function may be called on any thread, and none moves memory.
#pragma once

#include <toolbox/MacTypes.h>
#include <toolbox/ToolboxExport.h>

TOOLBOX_EXTERN_C_BEGIN

typedef SInt16 ScriptCode;

enum {
    // The scripts of the byte strings that the application keeps: that of GetApplicationTextEncoding. An
    // encoding that belongs to no script, UTF-8 above all, is Roman where nothing else is said.
    smSystemScript = -1,
    smCurrentScript = -2,  // the same, unless SetCurrentScript has chosen another

    smRoman = 0,
    smJapanese = 1,
    smTradChinese = 2,
    smKorean = 3,
    smArabic = 4,
    smHebrew = 5,
    smGreek = 6,
    smCyrillic = 7,
    smSimpChinese = 25,
    smCentralEuroRoman = 29,
    smUninterp = 32  // the last
};

// What can be asked of a script.
enum {
    smScriptEnabled = 4,  // 1 when there is such a script
    smScriptRight = 6,    // the direction of lines: -1 from right to left, else 0
    smScriptJust = 8,     // the side to which lines are aligned: -1 right, else 0
    smScriptLang = 28     // the language, a code below
};

// Languages.
enum {
    langEnglish = 0,
    langFrench = 1,
    langGerman = 2,
    langItalian = 3,
    langDutch = 4,
    langSwedish = 5,
    langSpanish = 6,
    langDanish = 7,
    langPortuguese = 8,
    langNorwegian = 9,
    langHebrew = 10,
    langJapanese = 11,
    langArabic = 12,
    langFinnish = 13,
    langGreek = 14,
    langIcelandic = 15,
    langMaltese = 16,
    langTurkish = 17,
    langCroatian = 18,
    langTradChinese = 19,
    langUrdu = 20,
    langHindi = 21,
    langThai = 22,
    langKorean = 23,
    langLithuanian = 24,
    langPolish = 25,
    langHungarian = 26,
    langEstonian = 27,
    langLatvian = 28,
    langFaroese = 30,
    langPersian = 31,
    langRussian = 32,
    langSimpChinese = 33,
    langIrishGaelic = 35,
    langAlbanian = 36,
    langRomanian = 37,
    langCzech = 38,
    langSlovak = 39,
    langSlovenian = 40,
    langYiddish = 41,
    langSerbian = 42,
    langMacedonian = 43,
    langBulgarian = 44,
    langUkrainian = 45
};

// A fact about a script; 0 for what is not known. The language of smSystemScript is the one that the
// process's environment asks for (LC_ALL, else LC_MESSAGES, else LANG), English when it asks for none of the
// above; smCurrentScript's is the same. Another script has the same language if it writes it, else the one
// for which it was made. The environment must not be changed meanwhile.
TOOLBOX_EXPORT SInt32 GetScriptVariable(SInt16 inScript, SInt16 inSelector);

// What a byte of text is.
enum {
    smFirstByte = -1,  // the first of a double-byte character
    smSingleByte = 0,  // a character
    smLastByte = 1     // the second of a double-byte character
};

// For each byte where a character may begin: 1 when the character has one byte more, else 0.
typedef SInt8 CharByteTable[256];

// What the byte at inOffset is, in text that begins with a character at inText. Bytes behind it are not
// looked at: a first byte is one even at the end of the text. inOffset is zero or more.
// In UTF-8 characters of two bytes are double-byte; those of more are taken for single bytes.
TOOLBOX_EXPORT SInt16 CharacterByteType(const char* inText, SInt16 inOffset, ScriptCode inScript);

// The same knowledge as a table. False for a code that is no script; every byte is a single one then.
TOOLBOX_EXPORT Boolean FillParseTable(CharByteTable outTable, ScriptCode inScript);

// Host setting, beside the historic interface: the script that smCurrentScript means from now on;
// smCurrentScript itself, the default, for that of the application. False, and nothing is changed, for any
// other code that is no script.
TOOLBOX_EXPORT Boolean SetCurrentScript(ScriptCode inScript);

TOOLBOX_EXTERN_C_END

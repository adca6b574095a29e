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

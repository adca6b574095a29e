// Byte strings: upper case by script, and numbers as text.
#pragma once

#include <toolbox/MacTypes.h>
#include <toolbox/Script.h>
#include <toolbox/ToolboxExport.h>

TOOLBOX_EXTERN_C_BEGIN

// Makes the small letters of inByteCount bytes capitals, where the script's encoding has the capital: with
// their marks, and double-byte letters too. The length never changes; text of no bytes or less is left alone.
// Of text in smSystemScript or smCurrentScript while the application's encoding is UTF-8, what is well-formed
// UTF-8 is mapped as such, but for capitals that take another number of bytes; other bytes are Roman.
TOOLBOX_EXPORT void UppercaseText(char* ioText, SInt16 inByteCount, ScriptCode inScript);

// The number in decimal as a Pascal string: a minus sign if need be, and no leading zero.
TOOLBOX_EXPORT void NumToString(SInt32 inNumber, Str255 outText);

TOOLBOX_EXTERN_C_END

// Where a string may be cut.
#pragma once

#include <toolbox/Script.h>

// Whether the byte at inOffset is the second of a double-byte character. Only bytes before it are looked at.
bool IsSecondByte(const char* inText, short inOffset, ScriptCode inScript);

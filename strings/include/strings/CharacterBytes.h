// What a byte of text is, for copies that must not split a character.
#pragma once

#include <foundation/MirtalExport.h>
#include <toolbox/Script.h>

#ifdef __cplusplus
extern "C" {
#endif

// As CharacterByteType of the toolbox, of text that begins with a character; but for the first call with a
// script code, nothing of the toolbox is called, so memory does not move.
// One table serves all callers, and is filled again when another code is asked for. It remembers the code
// only: what smCurrentScript means is asked when the table is filled. Two threads that ask for different
// codes at a time may get each other's answers.
//   inOffset  zero or more
MIRTAL_EXPORT short InterruptSafeCharacterByteType(const char* inText, short inOffset, ScriptCode inScript);

#ifdef __cplusplus
}
#endif

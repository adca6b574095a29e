// The system as the test says: Gestalt, the process, volumes, clocks, events and identifiers.
#pragma once

#include <toolbox/CFBase.h>
#include <toolbox/Gestalt.h>
#include <toolbox/Processes.h>
#include <toolbox/Timer.h>
#include <toolbox/Volumes.h>

namespace fakes {

// What Gestalt answers to a selector; others are unknown. An error comes with the response stored all the
// same.
void ScriptGestalt(OSType inSelector, SInt32 inResponse, OSErr inError = noErr);

// The file of the process; an error leaves the file alone.
void ScriptProcess(OSErr inError, const FSSpec& inFile);

// What GetScriptVariable answers for the system script and the language.
void SetSystemLanguage(SInt32 inLanguage);

// The attributes of every volume.
void ScriptVolume(OSErr inError, SInt16 inAttributes);

// TickCount answers inTicks, and one more each time that it is called, when inAdvances.
void SetTicks(UInt32 inTicks, bool inAdvances = false);
int TicksAskedCount();
void SetUpTime(UInt32 inHigh, UInt32 inLow);

// The bytes of every new identifier: inFirst and those that follow.
void SetIdentifier(UInt8 inFirst);
int LiveIdentifiers();
// For the other doubles: false when it is no identifier.
bool ReleaseIdentifier(CFTypeRef inObject);

void ForgetSystem();

}  // namespace fakes

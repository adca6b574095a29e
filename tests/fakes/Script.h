// A script manager of two scripts: Japanese, with double-byte characters and no letters beyond ASCII, and
// Roman for every other code, of whose letters beyond ASCII it knows e acute.
#pragma once

#include <toolbox/Script.h>

namespace fakes {

// The script that smCurrentScript stands for; Roman from the start of each scenario.
void SetCurrentScript(ScriptCode inScript);

void ForgetScripts();

}  // namespace fakes

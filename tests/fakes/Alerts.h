// An alert that hits the item which the test says, and a debugger that only listens. Calls are logged with
// their texts.
#pragma once

#include <toolbox/Dialogs.h>

namespace fakes {

// What the user of the alerts to come hits; 1 until it is set.
void HitItem(DialogItemIndex inItem);

// Thrown by ExitToShell, which cannot return.
struct Exited {};

void ForgetAlerts();

}  // namespace fakes

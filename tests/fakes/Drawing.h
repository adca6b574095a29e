// A drawing port that logs what is drawn, and a dialog with one item.
#pragma once

#include <toolbox/Controls.h>
#include <toolbox/DialogWindows.h>
#include <toolbox/QuickDraw.h>

namespace fakes {

// The dialog, and the port that is the current one when a scenario begins. Port 1 is that, port 2 the
// dialog's.
DialogRef TheDialog();
GrafPtr CurrentPort();
const PenState& Pen();

// The item that GetDialogItem answers, whatever its number is.
void SetDialogItem(DialogItemType inType, Handle inItem, const Rect& inBox);

// The face last set; -1 before.
int Face();

void ForgetDrawing();

}  // namespace fakes

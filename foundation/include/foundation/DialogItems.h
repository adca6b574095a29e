// Drawing and flashing items of a dialog, and the face of its text. For the thread that owns the dialog.
#pragma once

#include <foundation/MirtalExport.h>
#include <stdbool.h>
#include <toolbox/DialogWindows.h>

#ifdef __cplusplus
extern "C" {
#endif

// The face for emphasis: bold (1), but plain (0) in a Japanese application, whose characters bold would fill.
MIRTAL_EXPORT short GetBoldFaceValue(void);
// Sets it for the text of the current port.
MIRTAL_EXPORT void SetBoldFace(void);

// The ring around a default button: drawn, or with inOn false erased. Port and pen are as before afterwards.
MIRTAL_EXPORT void FrameDefault(DialogRef inDialog, short inItem, bool inOn);

// Highlights a button for seven ticks, as if it had been clicked; other items are left alone. It is left
// highlighted: the caller is about to close the dialog.
MIRTAL_EXPORT void FlashButton(DialogRef inDialog, short inItem);

#ifdef __cplusplus
}
#endif

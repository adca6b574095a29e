// Controls: items of a dialog that can be clicked. For the thread that owns the dialog.
#pragma once

#include <toolbox/MacTypes.h>
#include <toolbox/QuickDraw.h>
#include <toolbox/ToolboxExport.h>

TOOLBOX_EXTERN_C_BEGIN

typedef struct OpaqueControlRecord** ControlRef;
typedef SInt16 ControlPartCode;

// What is highlighted.
enum {
    kControlNoPart = 0,
    kControlButtonPart = 10,
    kControlDisabledPart = 254,
    kControlInactivePart = 255  // nothing; the control cannot be clicked
};

// Highlights a part, 1 to 253, of a control that is visible, or takes the highlight away, and draws it at
// once in its dialog's port. A push button is inverted, whichever the part is; one that cannot be clicked is
// drawn in gray. The current port, and the pen of the dialog's, stay as they are. Null is nothing.
TOOLBOX_EXPORT void HiliteControl(ControlRef inControl, ControlPartCode inPart);

// What was set last: 0 at first, kControlInactivePart of an item that is disabled. 0 for null.
TOOLBOX_EXPORT UInt16 GetControlHilite(ControlRef inControl);
// The box, in outBounds, which is returned.
TOOLBOX_EXPORT Rect* GetControlBounds(ControlRef inControl, Rect* outBounds);
// The title, a Pascal string in a buffer of 256 bytes.
TOOLBOX_EXPORT void GetControlTitle(ControlRef inControl, unsigned char* outTitle);

// Draws one: a push button as a rectangle with round corners, others as their box. Titles are not drawn.
TOOLBOX_EXPORT void Draw1Control(ControlRef inControl);

TOOLBOX_EXTERN_C_END

// Dialogs: items laid out in a port of their own.
//
// A dialog's layout comes from the application's resources: "DLOG" with the dialog's id, and the "DITL" that
// it names. Items are numbered from 1 in the order of the list. A dialog belongs to one thread at a time.
#pragma once

#include <toolbox/MacErrors.h>
#include <toolbox/MacTypes.h>
#include <toolbox/QuickDraw.h>
#include <toolbox/ToolboxExport.h>

TOOLBOX_EXTERN_C_BEGIN

typedef struct OpaqueDialog* DialogRef;
typedef SInt16 DialogItemType;

// Kinds of items. Of the last three the item is a ControlRef, of texts a block with the text's bytes, of
// others null.
enum {
    kUserDialogItem = 0,
    kStaticTextDialogItem = 8,
    kEditTextDialogItem = 16,
    kIconDialogItem = 32,
    kPictureDialogItem = 64,
    kItemDisableBit = 128,  // added to the kind of an item that does not answer to clicks
    kButtonDialogItem = 4,
    kCheckBoxDialogItem = 5,
    kRadioButtonDialogItem = 6
};

// Makes a dialog with a port as large as the DLOG says, whose coordinates begin at 0, 0; what is visible is
// drawn. The caller disposes of it. inStorage and inBehind: null, they are ignored. Null when a resource is
// missing or cut off, when the bounds are empty, or when memory is short.
TOOLBOX_MUST_USE DialogRef GetNewDialog(SInt16 inDialogID, void* inStorage, void* inBehind);
// With its port and items. Null is nothing.
TOOLBOX_EXPORT void DisposeDialog(DialogRef inDialog);

// Draws the controls of a dialog that is visible.
TOOLBOX_EXPORT void DrawDialog(DialogRef inDialog);

// The dialog's own port, good as long as the dialog is; null for null.
TOOLBOX_EXPORT CGrafPtr GetDialogPort(DialogRef inDialog);
TOOLBOX_EXPORT SInt16 CountDITL(DialogRef inDialog);  // items; 0 for null

// An item's kind, the item itself and its box in the dialog's coordinates. Each result may be null. For an
// item that is not there, and for a null dialog: 0, null and an empty box. The item stays the dialog's.
TOOLBOX_EXPORT void GetDialogItem(DialogRef inDialog, SInt16 inItem, DialogItemType* outType, Handle* outItem,
                                  Rect* outBox);
// Puts the box of an item elsewhere, and its control with it; nothing is drawn. No item: nothing.
TOOLBOX_EXPORT void SetDialogItemBox(DialogRef inDialog, SInt16 inItem, const Rect* inBox);

TOOLBOX_EXTERN_C_END

// Alerts: a text for whoever is at the machine, and the item with which they answered.
//
// An alert's layout comes from the application's resources: "ALRT" with the alert's id, and the "DITL" that
// it names. Items are numbered from 1 in the order of the list. In the static texts ^0 to ^3 stand for the
// texts of ParamText.
//
// An alert goes to the handler that the host has installed. Without one, and with a terminal as standard
// input and standard error, it is shown there from top to bottom, with its buttons, and the number of an item
// is read; an empty line, or the end of input, is the default item. Without a terminal the text is written to
// standard error, and the answer is item 1. An alert without an ALRT shows the four texts and takes the
// number of any item.
#pragma once

#include <toolbox/MacTypes.h>
#include <toolbox/ToolboxExport.h>

TOOLBOX_EXTERN_C_BEGIN

typedef SInt16 DialogItemIndex;

// Sees an alert's events. A terminal has none, so it is never called; callers pass null.
typedef Boolean (*ModalFilterUPP)(void* inDialog, void* ioEvent, DialogItemIndex* outItem);

// The texts for ^0 to ^3, copied, process-wide. A null text leaves the one before. The next alert of the same
// thread has them whatever other threads give meanwhile; any other has those that were given last.
TOOLBOX_EXPORT void ParamText(ConstStr255Param inText0, ConstStr255Param inText1, ConstStr255Param inText2,
                              ConstStr255Param inText3);

// Shows alert inAlertID and waits for the answer: an item's number, or -1 when the alert's stage says that it
// is not to be shown. Alerts have four stages; one that comes again without another between is at the next
// stage, the fourth being the last. Concurrent alerts come one after the other on the terminal.
TOOLBOX_EXPORT DialogItemIndex StopAlert(SInt16 inAlertID, ModalFilterUPP inFilter);

// Host settings, beside the historic interface.

// Answers an alert: the number of an item. Called on the thread that asks, with no lock held, so that it may
// call the toolbox. Must not throw.
//   inTexts        the four texts of ParamText, good during the call
//   inDefaultItem  the item that the alert marks as default; 1 when it has no ALRT
typedef DialogItemIndex (*AlertHandler)(void* inContext, SInt16 inAlertID, const ConstStr255Param inTexts[4],
                                        DialogItemIndex inDefaultItem);
// Null takes the handler away. A call under way may still be in the old handler when this returns.
TOOLBOX_EXPORT void SetAlertHandler(AlertHandler inHandler, void* inContext);

TOOLBOX_EXTERN_C_END

// Events: what happened to the application, first in, first out.
//
// No window system feeds the queue: it holds what the host posts. It is the process's, and every function may
// be called on any thread. Whoever asks for an event is first told of the changes in folders that the thread
// subscribed to (Notification.h).
#pragma once

#include <toolbox/MacErrors.h>
#include <toolbox/MacTypes.h>
#include <toolbox/QuickDraw.h>
#include <toolbox/ToolboxExport.h>

TOOLBOX_EXTERN_C_BEGIN

typedef UInt16 EventKind;
typedef UInt16 EventMask;  // bit n: events of kind n
typedef UInt16 EventModifiers;

enum { nullEvent = 0, mouseDown = 1, mouseUp = 2, keyDown = 3, keyUp = 4, autoKey = 5, updateEvt = 6 };
enum { everyEvent = 0xFFFF };
enum { evtNotEnb = 1 };  // not queued

typedef struct EventRecord {
    EventKind what;
    UInt32 message;
    UInt32 when;               // ticks
    Point where;               // 0, 0
    EventModifiers modifiers;  // 0
} EventRecord;

// Adds an event to the end of the queue. When that holds 20 already, the oldest is lost. evtNotEnb, and
// nothing is added, for a kind above 15 or nullEvent, and when memory is short.
TOOLBOX_MUST_USE OSErr PostEvent(EventKind inKind, UInt32 inMessage);

// The first event of the kinds that inMask names; true when there is one. Otherwise outEvent is a null event
// of this moment. EventAvail leaves the event in the queue, GetNextEvent takes it out. outEvent must not be
// null.
TOOLBOX_EXPORT Boolean EventAvail(EventMask inMask, EventRecord* outEvent);
TOOLBOX_EXPORT Boolean GetNextEvent(EventMask inMask, EventRecord* outEvent);

TOOLBOX_EXTERN_C_END

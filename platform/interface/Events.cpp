#include "notification/Notices.h"
#include "os/Mutex.h"

#include <toolbox/Events.h>
#include <toolbox/Timer.h>

#include <deque>
#include <new>

namespace toolbox::interface {

namespace {

constexpr std::size_t kMaxEvents = 20;
constexpr EventKind kLastKind = 15;  // of those that a mask has a bit for

struct Queue {
    os::Mutex mutex;
    std::deque<EventRecord> events GUARDED_BY(mutex);
};

// Never destroyed: someone may look while the program ends.
Queue& TheQueue() {
    static Queue& sQueue = *new Queue;
    return sQueue;
}

EventRecord EventOf(EventKind inKind, UInt32 inMessage) {
    return {inKind, inMessage, TickCount(), {0, 0}, 0};
}

bool FindEvent(EventMask inMask, bool inTakesItOut, EventRecord& outEvent) {
    Queue& queue = TheQueue();
    const os::MutexLock lock(queue.mutex);
    for (auto event = queue.events.begin(); event != queue.events.end(); ++event) {
        if ((inMask >> event->what & 1) == 0) continue;
        outEvent = *event;
        if (inTakesItOut) queue.events.erase(event);
        return true;
    }
    return false;
}

Boolean NextEvent(EventMask inMask, bool inTakesItOut, EventRecord* outEvent) {
    notification::DeliverDueNotices();
    if (FindEvent(inMask, inTakesItOut, *outEvent)) return true;
    *outEvent = EventOf(nullEvent, 0);
    return false;
}

}  // namespace

}  // namespace toolbox::interface

using namespace toolbox::interface;

OSErr PostEvent(EventKind inKind, UInt32 inMessage) {
    if (inKind == nullEvent || inKind > kLastKind) return evtNotEnb;
    try {
        Queue& queue = TheQueue();
        const toolbox::os::MutexLock lock(queue.mutex);
        queue.events.push_back(EventOf(inKind, inMessage));
        if (queue.events.size() > kMaxEvents) queue.events.pop_front();
        return noErr;
    } catch (const std::bad_alloc&) {
        return evtNotEnb;
    }
}

Boolean EventAvail(EventMask inMask, EventRecord* outEvent) {
    return NextEvent(inMask, false, outEvent);
}

Boolean GetNextEvent(EventMask inMask, EventRecord* outEvent) {
    return NextEvent(inMask, true, outEvent);
}

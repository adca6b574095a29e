// Notices that wait for the thread that subscribed.
#pragma once

namespace toolbox::notification {

// Calls the subscribers of this thread who have something to be told, one after the other. For whoever hands
// out events to a program. Throws what they throw, and nothing else. Costs a thread that never subscribed a
// look at a variable.
void DeliverDueNotices();

}  // namespace toolbox::notification

// Moments as the system tells them, as companions keep them, and as the catalogue has them.
#pragma once

#include "os/ItemStatus.h"

#include <toolbox/CatalogInfo.h>

namespace toolbox::files {

// What lies before 1904 is its start; what is finer than a 65536th of a second is cut off.
UTCDateTime DateOf(const os::Moment& inMoment);
// The first moment of that 65536th, so that a date comes back from it.
os::Moment MomentOf(const UTCDateTime& inDate);

// Of whole seconds since the start of 2000; CompanionInfo::kNoDate is the date 0, and back.
UTCDateTime DateOfCompanion(SInt32 inSeconds);
// False for a date that cannot be kept so; a fraction is cut off.
bool CompanionSecondsOf(const UTCDateTime& inDate, SInt32& outSeconds);

bool IsSameDate(const UTCDateTime& inLeft, const UTCDateTime& inRight);

// When an item was created as far as the system tells: when it was born, else the earliest that is known.
os::Moment CreationOf(const os::ItemStatus& inStatus);

}  // namespace toolbox::files

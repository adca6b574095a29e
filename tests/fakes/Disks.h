// Volumes, the default folder, the date, and who is told of changes, over the double of the catalogue. Calls
// fail and answer as its own do.
#pragma once

#include <toolbox/CatalogInfo.h>
#include <toolbox/VolumeAttributes.h>
#include <toolbox/VolumeInfo.h>

namespace fakes {

// What is known of every volume. Indexes count from the volume of the root folder; how many there are.
FSVolumeInfo& VolumeInfo();
void SetVolumeCount(ItemCount inCount);

// What every volume can do; at first nothing.
GetVolParmsInfoBuffer& VolumeParameters();

// The default folder; volume and id 0 for none.
void SetDefaultFolder(SInt16 inVolume, SInt32 inFolder);

void SetDate(const UTCDateTime& inDate);
// What GetDateTime and Random answer.
void SetSeconds(UInt32 inSeconds);
void SetRandom(SInt16 inNumber);

void ForgetDisks();

}  // namespace fakes

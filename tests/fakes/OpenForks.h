// Open forks and iterators over the double of the catalogue, which count what is live. Calls fail and answer
// as its own do.
#pragma once

#include <toolbox/MacTypes.h>

#include <string>
#include <utility>
#include <vector>

namespace fakes {

// A fork under a number, of an item; the mark is where the test puts it.
void OpenFork(SInt16 inNumber, UInt32 inItem, const std::string& inBytes, SInt64 inMark = 0);
const std::string& ForkBytes(SInt16 inNumber);

// FSReadFork reads so many bytes before it fails.
void ReadBeforeFailing(ByteCount inByteCount);

// Sizes that FSIterateForks tells, one fork after the other.
void SetForkSizes(const std::vector<std::pair<SInt64, UInt64>>& inSizes);

int LiveIterators();
// The bulk call of this number, counted from 1, tells that the folder was changed.
void ChangeFolderAtBulkCall(int inCall);
// The call that answers the last item of a folder tells the end with it.
void TellTheEndWithTheLastItem();

void ForgetOpenForks();

}  // namespace fakes

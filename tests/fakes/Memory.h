// A memory manager that counts what is live and moves a block whenever it is resized.
#pragma once

#include <toolbox/MacMemory.h>

#include <vector>

namespace fakes {

int LiveHandles();
int LivePtrs();

// What MemError answers after a call that shall fail; memFullErr until it is set.
void SetErrorOfFailure(OSErr inError);
// The next calls that can fail do, each for its own reason.
void FailMemoryCalls(const std::vector<OSErr>& inErrors);
void ForgetMemoryScript();

// What FreeMem and MaxBlock answer.
void SetFreeMemory(Size inTotal, Size inBlock);

// As the toolbox's own functions, for other doubles: not logged, never failing.
Handle MakeHandle(const std::vector<unsigned char>& inBytes);
void SetHandleBytes(Handle ioHandle,
                    const std::vector<unsigned char>& inBytes);  // a null handle is left alone
std::vector<unsigned char> HandleBytes(Handle inHandle);
void DiscardHandle(Handle inHandle);
bool IsLocked(Handle inHandle);

}  // namespace fakes

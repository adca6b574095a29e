// Identifiers for things that are to be told apart.
#pragma once

#include <foundation/MirtalExport.h>

#ifdef __cplusplus
extern "C" {
#endif

// 16 bytes made from the clocks. They are no UUID, and can be guessed; two calls at the same instant, on two
// machines or threads, may answer the same.
MIRTAL_EXPORT void SmartCreateGuid(void* outGuid);

#ifdef __cplusplus
}
#endif

// The chunk callback of the Java native entries.
//
// The entries themselves are found by the Java runtime under their symbol names; no C++ caller has a use for
// them. A library built without a JDK has neither.
#pragma once

#include <foundation/MirtalExport.h>

// A DataCallback that copies the chunk to the start of the context's Java byte array and calls the Java
// method of the context with the array and the chunk's length.
//   inContext  the JavaCallbackContext of a running native entry
//   inData     inLength bytes
//   inLength   not checked against the array: a longer chunk raises ArrayIndexOutOfBoundsException
// What the method throws is left pending and stops nothing; of several exceptions the first stays.
MIRTAL_EXPORT void putDataCallback(void* inContext, void* inData, long inLength);

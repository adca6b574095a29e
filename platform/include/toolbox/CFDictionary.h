// Core Foundation dictionaries with strings as keys, as property lists have them: immutable.
// Keys and values are retained by the dictionary; what is got from it is borrowed.
#pragma once

#include <toolbox/CFString.h>

TOOLBOX_EXTERN_C_BEGIN

typedef const struct OpaqueCFDictionary* CFDictionaryRef;

TOOLBOX_EXPORT CFTypeID CFDictionaryGetTypeID(void);
TOOLBOX_EXPORT CFIndex CFDictionaryGetCount(CFDictionaryRef inDictionary);
// Null, and false, when there is no such key. Keys are compared as CFStringCompare does without flags.
TOOLBOX_EXPORT const void* CFDictionaryGetValue(CFDictionaryRef inDictionary, const void* inKey);
TOOLBOX_EXPORT Boolean CFDictionaryContainsKey(CFDictionaryRef inDictionary, const void* inKey);
// All keys, in rising order, and their values; either array may be null, else it holds as many as there are.
TOOLBOX_EXPORT void CFDictionaryGetKeysAndValues(CFDictionaryRef inDictionary, const void** outKeys,
                                                 const void** outValues);

TOOLBOX_EXTERN_C_END

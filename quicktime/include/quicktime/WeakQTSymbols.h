// The functions that only newer movie toolboxes have, looked up by name when they are first needed.
//
// A null pointer is a function that the running toolbox lacks: test before calling, or call through
// UQTInteraction and UQTProperties, which look up and test by themselves. What was found stays loaded and is
// final. The first lookup must be over before another thread calls into this room: nothing here takes a lock.
#pragma once

#include <foundation/MirtalExport.h>
#include <toolbox/MacTypes.h>
#include <toolbox/Movies.h>

typedef long (*QTBeginUserInteractionSuppressionProcPtr)(void);
typedef void (*QTEndUserInteractionSuppressionProcPtr)(long inToken);
typedef Boolean (*QTIsUserInteractionAllowedProcPtr)(void);
typedef OSStatus (*QTGetMoviePropertyInfoProcPtr)(Movie inMovie, OSType inClass, OSType inID, OSType* outType,
                                                  ByteCount* outSize, UInt32* outFlags);
typedef OSStatus (*QTGetMoviePropertyProcPtr)(Movie inMovie, OSType inClass, OSType inID, ByteCount inSize,
                                              void* outValue, ByteCount* outSizeUsed);
typedef OSStatus (*QTSetMoviePropertyProcPtr)(Movie inMovie, OSType inClass, OSType inID, ByteCount inSize,
                                              const void* inValue);
typedef OSStatus (*QTGetProcessPropertyInfoProcPtr)(OSType inClass, OSType inID, OSType* outType,
                                                    ByteCount* outSize, UInt32* outFlags);
typedef OSStatus (*QTGetProcessPropertyProcPtr)(OSType inClass, OSType inID, ByteCount inSize, void* outValue,
                                                ByteCount* outSizeUsed);
typedef OSStatus (*QTSetProcessPropertyProcPtr)(OSType inClass, OSType inID, ByteCount inSize,
                                                const void* inValue);

// True once the lookup has succeeded; the pointers are then what they will be to the end of the process.
extern MIRTAL_EXPORT Boolean qtInited;

extern MIRTAL_EXPORT QTBeginUserInteractionSuppressionProcPtr _QTBeginUserInteractionSuppression;
extern MIRTAL_EXPORT QTEndUserInteractionSuppressionProcPtr _QTEndUserInteractionSuppression;
extern MIRTAL_EXPORT QTIsUserInteractionAllowedProcPtr _QTIsUserInteractionAllowed;
extern MIRTAL_EXPORT QTGetMoviePropertyInfoProcPtr _QTGetMoviePropertyInfo;
extern MIRTAL_EXPORT QTGetMoviePropertyProcPtr _QTGetMovieProperty;
extern MIRTAL_EXPORT QTSetMoviePropertyProcPtr _QTSetMovieProperty;
extern MIRTAL_EXPORT QTGetProcessPropertyInfoProcPtr _QTGetProcessPropertyInfo;
extern MIRTAL_EXPORT QTGetProcessPropertyProcPtr _QTGetProcessProperty;
extern MIRTAL_EXPORT QTSetProcessPropertyProcPtr _QTSetProcessProperty;

// Loads QuickTime.framework and fills the pointers, once; afterwards it does nothing and returns 0. A
// framework that lacks functions is a success. When the framework cannot be loaded, the status of
// UBundle::LoadFrameworkBundle; nothing has changed then, and the next call tries again.
MIRTAL_EXPORT OSStatus LoadWeakQTSymbols();

// The executable of a QuickTime.framework that may lack a function: built with LACKS_ and the function's name
// defined, or with LACKS_ALL. What is there gives answers that nothing else gives.
#include <toolbox/MacTypes.h>
#include <toolbox/Movies.h>

#define EXPORTED extern "C" __attribute__((visibility("default")))

EXPORTED int gNotAFunction;
int gNotAFunction = 1;

#ifndef LACKS_ALL

namespace {

OSStatus Info(OSStatus inStatus, OSType* outType, ByteCount* outSize, UInt32* outFlags) {
    *outType = 11;
    *outSize = 12;
    *outFlags = 13;
    return inStatus;
}

OSStatus Get(OSStatus inStatus, ByteCount inSize, void* outValue, ByteCount* outSizeUsed) {
    if (inSize == sizeof(UInt32)) *static_cast<UInt32*>(outValue) = 14;
    if (outSizeUsed != nullptr) *outSizeUsed = 15;
    return inStatus;
}

}  // namespace

#ifndef LACKS_QTBeginUserInteractionSuppression
EXPORTED long QTBeginUserInteractionSuppression() {
    return 1000;
}
#endif
#ifndef LACKS_QTEndUserInteractionSuppression
EXPORTED void QTEndUserInteractionSuppression(long) {}
#endif
#ifndef LACKS_QTIsUserInteractionAllowed
EXPORTED Boolean QTIsUserInteractionAllowed() {
    return 0;
}
#endif
#ifndef LACKS_QTGetMoviePropertyInfo
EXPORTED OSStatus QTGetMoviePropertyInfo(Movie, OSType, OSType, OSType* outType, ByteCount* outSize,
                                         UInt32* outFlags) {
    return Info(-1001, outType, outSize, outFlags);
}
#endif
#ifndef LACKS_QTGetMovieProperty
EXPORTED OSStatus QTGetMovieProperty(Movie, OSType, OSType, ByteCount inSize, void* outValue,
                                     ByteCount* outSizeUsed) {
    return Get(-1002, inSize, outValue, outSizeUsed);
}
#endif
#ifndef LACKS_QTSetMovieProperty
EXPORTED OSStatus QTSetMovieProperty(Movie, OSType, OSType, ByteCount, const void*) {
    return -1003;
}
#endif
#ifndef LACKS_QTGetProcessPropertyInfo
EXPORTED OSStatus QTGetProcessPropertyInfo(OSType, OSType, OSType* outType, ByteCount* outSize,
                                           UInt32* outFlags) {
    return Info(-1004, outType, outSize, outFlags);
}
#endif
#ifndef LACKS_QTGetProcessProperty
EXPORTED OSStatus QTGetProcessProperty(OSType, OSType, ByteCount inSize, void* outValue,
                                       ByteCount* outSizeUsed) {
    return Get(0, inSize, outValue, outSizeUsed);
}
#endif
#ifndef LACKS_QTSetProcessProperty
EXPORTED OSStatus QTSetProcessProperty(OSType, OSType, ByteCount, const void*) {
    return -1006;
}
#endif

#endif

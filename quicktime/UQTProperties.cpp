#include <quicktime/UQTProperties.h>
#include <quicktime/WeakQTSymbols.h>
#include <toolbox/MacErrors.h>

namespace {

// By reference: the pointer may be filled by the lookup.
template <typename Function, typename... Arguments>
OSStatus CallIfThere(const Function& inFunction, Arguments... inArguments) {
    if (!qtInited) LoadWeakQTSymbols();
    return inFunction != nullptr ? inFunction(inArguments...) : OSStatus{unimpErr};
}

}  // namespace

OSStatus UQTProperties::GetMoviePropertyInfo(Movie inMovie, OSType inClass, OSType inID, OSType* outType,
                                             ByteCount* outSize, UInt32* outFlags) {
    return CallIfThere(_QTGetMoviePropertyInfo, inMovie, inClass, inID, outType, outSize, outFlags);
}

OSStatus UQTProperties::GetMovieProperty(Movie inMovie, OSType inClass, OSType inID, ByteCount inSize,
                                         void* outValue, ByteCount* outSizeUsed) {
    return CallIfThere(_QTGetMovieProperty, inMovie, inClass, inID, inSize, outValue, outSizeUsed);
}

OSStatus UQTProperties::SetMovieProperty(Movie inMovie, OSType inClass, OSType inID, ByteCount inSize,
                                         const void* inValue) {
    return CallIfThere(_QTSetMovieProperty, inMovie, inClass, inID, inSize, inValue);
}

OSStatus UQTProperties::GetProcessPropertyInfo(OSType inClass, OSType inID, OSType* outType,
                                               ByteCount* outSize, UInt32* outFlags) {
    return CallIfThere(_QTGetProcessPropertyInfo, inClass, inID, outType, outSize, outFlags);
}

OSStatus UQTProperties::GetProcessProperty(OSType inClass, OSType inID, ByteCount inSize, void* outValue,
                                           ByteCount* outSizeUsed) {
    return CallIfThere(_QTGetProcessProperty, inClass, inID, inSize, outValue, outSizeUsed);
}

OSStatus UQTProperties::SetProcessProperty(OSType inClass, OSType inID, ByteCount inSize,
                                           const void* inValue) {
    return CallIfThere(_QTSetProcessProperty, inClass, inID, inSize, inValue);
}

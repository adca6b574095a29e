// Properties of movies, and of the movie toolbox in this process, by class and id.
//
// Values are untyped memory of as many bytes as the property takes. Arguments reach the toolbox as they are,
// null pointers included, and its status is returned. Where it lacks the function: -4 (unimpErr), and no
// argument is touched. Nothing here throws. The first call looks the functions up (WeakQTSymbols.h), and so
// do later ones until that succeeds.
#pragma once

#include <foundation/MirtalExport.h>
#include <toolbox/MacTypes.h>
#include <toolbox/Movies.h>

class MIRTAL_EXPORT UQTProperties {
  public:
    // The value's type, its size in bytes, and what may be done with it.
    [[nodiscard]] static OSStatus GetMoviePropertyInfo(Movie inMovie, OSType inClass, OSType inID,
                                                       OSType* outType, ByteCount* outSize, UInt32* outFlags);
    //   inSize       bytes that outValue holds
    //   outSizeUsed  bytes of the value
    [[nodiscard]] static OSStatus GetMovieProperty(Movie inMovie, OSType inClass, OSType inID,
                                                   ByteCount inSize, void* outValue, ByteCount* outSizeUsed);
    [[nodiscard]] static OSStatus SetMovieProperty(Movie inMovie, OSType inClass, OSType inID,
                                                   ByteCount inSize, const void* inValue);

    // The same of the process.
    [[nodiscard]] static OSStatus GetProcessPropertyInfo(OSType inClass, OSType inID, OSType* outType,
                                                         ByteCount* outSize, UInt32* outFlags);
    [[nodiscard]] static OSStatus GetProcessProperty(OSType inClass, OSType inID, ByteCount inSize,
                                                     void* outValue, ByteCount* outSizeUsed);
    [[nodiscard]] static OSStatus SetProcessProperty(OSType inClass, OSType inID, ByteCount inSize,
                                                     const void* inValue);
};

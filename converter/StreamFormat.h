// What the engine's sources share about the stream and about failing.
#pragma once

#include <foundation/LException.h>
#include <toolbox/MacErrors.h>
#include <toolbox/MacTypes.h>
#include <toolbox/SoundReport.h>

constexpr SInt32 kStreamHeaderByteCount = 44;
constexpr SInt32 kFrameByteCount = 4;  // two 16-bit samples

// The whole stream; wraps above 4 GiB, as the header's own size fields do.
constexpr UInt32 StreamByteCount(SInt32 inFrameCount) {
    return static_cast<UInt32>(inFrameCount) * kFrameByteCount + kStreamHeaderByteCount;
}

// Returns its argument, or throws the code for a required object that could not be had.
template <typename Pointer>
Pointer Required(Pointer inPointer) {
    if (inPointer == nullptr) LException::Throw(FourChars("nilP"));
    return inPointer;
}

// Throws the status that exporting would answer for sound that cannot be decoded, with the name of its format
// as the message. Its length is not announced either, since it would never be delivered.
inline void RequireDecodable(Movie inMovie) {
    MovieSoundReport report = {};
    const OSStatus status = GetMovieSoundReport(inMovie, &report);
    if (status != noErr) LException::Throw(status);
    if (report.decodable != noErr)
        LException::Throw(report.decodable, TCFString(report.formatName, kCFStringEncodingUTF8));
}

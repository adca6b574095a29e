// The conversion engine: an AAC file, or any file the movie toolbox opens, as a WAV byte stream.
//
// The stream is a 44-byte RIFF header and interleaved 16-bit little-endian stereo at the file's own rate,
// delivered through a callback in chunks of at most one second, and padded with silence to exactly the length
// that the header announces. Calls on different threads are independent; the callback runs on the calling
// thread. EnterMovies is the caller's business.
#pragma once

#include <foundation/Int64.h>
#include <foundation/MirtalExport.h>
#include <toolbox/Movies.h>

// Takes the next inLength bytes of the stream, good for the duration of the call; inContext is passed
// through. Chunks come in order. Where the 32-bit arithmetic goes below zero, in a window that ends
// before it starts or a stream beyond 4 GiB, the length is zero or less: there is nothing to take.
typedef void (*DataCallback)(void* inContext, void* inData, long inLength);

// The movie at a POSIX path, or null. The caller disposes of it.
[[nodiscard]] MIRTAL_EXPORT Movie MovieFromPath(const char* inPath);
// A new handle with sample description inIndex (from 1), or null when there is none of more than 15 bytes.
// The caller disposes of it.
[[nodiscard]] MIRTAL_EXPORT Handle GetIndMediaSampleDescription(Media inMedia, long inIndex);
// A new handle with the first description of the first sound track, or null. The caller disposes of it.
[[nodiscard]] MIRTAL_EXPORT Handle GetMovieSoundDescription(Movie inMovie);
// Hz, the fraction dropped; 44100 without a sound description.
MIRTAL_EXPORT long GetMovieSampleRate(Movie inMovie);

// Bytes of the whole stream, known without decoding; 0 when the file cannot be opened. Wraps above 4 GiB:
// WAVReader has the exact length. Throws no LException.
MIRTAL_EXPORT Int64 getConvertedLength(const char* inPath);

// The whole stream, or the window of it that ConvertWindow describes. Neither reports a failure: the stream
// then ends early, or never begins. An exception of inCallback's that is no LException passes through, with
// everything released.
MIRTAL_EXPORT void convert_AAC_to_WAV(const char* inPath, void* inContext, DataCallback inCallback);
MIRTAL_EXPORT void convert_AAC_to_WAV(const char* inPath, void* inContext, DataCallback inCallback,
                                      Int64 inStart, Int64 inDuration);

// The engine one level below its swallowing entries: the same conversions, over a movie that the caller holds, with
// every failure thrown. For callers that tell their users what went wrong, and what damage was met on the way
// (GetMovieSoundReport on the exporter's movie).
#pragma once

#include <converter/AACToWAV.h>
#include <converter/SegmentExporter.h>

// The WAV header of a stream of inFrameCount frames (32-bit arithmetic; sizes wrap above 4 GiB).
struct WAVHeader {
    unsigned char bytes[44];
};
MIRTAL_EXPORT WAVHeader MakeWAVHeader(SInt32 inSampleRate, UInt32 inFrameCount);

// Whole stream. Throws LException from the exporter; whatever inCallback throws passes through.
MIRTAL_EXPORT void ConvertWhole(SegmentExporter& ioExporter, void* inContext, DataCallback inCallback);
MIRTAL_EXPORT void ConvertWindow(SegmentExporter& ioExporter, void* inContext, DataCallback inCallback, Int64 inStart,
                                 Int64 inDuration);

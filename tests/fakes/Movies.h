// A movie toolbox that does what the test says: movies by path, their tracks, and the blocks that export
// gives.
#pragma once

#include <toolbox/Movies.h>

#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace fakes {

using Bytes = std::vector<unsigned char>;

// What one export gives: a status, and with noErr the contents of the handle.
struct Rendered {
    ComponentResult status = 0;
    Bytes block;
};

struct ScriptedTrack {
    OSType mediaType;
    std::vector<Bytes> sampleDescriptions;
};

struct ScriptedMovie {
    std::vector<ScriptedTrack> tracks;
    UInt32 sampleRateHz = 44100;  // the frames' own time scale
    SInt64 frameCount = 0;
    TimeScale timeScale = 600;               // until it is set
    std::optional<TimeValue> duration = {};  // answered whatever the frame count is
    std::function<Rendered(SInt64 inFirstFrame, SInt64 inFrameCount)> render = {};
    OSStatus decodable = 0;
};

// A 36-byte sound description with a rate in 16.16.
Bytes SoundDescriptionBytes(UInt32 inRate);
// A sound resource whose header announces inFrameCount frames, with inSamples (big-endian) after it.
Bytes SoundBlock(UInt32 inFrameCount, const Bytes& inSamples, UInt32 inChannelCount = 2,
                 UInt16 inSampleBits = 16);

// A sound that is a function of position, and a movie of inFrameCount frames of it with one sound track.
UInt16 ToneSample(SInt64 inFrame, int inChannel);
Bytes ToneBytes(SInt64 inFirstFrame, SInt64 inFrameCount, bool inIsBigEndian);
// Frames that the tone renders of a stretch when only frames below inRenderedFrames are there.
Rendered RenderTone(SInt64 inFirstFrame, SInt64 inFrameCount, SInt64 inRenderedFrames);
ScriptedMovie ToneMovie(UInt32 inSampleRateHz, SInt64 inFrameCount);

void AddMovie(const std::string& inPath, const ScriptedMovie& inMovie);
void ForgetMovies();

int LiveMovies();
int LiveExporters();
// The handle that the last export was given.
Handle ExportHandle();
// The last description that an exporter was given.
Bytes OutputFormat();
// What the next Microseconds answers.
void SetMicroseconds(UInt32 inHigh, UInt32 inLow);

}  // namespace fakes

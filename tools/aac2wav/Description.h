// What is known of an input, as text for people and as JSON.
#pragma once

#include <converter/SegmentExporter.h>
#include <toolbox/SoundReport.h>
#include <toolbox/SoundTracks.h>

#include <string>
#include <vector>

namespace tool {

struct Description {
    std::string path;
    MovieSoundReport report;
    SInt32 streamRateHz;
    SInt64 streamFrameCount;
    SInt64 streamByteCount;
    std::vector<MovieSoundTrackInfo> tracks;  // all sound tracks of the file
};

// Several lines for people, or one line of JSON; each ends in a line end. In JSON a name that is no UTF-8 has
// U+FFFD where it is none, and all its bytes in a member of its own ("fileBytes", "outputBytes"),
// percent-encoded as in a URL.
std::string DescriptionText(const Description& inDescription);
std::string DescriptionJSON(const Description& inDescription);
// Of a conversion, with the name of what it made.
std::string ConversionJSON(const Description& inDescription, const std::string& inOutput);
// One line of JSON that tells why there is no description; inOutput may be empty.
std::string FailureJSON(const std::string& inPath, const std::string& inReason,
                        const std::string& inOutput = {});
std::string SkippedJSON(const std::string& inPath, const std::string& inOutput);

}  // namespace tool

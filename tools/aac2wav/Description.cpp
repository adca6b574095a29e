#include "Description.h"

#include "Printable.h"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <cstdint>
#include <cstdio>
#include <cstring>

namespace tool {
namespace {

const char* TrimSourceText(UInt32 inTrimSource) {
    switch (inTrimSource) {
        case kSoundTrimEditList:
            return "edit list";
        case kSoundTrimGaplessTag:
            return "gapless tag";
        case kSoundTrimCodecHeader:
            return "codec header";
        default:
            return "none";
    }
}

std::string Decimals(double inValue, int inDigits) {
    char text[64];
    const int length = std::snprintf(text, sizeof text, "%.*f", inDigits, inValue);
    return std::string(text, static_cast<std::size_t>(length));
}

double SecondsOf(SInt64 inFrameCount, UInt32 inRateHz) {
    return inRateHz > 0 ? static_cast<double>(inFrameCount) / inRateHz : 0;
}

std::string FourCharacters(OSType inType) {
    std::string text;
    for (int shift = 24; shift >= 0; shift -= 8) {
        const char character = static_cast<char>(inType >> shift & 0xFF);
        text += character >= 0x20 && character < 0x7F ? character : '?';
    }
    return text;
}

std::string NameOf(const MovieSoundTrackInfo& inTrack) {
    return inTrack.formatName[0] != 0 ? inTrack.formatName : FourCharacters(inTrack.format);
}

std::string TrackText(const MovieSoundTrackInfo& inTrack) {
    std::string text = NameOf(inTrack);
    if (inTrack.sampleRateHz != 0) text += ", " + std::to_string(inTrack.sampleRateHz) + " Hz";
    if (inTrack.channelCount != 0) text += ", " + CountOf(inTrack.channelCount, "channel");
    if (inTrack.language[0] != 0) text += std::string(", ") + inTrack.language;
    if (inTrack.isEnabled == 0) text += ", disabled";
    return inTrack.isTaken != 0 ? text + ", taken" : text;
}

// An object of JSON, member by member. It is a text and nothing else, so that it can be let go of where
// memory ends.
class JSONObject {
  public:
    void PutText(const char* inMember, const std::string& inValue) { Put(inMember, QuotedJSON(inValue)); }
    void PutNumber(const char* inMember, std::uint64_t inValue) { Put(inMember, std::to_string(inValue)); }
    void PutNumber(const char* inMember, SInt64 inValue) { Put(inMember, std::to_string(inValue)); }
    void PutSeconds(const char* inMember, double inValue) {
        char text[400];  // the longest that there is, without an exponent
        const char* const end =
            std::to_chars(text, text + sizeof text, inValue, std::chars_format::fixed).ptr;
        const std::string number(text, static_cast<std::size_t>(end - text));
        Put(inMember, number.find('.') == std::string::npos ? number + ".0" : number);
    }
    void PutBoolean(const char* inMember, bool inValue) { Put(inMember, inValue ? "true" : "false"); }
    void PutNull(const char* inMember) { Put(inMember, "null"); }
    // 0 is not known.
    void PutKnown(const char* inMember, UInt32 inValue) {
        inValue == 0 ? PutNull(inMember) : PutNumber(inMember, std::uint64_t{inValue});
    }
    // inJSON as it is.
    void Put(const std::string& inMember, const std::string& inJSON) {
        mMembers += (mMembers.empty() ? "\"" : ",\"") + inMember + "\":" + inJSON;
    }
    std::string Text() const { return '{' + mMembers + '}'; }

  private:
    std::string mMembers;
};

std::string PercentEncoded(const std::string& inBytes) {
    std::string text;
    for (const char character : inBytes) {
        const auto byte = static_cast<unsigned char>(character);
        const bool isPlain =
            byte < 0x80 && (std::isalnum(byte) != 0 || std::strchr("/-._~", character) != nullptr);
        char escape[4] = {character, 0, 0, 0};
        if (!isPlain) std::snprintf(escape, sizeof escape, "%%%02X", byte);
        text += escape;
    }
    return text;
}

void PutName(JSONObject& ioObject, const std::string& inMember, const std::string& inName) {
    ioObject.PutText(inMember.c_str(), inName);
    if (!IsUTF8(inName)) ioObject.PutText((inMember + "Bytes").c_str(), PercentEncoded(inName));
}

JSONObject ObjectOf(const std::string& inPath, const std::string& inOutput) {
    JSONObject object;
    PutName(object, "file", inPath);
    if (!inOutput.empty()) PutName(object, "output", inOutput);
    return object;
}

std::string TracksJSON(const std::vector<MovieSoundTrackInfo>& inTracks) {
    std::string text;
    SInt64 number = 0;
    for (const MovieSoundTrackInfo& track : inTracks) {
        JSONObject object;
        object.PutNumber("track", ++number);
        object.PutText("format", NameOf(track));
        object.PutText("type", FourCharacters(track.format));
        object.PutKnown("sampleRateHz", track.sampleRateHz);
        object.PutKnown("channels", track.channelCount);
        track.language[0] == 0 ? object.PutNull("language") : object.PutText("language", track.language);
        object.PutBoolean("enabled", track.isEnabled != 0);
        object.PutBoolean("taken", track.isTaken != 0);
        text += (text.empty() ? "" : ",") + object.Text();
    }
    return '[' + text + ']';
}

void PutSound(JSONObject& ioObject, const MovieSoundReport& inReport) {
    JSONObject sound;
    sound.PutText("format", inReport.formatName);
    sound.PutText("type", FourCharacters(inReport.format));
    sound.PutNumber("sampleRateHz", std::uint64_t{inReport.sampleRateHz});
    sound.PutNumber("channels", std::uint64_t{inReport.channelCount});
    sound.PutNumber("frames", inReport.frameCount);
    sound.PutSeconds("seconds", SecondsOf(inReport.frameCount, inReport.sampleRateHz));
    sound.PutNumber("packets", inReport.packetCount);
    ioObject.Put("sound", sound.Text());
    JSONObject trim;
    trim.PutText("source", TrimSourceText(inReport.trimSource));
    trim.PutNumber("startFrames", inReport.framesTrimmedAtStart);
    trim.PutNumber("endFrames", inReport.framesTrimmedAtEnd);
    ioObject.Put("trim", trim.Text());
}

void PutDescription(JSONObject& ioObject, const Description& inDescription) {
    const MovieSoundReport& report = inDescription.report;
    ioObject.PutText("container", report.containerName);
    report.format == 0 ? ioObject.PutNull("sound") : PutSound(ioObject, report);
    JSONObject stream;
    stream.PutNumber("bytes", inDescription.streamByteCount);
    stream.PutNumber("frames", inDescription.streamFrameCount);
    stream.PutNumber("sampleRateHz", SInt64{inDescription.streamRateHz});
    ioObject.Put("stream", stream.Text());
    if (!inDescription.tracks.empty()) ioObject.Put("tracks", TracksJSON(inDescription.tracks));
    JSONObject damage;
    damage.PutNumber("packets", report.damagedPacketCount);
    damage.PutNumber("silencedFrames", report.silencedFrameCount);
    damage.PutNumber("skippedBytes", report.skippedByteCount);
    ioObject.Put("damage", damage.Text());
}

}  // namespace

std::string DescriptionText(const Description& inDescription) {
    const MovieSoundReport& report = inDescription.report;
    std::string text = Printable(inDescription.path) + '\n';
    const auto line = [&text](const char* inLabel, const std::string& inValue) {
        text += std::string("  ") + inLabel +
                std::string(std::max<std::size_t>(11, std::strlen(inLabel) + 1) - std::strlen(inLabel), ' ') +
                Printable(inValue) + '\n';
    };
    line("format", report.format == 0 ? "no sound" : report.formatName);
    line("container", report.containerName);
    if (report.format != 0) {
        line("rate", std::to_string(report.sampleRateHz) + " Hz");
        line("channels", std::to_string(report.channelCount));
        line("frames", std::to_string(report.frameCount));
        line("length", Decimals(SecondsOf(report.frameCount, report.sampleRateHz), 6) + " s");
        line("trimmed", CountOf(static_cast<UInt64>(report.framesTrimmedAtStart), "frame") +
                            " at the start, " + std::to_string(report.framesTrimmedAtEnd) +
                            " at the end, by " + TrimSourceText(report.trimSource));
        line("packets", std::to_string(report.packetCount));
    }
    line("stream", CountOf(static_cast<UInt64>(inDescription.streamByteCount), "byte") + ", " +
                       CountOf(static_cast<UInt64>(inDescription.streamFrameCount), "frame") + " at " +
                       std::to_string(inDescription.streamRateHz) + " Hz");
    line("damage", CountOf(report.damagedPacketCount, "packet") + ", " +
                       CountOf(static_cast<UInt64>(report.silencedFrameCount), "frame") + " silenced, " +
                       CountOf(report.skippedByteCount, "byte") + " skipped");
    for (std::size_t index = 0; index < inDescription.tracks.size(); ++index)
        line(("track " + std::to_string(index + 1)).c_str(), TrackText(inDescription.tracks[index]));
    return text;
}

std::string DescriptionJSON(const Description& inDescription) {
    JSONObject object = ObjectOf(inDescription.path, {});
    PutDescription(object, inDescription);
    return object.Text() + '\n';
}

std::string ConversionJSON(const Description& inDescription, const std::string& inOutput) {
    JSONObject object = ObjectOf(inDescription.path, inOutput);
    PutDescription(object, inDescription);
    return object.Text() + '\n';
}

std::string FailureJSON(const std::string& inPath, const std::string& inReason, const std::string& inOutput) {
    JSONObject object = ObjectOf(inPath, inOutput);
    object.PutText("error", inReason);
    return object.Text() + '\n';
}

std::string SkippedJSON(const std::string& inPath, const std::string& inOutput) {
    JSONObject object = ObjectOf(inPath, inOutput);
    object.PutBoolean("skipped", true);
    return object.Text() + '\n';
}

}  // namespace tool

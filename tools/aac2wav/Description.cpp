#include "Description.h"

#include "Printable.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <cstring>

namespace tool {
namespace {

using JSON = nlohmann::ordered_json;

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
    if (inTrack.channelCount != 0) {
        text += ", " + std::to_string(inTrack.channelCount) +
                (inTrack.channelCount == 1 ? " channel" : " channels");
    }
    if (inTrack.language[0] != 0) text += std::string(", ") + inTrack.language;
    if (inTrack.isEnabled == 0) text += ", disabled";
    return inTrack.isTaken != 0 ? text + ", taken" : text;
}

std::string Dump(const JSON& inObject) {
    return PrintableJSON(inObject.dump(-1, ' ', false, JSON::error_handler_t::replace)) + '\n';
}

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

void PutName(JSON& ioObject, const std::string& inMember, const std::string& inName) {
    ioObject[inMember] = inName;
    if (!IsUTF8(inName)) ioObject[inMember + "Bytes"] = PercentEncoded(inName);
}

JSON ObjectOf(const std::string& inPath, const std::string& inOutput) {
    JSON object;
    PutName(object, "file", inPath);
    if (!inOutput.empty()) PutName(object, "output", inOutput);
    return object;
}

// Null for what is not known.
JSON Known(UInt32 inNumber) {
    return inNumber == 0 ? JSON() : JSON(inNumber);
}

JSON TracksJSON(const std::vector<MovieSoundTrackInfo>& inTracks) {
    JSON tracks = JSON::array();
    for (const MovieSoundTrackInfo& track : inTracks) {
        tracks.push_back({{"track", tracks.size() + 1},
                          {"format", NameOf(track)},
                          {"type", FourCharacters(track.format)},
                          {"sampleRateHz", Known(track.sampleRateHz)},
                          {"channels", Known(track.channelCount)},
                          {"language", track.language[0] == 0 ? JSON() : JSON(track.language)},
                          {"enabled", track.isEnabled != 0},
                          {"taken", track.isTaken != 0}});
    }
    return tracks;
}

void PutDescription(JSON& ioObject, const Description& inDescription) {
    const MovieSoundReport& report = inDescription.report;
    ioObject["container"] = report.containerName;
    if (report.format == 0) {
        ioObject["sound"] = nullptr;
    } else {
        ioObject["sound"] = {{"format", report.formatName},
                             {"type", FourCharacters(report.format)},
                             {"sampleRateHz", report.sampleRateHz},
                             {"channels", report.channelCount},
                             {"frames", report.frameCount},
                             {"seconds", SecondsOf(report.frameCount, report.sampleRateHz)},
                             {"packets", report.packetCount}};
        ioObject["trim"] = {{"source", TrimSourceText(report.trimSource)},
                            {"startFrames", report.framesTrimmedAtStart},
                            {"endFrames", report.framesTrimmedAtEnd}};
    }
    ioObject["stream"] = {{"bytes", inDescription.streamByteCount},
                          {"frames", inDescription.streamFrameCount},
                          {"sampleRateHz", inDescription.streamRateHz}};
    if (!inDescription.tracks.empty()) ioObject["tracks"] = TracksJSON(inDescription.tracks);
    ioObject["damage"] = {{"packets", report.damagedPacketCount},
                          {"silencedFrames", report.silencedFrameCount},
                          {"skippedBytes", report.skippedByteCount}};
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
        line("trimmed", std::to_string(report.framesTrimmedAtStart) + " frames at the start, " +
                            std::to_string(report.framesTrimmedAtEnd) + " at the end, by " +
                            TrimSourceText(report.trimSource));
        line("packets", std::to_string(report.packetCount));
    }
    line("stream", std::to_string(inDescription.streamByteCount) + " bytes, " +
                       std::to_string(inDescription.streamFrameCount) + " frames at " +
                       std::to_string(inDescription.streamRateHz) + " Hz");
    line("damage", std::to_string(report.damagedPacketCount) + " packets, " +
                       std::to_string(report.silencedFrameCount) + " frames silenced, " +
                       std::to_string(report.skippedByteCount) + " bytes skipped");
    for (std::size_t index = 0; index < inDescription.tracks.size(); ++index)
        line(("track " + std::to_string(index + 1)).c_str(), TrackText(inDescription.tracks[index]));
    return text;
}

std::string DescriptionJSON(const Description& inDescription) {
    JSON object = ObjectOf(inDescription.path, {});
    PutDescription(object, inDescription);
    return Dump(object);
}

std::string ConversionJSON(const Description& inDescription, const std::string& inOutput) {
    JSON object = ObjectOf(inDescription.path, inOutput);
    PutDescription(object, inDescription);
    return Dump(object);
}

std::string FailureJSON(const std::string& inPath, const std::string& inReason, const std::string& inOutput) {
    JSON object = ObjectOf(inPath, inOutput);
    object["error"] = inReason;
    return Dump(object);
}

std::string SkippedJSON(const std::string& inPath, const std::string& inOutput) {
    JSON object = ObjectOf(inPath, inOutput);
    object["skipped"] = true;
    return Dump(object);
}

}  // namespace tool

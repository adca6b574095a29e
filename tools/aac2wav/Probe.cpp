#include "Probe.h"

#include "Failure.h"
#include "Output.h"
#include "Progress.h"
#include "Signals.h"
#include "Source.h"

#include <toolbox/MacErrors.h>
#include <unistd.h>

#include <cstdio>
#include <nlohmann/json.hpp>
#include <vector>

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

std::string Dump(const nlohmann::ordered_json& inObject) {
    // A file's name may be no UTF-8.
    return inObject.dump(-1, ' ', false, nlohmann::ordered_json::error_handler_t::replace) + '\n';
}

void Print(const std::string& inText) {
    WriteAll(STDOUT_FILENO, inText.data(), inText.size(), "standard output");
}

Description Describe(WAVReader& ioReader, const std::string& inPath) {
    Description description;
    description.path = inPath;
    description.report = ReportOf(ioReader.Exporter());
    description.streamRateHz = ioReader.Exporter().SampleRate();
    description.streamFrameCount = ioReader.FrameCount();
    description.streamByteCount = ioReader.ByteCount();
    return description;
}

void DecodeAll(WAVReader& ioReader, const Job& inJob, const Options& inOptions) {
    const SInt64 chunkBytes = ioReader.Exporter().SegmentFrames() * SInt64{4};
    std::vector<unsigned char> chunk(static_cast<std::size_t>(chunkBytes));
    Progress progress(inJob.input, ioReader.ByteCount(), chunkBytes, inOptions.isQuiet);
    SInt64 position = 0;
    while (const std::size_t count = ioReader.Read(position, chunk.data(), chunk.size())) {
        CheckSignals();
        position += static_cast<SInt64>(count);
        progress.Advance(static_cast<SInt64>(count));
    }
}

int ProbeInput(const Job& inJob, const Options& inOptions) {
    const auto reader = OpenReader(inJob.input, WAVReader::Header::kRIFF);
    RequireDecodable(ReportOf(reader->Exporter()), inJob.input);
    try {
        DecodeAll(*reader, inJob, inOptions);
    } catch (const LException& exception) {
        throw FailureOf(exception, inJob.input);
    }
    const Description description = Describe(*reader, inJob.input);
    Print(inOptions.isJSON ? DescriptionJSON(description) : DescriptionText(description));
    const bool isDamaged = description.report.damagedPacketCount > 0;
    return isDamaged && !inOptions.keepsGoing ? EX_DATAERR : EX_OK;
}

}  // namespace

std::string DescriptionText(const Description& inDescription) {
    const MovieSoundReport& report = inDescription.report;
    std::string text = inDescription.path + '\n';
    const auto line = [&text](const char* inLabel, const std::string& inValue) {
        text +=
            std::string("  ") + inLabel + std::string(11 - std::string(inLabel).size(), ' ') + inValue + '\n';
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
    return text;
}

std::string DescriptionJSON(const Description& inDescription) {
    const MovieSoundReport& report = inDescription.report;
    nlohmann::ordered_json object;
    object["file"] = inDescription.path;
    object["container"] = report.containerName;
    if (report.format == 0) {
        object["sound"] = nullptr;
    } else {
        object["sound"] = {{"format", report.formatName},
                           {"type", FourCharacters(report.format)},
                           {"sampleRateHz", report.sampleRateHz},
                           {"channels", report.channelCount},
                           {"frames", report.frameCount},
                           {"seconds", SecondsOf(report.frameCount, report.sampleRateHz)},
                           {"packets", report.packetCount}};
        object["trim"] = {{"source", TrimSourceText(report.trimSource)},
                          {"startFrames", report.framesTrimmedAtStart},
                          {"endFrames", report.framesTrimmedAtEnd}};
    }
    object["stream"] = {{"bytes", inDescription.streamByteCount},
                        {"frames", inDescription.streamFrameCount},
                        {"sampleRateHz", inDescription.streamRateHz}};
    object["damage"] = {{"packets", report.damagedPacketCount},
                        {"silencedFrames", report.silencedFrameCount},
                        {"skippedBytes", report.skippedByteCount}};
    return Dump(object);
}

std::string FailureJSON(const std::string& inPath, const std::string& inReason) {
    nlohmann::ordered_json object;
    object["file"] = inPath;
    object["error"] = inReason;
    return Dump(object);
}

int Probe(const Job& inJob, const Options& inOptions) {
    try {
        return ProbeInput(inJob, inOptions);
    } catch (const Failure& failure) {
        if (inOptions.isJSON && failure.Subject() == inJob.input) {
            Print(FailureJSON(inJob.input, failure.what()));
        }
        throw;
    }
}

}  // namespace tool

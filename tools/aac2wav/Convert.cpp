#include "Convert.h"

#include "Failure.h"
#include "Output.h"
#include "Progress.h"
#include "Signals.h"
#include "Source.h"

#include <converter/Conversion.h>
#include <unistd.h>

#include <algorithm>
#include <limits>
#include <vector>

namespace tool {
namespace {

constexpr SInt64 kFrameBytes = 4;
constexpr SInt64 kHeaderBytes = sizeof(WAVHeader);

// The engine's callback, with what it delivers to.
struct Delivery {
    Output& output;
    Progress progress;

    static void Deliver(void* inContext, void* inData, long inLength) {
        auto& delivery = *static_cast<Delivery*>(inContext);
        // A window shorter than its start gives lengths below zero.
        if (inLength <= 0) {
            return;
        }
        delivery.output.Write(inData, static_cast<std::size_t>(inLength));
        delivery.progress.Advance(inLength);
    }
};

// Length of the stream that the header announces. A window's frames are its duration's bytes taken as frames,
// less 11.
SInt64 AnnouncedBytes(const SegmentExporter& inExporter, const Options& inOptions) {
    SInt64 frameCount = FrameCountOf(inExporter);
    if (inOptions.hasWindow && inOptions.durationBytes > 0) {
        frameCount = std::min(frameCount, std::max<SInt64>(0, inOptions.durationBytes - 11));
    }
    return frameCount * kFrameBytes + kHeaderBytes;
}

void CheckBeforeWriting(const MovieSoundReport& inReport, const Job& inJob, const Options& inOptions) {
    RequireDecodable(inReport, inJob.input);
    if (inReport.format == 0 && !inOptions.isQuiet) {
        Say(inJob.input, "note: there is no sound in it; the WAV is silence");
    }
}

Output::Replace ReplaceOf(const Options& inOptions) {
    return inOptions.replacesAnything ? Output::Replace::kAnything : Output::Replace::kSoundOnly;
}

int Finish(Output& ioOutput, const SegmentExporter& inExporter, const Job& inJob, const Options& inOptions) {
    ioOutput.Commit();
    const bool isDamaged = TellDamage(ReportOf(inExporter), inJob.input, inOptions.isQuiet);
    return isDamaged && !inOptions.keepsGoing ? EX_DATAERR : EX_OK;
}

int ConvertRIFF(const Job& inJob, const Options& inOptions) {
    const auto exporter = OpenExporter(inJob.input);
    CheckBeforeWriting(ReportOf(*exporter), inJob, inOptions);
    const SInt64 announcedBytes = AnnouncedBytes(*exporter, inOptions);
    if (announcedBytes > std::numeric_limits<UInt32>::max()) {
        throw Failure(EX_DATAERR, inJob.input,
                      "the stream has " + std::to_string(announcedBytes) +
                          " bytes, a WAV header counts to 4 GiB; --rf64 goes beyond");
    }
    Output output(inJob.output, ReplaceOf(inOptions));
    {
        Delivery delivery{output, Progress(inJob.input, announcedBytes - inOptions.startBytes,
                                           exporter->SampleRate() * kFrameBytes, inOptions.isQuiet)};
        if (inOptions.hasWindow) {
            ConvertWindow(*exporter, &delivery, Delivery::Deliver,
                          Int64(static_cast<long long>(inOptions.startBytes)),
                          Int64(static_cast<long long>(inOptions.durationBytes)));
        } else {
            ConvertWhole(*exporter, &delivery, Delivery::Deliver);
        }
    }
    return Finish(output, *exporter, inJob, inOptions);
}

int ConvertRF64(const Job& inJob, const Options& inOptions) {
    const auto reader = OpenReader(inJob.input, WAVReader::Header::kRF64);
    CheckBeforeWriting(ReportOf(reader->Exporter()), inJob, inOptions);
    const SInt64 chunkBytes = reader->Exporter().SegmentFrames() * kFrameBytes;
    std::vector<unsigned char> chunk(static_cast<std::size_t>(chunkBytes));
    Output output(inJob.output, ReplaceOf(inOptions));
    {
        Progress progress(inJob.input, reader->ByteCount(), chunkBytes, inOptions.isQuiet);
        while (const std::size_t count = reader->Read(output.ByteCount(), chunk.data(), chunk.size())) {
            output.Write(chunk.data(), count);
            progress.Advance(static_cast<SInt64>(count));
        }
    }
    return Finish(output, reader->Exporter(), inJob, inOptions);
}

}  // namespace

int Convert(const Job& inJob, const Options& inOptions) {
    try {
        return inOptions.isRF64 ? ConvertRF64(inJob, inOptions) : ConvertRIFF(inJob, inOptions);
    } catch (const LException& exception) {
        throw FailureOf(exception, inJob.input);
    }
}

void PrintLength(const Job& inJob, const Options& inOptions) {
    const auto header = inOptions.isRF64 ? WAVReader::Header::kRF64 : WAVReader::Header::kRIFF;
    const auto reader = OpenReader(inJob.input, header);
    RequireDecodable(ReportOf(reader->Exporter()), inJob.input);
    const std::string line = std::to_string(reader->ByteCount()) + '\n';
    WriteAll(STDOUT_FILENO, line.data(), line.size(), "standard output");
}

}  // namespace tool

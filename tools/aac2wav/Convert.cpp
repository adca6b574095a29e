#include "Convert.h"

#include "Description.h"
#include "Failure.h"
#include "Input.h"
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
constexpr SInt64 kMaxPushedBytes = std::numeric_limits<UInt32>::max();  // with which the engine counts

// The engine's callback, with what it delivers to.
struct Delivery {
    Output& output;
    Progress progress;

    static void Deliver(void* inContext, void* inData, long inLength) {
        auto& delivery = *static_cast<Delivery*>(inContext);
        // A window shorter than its start gives lengths below zero.
        if (inLength <= 0) return;
        delivery.output.Write(inData, static_cast<std::size_t>(inLength));
        delivery.progress.Advance(inLength);
    }
};

// One conversion under way.
struct Work {
    const Job& job;
    const Options& options;
    const Session& session;
    const Input& input;
    Output::Manner manner;
};

// Frames that the header announces. Those of a window of bytes are its duration's bytes taken as frames, less
// 11.
SInt64 AnnouncedFrames(const SegmentExporter& inExporter, const Options& inOptions) {
    const SInt64 frameCount = FrameCountOf(inExporter);
    if (inOptions.hasWindow && inOptions.durationBytes > 0)
        return std::min(frameCount, std::max<SInt64>(0, inOptions.durationBytes - 11));
    return frameCount;
}

// The engine takes the low 32 bits of a duration. One that goes beyond the whole, and beyond the header,
// which it bounds too, says no more than that.
SInt64 PassedDurationBytes(const SegmentExporter& inExporter, const Options& inOptions) {
    return std::min(inOptions.durationBytes, std::max(FrameCountOf(inExporter) + 11, kHeaderBytes));
}

void CheckBeforeWriting(const SegmentExporter& inExporter, const Work& inWork) {
    const MovieSoundReport report = ReportOf(inExporter);
    RequireDecodable(report, inWork.input.Name());
    if (report.format == 0 && !inWork.options.isQuiet)
        Say(inWork.input.Name(), "note: there is no sound in it; the output is silence");
    if (inWork.options.soundTrack == 0 && !inWork.options.isQuiet)
        TellTakenTrack(inExporter, inWork.input.Name());
}

void RequireWAVLength(SInt64 inByteCount, SInt64 inMaxBytes, const Work& inWork) {
    if (inByteCount <= inMaxBytes) return;
    const std::string beyond = inWork.options.hasWindow
                                   ? "a window of bytes counts to " + std::to_string(inMaxBytes)
                                   : "a WAV header counts to 4 GiB; --rf64 goes beyond";
    throw Failure(EX_DATAERR, inWork.input.Name(),
                  "the stream has " + std::to_string(inByteCount) + " bytes, " + beyond);
}

void Finish(Output& ioOutput, const SegmentExporter& inExporter, SInt64 inFrameCount, const Work& inWork,
            Ending& outEnding) {
    const MovieSoundReport report = ReportOf(inExporter);
    const bool isDamaged = TellDamage(report, inWork.input.Name(), inWork.options);
    if (isDamaged && !inWork.options.keepsGoing) {
        outEnding.exitCode = EX_DATAERR;
        if (ioOutput.ReplacesWholeWAV()) {
            throw Failure(EX_DATAERR, inWork.job.output,
                          "is a whole WAV file and stays: the input is damaged (--keep-going replaces it)");
        }
    }
    ioOutput.Commit();
    if (inWork.options.keepsTime) ioOutput.SetTimes(inWork.input.Times());
    if (inWork.options.isJSON) {
        const Description description = {inWork.job.input,        report,
                                         inExporter.SampleRate(), inFrameCount,
                                         ioOutput.ByteCount(),    TracksOf(inExporter)};
        Print(ConversionJSON(description, inWork.job.output));
    }
}

// By the reader, which knows all but windows of bytes.
void Pull(const Work& inWork, Ending& outEnding) {
    const Stream stream(inWork.input, inWork.options);
    CheckBeforeWriting(stream.Exporter(), inWork);
    if (!inWork.options.isRF64 && !inWork.options.isRaw)
        RequireWAVLength(stream.ByteCount(), WAVReader::kMaxRIFFBytes, inWork);
    Output output(inWork.job.output, inWork.manner);
    {
        Progress progress(inWork.input.Name(), stream.ByteCount(), stream.SecondBytes(),
                          inWork.options.isQuiet, inWork.session.Place());
        stream.Deliver([&](const void* inBytes, std::size_t inByteCount) {
            output.Write(inBytes, inByteCount);
            progress.Advance(static_cast<SInt64>(inByteCount));
        });
    }
    Finish(output, stream.Exporter(), stream.FrameCount(), inWork, outEnding);
}

// By the engine's own conversions, which know windows of bytes and headers of 44 bytes.
void Push(const Work& inWork, Ending& outEnding) {
    const Options& options = inWork.options;
    auto exporter = OpenExporter(inWork.input, options);
    const SInt64 frameCount = AnnouncedFrames(*exporter, options);
    const SInt64 announcedBytes = frameCount * kFrameBytes + kHeaderBytes;
    if (announcedBytes > kMaxPushedBytes && !options.hasWindow) {
        exporter.reset();
        Pull(inWork, outEnding);
        return;
    }
    CheckBeforeWriting(*exporter, inWork);
    RequireWAVLength(announcedBytes, kMaxPushedBytes, inWork);
    Output output(inWork.job.output, inWork.manner);
    {
        Delivery delivery{
            output, Progress(inWork.input.Name(), announcedBytes - options.startBytes,
                             exporter->SampleRate() * kFrameBytes, options.isQuiet, inWork.session.Place())};
        if (options.hasWindow) {
            ConvertWindow(*exporter, &delivery, Delivery::Deliver,
                          Int64(static_cast<long long>(options.startBytes)),
                          Int64(static_cast<long long>(PassedDurationBytes(*exporter, options))));
        } else {
            ConvertWhole(*exporter, &delivery, Delivery::Deliver);
        }
    }
    Finish(output, *exporter, frameCount, inWork, outEnding);
}

bool IsSkipped(const Job& inJob, const Session& inSession) {
    if (!inSession.options.skipsExisting || inJob.output == "-" || !IsTaken(inJob.output)) return false;
    if (!inSession.options.isQuiet) Say(inJob.output, "note: exists, skipped");
    if (inSession.options.isJSON) Print(SkippedJSON(inJob.input, inJob.output));
    return true;
}

Output::Replace ReplaceOf(const Job& inJob, const Session& inSession) {
    if (inSession.options.replacesAnything) return Output::Replace::kAnything;
    if (inSession.options.skipsExisting) return Output::Replace::kNothing;
    if (!inJob.isDerived) return Output::Replace::kSoundOnly;
    const bool isAsked = inSession.question.MayAsk() && IsTaken(inJob.output);
    return isAsked ? Output::Replace::kThisFile : Output::Replace::kNothing;
}

void Ask(const Job& inJob, Session& ioSession) {
    switch (ioSession.question.Ask(inJob.output)) {
        case Question::Answer::kYes:
            return;
        case Question::Answer::kQuit:
            throw Quit();
        case Question::Answer::kNo:
            break;
    }
    throw Failure(EX_CANTCREAT, inJob.output, "exists, and is kept");
}

// What is there is looked at before the question, so that the answer is about that and nothing later.
Output::Manner MannerOf(const Job& inJob, Session& ioSession) {
    Output::Manner manner;
    manner.replace = ReplaceOf(inJob, ioSession);
    manner.isHeaderless = ioSession.options.IsHeaderless();
    manner.isSynced = ioSession.options.isSynced;
    manner.makesFolders = inJob.makesFolders;
    manner.seen = Output::Check(inJob.output, manner);
    if (manner.replace == Output::Replace::kThisFile) Ask(inJob, ioSession);
    return manner;
}

}  // namespace

Ending Convert(const Job& inJob, Session& ioSession) {
    const Options& options = ioSession.options;
    RequireReadable(inJob.input);
    if (IsSkipped(inJob, ioSession)) return {EX_OK, true};
    // Before anything is read: a pipe can be long, and is empty afterwards.
    const Output::Manner manner = MannerOf(inJob, ioSession);
    const Input input(inJob.input, options.spoolLimitBytes, options.isQuiet);
    const Work work{inJob, options, ioSession, input, manner};
    Ending ending;
    try {
        options.isRF64 || options.isRaw || options.hasTags || options.HasCut() ? Pull(work, ending)
                                                                               : Push(work, ending);
    } catch (const LException& exception) {
        throw FailureOf(exception, input.Name());
    }
    return ending;
}

Ending PrintLength(const Job& inJob, const Session& inSession) {
    RequireReadable(inJob.input);
    const Input input(inJob.input, inSession.options.spoolLimitBytes, inSession.options.isQuiet);
    const Stream stream(input, inSession.options);
    RequireDecodable(ReportOf(stream.Exporter()), input.Name());
    Print(std::to_string(stream.ByteCount()) + '\n');
    return {};
}

}  // namespace tool

#include "Probe.h"

#include "Description.h"
#include "Failure.h"
#include "Input.h"
#include "Output.h"
#include "Progress.h"
#include "Signals.h"
#include "Source.h"

#include <exception>

namespace tool {
namespace {

// What the toolbox calls while it decodes; nothing may be thrown through it.
struct Decoding {
    Progress progress;
    std::exception_ptr interruption;

    static Boolean GoOn(void* inContext, SInt64 inFrames) {
        auto& decoding = *static_cast<Decoding*>(inContext);
        try {
            CheckSignals();
            decoding.progress.Advance(inFrames);
        } catch (...) {
            decoding.interruption = std::current_exception();
        }
        return decoding.interruption == nullptr;
    }
};

void DecodeAll(const Stream& inStream, const Input& inInput, const Session& inSession) {
    const SegmentExporter& exporter = inStream.Exporter();
    const FrameRange range = inStream.Range();
    Decoding decoding{Progress(inInput.Name(), range.end - range.first, exporter.SampleRate(),
                               inSession.options.isQuiet, inSession.Place()),
                      nullptr};
    const OSErr status = CheckMovieSound(exporter.GetMovie(), static_cast<UInt32>(exporter.SampleRate()),
                                         range.first, range.end, &Decoding::GoOn, &decoding);
    if (decoding.interruption != nullptr) std::rethrow_exception(decoding.interruption);
    if (status != noErr) LException::Throw(status);
}

}  // namespace

Ending Probe(const Job& inJob, const Session& inSession) {
    const Options& options = inSession.options;
    RequireReadable(inJob.input);
    const Input input(inJob.input, options.spoolLimitBytes, options.isQuiet);
    const Stream stream(input, options);
    RequireDecodable(ReportOf(stream.Exporter()), input.Name());
    try {
        DecodeAll(stream, input, inSession);
    } catch (const LException& exception) {
        throw FailureOf(exception, input.Name());
    }
    const Description description = {
        inJob.input,         ReportOf(stream.Exporter()), stream.Exporter().SampleRate(),
        stream.FrameCount(), stream.ByteCount(),          TracksOf(stream.Exporter())};
    Print(options.isJSON ? DescriptionJSON(description) : DescriptionText(description));
    const bool isDamaged = description.report.damagedPacketCount > 0;
    return {isDamaged && !options.keepsGoing ? EX_DATAERR : EX_OK, false};
}

}  // namespace tool

#include "Probe.h"

#include "Description.h"
#include "Failure.h"
#include "Input.h"
#include "Output.h"
#include "Progress.h"
#include "Signals.h"
#include "Source.h"

namespace tool {
namespace {

void DecodeAll(const Stream& inStream, const Input& inInput, const Session& inSession) {
    Progress progress(inInput.Name(), inStream.ByteCount(), inStream.SecondBytes(), inSession.options.isQuiet,
                      inSession.Place());
    inStream.Deliver([&progress](const void*, std::size_t inByteCount) {
        CheckSignals();
        progress.Advance(static_cast<SInt64>(inByteCount));
    });
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

#include "Source.h"

#include "Printable.h"
#include "Signals.h"
#include "Tags.h"

#include <converter/FailureStatus.h>
#include <toolbox/Files.h>
#include <toolbox/MacErrors.h>
#include <toolbox/StatusText.h>

#include <algorithm>
#include <utility>

namespace tool {
namespace {

constexpr SInt64 kFrameBytes = 4;

std::string StatusWords(OSStatus inStatus) {
    const std::string words = GetFailureText(inStatus);
    return words.empty() ? "status " + std::to_string(inStatus) : words;
}

std::string NotDecoded(OSStatus inStatus) {
    return "cannot be decoded: " + StatusWords(inStatus);
}

// The movie opened; the exception's message is the name of its sound's format.
Failure UndecodableFailure(const LException& inException, const Input& inInput) {
    const unsigned char* const name = inException.GetErrorString();
    MovieSoundReport report{};
    report.decodable = static_cast<OSStatus>(inException.GetErrorCode());
    std::copy_n(name + 1, std::min<std::size_t>(name[0], sizeof report.formatName - 1), report.formatName);
    try {
        RequireDecodable(report, inInput.Name());
    } catch (const Failure& failure) {
        return failure;
    }
    return FailureOf(inException, inInput.Name());
}

Failure OpenFailure(const LException& inException, const Input& inInput) {
    if (Failure failure = FailureOf(inException, inInput.Name()); failure.ExitCode() == EX_OSERR)
        return failure;
    // What the catalogue does not find was not asked for a movie, and the toolbox's text is another file's.
    FSRef item;
    const OSStatus found =
        FSPathMakeRef(reinterpret_cast<const UInt8*>(inInput.Path().c_str()), &item, nullptr);
    if (found != noErr)
        return Failure(found == memFullErr ? EX_OSERR : EX_NOINPUT, inInput.Name(), StatusWords(found));
    if (inException.GetErrorCode() == badFormat || inException.GetErrorCode() == noCodecErr)
        return UndecodableFailure(inException, inInput);
    const std::string reason = StatusOfFailure(inException) == memFullErr ? "" : GetMovieOpenErrorText();
    return reason.empty() ? FailureOf(inException, inInput.Name())
                          : Failure(EX_DATAERR, inInput.Name(), reason);
}

Boolean ShouldStop(void*) {
    return HasSignal();
}

Failure EmptyCut(const Input& inInput, SInt64 inFrameCount, const char* inReason) {
    return Failure(EX_USAGE, inInput.Name(),
                   std::string(inReason) + "; the stream has " + std::to_string(inFrameCount) + " frames");
}

// What the times mean in this stream.
FrameRange RangeOf(const SegmentExporter& inExporter, const Input& inInput, const Options& inOptions) {
    const SInt32 rateHz = inExporter.SampleRate();
    const SInt64 frameCount = FrameCountOf(inExporter);
    FrameRange range{0, frameCount};
    if (inOptions.from) {
        range.first = inOptions.from->Frames(rateHz);
        if (range.first >= frameCount) throw EmptyCut(inInput, frameCount, "--from is at its end or past it");
    }
    if (inOptions.to) range.end = std::min(frameCount, inOptions.to->Frames(rateHz));
    if (inOptions.cutLength)
        range.end = range.first + std::min(frameCount - range.first, inOptions.cutLength->Frames(rateHz));
    if (inOptions.HasCut() && range.end <= range.first)
        throw EmptyCut(inInput, frameCount, "the end is not behind the beginning");
    return range;
}

}  // namespace

std::unique_ptr<SegmentExporter> OpenExporter(const Input& inInput, const Options& inOptions) {
    MovieOpenOptions options{};
    options.byteCount = sizeof options;
    options.soundTrack = inOptions.soundTrack;
    options.shouldStop = ShouldStop;
    try {
        return std::make_unique<SegmentExporter>(inInput.Path().c_str(), options);
    } catch (const LException& exception) {
        CheckSignals();
        throw OpenFailure(exception, inInput);
    }
}

std::vector<MovieSoundTrackInfo> TracksOf(const SegmentExporter& inExporter) {
    std::vector<MovieSoundTrackInfo> tracks;
    const SInt32 count = GetMovieSoundTrackCount(inExporter.GetMovie());
    for (SInt32 index = 1; index <= count; ++index) {
        MovieSoundTrackInfo track{};
        if (GetMovieIndSoundTrackInfo(inExporter.GetMovie(), index, &track) == noErr) tracks.push_back(track);
    }
    return tracks;
}

Stream::Stream(const Input& inInput, const Options& inOptions) {
    const auto header = inOptions.isRF64 ? WAVReader::Header::kRF64 : WAVReader::Header::kRIFF;
    auto exporter = OpenExporter(inInput, inOptions);
    mRange = RangeOf(*exporter, inInput, inOptions);
    try {
        mReader = std::make_unique<WAVReader>(std::move(exporter), header, mRange);
    } catch (const LException& exception) {
        throw FailureOf(exception, inInput.Name());
    }
    mIsRF64 = inOptions.isRF64;
    if (inOptions.hasTags) mTagChunk = TagChunk(mReader->Exporter().GetMovie());
    if (inOptions.isRaw) mFirstByte = mReader->ByteCount() - mReader->FrameCount() * kFrameBytes;
}

SInt64 Stream::ByteCount() const {
    return mReader->ByteCount() - mFirstByte + static_cast<SInt64>(mTagChunk.size());
}

void Stream::Deliver(const Receive& inReceive) const {
    constexpr SInt64 kLeastBytes = 128;  // the header is in one piece
    std::vector<unsigned char> chunk(static_cast<std::size_t>(std::max(SecondBytes(), kLeastBytes)));
    SInt64 position = mFirstByte;
    while (const std::size_t count = mReader->Read(position, chunk.data(), chunk.size())) {
        if (position == 0) CountTagChunk(chunk.data(), mTagChunk.size(), mIsRF64);
        inReceive(chunk.data(), count);
        position += static_cast<SInt64>(count);
    }
    if (!mTagChunk.empty()) inReceive(mTagChunk.data(), mTagChunk.size());
}

void RequireDecodable(const MovieSoundReport& inReport, const std::string& inPath) {
    if (inReport.decodable == noErr) return;
    if (inReport.decodable == memFullErr) throw Failure(EX_OSERR, inPath, GetStatusText(memFullErr));
    const std::string format = inReport.formatName[0] != '\0' ? inReport.formatName : "its format";
    if (inReport.decodable == badFormat)
        throw Failure(EX_DATAERR, inPath, "the sound is encrypted (" + format + ")");
    if (inReport.decodable == noCodecErr)
        throw Failure(EX_DATAERR, inPath, "there is no decoder for " + format);
    throw Failure(EX_DATAERR, inPath, NotDecoded(inReport.decodable));
}

MovieSoundReport ReportOf(const SegmentExporter& inExporter) {
    MovieSoundReport report{};
    return GetMovieSoundReport(inExporter.GetMovie(), &report) == noErr ? report : MovieSoundReport{};
}

SInt64 FrameCountOf(const SegmentExporter& inExporter) {
    return GetMovieDuration64(inExporter.GetMovie(), static_cast<UInt32>(inExporter.SampleRate()));
}

Failure FailureOf(const LException& inException, const std::string& inPath) {
    const OSStatus status = StatusOfFailure(inException);
    if (status == memFullErr) return Failure(EX_OSERR, inPath, GetStatusText(memFullErr));
    return Failure(EX_DATAERR, inPath, NotDecoded(status));
}

void TellTakenTrack(const SegmentExporter& inExporter, const std::string& inPath) {
    const std::vector<MovieSoundTrackInfo> tracks = TracksOf(inExporter);
    if (tracks.size() < 2 || tracks[0].isAAC) return;
    for (std::size_t index = 0; index < tracks.size(); ++index) {
        if (!tracks[index].isTaken) continue;
        const std::string name = tracks[index].formatName;
        Say(inPath, "note: of its " + std::to_string(tracks.size()) + " sound tracks, number " +
                        std::to_string(index + 1) + (name.empty() ? "" : " (" + name + ")") +
                        " is taken; --track takes another");
    }
}

bool TellDamage(const MovieSoundReport& inReport, const std::string& inPath, const Options& inOptions) {
    if (inReport.skippedByteCount > 0 && !inOptions.isQuiet)
        Say(inPath, "warning: " + CountOf(inReport.skippedByteCount, "byte") + " without sound skipped");
    if (inReport.damagedPacketCount == 0) return false;
    if (inOptions.isQuiet && inOptions.keepsGoing) return true;
    std::string text = inOptions.isQuiet ? "" : "warning: ";
    if (inReport.isCutOff != 0) text += "the file is cut off: it promises more sound than it holds";
    if (inReport.damagedPacketCount > inReport.isCutOff) {
        const SInt64 silencedMillis =
            inReport.sampleRateHz > 0 ? inReport.silencedFrameCount * 1000 / inReport.sampleRateHz : 0;
        text += (inReport.isCutOff != 0 ? "; " : "") +
                CountOf(inReport.damagedPacketCount - inReport.isCutOff, "damaged packet") + ", " +
                std::to_string(silencedMillis) + " ms of sound replaced by silence";
    }
    Say(inPath, text);
    return true;
}

}  // namespace tool

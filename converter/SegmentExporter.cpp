#include "MovieAtPath.h"
#include "SoundRecords.h"
#include "StreamFormat.h"

#include <converter/AACToWAV.h>
#include <converter/SegmentExporter.h>
#include <foundation/ByteOrder.h>
#include <toolbox/FixMath.h>
#include <toolbox/SoundReport.h>

#include <algorithm>
#include <limits>

namespace {

void RequireSuccess(ComponentResult inStatus) {
    if (inStatus != noErr) LException::Throw(inStatus);
}

}  // namespace

SegmentExporter::SegmentExporter(const char* inPath) {
    Prepare(inPath, nullptr);
}

SegmentExporter::SegmentExporter(const char* inPath, const MovieOpenOptions& inOptions) {
    Prepare(inPath, &inOptions);
}

void SegmentExporter::Prepare(const char* inPath, const MovieOpenOptions* inOptions) {
    try {
        if (inOptions == nullptr)
            mMovie = Required(MovieFromPath(inPath));
        else
            RequireSuccess(OpenMovieAtPath(inPath, inOptions, &mMovie));
        MakeParts();
    } catch (...) {
        Release();
        throw;
    }
}

SegmentExporter::~SegmentExporter() {
    Release();
}

void SegmentExporter::MakeParts() {
    RequireDecodable(mMovie);
    mRate = static_cast<SInt32>(GetMovieSampleRate(mMovie));
    mSilence = Required(NewPtrClear(SilenceByteCount()));
    // From here on one unit of the movie's time is one frame.
    SetMovieTimeScale(mMovie, mRate);
    mExporter = Required(OpenDefaultComponent(MovieExportType, FourChars("snd ")));
    SetOutputFormat();
    mSegmentFrames = GetMovieTimeScale(mMovie);
}

void SegmentExporter::SetOutputFormat() {
    using namespace sounddescription;
    mDescription = Required(NewHandleClear(kByteCount));
    // The 16-bit rate is negative from 32768 Hz on; as an unsigned 16.16 number its bits are the right ones.
    const Fixed rate = FixRatio(static_cast<SInt16>(mRate), 1);
    const Ptr description = *mDescription;
    PutBig32(description + kSizeOffset, kByteCount);
    PutBig32(description + kDataFormatOffset, FourChars("twos"));
    PutBig16(description + kChannelCountOffset, 2);
    PutBig16(description + kSampleBitsOffset, 16);
    PutBig32(description + kSampleRateOffset, static_cast<UInt32>(rate));
    RequireSuccess(MovieExportSetSampleDescription(mExporter, mDescription, SoundMediaType));
}

void SegmentExporter::Release() {
    if (mDescription != nullptr) DisposeHandle(mDescription);
    if (mSilence != nullptr) DisposePtr(mSilence);
    if (mExporter != nullptr) CloseComponent(mExporter);
    if (mMovie != nullptr) DisposeMovie(mMovie);
    if (mExportHandle != nullptr) DisposeHandle(mExportHandle);
}

void SegmentExporter::MakeExportHandle() {
    if (mExportHandle == nullptr) mExportHandle = NewHandleClear(4);
}

void SegmentExporter::Render(SInt64 inFirstFrame, SInt32 inFrameCount) {
    if (inFirstFrame <= std::numeric_limits<TimeValue>::max())
        RequireSuccess(MovieExportToHandle(mExporter, mExportHandle, mMovie, nullptr,
                                           static_cast<TimeValue>(inFirstFrame), inFrameCount));
    else
        RequireSuccess(
            MovieExportToHandle64(mExporter, mExportHandle, mMovie, nullptr, inFirstFrame, inFrameCount));
}

SegmentExporter::Segment SegmentExporter::Export(SInt64 inFirstFrame, SInt32 inFrameCount) {
    HUnlock(mExportHandle);
    Render(inFirstFrame, inFrameCount);
    HLock(mExportHandle);

    const Size handleByteCount = GetHandleSize(mExportHandle);
    if (handleByteCount < SoundResource::kHeaderByteCount) LException::Throw(paramErr);
    const SoundResource sound(*mExportHandle);
    if (!sound.IsExpectedForm()) LException::Throw(paramErr);

    const UInt32 byteCount = sound.FrameCount() * sound.ChannelCount() * sound.SampleByteCount();
    if (byteCount == 0) {
        const SInt32 silentFrames = std::clamp(inFrameCount, 0, mRate);
        return {mSilence, silentFrames * kFrameByteCount, silentFrames, true};
    }
    if (byteCount > static_cast<UInt32>(handleByteCount - SoundResource::kHeaderByteCount))
        LException::Throw(paramErr);
    SwapBytesShort(sound.Samples(), static_cast<long>(byteCount));
    return {sound.Samples(), static_cast<SInt32>(byteCount), static_cast<SInt32>(sound.FrameCount()), false};
}

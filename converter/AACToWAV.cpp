#include "MovieAtPath.h"
#include "SoundRecords.h"
#include "StreamFormat.h"

#include <converter/AACToWAV.h>
#include <converter/Conversion.h>
#include <toolbox/Aliases.h>
#include <toolbox/Files.h>

#include <memory>
#include <type_traits>

namespace {

constexpr long kRateWithoutSoundHz = 44100;

struct MovieDisposer {
    void operator()(Movie inMovie) const { DisposeMovie(inMovie); }
};
using OwnedMovie = std::unique_ptr<std::remove_pointer_t<Movie>, MovieDisposer>;

}  // namespace

OSStatus OpenMovieAtPath(const char* inPath, const MovieOpenOptions* inOptions, Movie* outMovie) {
    *outMovie = nullptr;
    FSRef file;
    OSStatus status = FSPathMakeRef(reinterpret_cast<const UInt8*>(inPath), &file, nullptr);
    if (status != noErr) return status;
    AliasHandle alias = nullptr;
    status = FSNewAliasMinimal(&file, &alias);
    if (status != noErr) return status;
    const auto dataReference = reinterpret_cast<Handle>(alias);
    SInt16 resourceId = 0;
    if (inOptions == nullptr)
        status = NewMovieFromDataRef(outMovie, newMovieDontAskUnresolvedDataRefs, &resourceId, dataReference,
                                     rAliasType);
    else
        status = NewMovieFromDataRefWithOptions(outMovie, dataReference, rAliasType, inOptions);
    DisposeHandle(dataReference);
    return status;
}

Movie MovieFromPath(const char* inPath) {
    Movie movie = nullptr;
    return OpenMovieAtPath(inPath, nullptr, &movie) == noErr ? movie : nullptr;
}

Handle GetIndMediaSampleDescription(Media inMedia, long inIndex) {
    constexpr Size kLeastByteCount = 16;
    const long count = GetMediaSampleDescriptionCount(inMedia);
    if (inIndex < 1 || inIndex > count) return nullptr;
    const Handle description = NewHandle(0);
    GetMediaSampleDescription(inMedia, static_cast<SInt32>(inIndex), description);
    if (GetHandleSize(description) >= kLeastByteCount) return description;
    DisposeHandle(description);
    return nullptr;
}

Handle GetMovieSoundDescription(Movie inMovie) {
    const SInt32 trackCount = GetMovieTrackCount(inMovie);
    for (SInt32 index = 1; index <= trackCount; ++index) {
        const Media media = GetTrackMedia(GetMovieIndTrack(inMovie, index));
        GetMediaHandler(media);
        OSType mediaType = 0;
        GetMediaHandlerDescription(media, &mediaType, nullptr, nullptr);
        if (mediaType == SoundMediaType) return GetIndMediaSampleDescription(media, 1);
    }
    return nullptr;
}

long GetMovieSampleRate(Movie inMovie) {
    const Handle description = GetMovieSoundDescription(inMovie);
    if (description == nullptr) return kRateWithoutSoundHz;
    long rateHz = kRateWithoutSoundHz;
    if (GetHandleSize(description) >= sounddescription::kByteCount)
        rateHz = static_cast<long>(GetBig32(*description + sounddescription::kSampleRateOffset) >> 16);
    DisposeHandle(description);
    return rateHz;
}

Int64 getConvertedLength(const char* inPath) {
    Int64 byteCount(0);
    const OwnedMovie movie(MovieFromPath(inPath));
    try {
        const Movie measured = Required(movie.get());
        RequireDecodable(measured);
        SetMovieTimeScale(measured, static_cast<TimeScale>(GetMovieSampleRate(measured)));
        byteCount = Int64(static_cast<unsigned long>(StreamByteCount(GetMovieDuration(measured))));
    } catch (const LException&) {
    }
    return byteCount;
}

void convert_AAC_to_WAV(const char* inPath, void* inContext, DataCallback inCallback) {
    try {
        SegmentExporter exporter(inPath);
        ConvertWhole(exporter, inContext, inCallback);
    } catch (const LException&) {
    }
}

void convert_AAC_to_WAV(const char* inPath, void* inContext, DataCallback inCallback, Int64 inStart,
                        Int64 inDuration) {
    try {
        SegmentExporter exporter(inPath);
        ConvertWindow(exporter, inContext, inCallback, inStart, inDuration);
    } catch (const LException&) {
    }
}

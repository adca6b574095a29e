#include "PropertyTable.h"

#include <toolbox/MovieProperties.h>
#include <toolbox/SoundReport.h>

namespace {

using namespace toolbox::quicktime;

bool Always(Movie) {
    return true;
}

// Asked of every property of sound, so without the report, for which a decoder is opened.
bool HasSound(Movie inMovie) {
    for (SInt32 i = 1; i <= GetMovieTrackCount(inMovie); ++i)
        if (GetMediaSampleDescriptionCount(GetTrackMedia(GetMovieIndTrack(inMovie, i))) > 0) return true;
    return false;
}

MovieSoundReport ReportOf(Movie inMovie) {
    MovieSoundReport report = {};
    return GetMovieSoundReport(inMovie, &report) == noErr ? report : MovieSoundReport{};
}

void GetDuration(Movie inMovie, void* outValue) {
    PutValue<SInt64>(outValue, GetMovieDuration64(inMovie, static_cast<UInt32>(GetMovieTimeScale(inMovie))));
}

void GetTimeScale(Movie inMovie, void* outValue) {
    PutValue<TimeScale>(outValue, GetMovieTimeScale(inMovie));
}

OSStatus SetTimeScale(Movie inMovie, const void* inValue) {
    const auto timeScale = ValueAt<TimeScale>(inValue);
    if (timeScale <= 0) return paramErr;
    SetMovieTimeScale(inMovie, timeScale);
    return noErr;
}

void GetSampleRate(Movie inMovie, void* outValue) {
    PutValue<UInt32>(outValue, ReportOf(inMovie).sampleRateHz);
}

void GetChannelCount(Movie inMovie, void* outValue) {
    PutValue<UInt32>(outValue, ReportOf(inMovie).channelCount);
}

void GetSoundFormat(Movie inMovie, void* outValue) {
    PutValue<OSType>(outValue, ReportOf(inMovie).format);
}

void GetDamagedPacketCount(Movie inMovie, void* outValue) {
    PutValue<UInt64>(outValue, ReportOf(inMovie).damagedPacketCount);
}

constexpr Property<Movie> kProperties[] = {
    {kMoviePropertyClassTime, kMoviePropertyDuration, kPropertyTypeSInt64, sizeof(SInt64), Always,
     GetDuration, nullptr},
    {kMoviePropertyClassTime, kMoviePropertyTimeScale, kPropertyTypeSInt32, sizeof(TimeScale), Always,
     GetTimeScale, SetTimeScale},
    {kMoviePropertyClassAudio, kMoviePropertySampleRate, kPropertyTypeUInt32, sizeof(UInt32), HasSound,
     GetSampleRate, nullptr},
    {kMoviePropertyClassAudio, kMoviePropertyChannelCount, kPropertyTypeUInt32, sizeof(UInt32), HasSound,
     GetChannelCount, nullptr},
    {kMoviePropertyClassAudio, kMoviePropertySoundFormat, kPropertyTypeOSType, sizeof(OSType), HasSound,
     GetSoundFormat, nullptr},
    {kMoviePropertyClassAudio, kMoviePropertyDamagedPacketCount, kPropertyTypeUInt64, sizeof(UInt64),
     HasSound, GetDamagedPacketCount, nullptr},
};

}  // namespace

OSStatus QTGetMoviePropertyInfo(Movie inMovie, QTPropertyClass inClass, QTPropertyID inID,
                                QTPropertyValueType* outType, ByteCount* outSize, UInt32* outFlags) {
    if (inMovie == nullptr) return invalidMovie;
    return GetPropertyInfo(kProperties, inClass, inID, outType, outSize, outFlags, inMovie);
}

OSStatus QTGetMovieProperty(Movie inMovie, QTPropertyClass inClass, QTPropertyID inID, ByteCount inSize,
                            void* outValue, ByteCount* outSizeUsed) {
    if (inMovie == nullptr) return invalidMovie;
    return GetProperty(kProperties, inClass, inID, inSize, outValue, outSizeUsed, inMovie);
}

OSStatus QTSetMovieProperty(Movie inMovie, QTPropertyClass inClass, QTPropertyID inID, ByteCount inSize,
                            const void* inValue) {
    if (inMovie == nullptr) return invalidMovie;
    return SetProperty(kProperties, inClass, inID, inSize, inValue, inMovie);
}

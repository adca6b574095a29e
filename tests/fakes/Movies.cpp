#include "Movies.h"

#include "Calls.h"
#include "Catalogue.h"
#include "Memory.h"

#include <toolbox/Aliases.h>
#include <toolbox/FixMath.h>
#include <toolbox/MovieOpening.h>
#include <toolbox/SoundReport.h>
#include <toolbox/Timer.h>

#include <cstring>
#include <map>
#include <set>
#include <utility>

// A track and its media are one thing here; all three pointers of a movie's insides are borrowed from it.
struct OpaqueMedia {
    fakes::ScriptedTrack script;
};
struct OpaqueTrack {
    OpaqueMedia media;
};
struct OpaqueMovie {
    fakes::ScriptedMovie script;
    std::vector<OpaqueTrack> tracks;
    TimeScale timeScale;
};
struct OpaqueComponentInstance {};

namespace fakes {

namespace {

struct State {
    std::vector<std::string> paths;
    std::map<std::string, ScriptedMovie> movies;
    Bytes outputFormat;
    Handle exportHandle = nullptr;
    UnsignedWide microseconds = {0, 0};
};

State& TheState() {
    static State& sState = *new State;
    return sState;
}

std::set<Movie>& Movies() {
    static auto& sMovies = *new std::set<Movie>;
    return sMovies;
}

std::set<ComponentInstance>& Exporters() {
    static auto& sExporters = *new std::set<ComponentInstance>;
    return sExporters;
}

// A call's text with a four-character code as one more argument.
std::string WithCode(std::string ioCall, OSType inCode) {
    ioCall.pop_back();
    if (ioCall.back() != '(') ioCall += ", ";
    for (int shift = 24; shift >= 0; shift -= 8)
        ioCall += static_cast<char>(inCode >> shift);
    return ioCall += ')';
}

void CheckLive(Movie inMovie, const char* inCaller) {
    if (Movies().count(inMovie) == 0)
        ReportMisuse(std::string(inCaller).append(" of a movie that is not live"));
}

Movie NewScriptedMovie(Handle inDataRef) {
    UInt32 index = 0;
    std::memcpy(&index, HandleBytes(inDataRef).data(), sizeof index);
    auto* const movie = new OpaqueMovie{TheState().movies.at(TheState().paths.at(index)), {}, 0};
    movie->timeScale = movie->script.timeScale;
    for (const ScriptedTrack& track : movie->script.tracks)
        movie->tracks.push_back({{track}});
    Movies().insert(movie);
    return movie;
}

ComponentResult ExportTo(Handle ioHandle, Movie inMovie, SInt64 inStart, SInt64 inDuration) {
    CheckLive(inMovie, "export");
    if (ioHandle == nullptr) return paramErr;
    TheState().exportHandle = ioHandle;
    if (IsLocked(ioHandle)) ReportMisuse("export into a locked handle");
    if (inMovie->timeScale != static_cast<TimeScale>(inMovie->script.sampleRateHz))
        ReportMisuse("export in another time scale than the frames'");
    const Rendered rendered = inMovie->script.render(inStart, inDuration);
    if (rendered.status == noErr) SetHandleBytes(ioHandle, rendered.block);
    return rendered.status;
}

}  // namespace

void AddMovie(const std::string& inPath, const ScriptedMovie& inMovie) {
    TheState().movies[inPath] = inMovie;
}

void ForgetMovies() {
    TheState() = State();
}

int LiveMovies() {
    return static_cast<int>(Movies().size());
}

int LiveExporters() {
    return static_cast<int>(Exporters().size());
}

Handle ExportHandle() {
    return TheState().exportHandle;
}

Bytes OutputFormat() {
    return TheState().outputFormat;
}

void SetMicroseconds(UInt32 inHigh, UInt32 inLow) {
    TheState().microseconds = {inHigh, inLow};
}

}  // namespace fakes

using namespace fakes;

OSStatus FSPathMakeRef(const UInt8* inPath, FSRef* outRef, Boolean* outIsDirectory) {
    if (LogAndFail("FSPathMakeRef()") || inPath == nullptr) return paramErr;
    const OSErr answer = AnswerOf("FSPathMakeRef");
    if (answer != noErr) return answer;
    const std::string path(reinterpret_cast<const char*>(inPath));
    if (TheState().movies.count(path) == 0) return MakeRefOfPath(path, outRef, outIsDirectory);
    if (outIsDirectory != nullptr) ReportMisuse("FSPathMakeRef asked whether the file is a folder");
    const auto index = static_cast<UInt32>(TheState().paths.size());
    TheState().paths.push_back(path);
    std::memcpy(outRef->hidden, &index, sizeof index);
    return noErr;
}

OSErr FSNewAliasMinimal(const FSRef* inTarget, AliasHandle* outAlias) {
    *outAlias = nullptr;
    if (LogAndFail("FSNewAliasMinimal()")) return memFullErr;
    *outAlias =
        reinterpret_cast<AliasHandle>(MakeHandle(Bytes(inTarget->hidden, inTarget->hidden + sizeof(UInt32))));
    return noErr;
}

OSErr NewMovieFromDataRef(Movie* outMovie, SInt16 inFlags, SInt16* ioResID, Handle inDataRef,
                          OSType inDataRefType) {
    *outMovie = nullptr;
    if (LogAndFail(WithCode(CallText("NewMovieFromDataRef", inFlags, *ioResID), inDataRefType)))
        return invalidMovie;
    *outMovie = NewScriptedMovie(inDataRef);
    return noErr;
}

// All of a scripted movie's tracks are sound.
OSErr NewMovieFromDataRefWithOptions(Movie* outMovie, Handle inDataRef, OSType inDataRefType,
                                     const MovieOpenOptions* inOptions) {
    *outMovie = nullptr;
    if (inOptions->byteCount != sizeof *inOptions) ReportMisuse("options without their size");
    if (LogAndFail(
            WithCode(CallText("NewMovieFromDataRefWithOptions", inOptions->soundTrack), inDataRefType)))
        return invalidMovie;
    if (inOptions->shouldStop != nullptr && inOptions->shouldStop(inOptions->stopContext))
        return userCanceledErr;
    const Movie movie = NewScriptedMovie(inDataRef);
    const auto wanted = static_cast<std::size_t>(inOptions->soundTrack);
    if (wanted > movie->tracks.size()) {
        DisposeMovie(movie);
        return trackNotInMovie;
    }
    if (wanted > 0) std::swap(movie->tracks.front(), movie->tracks.at(wanted - 1));
    *outMovie = movie;
    return noErr;
}

void DisposeMovie(Movie inMovie) {
    Log("DisposeMovie()");
    if (Movies().erase(inMovie) == 0) return ReportMisuse("DisposeMovie of a movie that is not live");
    delete inMovie;
}

TimeValue GetMovieDuration(Movie inMovie) {
    Log("GetMovieDuration()");
    CheckLive(inMovie, "GetMovieDuration");
    const ScriptedMovie& script = inMovie->script;
    if (script.duration) return *script.duration;
    // Not by way of a product, which long movies would overflow where scale and rate are the same.
    if (inMovie->timeScale == static_cast<TimeScale>(script.sampleRateHz))
        return static_cast<TimeValue>(script.frameCount);
    return static_cast<TimeValue>(script.frameCount * inMovie->timeScale / script.sampleRateHz);
}

SInt64 GetMovieDuration64(Movie inMovie, UInt32 inRateHz) {
    Log(CallText("GetMovieDuration64", inRateHz));
    CheckLive(inMovie, "GetMovieDuration64");
    return inMovie->script.frameCount;
}

// Not in the log: it asks and changes nothing.
OSErr GetMovieSoundReport(Movie inMovie, MovieSoundReport* outReport) {
    CheckLive(inMovie, "GetMovieSoundReport");
    *outReport = MovieSoundReport();
    outReport->decodable = inMovie->script.decodable;
    return noErr;
}

TimeScale GetMovieTimeScale(Movie inMovie) {
    Log("GetMovieTimeScale()");
    return inMovie->timeScale;
}

void SetMovieTimeScale(Movie inMovie, TimeScale inTimeScale) {
    Log(CallText("SetMovieTimeScale", inTimeScale));
    if (inTimeScale > 0) inMovie->timeScale = inTimeScale;
}

SInt32 GetMovieTrackCount(Movie inMovie) {
    return static_cast<SInt32>(inMovie->tracks.size());
}

Track GetMovieIndTrack(Movie inMovie, SInt32 inIndex) {
    return &inMovie->tracks.at(static_cast<std::size_t>(inIndex - 1));
}

Media GetTrackMedia(Track inTrack) {
    return &inTrack->media;
}

MediaHandler GetMediaHandler(Media) {
    Log("GetMediaHandler()");
    return nullptr;
}

void GetMediaHandlerDescription(Media inMedia, OSType* outMediaType, StringPtr outCreatorName,
                                OSType* outCreatorManufacturer) {
    Log("GetMediaHandlerDescription()");
    if (outCreatorName != nullptr || outCreatorManufacturer != nullptr)
        ReportMisuse("GetMediaHandlerDescription asked for more than the type");
    if (*outMediaType != 0) ReportMisuse("the media type was not 0 before it was asked for");
    *outMediaType = inMedia->script.mediaType;
}

SInt32 GetMediaSampleDescriptionCount(Media inMedia) {
    return static_cast<SInt32>(inMedia->script.sampleDescriptions.size());
}

void GetMediaSampleDescription(Media inMedia, SInt32 inIndex, Handle ioDescription) {
    Log(CallText("GetMediaSampleDescription", inIndex));
    SetHandleBytes(ioDescription,
                   inMedia->script.sampleDescriptions.at(static_cast<std::size_t>(inIndex - 1)));
}

ComponentInstance OpenDefaultComponent(OSType inType, OSType inSubType) {
    if (LogAndFail(WithCode(WithCode("OpenDefaultComponent()", inType), inSubType))) return nullptr;
    auto* const exporter = new OpaqueComponentInstance;
    Exporters().insert(exporter);
    return exporter;
}

OSErr CloseComponent(ComponentInstance inInstance) {
    Log("CloseComponent()");
    if (Exporters().erase(inInstance) == 0)
        ReportMisuse("CloseComponent of an exporter that is not open");
    else
        delete inInstance;
    return noErr;
}

ComponentResult MovieExportSetSampleDescription(MovieExportComponent, Handle inDescription,
                                                OSType inMediaType) {
    if (LogAndFail(WithCode("MovieExportSetSampleDescription()", inMediaType))) return badFormat;
    TheState().outputFormat = HandleBytes(inDescription);
    return noErr;
}

ComponentResult MovieExportToHandle(MovieExportComponent, Handle ioHandle, Movie inMovie, Track inTrack,
                                    TimeValue inStart, TimeValue inDuration) {
    if (LogAndFail(CallText("MovieExportToHandle", inStart, inDuration))) return noCodecErr;
    if (inTrack != nullptr) ReportMisuse("export of one track");
    return ExportTo(ioHandle, inMovie, inStart, inDuration);
}

ComponentResult MovieExportToHandle64(MovieExportComponent, Handle ioHandle, Movie inMovie, Track inTrack,
                                      SInt64 inStart, SInt64 inDuration) {
    if (LogAndFail(CallText("MovieExportToHandle64", inStart, inDuration))) return noCodecErr;
    if (inTrack != nullptr) ReportMisuse("export of one track");
    return ExportTo(ioHandle, inMovie, inStart, inDuration);
}

Fixed FixRatio(SInt16 inNumerator, SInt16 inDenominator) {
    Log(CallText("FixRatio", inNumerator, inDenominator));
    return static_cast<Fixed>(inNumerator) * 65536 / inDenominator;
}

void Microseconds(UnsignedWide* outMicroseconds) {
    *outMicroseconds = TheState().microseconds;
}

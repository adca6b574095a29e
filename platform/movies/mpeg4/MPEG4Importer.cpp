// The importer of MPEG-4 and QuickTime files.

#include "MPEG4Boxes.h"
#include "MPEG4Edits.h"
#include "MPEG4Fragments.h"
#include "MPEG4Gapless.h"
#include "MPEG4SampleTable.h"
#include "MPEG4Sound.h"
#include "MPEG4Tags.h"
#include "MPEG4Tracks.h"
#include "track/MovieImporter.h"

#include <toolbox/MacErrors.h>

#include <algorithm>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace toolbox::movies {
namespace {

// A file with many broken movie headers is not read through once for each of them.
constexpr int kMaxMoviesTried = 4;

bool MayBegin(OSType inType) {
    constexpr OSType kTypes[] = {BoxType("ftyp"), BoxType("moov"), BoxType("mdat"), BoxType("moof"),
                                 BoxType("free"), BoxType("skip"), BoxType("wide"), BoxType("styp"),
                                 BoxType("sidx"), BoxType("pnot")};
    return std::find(std::begin(kTypes), std::end(kTypes), inType) != std::end(kTypes);
}

bool IsQuickTime(BoxFile& ioFile, const Box& inFirst) {
    if (inFirst.type != BoxType("ftyp")) return true;
    const std::uint8_t* const brand =
        inFirst.ContentSizeBytes() < 4 ? nullptr : ioFile.At(inFirst.contentBytes, 4);
    return brand != nullptr && os::Load32(brand) == BoxType("qt  ");
}

class MovieReader {
  public:
    MovieReader(const std::shared_ptr<const MediaFile>& inFile, BoxFile& ioBoxes,
                const ImportOptions& inOptions)
        : mFile(inFile), mBoxes(ioBoxes), mOptions(inOptions) {}

    OSStatus Read(const Box& inMovie, ImportedMovie& outMovie, std::string& outProblem) {
        OSStatus status = ReadMovieHeader(mBoxes, inMovie, mOptions, mHeader, outProblem);
        if (status != noErr) return status;
        for (MPEG4Track& track : mHeader.tracks) {
            status = ReadTables(track, outProblem);
            if (status != noErr) return status;
        }
        status = ReadFragments(inMovie, outProblem);
        if (status != noErr) return status;
        outMovie.timeScale = static_cast<std::int32_t>(mHeader.timeScale);
        GaplessTag tag;
        if (FindGaplessTag(mBoxes, inMovie, tag)) mGapless = tag;
        outMovie.tags = ReadTags(mBoxes, inMovie);
        outMovie.soundTracks = mHeader.soundTracks;
        outMovie.takenSoundTrack = 0;
        for (MPEG4Track& track : mHeader.tracks) {
            status = MakeTrack(track, outMovie, outProblem);
            if (status != noErr) return status;
        }
        return mBoxes.Status();
    }

  private:
    static bool WantsPackets(const MPEG4Track& inTrack) {
        return inTrack.IsSound() && inTrack.descriptions.front().isOurs;
    }

    OSStatus ReadTables(MPEG4Track& ioTrack, std::string& outProblem) {
        if (!ioTrack.sampleTable.Exists()) return noErr;
        if (WantsPackets(ioTrack))
            return ReadSampleTable(mBoxes, ioTrack.sampleTable, ioTrack.media, outProblem);
        ioTrack.media.endUnits = SumOfDurations(mBoxes, ioTrack.sampleTable);
        return mBoxes.Status();
    }

    OSStatus ReadFragments(const Box& inMovie, std::string& outProblem) {
        std::vector<FragmentedTrack> tracks;
        for (MPEG4Track& track : mHeader.tracks)
            tracks.push_back({track.id, FragmentDefaults(), &track.media, WantsPackets(track)});
        mIsFragmented = ReadFragmentDefaults(mBoxes, inMovie, tracks);
        if (!mIsFragmented) return mBoxes.Status();
        BoxWalk walk(mBoxes, inMovie.endBytes, mBoxes.SizeBytes());
        for (Box box; walk.Next(box);) {
            if (box.type == BoxType("moov")) break;
            if (box.type != BoxType("moof")) continue;
            const OSStatus status = ReadFragment(mBoxes, box, tracks, outProblem);
            if (status != noErr) return status;
        }
        return mBoxes.Status();
    }

    OSStatus MakeTrack(MPEG4Track& ioTrack, ImportedMovie& outMovie, std::string& outProblem) {
        ImportedTrack track;
        track.mediaType = ioTrack.mediaType;
        if (ioTrack.IsSound()) {
            const OSStatus status = MakeSound(ioTrack, outMovie, track, outProblem);
            if (status != noErr) return status;
        } else {
            track.duration = PresentedDuration(ioTrack.edits, mHeader.timeScale,
                                               ioTrack.media.endUnits - ioTrack.media.startUnits,
                                               std::max(ioTrack.media.timeScale, std::uint32_t{1}));
        }
        outMovie.tracks.push_back(std::move(track));
        return noErr;
    }

    OSStatus MakeSound(MPEG4Track& ioTrack, ImportedMovie& outMovie, ImportedTrack& outTrack,
                       std::string& outProblem) {
        if (!WantsPackets(ioTrack)) return MakeSilentSound(ioTrack, outTrack, outProblem);
        MPEG4SoundSettings settings;
        settings.movieTimeScale = mHeader.timeScale;
        settings.isFragmented = mIsFragmented;
        settings.mustBeThere = !mHasSound;
        // The tag tells of the file's sound, which is the usual track.
        if (!mHasSound && ioTrack.soundNumber == mHeader.usualSoundTrack) settings.gapless = mGapless;
        if (!mHasSound) outMovie.takenSoundTrack = ioTrack.soundNumber;
        mHasSound = true;
        const OSStatus status = MakeSoundTrack(mFile, ioTrack, settings, outTrack.sound, outProblem);
        if (status != noErr) return status;
        outTrack.duration = {outTrack.sound->FrameCount(), outTrack.sound->SampleRateHz()};
        SoundTrackFacts& facts = outMovie.soundTracks[ioTrack.soundNumber - 1];
        facts.sampleRateHz = outTrack.sound->SampleRateHz();
        facts.channelCount = outTrack.sound->formats.front().channelCount;
        return noErr;
    }

    // A track behind the first whose sound this importer does not read: its length counts, its sound is
    // missing.
    OSStatus MakeSilentSound(MPEG4Track& ioTrack, ImportedTrack& outTrack, std::string& outProblem) {
        const Duration presented =
            PresentedDuration(ioTrack.edits, mHeader.timeScale,
                              ioTrack.media.endUnits - ioTrack.media.startUnits, ioTrack.media.timeScale);
        ioTrack.edits = {{static_cast<std::uint64_t>(presented.units), MPEG4Edit::kEmpty}};
        ioTrack.media.endUnits = 0;
        MPEG4SoundSettings settings;
        settings.movieTimeScale = static_cast<std::uint32_t>(presented.unitsPerSecond);
        outTrack.duration = presented;
        return MakeSoundTrack(mFile, ioTrack, settings, outTrack.sound, outProblem);
    }

    const std::shared_ptr<const MediaFile>& mFile;
    BoxFile& mBoxes;
    const ImportOptions& mOptions;
    MPEG4Header mHeader;
    std::optional<GaplessTag> mGapless;
    bool mIsFragmented = false;
    bool mHasSound = false;
};

// Goes over the boxes of a file until a movie can be read.
class FileReader {
  public:
    FileReader(const std::shared_ptr<const MediaFile>& inFile, const ImportOptions& inOptions)
        : mFile(inFile), mBoxes(*inFile), mOptions(inOptions) {}

    OSStatus Read(ImportedMovie& outMovie, std::string& outProblem) {
        BoxWalk walk(mBoxes, 0, mBoxes.SizeBytes());
        Box box;
        if (!walk.Next(box)) return mBoxes.Status() != noErr ? mBoxes.Status() : cantFindHandler;
        if (!MayBegin(box.type)) return cantFindHandler;
        outMovie.containerName = IsQuickTime(mBoxes, box) ? "QuickTime" : "MPEG-4";
        do {
            mIsMovieFile = mIsMovieFile || IsTelling(box.type);
            if (box.type == BoxType("moov") && ReadMovie(box, outMovie)) return noErr;
        } while (mFailure != cantFindHandler && mMoviesTried < kMaxMoviesTried && walk.Next(box));
        return Failure(outProblem);
    }

  private:
    // Padding alone makes no movie.
    static bool IsTelling(OSType inType) {
        return inType == BoxType("ftyp") || inType == BoxType("moov") || inType == BoxType("mdat") ||
               inType == BoxType("moof");
    }

    bool ReadMovie(const Box& inMovie, ImportedMovie& outMovie) {
        ++mMoviesTried;
        std::string problem = "the movie header is cut short";
        OSStatus status = invalidMovie;
        if (!inMovie.isCut) {
            problem.clear();
            outMovie.tracks.clear();
            status = MovieReader(mFile, mBoxes, mOptions).Read(inMovie, outMovie, problem);
        }
        // The first movie is the one that was meant: what is wrong with it is what there is to say.
        if (status == noErr || mFailure != noErr) return status == noErr;
        mFailure = status;
        mProblem = std::move(problem);
        return false;
    }

    OSStatus Failure(std::string& outProblem) const {
        if (mBoxes.Status() != noErr) return mBoxes.Status();
        if (mFailure == cantFindHandler || (mFailure == noErr && !mIsMovieFile)) return cantFindHandler;
        outProblem = mFailure == noErr ? "the movie header is missing" : mProblem;
        return mFailure == noErr ? invalidMovie : mFailure;
    }

    const std::shared_ptr<const MediaFile>& mFile;
    BoxFile mBoxes;
    const ImportOptions& mOptions;
    std::string mProblem;
    OSStatus mFailure = noErr;
    int mMoviesTried = 0;
    bool mIsMovieFile = false;
};

}  // namespace

OSStatus ImportMPEG4(const std::shared_ptr<const MediaFile>& inFile, ImportedMovie& outMovie,
                     std::string& outProblem, const ImportOptions& inOptions) {
    return FileReader(inFile, inOptions).Read(outMovie, outProblem);
}

}  // namespace toolbox::movies

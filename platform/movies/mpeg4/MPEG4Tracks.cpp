#include "MPEG4Tracks.h"

#include "MPEG4Edits.h"
#include "MPEG4Fields.h"
#include "MPEG4SampleTable.h"

#include <toolbox/MacErrors.h>

#include <algorithm>
#include <limits>

extern "C" {
#include <libavcodec/codec_id.h>
}

namespace toolbox::movies {
namespace {

constexpr std::size_t kMaxTracks = 1024;
constexpr std::int64_t kUnlistedPackets = std::int64_t{1} << 20;
constexpr std::int64_t kSmallestUnlistedBytes = 16;
constexpr OSType kSoundMedia = BoxType("soun");
constexpr OSType kVideoMedia = BoxType("vide");

// The 32-bit number behind creation and modification time.
std::uint32_t NumberAfterTimes(BoxFile& ioFile, const Box& inBox) {
    constexpr std::int64_t kEnd = fields::kBehindTimes + 4;
    constexpr std::int64_t kLargeEnd = fields::kBehindLargeTimes + 4;
    if (inBox.ContentSizeBytes() < kEnd) return 0;
    const std::uint8_t* const bytes = ioFile.At(
        inBox.contentBytes, static_cast<std::size_t>(std::min(inBox.ContentSizeBytes(), kLargeEnd)));
    if (bytes == nullptr) return 0;
    if (bytes[0] != 1) return os::Load32(bytes + fields::kBehindTimes);
    return inBox.ContentSizeBytes() < kLargeEnd ? 0 : os::Load32(bytes + fields::kBehindLargeTimes);
}

// Three letters of five bits each. Numbers below the least of letters are QuickTime's own and name no ISO
// language.
std::string LanguageOf(BoxFile& ioFile, const Box& inMediaHeader) {
    const std::uint8_t* const version =
        inMediaHeader.ContentSizeBytes() < 1 ? nullptr : ioFile.At(inMediaHeader.contentBytes, 1);
    if (version == nullptr) return {};
    const std::int64_t offsetBytes = *version == 1 ? fields::kLargeLanguage : fields::kLanguage;
    if (inMediaHeader.ContentSizeBytes() < offsetBytes + 2) return {};
    const std::uint8_t* const bytes = ioFile.At(inMediaHeader.contentBytes + offsetBytes, 2);
    if (bytes == nullptr) return {};
    const std::uint32_t packed = os::Load16(bytes);
    std::string language;
    for (int shift = 10; shift >= 0; shift -= 5) {
        const char letter = static_cast<char>(0x60 + (packed >> shift & 31));
        if (letter < 'a' || letter > 'z') return {};
        language += letter;
    }
    return language == "und" ? std::string() : language;
}

SoundTrackFacts FactsOf(const MPEG4Track& inTrack, std::string inLanguage) {
    SoundTrackFacts facts;
    facts.language = std::move(inLanguage);
    facts.isEnabled = inTrack.isEnabled;
    if (inTrack.descriptions.empty()) return facts;
    const SoundFormat& format = inTrack.descriptions.front().format;
    facts.dataFormat = format.dataFormat;
    facts.name = format.name;
    facts.sampleRateHz = format.sampleRateHz;
    facts.channelCount = format.channelCount;
    facts.isAAC = format.codecID == AV_CODEC_ID_AAC;
    return facts;
}

OSType HandlerOf(BoxFile& ioFile, const Box& inMedia) {
    const Box handler = FindBox(ioFile, inMedia, BoxType("hdlr"));
    const std::uint8_t* const bytes = handler.ContentSizeBytes() < fields::kHandlerBytes
                                          ? nullptr
                                          : ioFile.At(handler.contentBytes, fields::kHandlerBytes);
    return bytes == nullptr ? 0 : os::Load32(bytes + fields::kHandlerType);
}

void ReadTrackHeader(BoxFile& ioFile, const Box& inHeader, MPEG4Track& ioTrack) {
    const std::uint8_t* const bytes = inHeader.ContentSizeBytes() < fields::kFullBoxBytes
                                          ? nullptr
                                          : ioFile.At(inHeader.contentBytes, fields::kFullBoxBytes);
    if (bytes == nullptr) return;
    ioTrack.isEnabled = (bytes[fields::kLastFlagsByte] & fields::kTrackEnabled) != 0;
    ioTrack.id = NumberAfterTimes(ioFile, inHeader);
}

// The tracks that a track takes its chapters from.
void CollectChapterTracks(BoxFile& ioFile, const Box& inReferences, std::vector<std::uint32_t>& ioIDs) {
    const Box chapters = FindBox(ioFile, inReferences, BoxType("chap"));
    if (!chapters.Exists()) return;
    TableReader table(ioFile, chapters, chapters.contentBytes, std::numeric_limits<std::uint32_t>::max(), 4);
    while (const std::uint8_t* const entry = table.NextEntry()) {
        if (ioIDs.size() >= kMaxTracks) return;
        ioIDs.push_back(os::Load32(entry));
    }
}

bool IsStillImage(OSType inDataFormat) {
    constexpr OSType kStills[] = {BoxType("jpeg"), BoxType("png "), BoxType("tiff"), BoxType("gif "),
                                  BoxType("BMP ")};
    return std::find(std::begin(kStills), std::end(kStills), inDataFormat) != std::end(kStills);
}

class HeaderReader {
  public:
    HeaderReader(BoxFile& ioFile, const ImportOptions& inOptions, MPEG4Header& outHeader)
        : mFile(ioFile), mOptions(inOptions), mHeader(outHeader) {}

    OSStatus Read(const Box& inMovie, std::string& outProblem) {
        bool hasHeader = false;
        BoxWalk walk(mFile, inMovie);
        for (Box box; walk.Next(box);) {
            if (box.type == BoxType("cmov")) return cantFindHandler;  // a compressed header
            if (box.type == BoxType("mvhd")) {
                mHeader.timeScale = NumberAfterTimes(mFile, box);
                hasHeader = true;
            } else if (box.type == BoxType("trak") && mHeader.tracks.size() < kMaxTracks) {
                ReadTrack(box);
            }
        }
        if (mFile.Status() != noErr) return mFile.Status();
        if (!hasHeader || !IsSane(mHeader.timeScale))
            return Damaged("the movie header has no time scale", outProblem);
        if (mOptions.soundTrack > mHeader.soundTracks.size()) {
            outProblem = NoSuchSoundTrack(mOptions.soundTrack, mHeader.soundTracks.size());
            return trackNotInMovie;
        }
        DropAttachedPictures();
        DropDisabled(kSoundMedia);
        DropDisabled(kVideoMedia);
        PutWantedSoundFirst();
        return CheckSound(outProblem);
    }

  private:
    static bool IsSane(std::uint32_t inTimeScale) {
        return inTimeScale != 0 && inTimeScale <= std::uint32_t{std::numeric_limits<std::int32_t>::max()};
    }

    static OSStatus Damaged(const char* inText, std::string& outProblem) {
        outProblem = inText;
        return invalidMovie;
    }

    void ReadTrack(const Box& inTrack) {
        MPEG4Track track;
        Box media;
        BoxWalk walk(mFile, inTrack);
        for (Box box; walk.Next(box);) {
            if (box.type == BoxType("tkhd")) ReadTrackHeader(mFile, box, track);
            if (box.type == BoxType("tref")) CollectChapterTracks(mFile, box, mChapterTracks);
            if (box.type == BoxType("edts"))
                track.edits = ReadEditList(mFile, FindBox(mFile, box, BoxType("elst")));
            if (box.type == BoxType("mdia")) media = box;
        }
        track.mediaType = media.Exists() ? HandlerOf(mFile, media) : 0;
        if (track.mediaType != kSoundMedia && track.mediaType != kVideoMedia) return;
        const Box mediaHeader = FindBox(mFile, media, BoxType("mdhd"));
        track.media.timeScale = NumberAfterTimes(mFile, mediaHeader);
        const Box information = FindBox(mFile, media, BoxType("minf"));
        if (information.Exists()) track.sampleTable = FindBox(mFile, information, BoxType("stbl"));
        track.media.unlistedPacketsLeft = kUnlistedPackets + mFile.SizeBytes() / kSmallestUnlistedBytes;
        if (track.IsSound() && track.sampleTable.Exists())
            track.descriptions =
                ReadSoundDescriptions(mFile, FindBox(mFile, track.sampleTable, BoxType("stsd")));
        if (track.IsSound()) {
            mHeader.soundTracks.push_back(FactsOf(track, LanguageOf(mFile, mediaHeader)));
            track.soundNumber = static_cast<std::uint32_t>(mHeader.soundTracks.size());
        }
        mHeader.tracks.push_back(std::move(track));
    }

    bool IsAttachedPicture(const MPEG4Track& inTrack) {
        if (inTrack.IsSound()) return false;
        if (std::find(mChapterTracks.begin(), mChapterTracks.end(), inTrack.id) != mChapterTracks.end())
            return true;
        if (!inTrack.sampleTable.Exists()) return false;
        const Box descriptions = FindBox(mFile, inTrack.sampleTable, BoxType("stsd"));
        if (!descriptions.Exists() || !IsStillImage(FirstDataFormat(mFile, descriptions))) return false;
        return !inTrack.isEnabled || ClaimedPacketCount(mFile, inTrack.sampleTable) <= 1;
    }

    void DropAttachedPictures() {
        std::erase_if(mHeader.tracks,
                      [this](const MPEG4Track& inTrack) { return IsAttachedPicture(inTrack); });
    }

    bool IsOneEnabled(OSType inMediaType) const {
        return std::any_of(mHeader.tracks.begin(), mHeader.tracks.end(),
                           [inMediaType](const MPEG4Track& inTrack) {
                               return inTrack.mediaType == inMediaType && inTrack.isEnabled;
                           });
    }

    bool IsWanted(const MPEG4Track& inTrack) const {
        return inTrack.IsSound() && inTrack.soundNumber == mOptions.soundTrack;
    }

    void DropDisabled(OSType inMediaType) {
        if (!IsOneEnabled(inMediaType)) return;
        std::erase_if(mHeader.tracks, [this, inMediaType](const MPEG4Track& inTrack) {
            return inTrack.mediaType == inMediaType && !inTrack.isEnabled && !IsWanted(inTrack);
        });
    }

    void PutWantedSoundFirst() {
        auto& tracks = mHeader.tracks;
        const auto first = std::find_if(tracks.begin(), tracks.end(),
                                        [](const MPEG4Track& inTrack) { return inTrack.IsSound(); });
        if (first == tracks.end()) return;
        const bool isOneEnabled = IsOneEnabled(kSoundMedia);
        const auto usual = std::find_if(first, tracks.end(), [isOneEnabled](const MPEG4Track& inTrack) {
            return inTrack.IsSound() && (inTrack.isEnabled || !isOneEnabled);
        });
        mHeader.usualSoundTrack = usual->soundNumber;
        const auto wanted = std::find_if(first, tracks.end(),
                                         [this](const MPEG4Track& inTrack) { return IsWanted(inTrack); });
        if (wanted != tracks.end()) std::rotate(first, wanted, wanted + 1);
    }

    OSStatus CheckSound(std::string& outProblem) const {
        if (mFile.Status() != noErr) return mFile.Status();
        bool isFirst = true;
        for (const MPEG4Track& track : mHeader.tracks) {
            if (!track.IsSound()) continue;
            if (track.descriptions.empty())
                return Damaged("the description of the sound is damaged", outProblem);
            if (isFirst && !track.descriptions.front().isOurs) return cantFindHandler;
            if (!IsSane(track.media.timeScale))
                return Damaged("the time scale of the sound is damaged", outProblem);
            isFirst = false;
        }
        return noErr;
    }

    BoxFile& mFile;
    const ImportOptions& mOptions;
    MPEG4Header& mHeader;
    std::vector<std::uint32_t> mChapterTracks;
};

}  // namespace

OSStatus ReadMovieHeader(BoxFile& ioFile, const Box& inMovie, const ImportOptions& inOptions,
                         MPEG4Header& outHeader, std::string& outProblem) {
    return HeaderReader(ioFile, inOptions, outHeader).Read(inMovie, outProblem);
}

}  // namespace toolbox::movies

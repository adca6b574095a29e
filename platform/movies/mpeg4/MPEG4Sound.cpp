#include "MPEG4Sound.h"

#include "MPEG4Edits.h"
#include "MPEG4SampleTable.h"
#include "MPEG4Spans.h"
#include "aac/AACConfig.h"
#include "aac/AACProbe.h"
#include "track/ExactTime.h"
#include "track/FilePackets.h"

#include <toolbox/MacErrors.h>
#include <toolbox/SoundReport.h>

#include <algorithm>
#include <utility>

extern "C" {
#include <libavcodec/codec_id.h>
}

namespace toolbox::movies {
namespace {

constexpr std::uint32_t kUnknownRateHz = 44100;
constexpr std::uint32_t kMaxRateHz = 768000;

// 0 where the format is not AAC.
std::uint32_t CoreRateOf(const SoundFormat& inFormat) {
    AACConfig config;
    const bool isAAC =
        inFormat.codecID == AV_CODEC_ID_AAC &&
        ParseAudioSpecificConfig(inFormat.decoderConfig.data(), inFormat.decoderConfig.size(), config);
    return isAAC ? config.coreRateHz : 0;
}

bool IsAnythingThere(const PacketTable& inTable, std::int64_t inFileBytes) {
    PacketTable::Cursor cursor(inTable);
    for (std::uint32_t packet = 0; packet < inTable.Count(); ++packet) {
        const PacketTable::Place place = cursor.At(packet);
        if (place.sizeBytes > 0 && place.offsetBytes >= 0 && place.offsetBytes <= inFileBytes &&
            place.sizeBytes <= inFileBytes - place.offsetBytes)
            return true;
    }
    return false;
}

class SoundMaker {
  public:
    SoundMaker(const std::shared_ptr<const MediaFile>& inFile, MPEG4Track& ioTrack,
               const MPEG4SoundSettings& inSettings)
        : mFile(inFile), mTrack(ioTrack), mSettings(inSettings) {}

    OSStatus Make(std::string& outProblem) {
        if (mSettings.mustBeThere && mTrack.media.packets.Count() != 0 &&
            !IsAnythingThere(mTrack.media.packets, mFile->SizeBytes()))
            return Damaged("none of the sound that the movie header describes is in the file", outProblem);
        TakeFormats();
        // The table moves into the store; spans need only how many packets there are.
        const std::uint32_t packetCount = mTrack.media.packets.Count();
        mSound->packets = NewFilePackets(mFile, std::exchange(mTrack.media.packets, PacketTable()));
        const OSStatus status = SettleFormats(packetCount);
        if (status != noErr) return status;
        mTimeScale =
            EffectiveTimeScale(mTrack.media, mSound->formats.front(), CoreRateOf(mSound->formats.front()));
        if (!MakeSpans(mTrack.media, packetCount, mTimeScale, mSound->formats, mSound->spans) || !MakeEdits())
            return Damaged("the movie header claims a length beyond reason", outProblem);
        return noErr;
    }

    std::unique_ptr<SoundTrack> Take() { return std::move(mSound); }

  private:
    static OSStatus Damaged(const char* inText, std::string& outProblem) {
        outProblem = inText;
        return invalidMovie;
    }

    void TakeFormats() {
        for (MPEG4SoundDescription& description : mTrack.descriptions) {
            SoundFormat& format = description.format;
            if (format.sampleRateHz == 0)
                format.sampleRateHz =
                    mTrack.media.timeScale <= kMaxRateHz ? mTrack.media.timeScale : kUnknownRateHz;
            if (!description.isOurs) format.decodable = noCodecErr;
            mSound->formats.push_back(std::move(format));
        }
        mDelayFrames = mTrack.descriptions.front().delayFrames;
    }

    OSStatus SettleFormats(std::uint32_t inPacketCount) {
        std::unique_ptr<PacketReader> reader;
        std::vector<bool> isSettled(mSound->formats.size());
        const auto& runs = mTrack.media.formats;
        for (std::size_t i = 0; i < runs.size(); ++i) {
            const std::size_t index = std::min<std::size_t>(runs[i].description, isSettled.size() - 1);
            if (isSettled[index]) continue;
            isSettled[index] = true;
            if (!reader) reader = mSound->packets->NewReader();
            const std::uint32_t end = i + 1 < runs.size() ? runs[i + 1].firstPacket : inPacketCount;
            const std::uint32_t first = runs[i].firstPacket;
            const OSStatus status = SettleImplicitSBR(*reader, first, end - first, mSound->formats[index]);
            if (status != noErr) return status;
        }
        return noErr;
    }

    bool MakeEdits() {
        const auto& spans = mSound->spans;
        mMediaFrames = spans.empty() ? 0 : spans.back().firstFrame + spans.back().frameCount;
        EditClocks clocks;
        clocks.movieTimeScale = mSettings.movieTimeScale;
        clocks.mediaTimeScale = mTimeScale;
        clocks.mediaStartUnits = mTrack.media.startUnits;
        clocks.mediaFrames = mMediaFrames;
        clocks.rateHz = mSound->SampleRateHz();
        clocks.isFragmented = mSettings.isFragmented;
        if (!ConvertEdits(mTrack.edits, clocks, mSound->edits)) return false;
        if (PresentsAll())
            TrimByTagOrCodec();
        else
            NoteEdits();
        return true;
    }

    bool PresentsAll() const {
        const auto& edits = mSound->edits;
        if (edits.empty()) return mMediaFrames == 0;
        return edits.size() == 1 && edits[0].mediaStart == 0 && edits[0].frameCount == mMediaFrames;
    }

    void TrimByTagOrCodec() {
        const std::uint32_t rateHz = mSound->SampleRateHz();
        const std::uint32_t coreRateHz = CoreRateOf(mSound->formats.front());
        const std::uint32_t ratio = coreRateHz != 0 && rateHz == coreRateHz * 2 ? 2 : 1;
        GaplessTrim trim;
        if (mSettings.gapless && ApplyGaplessTag(*mSettings.gapless, mMediaFrames, ratio, trim))
            Trim(trim.startFrames, trim.soundFrames, kSoundTrimGaplessTag);
        else if (mTrack.edits.empty() && mDelayFrames > 0 && mDelayFrames < mMediaFrames)
            Trim(mDelayFrames, mMediaFrames - mDelayFrames, kSoundTrimCodecHeader);
    }

    void Trim(std::int64_t inStartFrames, std::int64_t inSoundFrames, std::uint32_t inSource) {
        mSound->edits = {{inSoundFrames, inStartFrames}};
        mSound->trimSource = inSource;
        mSound->framesTrimmedAtStart = inStartFrames;
        mSound->framesTrimmedAtEnd = mMediaFrames - inStartFrames - inSoundFrames;
    }

    // What an edit list leaves away before the first and behind the last of what it presents.
    void NoteEdits() {
        if (mMediaFrames == 0) return;
        mSound->trimSource = kSoundTrimEditList;
        std::int64_t firstFrame = mMediaFrames;
        std::int64_t endFrame = 0;
        for (const Edit& edit : mSound->edits) {
            if (edit.mediaStart == Edit::kEmpty) continue;
            firstFrame = std::min(firstFrame, edit.mediaStart);
            endFrame = std::max(endFrame, edit.mediaStart + edit.frameCount);
        }
        mSound->framesTrimmedAtStart = firstFrame;
        mSound->framesTrimmedAtEnd = std::max<std::int64_t>(mMediaFrames - std::max(endFrame, firstFrame), 0);
    }

    const std::shared_ptr<const MediaFile>& mFile;
    MPEG4Track& mTrack;
    const MPEG4SoundSettings& mSettings;
    std::unique_ptr<SoundTrack> mSound = std::make_unique<SoundTrack>();
    std::uint32_t mTimeScale = 0;
    std::int64_t mMediaFrames = 0;
    std::int64_t mDelayFrames = 0;
};

}  // namespace

OSStatus MakeSoundTrack(const std::shared_ptr<const MediaFile>& inFile, MPEG4Track& ioTrack,
                        const MPEG4SoundSettings& inSettings, std::unique_ptr<SoundTrack>& outSound,
                        std::string& outProblem) {
    SoundMaker maker(inFile, ioTrack, inSettings);
    const OSStatus status = maker.Make(outProblem);
    if (status == noErr) outSound = maker.Take();
    return status;
}

}  // namespace toolbox::movies

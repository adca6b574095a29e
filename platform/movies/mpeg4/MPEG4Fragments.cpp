#include "MPEG4Fragments.h"

#include <toolbox/MacErrors.h>

#include <algorithm>

namespace toolbox::movies {
namespace {

constexpr std::uint32_t kFlagsMask = 0xffffff;

// "tfhd", ISO/IEC 14496-12, 8.8.7: track_ID, then the fields that the flags tell, in this order.
enum TrackHeaderFlags : std::uint32_t {
    kHasBaseOffset = 0x1,
    kHasDescription = 0x2,
    kHasDefaultDuration = 0x8,
    kHasDefaultSize = 0x10,
    kBaseIsFragment = 0x20000
};

// "trun", 8.8.8: sample_count, data_offset and first_sample_flags where the flags tell them; then the table,
// whose entries have the fields that the flags tell, in this order.
enum RunFlags : std::uint32_t {
    kHasDataOffset = 0x1,
    kHasFirstFlags = 0x4,
    kHasDurations = 0x100,
    kHasSizes = 0x200,
    kHasFlags = 0x400,
    kHasCompositionOffsets = 0x800
};

// Fields of a box one after the other. Past its end they read as 0, and the whole is marked as cut.
class Fields {
  public:
    Fields(BoxFile& ioFile, const Box& inBox)
        : mFile(ioFile), mPosition(inBox.contentBytes), mEnd(inBox.endBytes) {}

    std::uint32_t Take32() {
        const std::uint8_t* const bytes = Take(4);
        return bytes == nullptr ? 0 : os::Load32(bytes);
    }
    std::uint64_t Take64() {
        const std::uint8_t* const bytes = Take(8);
        return bytes == nullptr ? 0 : os::Load64(bytes);
    }
    std::int64_t Position() const { return mPosition; }
    bool AreCut() const { return mAreCut; }

  private:
    const std::uint8_t* Take(std::int64_t inByteCount) {
        const std::uint8_t* const bytes = mEnd - mPosition < inByteCount
                                              ? nullptr
                                              : mFile.At(mPosition, static_cast<std::size_t>(inByteCount));
        if (bytes == nullptr)
            mAreCut = true;
        else
            mPosition += inByteCount;
        return bytes;
    }

    BoxFile& mFile;
    std::int64_t mPosition;
    std::int64_t mEnd;
    bool mAreCut = false;
};

// The part of a fragment that belongs to one track.
class TrackFragmentReader {
  public:
    TrackFragmentReader(BoxFile& ioFile, const Box& inFragment, std::int64_t inImplicitBaseBytes)
        : mFile(ioFile), mFragment(inFragment), mBaseBytes(inImplicitBaseBytes) {}

    // False when the fragment claims too much.
    bool Read(const Box& inTrackFragment, std::vector<FragmentedTrack>& ioTracks) {
        const Box header = FindBox(mFile, inTrackFragment, BoxType("tfhd"));
        if (!header.Exists() || !ReadHeader(header, ioTracks)) return true;
        const Box time = FindBox(mFile, inTrackFragment, BoxType("tfdt"));
        if (time.Exists()) ReadTime(time);
        mNextBytes = mBaseBytes;
        BoxWalk walk(mFile, inTrackFragment);
        for (Box box; walk.Next(box);)
            if (box.type == BoxType("trun") && !ReadRun(box)) return false;
        return true;
    }

    // Where data goes on that says nothing else.
    std::int64_t EndBytes() const { return mNextBytes; }

  private:
    bool ReadHeader(const Box& inHeader, std::vector<FragmentedTrack>& ioTracks) {
        Fields fields(mFile, inHeader);
        const std::uint32_t flags = fields.Take32() & kFlagsMask;
        const std::uint32_t id = fields.Take32();
        const auto found = std::find_if(ioTracks.begin(), ioTracks.end(),
                                        [id](const FragmentedTrack& inTrack) { return inTrack.id == id; });
        if (fields.AreCut() || found == ioTracks.end()) return false;
        mTrack = &*found;
        mDefaults = mTrack->defaults;
        if ((flags & kHasBaseOffset) != 0)
            mBaseBytes = static_cast<std::int64_t>(fields.Take64());
        else if ((flags & kBaseIsFragment) != 0)
            mBaseBytes = mFragment.startBytes;
        if ((flags & kHasDescription) != 0) mDefaults.description = fields.Take32();
        if ((flags & kHasDefaultDuration) != 0) mDefaults.durationUnits = fields.Take32();
        if ((flags & kHasDefaultSize) != 0) mDefaults.sizeBytes = fields.Take32();
        return !fields.AreCut();
    }

    // "tfdt", 8.8.12: baseMediaDecodeTime, of 64 bits in version 1.
    void ReadTime(const Box& inTime) {
        Fields fields(mFile, inTime);
        const bool isLarge = fields.Take32() >> 24 != 0;
        const std::uint64_t units = isLarge ? fields.Take64() : fields.Take32();
        if (fields.AreCut() || units > static_cast<std::uint64_t>(kMaxMediaLength)) return;
        MPEG4Media& media = *mTrack->media;
        const auto startUnits = static_cast<std::int64_t>(units);
        // The very first packet may have any time; a later one that is a tick off is not.
        const bool isFirst = media.times.empty() && media.packets.Count() == 0 && media.endUnits == 0;
        if (isFirst) media.startUnits = startUnits;
        if (isFirst || startUnits > media.endUnits + 1) media.endUnits = startUnits;
    }

    bool ReadRun(const Box& inRun) {
        Fields fields(mFile, inRun);
        const std::uint32_t flags = fields.Take32() & kFlagsMask;
        const std::uint32_t count = fields.Take32();
        if ((flags & kHasDataOffset) != 0)
            mNextBytes = static_cast<std::int64_t>(
                static_cast<std::uint64_t>(mBaseBytes) +
                static_cast<std::uint64_t>(std::int64_t{static_cast<std::int32_t>(fields.Take32())}));
        if ((flags & kHasFirstFlags) != 0) fields.Take32();
        if (fields.AreCut() || count == 0) return true;
        if (mTrack->wantsPackets)
            mTrack->media->BeginFormat(mTrack->media->packets.Count(),
                                       mDefaults.description == 0 ? 0 : mDefaults.description - 1);
        constexpr std::uint32_t kFieldFlags = kHasDurations | kHasSizes | kHasFlags | kHasCompositionOffsets;
        if ((flags & kFieldFlags) == 0) return AddAlike(count);
        std::uint32_t entryBytes = 0;
        for (const std::uint32_t flag : {kHasDurations, kHasSizes, kHasFlags, kHasCompositionOffsets})
            if ((flags & flag) != 0) entryBytes += 4;
        TableReader table(mFile, inRun, fields.Position(), count, entryBytes);
        while (const std::uint8_t* const entry = table.NextEntry())
            if (!AddEntry(entry, flags)) return false;
        return true;
    }

    bool AddEntry(const std::uint8_t* inEntry, std::uint32_t inFlags) {
        const std::uint8_t* next = inEntry;
        std::uint32_t durationUnits = mDefaults.durationUnits;
        std::uint32_t sizeBytes = mDefaults.sizeBytes;
        if ((inFlags & kHasDurations) != 0) {
            durationUnits = os::Load32(next);
            next += 4;
        }
        if ((inFlags & kHasSizes) != 0) sizeBytes = os::Load32(next);
        return Add(1, durationUnits, sizeBytes);
    }

    // Packets of which nothing is told one by one.
    bool AddAlike(std::uint32_t inCount) {
        if (!mTrack->media->TakeUnlisted(inCount)) return false;
        return Add(inCount, mDefaults.durationUnits, mDefaults.sizeBytes);
    }

    bool Add(std::uint32_t inCount, std::uint32_t inDurationUnits, std::uint32_t inSizeBytes) {
        MPEG4Media& media = *mTrack->media;
        if (!media.AppendTimes(media.packets.Count(), inCount, inDurationUnits)) return false;
        if (!mTrack->wantsPackets) {
            media.times.clear();
            return true;
        }
        for (std::uint32_t i = 0; i < inCount; ++i) {
            media.packets.Append(mNextBytes, inSizeBytes);
            mNextBytes = media.packets.EndBytes();
        }
        return true;
    }

    BoxFile& mFile;
    const Box& mFragment;
    std::int64_t mBaseBytes;
    std::int64_t mNextBytes = 0;
    FragmentedTrack* mTrack = nullptr;
    FragmentDefaults mDefaults;
};

}  // namespace

bool ReadFragmentDefaults(BoxFile& ioFile, const Box& inMovie, std::vector<FragmentedTrack>& ioTracks) {
    const Box extends = FindBox(ioFile, inMovie, BoxType("mvex"));
    if (!extends.Exists()) return false;
    BoxWalk walk(ioFile, extends);
    for (Box box; walk.Next(box);) {
        if (box.type != BoxType("trex")) continue;
        // 8.8.3: version and flags, track_ID, default_sample_description_index, _duration, _size, _flags.
        Fields fields(ioFile, box);
        fields.Take32();
        const std::uint32_t id = fields.Take32();
        FragmentDefaults defaults;
        defaults.description = fields.Take32();
        defaults.durationUnits = fields.Take32();
        defaults.sizeBytes = fields.Take32();
        if (fields.AreCut()) continue;
        for (FragmentedTrack& track : ioTracks)
            if (track.id == id) track.defaults = defaults;
    }
    return true;
}

OSStatus ReadFragment(BoxFile& ioFile, const Box& inFragment, std::vector<FragmentedTrack>& ioTracks,
                      std::string& outProblem) {
    // Without a word on it, the first track's data is counted from the fragment's start, each further one's
    // from where the one before it ended.
    std::int64_t baseBytes = inFragment.startBytes;
    BoxWalk walk(ioFile, inFragment);
    for (Box box; walk.Next(box);) {
        if (box.type != BoxType("traf")) continue;
        TrackFragmentReader reader(ioFile, inFragment, baseBytes);
        if (!reader.Read(box, ioTracks)) {
            outProblem = "a fragment claims more sound than the file can hold";
            return ioFile.Status() != noErr ? ioFile.Status() : invalidMovie;
        }
        if (reader.EndBytes() != 0) baseBytes = reader.EndBytes();
    }
    return ioFile.Status();
}

}  // namespace toolbox::movies

#include "MPEG4Edits.h"

#include "MPEG4Fields.h"
#include "track/ExactTime.h"

#include <algorithm>

namespace toolbox::movies {
namespace {

class EditConverter {
  public:
    explicit EditConverter(const EditClocks& inClocks) : mClocks(inClocks) {}

    bool Add(const MPEG4Edit& inEdit, bool inTakesRest) {
        const std::int64_t mediaStart =
            inEdit.mediaTime == MPEG4Edit::kEmpty ? Edit::kEmpty : StartOf(inEdit);
        const std::int64_t restFrames =
            mediaStart == Edit::kEmpty ? 0 : std::max<std::int64_t>(mClocks.mediaFrames - mediaStart, 0);
        if (inEdit.lengthUnits == 0 && !inTakesRest) return true;
        if (inEdit.lengthUnits > static_cast<std::uint64_t>(kMaxMediaLength - mUnits)) return false;
        const auto lengthUnits = static_cast<std::int64_t>(inEdit.lengthUnits);
        std::int64_t frameCount = restFrames;
        if (inEdit.lengthUnits != 0 && (mediaStart == Edit::kEmpty || !MeansTheEnd(lengthUnits, restFrames)))
            frameCount = FramesOf(lengthUnits);
        else
            SynchroniseAt(mPositionFrames + frameCount);
        if (frameCount > kMaxMediaLength - mPositionFrames) return false;
        mPositionFrames += frameCount;
        if (frameCount > 0) mEdits.push_back({frameCount, mediaStart});
        return true;
    }

    std::vector<Edit> Take() { return std::move(mEdits); }

  private:
    std::int64_t StartOf(const MPEG4Edit& inEdit) const {
        const std::int64_t units = std::min(inEdit.mediaTime, kMaxMediaLength) - mClocks.mediaStartUnits;
        return ScaleRounded(std::max<std::int64_t>(units, 0), mClocks.rateHz, mClocks.mediaTimeScale);
    }

    bool MeansTheEnd(std::int64_t inLengthUnits, std::int64_t inRestFrames) const {
        if (mClocks.movieTimeScale % mClocks.rateHz == 0) return false;
        const __int128 off = static_cast<__int128>(inLengthUnits) * mClocks.rateHz -
                             static_cast<__int128>(inRestFrames) * mClocks.movieTimeScale;
        return inRestFrames > 0 && off <= mClocks.rateHz && -off <= mClocks.rateHz;
    }

    std::int64_t FramesOf(std::int64_t inLengthUnits) {
        mUnits += inLengthUnits;
        const std::int64_t endFrames = ScaleRounded(mUnits, mClocks.rateHz, mClocks.movieTimeScale);
        return endFrames - (mPositionFrames - mSynchronFrames);
    }

    void SynchroniseAt(std::int64_t inFrames) {
        mSynchronFrames = inFrames;
        mUnits = 0;
    }

    const EditClocks& mClocks;
    std::vector<Edit> mEdits;
    std::int64_t mPositionFrames = 0;  // the end of what was added
    std::int64_t mSynchronFrames = 0;  // where movie time and frames last met exactly
    std::int64_t mUnits = 0;           // movie time since then
};

}  // namespace

std::vector<MPEG4Edit> ReadEditList(BoxFile& ioFile, const Box& inEditList) {
    std::vector<MPEG4Edit> edits;
    if (!inEditList.Exists() || inEditList.ContentSizeBytes() < fields::kEntries) return edits;
    const std::uint8_t* const head = ioFile.At(inEditList.contentBytes, fields::kEntries);
    if (head == nullptr) return edits;
    const bool isLarge = head[0] == 1;
    TableReader table = OpenTable(ioFile, inEditList, isLarge ? fields::kLargeEditBytes : fields::kEditBytes);
    while (const std::uint8_t* const entry = table.NextEntry()) {
        MPEG4Edit edit;
        edit.lengthUnits = isLarge ? os::Load64(entry) : os::Load32(entry);
        edit.mediaTime =
            isLarge ? static_cast<std::int64_t>(os::Load64(entry + fields::kLargeEditMediaTime))
                    : std::int64_t{static_cast<std::int32_t>(os::Load32(entry + fields::kEditMediaTime))};
        if (edit.mediaTime < 0) edit.mediaTime = MPEG4Edit::kEmpty;
        edits.push_back(edit);
    }
    return edits;
}

bool ConvertEdits(const std::vector<MPEG4Edit>& inEdits, const EditClocks& inClocks,
                  std::vector<Edit>& outEdits) {
    outEdits.clear();
    if (inEdits.empty()) {
        if (inClocks.mediaFrames > 0) outEdits.push_back({inClocks.mediaFrames, 0});
        return true;
    }
    const bool presentsNothing = std::all_of(inEdits.begin(), inEdits.end(),
                                             [](const MPEG4Edit& inEdit) { return inEdit.lengthUnits == 0; });
    EditConverter converter(inClocks);
    for (const MPEG4Edit& edit : inEdits) {
        const bool isLast = &edit == &inEdits.back();
        if (!converter.Add(edit, isLast && (inClocks.isFragmented || presentsNothing))) return false;
    }
    outEdits = converter.Take();
    return true;
}

Duration PresentedDuration(const std::vector<MPEG4Edit>& inEdits, std::uint32_t inMovieTimeScale,
                           std::int64_t inMediaUnits, std::uint32_t inMediaTimeScale) {
    std::uint64_t sumUnits = 0;
    for (const MPEG4Edit& edit : inEdits)
        sumUnits += std::min<std::uint64_t>(
            edit.lengthUnits, kMaxMediaLength - std::min<std::uint64_t>(sumUnits, kMaxMediaLength));
    if (sumUnits != 0) return {static_cast<std::int64_t>(sumUnits), inMovieTimeScale};
    return {inMediaUnits, inMediaTimeScale};
}

}  // namespace toolbox::movies

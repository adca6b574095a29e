#include "MPEG4Boxes.h"

#include "MPEG4Fields.h"

#include <toolbox/MacErrors.h>

#include <algorithm>

namespace toolbox::movies {
namespace {

constexpr std::size_t kUsualLook = 16 * 1024;

}  // namespace

const std::uint8_t* BoxFile::At(std::int64_t inOffsetBytes, std::size_t inByteCount) {
    const bool isHeld = inOffsetBytes >= mWindowStart &&
                        inOffsetBytes - mWindowStart <= static_cast<std::int64_t>(mWindowBytes) &&
                        inByteCount <= mWindowBytes - static_cast<std::size_t>(inOffsetBytes - mWindowStart);
    if (!isHeld && !Fill(inOffsetBytes, inByteCount)) return nullptr;
    return mWindow.get() + (inOffsetBytes - mWindowStart);
}

bool BoxFile::Fill(std::int64_t inOffsetBytes, std::size_t inByteCount) {
    if (mStatus != noErr || inByteCount > kMaxLookBytes) return false;
    if (inOffsetBytes < 0 || inOffsetBytes > SizeBytes()) return false;
    const std::int64_t leftBytes = SizeBytes() - inOffsetBytes;
    if (static_cast<std::int64_t>(inByteCount) > leftBytes) return false;
    if (!mWindow)
        mWindow.reset(new std::uint8_t[kMaxLookBytes]);  // left unset: only what was read is looked at
    const auto wanted = std::min<std::int64_t>(std::max(inByteCount, kUsualLook), leftBytes);
    mWindowStart = inOffsetBytes;
    mWindowBytes = 0;
    std::size_t read = 0;
    mStatus = mFile.ReadAt(inOffsetBytes, mWindow.get(), static_cast<std::size_t>(wanted), &read);
    if (mStatus != noErr) return false;
    mWindowBytes = read;
    return inByteCount <= read;
}

// ISO/IEC 14496-12, 4.2: size and type in 32 bits each; a size of 1 stands for largesize, 64 bits behind
// them.
bool BoxWalk::Next(Box& outBox) {
    constexpr std::int64_t kHeaderBytes = 8;
    constexpr std::int64_t kLargeHeaderBytes = 16;
    if (mEnd - mPosition < kHeaderBytes) return false;
    const std::uint8_t* header = mFile.At(mPosition, kHeaderBytes);
    if (header == nullptr) return false;
    std::uint64_t sizeBytes = os::Load32(header);
    std::int64_t headerBytes = kHeaderBytes;
    outBox.type = os::Load32(header + 4);
    const auto leftBytes = static_cast<std::uint64_t>(mEnd - mPosition);
    if (sizeBytes == 0) {
        sizeBytes = leftBytes;
    } else if (sizeBytes == 1) {
        header = mEnd - mPosition < kLargeHeaderBytes ? nullptr : mFile.At(mPosition, kLargeHeaderBytes);
        if (header == nullptr) return false;
        sizeBytes = os::Load64(header + 8);
        headerBytes = kLargeHeaderBytes;
    }
    if (outBox.type == 0 || sizeBytes < static_cast<std::uint64_t>(headerBytes)) return false;
    outBox.startBytes = mPosition;
    outBox.contentBytes = mPosition + headerBytes;
    outBox.isCut = sizeBytes > leftBytes;
    outBox.endBytes = mPosition + static_cast<std::int64_t>(std::min(sizeBytes, leftBytes));
    mPosition = outBox.endBytes;
    return true;
}

Box FindBox(BoxFile& ioFile, const Box& inParent, OSType inType) {
    BoxWalk walk(ioFile, inParent);
    for (Box box; walk.Next(box);)
        if (box.type == inType) return box;
    return Box();
}

TableReader::TableReader(BoxFile& ioFile, const Box& inBox, std::int64_t inFirstEntryBytes,
                         std::uint32_t inCount, std::uint32_t inEntryBytes)
    : mFile(&ioFile), mPosition(inFirstEntryBytes), mEntryBytes(inEntryBytes) {
    const std::int64_t roomBytes = std::min(inBox.endBytes, ioFile.SizeBytes()) - inFirstEntryBytes;
    if (roomBytes > 0)
        mLeft = static_cast<std::uint32_t>(std::min<std::int64_t>(inCount, roomBytes / inEntryBytes));
}

const std::uint8_t* TableReader::NextEntries(std::uint32_t inLargestCount, std::uint32_t* outCount) {
    constexpr std::uint32_t kLookBytes = 16 * 1024;
    *outCount = 0;
    if (mLeft == 0 || inLargestCount == 0) return nullptr;
    *outCount = std::min({mLeft, inLargestCount, kLookBytes / mEntryBytes});
    const std::size_t byteCount = std::size_t{*outCount} * mEntryBytes;
    const std::uint8_t* const entries = mFile->At(mPosition, byteCount);
    if (entries == nullptr) {
        *outCount = 0;
        mLeft = 0;
        return nullptr;
    }
    mPosition += static_cast<std::int64_t>(byteCount);
    mLeft -= *outCount;
    return entries;
}

TableReader OpenTable(BoxFile& ioFile, const Box& inBox, std::uint32_t inEntryBytes) {
    if (!inBox.Exists() || inBox.ContentSizeBytes() < fields::kEntries) return TableReader();
    const std::uint8_t* const head = ioFile.At(inBox.contentBytes, fields::kEntries);
    if (head == nullptr) return TableReader();
    const std::uint32_t count = os::Load32(head + fields::kEntryCount);
    return TableReader(ioFile, inBox, inBox.contentBytes + fields::kEntries, count, inEntryBytes);
}

}  // namespace toolbox::movies

// A part of a media file in memory, moved forward over the file in large steps: for looking at headers that
// lie a few hundred bytes apart. For one thread.
#pragma once

#include "track/MediaFile.h"

#include <toolbox/MacErrors.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <memory>

namespace toolbox::movies {

class FileWindow {
  public:
    static constexpr std::size_t kWindowBytes = 256 * 1024;

    explicit FileWindow(const MediaFile& inFile)
        : mFile(inFile),
          mCapacity(static_cast<std::size_t>(
              std::clamp<std::int64_t>(inFile.SizeBytes(), 0, std::int64_t{kWindowBytes}))),
          mBytes(new std::uint8_t[mCapacity]) {}

    std::int64_t FileSizeBytes() const { return mFile.SizeBytes(); }

    // The bytes of the file at an offset, good until the next call; null when fewer than inCount, at most
    // kWindowBytes, are left or the device fails (see Status).
    const std::uint8_t* At(std::int64_t inOffset, std::size_t inCount) {
        if (!Holds(inOffset, inCount) && !Move(inOffset, inCount)) return nullptr;
        return mBytes.get() + (inOffset - mStart);
    }
    // How many bytes from an offset on At can give without reading.
    std::size_t HeldBytes(std::int64_t inOffset) const {
        return Holds(inOffset, 0) ? mHeld - static_cast<std::size_t>(inOffset - mStart) : 0;
    }

    // noErr, or the failure of a read that made At answer null.
    [[nodiscard]] OSStatus Status() const { return mStatus; }

  private:
    static constexpr std::int64_t kPageBytes = 4096;

    bool Holds(std::int64_t inOffset, std::size_t inCount) const {
        return inOffset >= mStart && inOffset - mStart <= static_cast<std::int64_t>(mHeld) &&
               inCount <= mHeld - static_cast<std::size_t>(inOffset - mStart);
    }
    bool Move(std::int64_t inOffset, std::size_t inCount) {
        if (inOffset < 0 || inOffset > FileSizeBytes() || inCount > mCapacity ||
            static_cast<std::int64_t>(inCount) > FileSizeBytes() - inOffset)
            return false;
        // From the beginning of a page the system copies faster, which is most of what a scan takes.
        const auto inPage = static_cast<std::size_t>(inOffset % kPageBytes);
        mStart = inCount <= mCapacity - std::min(inPage, mCapacity)
                     ? inOffset - static_cast<std::int64_t>(inPage)
                     : inOffset;
        mHeld = 0;
        const OSStatus status = mFile.ReadAt(mStart, mBytes.get(), mCapacity, &mHeld);
        if (status != noErr) {
            mHeld = 0;
            mStatus = status;
        }
        return Holds(inOffset, inCount);
    }

    const MediaFile& mFile;
    std::size_t mCapacity;
    std::unique_ptr<std::uint8_t[]> mBytes;  // left unset: it is read into before it is read
    std::int64_t mStart = 0;
    std::size_t mHeld = 0;
    OSStatus mStatus = noErr;
};

}  // namespace toolbox::movies

// The two records that pass between the engine and the sound exporter: the sample description, and the sound
// resource that comes back. Fields by offset; all big-endian.
#pragma once

#include "BigEndian.h"

namespace sounddescription {
constexpr Size kByteCount = 36;
constexpr Size kSizeOffset = 0;
constexpr Size kDataFormatOffset = 4;
constexpr Size kChannelCountOffset = 24;
constexpr Size kSampleBitsOffset = 26;
constexpr Size kSampleRateOffset = 32;  // 16.16, unsigned
}  // namespace sounddescription

// A sound resource of format 1 with one buffer command, seen through its first bytes.
class SoundResource {
  public:
    static constexpr Size kHeaderByteCount = 84;

    // Borrows kHeaderByteCount bytes.
    explicit SoundResource(void* inBytes) : mBytes(static_cast<unsigned char*>(inBytes)) {}

    bool IsExpectedForm() const {
        constexpr UInt16 kSampledSound = 5;
        constexpr UInt16 kBufferCommandWithOffset = 0x8051;
        constexpr UInt32 kSoundHeaderOffset = 20;
        return GetBig16(mBytes) == 1 && GetBig16(mBytes + 2) == 1 && GetBig16(mBytes + 4) == kSampledSound &&
               GetBig16(mBytes + 10) == 1 && GetBig16(mBytes + 12) == kBufferCommandWithOffset &&
               GetBig32(mBytes + 16) == kSoundHeaderOffset;
    }
    UInt32 ChannelCount() const { return GetBig32(mBytes + 24); }
    UInt32 FrameCount() const { return GetBig32(mBytes + 42); }
    UInt32 SampleByteCount() const { return GetBig16(mBytes + 82) >> 3; }
    void* Samples() const { return mBytes + kHeaderByteCount; }

  private:
    unsigned char* mBytes;
};

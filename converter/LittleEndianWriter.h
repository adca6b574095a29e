// Writes a WAV header's fields one after the other.
#pragma once

#include <toolbox/MacTypes.h>

class LittleEndianWriter {
  public:
    // Borrows room for all that will be put.
    explicit LittleEndianWriter(unsigned char* outBytes) : mNext(outBytes) {}

    void Tag(const char (&inTag)[5]) {
        for (int i = 0; i < 4; ++i)
            *mNext++ = static_cast<unsigned char>(inTag[i]);
    }
    void Put16(UInt16 inValue) { Put(inValue, 2); }
    void Put32(UInt32 inValue) { Put(inValue, 4); }
    void Put64(UInt64 inValue) { Put(inValue, 8); }

  private:
    void Put(UInt64 inValue, int inByteCount) {
        for (; inByteCount > 0; --inByteCount, inValue >>= 8)
            *mNext++ = static_cast<unsigned char>(inValue);
    }

    unsigned char* mNext;
};

// The "fmt " chunk: 24 bytes of 16-bit stereo PCM at a rate.
inline void PutFormatChunk(LittleEndianWriter& ioWriter, SInt32 inSampleRateHz) {
    const auto rate = static_cast<UInt32>(inSampleRateHz);
    ioWriter.Tag("fmt ");
    ioWriter.Put32(16);
    ioWriter.Put16(1);  // PCM
    ioWriter.Put16(2);  // channels
    ioWriter.Put32(rate);
    ioWriter.Put32(rate * 4);
    ioWriter.Put16(4);   // bytes in a frame
    ioWriter.Put16(16);  // bits in a sample
}

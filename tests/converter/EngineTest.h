// What the engine's tests share: a callback that records, and a fixture over the toolbox doubles.
#pragma once

#include "fakes/Calls.h"
#include "fakes/Memory.h"
#include "fakes/Movies.h"
#include "fakes/Text.h"

#include <converter/AACToWAV.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

using fakes::Bytes;

struct Chunk {
    long length;
    Bytes bytes;  // none for a length of zero or less

    bool operator==(const Chunk& inOther) const { return length == inOther.length && bytes == inOther.bytes; }
};

inline void PrintTo(const Chunk& inChunk, std::ostream* ioStream) {
    *ioStream << "chunk of " << inChunk.length;
}

// Its address is the callback's context.
struct Recorder {
    std::vector<Chunk> chunks;

    static void Put(void* inContext, void* inData, long inLength) {
        fakes::Log(fakes::CallText("callback", inLength));
        const auto* bytes = static_cast<const unsigned char*>(inData);
        Chunk chunk{inLength, {}};
        if (inLength > 0) chunk.bytes.assign(bytes, bytes + inLength);
        static_cast<Recorder*>(inContext)->chunks.push_back(chunk);
    }

    Bytes Stream() const {
        Bytes stream;
        for (const Chunk& chunk : chunks)
            stream.insert(stream.end(), chunk.bytes.begin(), chunk.bytes.end());
        return stream;
    }
    std::vector<long> Lengths() const {
        std::vector<long> lengths;
        for (const Chunk& chunk : chunks)
            lengths.push_back(chunk.length);
        return lengths;
    }
};

inline Recorder Whole(const std::string& inPath) {
    Recorder recorder;
    convert_AAC_to_WAV(inPath.c_str(), &recorder, Recorder::Put);
    return recorder;
}

inline Recorder Window(const std::string& inPath, long long inStart, long long inDuration) {
    Recorder recorder;
    convert_AAC_to_WAV(inPath.c_str(), &recorder, Recorder::Put, Int64(inStart), Int64(inDuration));
    return recorder;
}

inline Bytes Slice(const Bytes& inBytes, std::size_t inFirst, std::size_t inEnd) {
    return Bytes(inBytes.begin() + static_cast<long>(inFirst), inBytes.begin() + static_cast<long>(inEnd));
}

inline UInt32 Little32(const Bytes& inBytes, std::size_t inOffset) {
    return static_cast<UInt32>(inBytes.at(inOffset)) | static_cast<UInt32>(inBytes.at(inOffset + 1)) << 8 |
           static_cast<UInt32>(inBytes.at(inOffset + 2)) << 16 |
           static_cast<UInt32>(inBytes.at(inOffset + 3)) << 24;
}

// The header as the format's table has it, written here once more by hand.
inline Bytes ExpectedHeader(UInt32 inRateHz, UInt32 inFrameCount) {
    Bytes header;
    const auto tag = [&header](const char* inTag) {
        for (int i = 0; i < 4; ++i)
            header.push_back(static_cast<unsigned char>(inTag[i]));
    };
    const auto number = [&header](UInt32 inValue, int inByteCount) {
        for (int i = 0; i < inByteCount; ++i)
            header.push_back(static_cast<unsigned char>(inValue >> (8 * i)));
    };
    tag("RIFF");
    number(inFrameCount * 4 + 36, 4);
    tag("WAVE");
    tag("fmt ");
    number(16, 4);
    number(1, 2);
    number(2, 2);
    number(inRateHz, 4);
    number(inRateHz * 4, 4);
    number(4, 2);
    number(16, 2);
    tag("data");
    number(inFrameCount * 4, 4);
    return header;
}

inline Bytes ExpectedStream(UInt32 inRateHz, SInt64 inFrameCount) {
    Bytes stream = ExpectedHeader(inRateHz, static_cast<UInt32>(inFrameCount));
    const Bytes samples = fakes::ToneBytes(0, inFrameCount, false);
    stream.insert(stream.end(), samples.begin(), samples.end());
    return stream;
}

class EngineTest : public ::testing::Test {
  protected:
    EngineTest() { fakes::StartScenario(); }
    ~EngineTest() override {
        ExpectNothingLive();
        EXPECT_TRUE(fakes::Misuses().empty()) << fakes::Misuses().front();
    }

    void ExpectNothingLive() const {
        EXPECT_EQ(0, fakes::LiveHandles());
        EXPECT_EQ(0, fakes::LivePtrs());
        EXPECT_EQ(0, fakes::LiveMovies());
        EXPECT_EQ(0, fakes::LiveExporters());
        EXPECT_EQ(mLiveStrings, fakes::LiveStrings());
    }

  private:
    int mLiveStrings = fakes::LiveStrings();
};

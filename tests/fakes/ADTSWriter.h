// Raw AAC files made from a description, byte by byte.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace mirtal::fakes {

// One frame. The defaults describe AAC LC at 44100 Hz in stereo.
struct ADTSFrameToWrite {
    std::vector<std::vector<std::uint8_t>> blocks;  // raw data blocks: 1 to 4
    std::uint8_t profile = 1;                       // object type - 1
    std::uint8_t rateIndex = 4;
    std::uint8_t channelConfig = 2;
    bool isMPEG2 = false;
    bool hasChecksum = false;  // one of zeros: no reader of ours looks at it
};

class ADTSWriter {
  public:
    ADTSWriter& Frame(const ADTSFrameToWrite& inFrame);
    // A frame of one block of so many bytes that mean nothing; the first is never that of a header.
    ADTSWriter& Dummy(std::size_t inPayloadBytes, ADTSFrameToWrite inFrame = {});
    ADTSWriter& Dummies(int inCount, std::size_t inPayloadBytes, const ADTSFrameToWrite& inFrame = {});
    ADTSWriter& Bytes(const std::string& inBytes);
    ADTSWriter& Zeros(std::size_t inCount);
    // An ID3v2.4 tag with a body of so many bytes.
    ADTSWriter& ID3v2(std::uint32_t inBodyBytes, bool inHasFooter = false);
    ADTSWriter& ID3v1();
    ADTSWriter& APE(std::uint32_t inItemBytes);
    // Drops bytes from the end.
    ADTSWriter& Cut(std::size_t inCount);

    const std::string& Result() const { return mBytes; }
    std::size_t Size() const { return mBytes.size(); }

  private:
    std::string mBytes;
};

}  // namespace mirtal::fakes

#include "ADTSWriter.h"

namespace mirtal::fakes {

namespace {

void AppendByte(std::string& ioBytes, std::size_t inValue) {
    ioBytes.push_back(static_cast<char>(inValue & 0xFF));
}

void AppendLittleEndian32(std::string& ioBytes, std::uint32_t inValue) {
    for (int shift = 0; shift < 32; shift += 8)
        AppendByte(ioBytes, inValue >> shift);
}

}  // namespace

ADTSWriter& ADTSWriter::Frame(const ADTSFrameToWrite& inFrame) {
    const std::size_t blockCount = inFrame.blocks.size();
    std::size_t size = inFrame.hasChecksum ? 7 + 2 * blockCount : 7;
    for (const auto& block : inFrame.blocks)
        size += block.size() + (inFrame.hasChecksum && blockCount > 1 ? 2 : 0);
    AppendByte(mBytes, 0xFF);
    AppendByte(mBytes, 0xF0 | (inFrame.isMPEG2 ? 8 : 0) | (inFrame.hasChecksum ? 0 : 1));
    AppendByte(mBytes, inFrame.profile << 6 | inFrame.rateIndex << 2 | inFrame.channelConfig >> 2);
    AppendByte(mBytes, (inFrame.channelConfig & 3) << 6 | size >> 11);
    AppendByte(mBytes, size >> 3);
    AppendByte(mBytes, (size & 7) << 5 | 0x1F);
    AppendByte(mBytes, 0xFC | (blockCount - 1));
    if (inFrame.hasChecksum) {
        std::size_t position = 0;
        for (std::size_t block = 1; block < blockCount; ++block) {
            position += inFrame.blocks[block - 1].size() + 2;
            AppendByte(mBytes, position >> 8);
            AppendByte(mBytes, position);
        }
        Zeros(2);
    }
    for (const auto& block : inFrame.blocks) {
        mBytes.append(block.begin(), block.end());
        if (inFrame.hasChecksum && blockCount > 1) Zeros(2);
    }
    return *this;
}

ADTSWriter& ADTSWriter::Dummy(std::size_t inPayloadBytes, ADTSFrameToWrite inFrame) {
    inFrame.blocks = {std::vector<std::uint8_t>(inPayloadBytes, 0x21)};
    return Frame(inFrame);
}

ADTSWriter& ADTSWriter::Dummies(int inCount, std::size_t inPayloadBytes, const ADTSFrameToWrite& inFrame) {
    for (int index = 0; index < inCount; ++index)
        Dummy(inPayloadBytes, inFrame);
    return *this;
}

ADTSWriter& ADTSWriter::Bytes(const std::string& inBytes) {
    mBytes += inBytes;
    return *this;
}

ADTSWriter& ADTSWriter::Zeros(std::size_t inCount) {
    mBytes.append(inCount, '\0');
    return *this;
}

ADTSWriter& ADTSWriter::ID3v2(std::uint32_t inBodyBytes, bool inHasFooter) {
    std::string ends(1, '\4');
    AppendByte(ends, 0);
    AppendByte(ends, inHasFooter ? 0x10 : 0);
    for (int shift = 21; shift >= 0; shift -= 7)
        AppendByte(ends, (inBodyBytes >> shift) & 0x7F);
    mBytes += "ID3" + ends;
    Zeros(inBodyBytes);
    if (inHasFooter) mBytes += "3DI" + ends;
    return *this;
}

ADTSWriter& ADTSWriter::ID3v1() {
    return Bytes("TAG").Zeros(125);
}

ADTSWriter& ADTSWriter::APE(std::uint32_t inItemBytes) {
    for (const std::uint32_t flags : {0xA0000000u, 0x80000000u}) {
        mBytes += "APETAGEX";
        AppendLittleEndian32(mBytes, 2000);
        AppendLittleEndian32(mBytes, inItemBytes + 32);
        AppendLittleEndian32(mBytes, 1);
        AppendLittleEndian32(mBytes, flags);
        Zeros(8);
        if (flags == 0xA0000000u) mBytes.append(inItemBytes, 'x');
    }
    return *this;
}

ADTSWriter& ADTSWriter::Cut(std::size_t inCount) {
    mBytes.resize(mBytes.size() - inCount);
    return *this;
}

}  // namespace mirtal::fakes

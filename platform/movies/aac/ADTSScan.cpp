#include "ADTSScan.h"

#include "ADTSTags.h"
#include "os/BigEndian.h"
#include "track/FileWindow.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <limits>
#include <optional>

namespace toolbox::movies {

namespace {

// A recording that was cut out of a broadcast begins amid a frame. So many agreeing headers in a row, or
// fewer that reach to the end of the file, are no accident.
constexpr int kChainOfCutStart = 8;
constexpr int kChainToEnd = 3;
// What the checks around one position may look at: no window needs to move back and forth while they do.
constexpr std::size_t kLookAheadBytes = kChainOfCutStart * (ADTSHeader::kMaxFrameBytes + 1) + 16;
static_assert(2 * kLookAheadBytes < FileWindow::kWindowBytes);

// Changes of format or of blocks in a frame, a few bytes apart, would make tables larger than the file they
// describe.
constexpr std::size_t kMaxStretches = std::size_t{1} << 18;

class Scanner {
  public:
    explicit Scanner(const MediaFile& inFile, ADTSFrames& outFrames) : mWindow(inFile), mFrames(outFrames) {}

    OSStatus Run();

  private:
    bool HeaderAt(std::int64_t inOffset, ADTSHeader& outHeader);
    bool IsEnd(std::int64_t inOffset) const {
        return inOffset == mEndOfSound || inOffset == mWindow.FileSizeBytes();
    }
    bool IsConfirmed(std::int64_t inOffset, const ADTSHeader& inHeader);
    bool IsChain(std::int64_t inOffset);
    std::optional<std::int64_t> FindStart();
    std::optional<std::int64_t> FindConfirmed(std::int64_t inFrom);

    void TakeFastFrames();
    bool TakeFrame();
    bool TakeCutHeader();
    bool PassGap();
    void Hold(const ADTSHeader& inHeader);
    void Settle(std::int64_t inEndOfFrame);
    void SettleBlocks(std::int64_t inEndOfFrame);
    void Note(const ADTSHeader& inHeader, std::uint32_t inBlockCount);
    bool IsOverfull() const;

    FileWindow mWindow;
    ADTSFrames& mFrames;
    std::int64_t mEndOfSound = 0;
    std::int64_t mPosition = 0;
    std::optional<ADTSHeader> mHeld;  // the frame before mPosition, until it is known where it ends
    std::int64_t mHeldOffset = 0;
};

bool Scanner::HeaderAt(std::int64_t inOffset, ADTSHeader& outHeader) {
    const std::uint8_t* bytes = mWindow.At(inOffset, ADTSHeader::kBytesNeeded);
    return bytes != nullptr && ParseADTSHeader(bytes, outHeader);
}

bool Scanner::IsConfirmed(std::int64_t inOffset, const ADTSHeader& inHeader) {
    const std::int64_t next = inOffset + inHeader.frameBytes;
    ADTSHeader successor;
    return IsEnd(next) || (HeaderAt(next, successor) && successor.Agrees(inHeader));
}

bool Scanner::IsChain(std::int64_t inOffset) {
    ADTSHeader first;
    if (!HeaderAt(inOffset, first)) return false;
    ADTSHeader header = first;
    for (int count = 1; count < kChainOfCutStart; ++count) {
        inOffset += header.frameBytes;
        if (IsEnd(inOffset)) return count >= kChainToEnd;
        if (!HeaderAt(inOffset, header) || !header.Agrees(first)) return false;
    }
    return true;
}

// Chains of frames can lie inside other containers, at whose beginning a search would come across them.
bool BeginsAsContainer(const std::uint8_t* inBytes, std::size_t inCount) {
    static constexpr const char* kBeginnings[] = {"RIFF",
                                                  "RF64",
                                                  "OggS",
                                                  "fLaC",
                                                  "FORM",
                                                  "caff",
                                                  "FLV\1",
                                                  ".snd",
                                                  "\x1A\x45\xDF\xA3",
                                                  "\x30\x26\xB2\x75",
                                                  "MThd",
                                                  "ADIF"};
    if (inCount >= 4) {
        for (const char* beginning : kBeginnings) {
            if (std::memcmp(inBytes, beginning, 4) == 0) return true;
        }
    }
    if (inCount >= 8 &&
        (std::memcmp(inBytes + 4, "ftyp", 4) == 0 || std::memcmp(inBytes + 4, "moov", 4) == 0))
        return true;
    if (inCount >= 4 && std::memcmp(inBytes, "\0\0\1\xBA", 4) == 0) return true;
    constexpr std::size_t kTransportPacketBytes = 188;
    for (const std::size_t sync : {std::size_t{0}, std::size_t{4}}) {
        const std::size_t stride = kTransportPacketBytes + sync;
        if (inCount > sync + stride && inBytes[sync] == 0x47 && inBytes[sync + stride] == 0x47) return true;
    }
    return false;
}

std::optional<std::int64_t> Scanner::FindStart() {
    std::int64_t start = 0;
    while (const std::int64_t tagBytes = ID3v2Bytes(mWindow, start))
        start += tagBytes;
    ADTSHeader header;
    if (HeaderAt(start, header) && IsConfirmed(start, header)) return start;
    const std::int64_t left = mWindow.FileSizeBytes() - start;
    if (left < std::int64_t{ADTSHeader::kBytesNeeded}) return std::nullopt;
    const std::size_t count = static_cast<std::size_t>(std::min<std::int64_t>(left, kLookAheadBytes));
    const std::uint8_t* bytes = mWindow.At(start, count);
    if (bytes == nullptr || BeginsAsContainer(bytes, count)) return std::nullopt;
    const std::int64_t last = start + std::min<std::int64_t>(left, ADTSHeader::kMaxFrameBytes);
    for (std::int64_t offset = start + 1; offset < last; ++offset) {
        if (IsChain(offset)) {
            mFrames.skippedByteCount += static_cast<std::uint64_t>(offset - start);
            return offset;
        }
    }
    return std::nullopt;
}

// The first header from inFrom on that its successor, or the end, confirms.
std::optional<std::int64_t> Scanner::FindConfirmed(std::int64_t inFrom) {
    std::int64_t offset = inFrom;
    while (mWindow.FileSizeBytes() - offset >= std::int64_t{ADTSHeader::kBytesNeeded}) {
        const std::size_t wanted = static_cast<std::size_t>(
            std::min<std::int64_t>(mWindow.FileSizeBytes() - offset, kLookAheadBytes));
        const std::uint8_t* bytes = mWindow.At(offset, wanted);
        if (bytes == nullptr) return std::nullopt;
        const std::size_t held = mWindow.HeldBytes(offset);
        // The last bytes of the window are left for the next one, except at the end of the file.
        const std::size_t searched = held > kLookAheadBytes ? held - kLookAheadBytes : held;
        const void* sync = std::memchr(bytes, 0xFF, searched);
        if (sync == nullptr) {
            offset += static_cast<std::int64_t>(searched);
            continue;
        }
        offset += static_cast<const std::uint8_t*>(sync) - bytes;
        ADTSHeader header;
        if (HeaderAt(offset, header) && IsConfirmed(offset, header)) return offset;
        ++offset;
    }
    return std::nullopt;
}

void Scanner::Note(const ADTSHeader& inHeader, std::uint32_t inBlockCount) {
    if (mFrames.stretches.empty() || !mFrames.stretches.back().header.Agrees(inHeader) ||
        mFrames.stretches.back().blockCount != inBlockCount)
        mFrames.stretches.push_back({mFrames.packets.Count(), inHeader, inBlockCount});
}

bool Scanner::IsOverfull() const {
    return mFrames.stretches.size() > kMaxStretches ||
           mFrames.packets.Count() > std::numeric_limits<std::uint32_t>::max() - 8;
}

// A frame of several blocks with checksums: the header tells where each begins, and between them lie their
// checksums, which a decoder would take for sound. Each block becomes a packet.
void Scanner::SettleBlocks(std::int64_t inEndOfFrame) {
    constexpr std::uint32_t kChecksumBytes = 2;
    const ADTSHeader header = *mHeld;
    const std::int64_t first = mHeldOffset + header.headerBytes;
    std::int64_t starts[5] = {first};
    const std::uint8_t* bytes = mWindow.At(mHeldOffset, header.headerBytes);
    for (int block = 1; block < header.blockCount; ++block) {
        const std::uint8_t* entry =
            bytes == nullptr ? nullptr : bytes + ADTSHeader::kBytesNeeded + 2 * (block - 1);
        const std::int64_t start = entry == nullptr ? inEndOfFrame : first + os::Load16(entry);
        // A table that contradicts itself leaves the blocks of which it tells nothing with the bytes there
        // are.
        starts[block] = std::clamp(start, starts[block - 1], inEndOfFrame);
    }
    starts[header.blockCount] = inEndOfFrame;
    Note(header, 1);
    for (int block = 0; block < header.blockCount; ++block) {
        const std::int64_t size = starts[block + 1] - starts[block] - kChecksumBytes;
        mFrames.packets.Append(starts[block], static_cast<std::uint32_t>(std::max<std::int64_t>(size, 1)));
    }
}

// The frame held back ends at inEndOfFrame: at its own end, or earlier where it was cut.
void Scanner::Settle(std::int64_t inEndOfFrame) {
    if (!mHeld) return;
    if (KeepsHeader(*mHeld)) {
        Note(*mHeld, mHeld->blockCount);
        mFrames.packets.Append(mHeldOffset, static_cast<std::uint32_t>(inEndOfFrame - mHeldOffset));
    } else if (mHeld->hasChecksum && mHeld->blockCount > 1) {
        SettleBlocks(inEndOfFrame);
    } else {
        Note(*mHeld, mHeld->blockCount);
        const std::int64_t first = mHeldOffset + mHeld->headerBytes;
        mFrames.packets.Append(first, static_cast<std::uint32_t>(inEndOfFrame - first));
    }
    mHeld.reset();
}

void Scanner::Hold(const ADTSHeader& inHeader) {
    Settle(mPosition);
    mHeld = inHeader;
    mHeldOffset = mPosition;
    mPosition += inHeader.frameBytes;
}

// The usual case, without a call for each frame: the next header agrees with the frame held back, one block,
// no checksum, all of it in the window.
void Scanner::TakeFastFrames() {
    if (!mHeld || mHeld->hasChecksum || mHeld->blockCount != 1 || KeepsHeader(*mHeld)) return;
    std::size_t held = mWindow.HeldBytes(mPosition);
    if (held < ADTSHeader::kBytesNeeded) return;
    Note(*mHeld, 1);
    const std::uint8_t* bytes = mWindow.At(mPosition, ADTSHeader::kBytesNeeded);
    std::int64_t offset = mHeldOffset;
    ADTSHeader current = *mHeld;
    ADTSHeader next;
    // The table takes packets together that have only its gap between them.
    std::array<std::uint32_t, 512> sizes;
    const std::size_t most = mFrames.packets.GapBytes() == current.headerBytes ? sizes.size() : 1;
    std::uint32_t count = 0;
    std::int64_t first = offset + current.headerBytes;
    while (held >= ADTSHeader::kBytesNeeded && ParseADTSHeader(bytes, next) && next.Agrees(current) &&
           !next.hasChecksum && next.blockCount == 1 && next.frameBytes <= held) {
        sizes[count++] = current.frameBytes - current.headerBytes;
        offset += current.frameBytes;
        if (count == most) {
            mFrames.packets.AppendRun(first, sizes.data(), count);
            first = offset + next.headerBytes;
            count = 0;
        }
        bytes += next.frameBytes;
        held -= next.frameBytes;
        current = next;
    }
    mFrames.packets.AppendRun(first, sizes.data(), count);
    mHeld = current;
    mHeldOffset = offset;
    mPosition = offset + current.frameBytes;
}

// Takes the frame at mPosition; false when none is there.
bool Scanner::TakeFrame() {
    ADTSHeader header;
    if (!HeaderAt(mPosition, header)) return false;
    const bool isExpected = mHeld && mHeld->Agrees(header);
    if (!isExpected && !IsConfirmed(mPosition, header)) return false;
    Hold(header);
    return true;
}

// A file that was cut within a header: what is there of it agrees with the frame held back. It stays for a
// frame of the same length of time.
bool Scanner::TakeCutHeader() {
    const std::int64_t leftBytes = mWindow.FileSizeBytes() - mPosition;
    if (!mHeld || leftBytes <= 0 || leftBytes >= std::int64_t{ADTSHeader::kBytesNeeded}) return false;
    const std::uint8_t* bytes = mWindow.At(mPosition, static_cast<std::size_t>(leftBytes));
    if (bytes == nullptr) return false;
    for (int i = 0; i < 4 && i < leftBytes; ++i) {
        const int shift = 24 - 8 * i;
        const std::uint32_t mask = ADTSHeader::kCommonMask >> shift & 0xFF;
        if ((bytes[i] & mask) != (mHeld->common >> shift & 0xFF)) return false;
    }
    ADTSHeader cut = *mHeld;
    cut.frameBytes = cut.headerBytes = static_cast<std::uint32_t>(leftBytes);
    cut.hasChecksum = false;
    Hold(cut);
    return true;
}

// Passes over what follows the frame held back and is no frame. False when no frame follows.
bool Scanner::PassGap() {
    if (const std::int64_t tagBytes = ID3v2Bytes(mWindow, mPosition)) {
        if (tagBytes < mWindow.FileSizeBytes() - mPosition) {
            Settle(mPosition);
            mPosition += tagBytes;
            return true;
        }
    }
    const std::int64_t from = mHeld ? mHeldOffset + mHeld->headerBytes + mHeld->blockCount : mPosition;
    const std::optional<std::int64_t> found = FindConfirmed(from);
    if (!found && TakeCutHeader()) return true;
    if (!found) {
        Settle(mPosition);
        mFrames.skippedByteCount +=
            static_cast<std::uint64_t>(std::max<std::int64_t>(mEndOfSound - mPosition, 0));
        return false;
    }
    Settle(std::min(*found, mPosition));
    mFrames.skippedByteCount += static_cast<std::uint64_t>(std::max<std::int64_t>(*found - mPosition, 0));
    mPosition = *found;
    return true;
}

OSStatus Scanner::Run() {
    mEndOfSound = EndTagsOffset(mWindow);
    const std::optional<std::int64_t> start = FindStart();
    if (!start) return mWindow.Status() != noErr ? mWindow.Status() : cantFindHandler;
    mPosition = *start;
    ADTSHeader first;
    if (!HeaderAt(mPosition, first)) return mWindow.Status();
    mFrames.packets = PacketTable(KeepsHeader(first) ? 0 : first.headerBytes);
    while (!IsEnd(mPosition) && mWindow.Status() == noErr) {
        if (!TakeFrame() && !PassGap()) break;
        TakeFastFrames();
        if (IsOverfull()) return invalidMovie;
    }
    Settle(mPosition);
    return mWindow.Status();
}

}  // namespace

OSStatus ScanADTS(const MediaFile& inFile, ADTSFrames& outFrames) {
    return Scanner(inFile, outFrames).Run();
}

}  // namespace toolbox::movies

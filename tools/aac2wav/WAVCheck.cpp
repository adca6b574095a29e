#include "WAVCheck.h"

#include "Failure.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <cstring>

namespace tool {
namespace {

constexpr std::int64_t kChunkHeadBytes = 8;
constexpr std::int64_t kFormatBytes = 16;
constexpr std::uint32_t kSeeDs64 = 0xFFFFFFFF;
constexpr int kMaxChunks = 10000;  // a file made of tiny chunks is walked no further

std::uint64_t LittleEndian(const unsigned char* inBytes, int inByteCount) {
    std::uint64_t value = 0;
    for (int at = inByteCount; at-- > 0;)
        value = value << 8 | inBytes[at];
    return value;
}

class Walk {
  public:
    Walk(int inDescriptor, std::int64_t inFileBytes) : mDescriptor(inDescriptor), mFileBytes(inFileBytes) {}

    // False when the device fails; errno tells how.
    bool Run(WAVCheck& outCheck) {
        unsigned char head[12];
        outCheck.isEmpty = mFileBytes == 0;
        if (!Read(0, head, sizeof head)) return !mHasFailed;
        mIsRF64 = std::memcmp(head, "RF64", 4) == 0;
        outCheck.isWAV =
            (mIsRF64 || std::memcmp(head, "RIFF", 4) == 0) && std::memcmp(head + 8, "WAVE", 4) == 0;
        if (!outCheck.isWAV) return true;
        mEndBytes = static_cast<std::int64_t>(LittleEndian(head + 4, 4)) + kChunkHeadBytes;
        WalkChunks();
        outCheck.isWhole = mHasFormat && mHasSound && mFits && mEndBytes <= mFileBytes;
        outCheck.isOurs = outCheck.isWhole && mIsOurs;
        return !mHasFailed;
    }

  private:
    bool Read(std::int64_t inOffset, unsigned char* outBytes, std::size_t inByteCount) {
        const ssize_t count = ::pread(mDescriptor, outBytes, inByteCount, inOffset);
        mHasFailed = mHasFailed || count < 0;
        return count == static_cast<ssize_t>(inByteCount);
    }

    void WalkChunks() {
        std::int64_t at = 12;
        for (int count = 0; count < kMaxChunks && at + kChunkHeadBytes <= mFileBytes && !mHasSound; ++count) {
            unsigned char chunk[kChunkHeadBytes + 28];
            if (!Read(at, chunk, kChunkHeadBytes)) return;
            auto byteCount = static_cast<std::int64_t>(LittleEndian(chunk + 4, 4));
            const auto isTag = [&chunk](const char* inTag) { return std::memcmp(chunk, inTag, 4) == 0; };
            if (isTag("ds64") && mIsRF64 && byteCount >= 28 && Read(at, chunk, sizeof chunk)) {
                TakeLongSizes(chunk + kChunkHeadBytes);
            } else if (isTag("fmt ") && byteCount >= kFormatBytes &&
                       Read(at, chunk, kChunkHeadBytes + kFormatBytes)) {
                TakeFormat(chunk + kChunkHeadBytes, byteCount);
            } else if (isTag("data")) {
                if (mIsRF64 && byteCount == kSeeDs64) byteCount = mLongDataBytes;
                mHasSound = true;
                mIsOurs = mIsOurs && at + kChunkHeadBytes == (mIsRF64 ? 80 : 44);
                mFits = byteCount >= 0 && byteCount <= mEndBytes - at - kChunkHeadBytes;
            }
            if (mEndBytes < at) return;
            at += kChunkHeadBytes + byteCount + (byteCount & 1);
        }
    }

    void TakeLongSizes(const unsigned char* inSizes) {
        const std::uint64_t rest = LittleEndian(inSizes, 8);
        const std::uint64_t data = LittleEndian(inSizes + 8, 8);
        // What is no sensible size fits no file.
        constexpr std::uint64_t kMax = INT64_MAX / 2;
        mEndBytes = rest > kMax ? INT64_MAX : static_cast<std::int64_t>(rest) + kChunkHeadBytes;
        mLongDataBytes = data > kMax ? -1 : static_cast<std::int64_t>(data);
    }

    void TakeFormat(const unsigned char* inFormat, std::int64_t inByteCount) {
        constexpr std::uint64_t kPCM = 1;
        mHasFormat = true;
        mIsOurs = inByteCount == kFormatBytes && LittleEndian(inFormat, 2) == kPCM &&
                  LittleEndian(inFormat + 2, 2) == 2 && LittleEndian(inFormat + 14, 2) == 16;
    }

    int mDescriptor;
    std::int64_t mFileBytes;
    std::int64_t mEndBytes = 0;
    std::int64_t mLongDataBytes = -1;
    bool mIsRF64 = false;
    bool mHasFormat = false;
    bool mHasSound = false;
    bool mFits = false;
    bool mIsOurs = false;
    bool mHasFailed = false;
};

}  // namespace

WAVCheck CheckWAV(const std::string& inPath, const std::string& inName) {
    const int descriptor = ::open(inPath.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY);
    if (descriptor < 0) throw Failure(EX_CANTCREAT, inName, SystemReason(errno));
    WAVCheck check;
    struct stat item {};
    const bool isRead = ::fstat(descriptor, &item) == 0 && Walk(descriptor, item.st_size).Run(check);
    const int error = errno;
    ::close(descriptor);
    if (!isRead) throw Failure(EX_CANTCREAT, inName, SystemReason(error));
    return check;
}

}  // namespace tool

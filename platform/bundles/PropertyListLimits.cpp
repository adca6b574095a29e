#include "bundles/PropertyList.h"
#include "os/BigEndian.h"

#include <toolbox/MacTypes.h>

#include <algorithm>
#include <cassert>

namespace toolbox::corefoundation {

namespace {

constexpr std::string_view kBinaryMark = "bplist";
constexpr std::size_t kBytesOfAValue = 64;

std::size_t CountOf(std::string_view inText, std::string_view inBytes) {
    std::size_t count = 0;
    for (std::size_t at = inBytes.find(inText); at != std::string_view::npos;
         at = inBytes.find(inText, at + 1))
        ++count;
    return count;
}

// Walks a binary property list as its reader does: what is referred to several times is read as often.
class BinaryWalk {
  public:
    explicit BinaryWalk(std::string_view inBytes) : mBytes(inBytes) {}

    bool StaysInside() {
        if (mBytes.size() < kMarkBytes + kTrailerBytes) return false;
        // The trailer: 6 bytes that nobody reads, the size of an offset (1), of a reference (1), the number
        // of objects (8), the top object (8), where the table of offsets begins (8).
        const std::size_t trailer = mBytes.size() - kTrailerBytes;
        mOffsetBytes = ByteAt(trailer + 6);
        mRefBytes = ByteAt(trailer + 7);
        mObjectCount = NumberAt(trailer + 8, 8);
        const UInt64 topObject = NumberAt(trailer + 16, 8);
        mOffsetTable = NumberAt(trailer + 24, 8);
        if (mOffsetBytes < 1 || mOffsetBytes > 8 || mRefBytes < 1 || mRefBytes > 8) return false;
        if (mOffsetTable < kMarkBytes || mOffsetTable > trailer ||
            mObjectCount > (trailer - mOffsetTable) / mOffsetBytes)
            return false;
        mObjectsEnd = mOffsetTable;
        return Visit(topObject, 0);
    }

  private:
    static constexpr std::size_t kMarkBytes = 8;
    static constexpr std::size_t kTrailerBytes = 32;
    // The upper half of an object's marker. The lower is a count, or for a number the logarithm of its size
    // in bytes.
    enum Kind {
        kSimple = 0,
        kInteger = 1,
        kReal = 2,
        kDate = 3,
        kData = 4,
        kASCII = 5,
        kUTF16 = 6,
        kIdentifier = 8,
        kArray = 10,
        kSet = 12,
        kDictionary = 13
    };

    std::size_t ByteAt(UInt64 inOffset) const { return static_cast<UInt8>(mBytes[inOffset]); }

    // Big-endian; the bytes must be there.
    UInt64 NumberAt(UInt64 inOffset, std::size_t inByteCount) const {
        assert(inOffset <= mBytes.size() && inByteCount <= mBytes.size() - inOffset);
        return os::LoadNumber(reinterpret_cast<const UInt8*>(mBytes.data()) + inOffset, inByteCount);
    }

    bool Spend(UInt64 inByteCount) {
        if (inByteCount > kMaxUnpackedBytes - mSpentBytes) return false;
        mSpentBytes += static_cast<std::size_t>(inByteCount);
        return true;
    }

    bool Visit(UInt64 inObject, std::size_t inDepth) {
        if (inObject >= mObjectCount || !Spend(kBytesOfAValue)) return false;
        UInt64 offset = NumberAt(mOffsetTable + inObject * mOffsetBytes, mOffsetBytes);
        if (offset < kMarkBytes || offset >= mObjectsEnd) return false;
        const std::size_t marker = ByteAt(offset++);
        const std::size_t kind = marker >> 4;
        UInt64 count = marker & 15;
        switch (kind) {
            case kSimple:
                return true;
            case kInteger:
            case kReal:
            case kDate:
                return count <= 4 && (UInt64{1} << count) <= mObjectsEnd - offset;
            case kIdentifier:  // the one count that is one less than what it counts
                return count < mObjectsEnd - offset;
            default:
                break;
        }
        if (count == 15 && !ReadCount(offset, count)) return false;
        switch (kind) {
            case kData:
            case kASCII:
                return count <= mObjectsEnd - offset && Spend(count);
            case kUTF16:  // a unit has up to three bytes of UTF-8
                return count <= (mObjectsEnd - offset) / 2 && Spend(count * 3);
            case kArray:
            case kSet:
                return VisitAll(offset, count, inDepth);
            case kDictionary:
                return count <= kMaxUnpackedBytes && VisitAll(offset, count * 2, inDepth) &&
                       AreAllKeys(offset, count);
            default:
                return false;
        }
    }

    // A count of 15 or more is an integer object behind the marker.
    bool ReadCount(UInt64& ioOffset, UInt64& outCount) const {
        if (ioOffset >= mObjectsEnd) return false;
        const std::size_t marker = ByteAt(ioOffset++);
        const std::size_t byteCount = std::size_t{1} << (marker & 15);
        if (marker >> 4 != kInteger || byteCount > 8 || byteCount > mObjectsEnd - ioOffset) return false;
        outCount = NumberAt(ioOffset, byteCount);
        ioOffset += byteCount;
        return true;
    }

    bool VisitAll(UInt64 inOffset, UInt64 inCount, std::size_t inDepth) {
        if (++mContainerCount > kMaxContainers || inDepth == kMaxContainerDepth) return false;
        if (inCount > (mObjectsEnd - inOffset) / mRefBytes) return false;
        for (UInt64 i = 0; i < inCount; ++i)
            if (!Visit(NumberAt(inOffset + i * mRefBytes, mRefBytes), inDepth + 1)) return false;
        return true;
    }

    // The library's reader aborts at a key that is something else or holds NUL. The objects were visited.
    bool AreAllKeys(UInt64 inOffset, UInt64 inCount) const {
        for (UInt64 i = 0; i < inCount; ++i)
            if (!IsKey(NumberAt(inOffset + i * mRefBytes, mRefBytes))) return false;
        return true;
    }

    bool IsKey(UInt64 inObject) const {
        UInt64 offset = NumberAt(mOffsetTable + inObject * mOffsetBytes, mOffsetBytes);
        const std::size_t marker = ByteAt(offset++);
        UInt64 count = marker & 15;
        if (marker >> 4 != kASCII && marker >> 4 != kUTF16) return false;
        if (count == 15 && !ReadCount(offset, count)) return false;
        const std::size_t unitBytes = marker >> 4 == kUTF16 ? 2 : 1;
        for (UInt64 i = 0; i < count; ++i)
            if (NumberAt(offset + i * unitBytes, unitBytes) == 0) return false;
        return true;
    }

    std::string_view mBytes;
    std::size_t mOffsetBytes = 0;
    std::size_t mRefBytes = 0;
    UInt64 mObjectCount = 0;
    UInt64 mOffsetTable = 0;
    UInt64 mObjectsEnd = 0;
    std::size_t mSpentBytes = 0;
    std::size_t mContainerCount = 0;
};

}  // namespace

bool IsModestPropertyList(std::string_view inBytes) {
    if (inBytes.size() > kMaxPropertyListBytes) return false;
    if (inBytes.starts_with(kBinaryMark)) return BinaryWalk(inBytes).StaysInside();
    if (inBytes.find('\0') != std::string_view::npos) return false;
    return CountOf("<dict", inBytes) + CountOf("<array", inBytes) <= kMaxContainers;
}

}  // namespace toolbox::corefoundation

#include <foundation/ByteOrder.h>

#include <bit>
#include <cstring>

// The loops load and store through memcpy: any alignment is legal, and the compiler turns them into vector
// code.

namespace {

constexpr UInt16 Swapped(UInt16 inValue) {
    return static_cast<UInt16>(inValue << 8 | inValue >> 8);
}

constexpr UInt32 Swapped(UInt32 inValue) {
    return inValue << 24 | (inValue & 0xFF00) << 8 | (inValue >> 8 & 0xFF00) | inValue >> 24;
}

constexpr UInt64 Swapped(UInt64 inValue) {
    return static_cast<UInt64>(Swapped(static_cast<UInt32>(inValue))) << 32 |
           Swapped(static_cast<UInt32>(inValue >> 32));
}

// Of the bytes a b c d in memory: c b a d.
constexpr UInt32 OuterBytesSwapped(UInt32 inValue) {
    constexpr int kLowOuterBit = std::endian::native == std::endian::big ? 8 : 0;
    constexpr UInt32 kLowOuter = UInt32{0xFF} << kLowOuterBit;
    return (inValue & ~(kLowOuter | kLowOuter << 16)) | (inValue >> 16 & kLowOuter) |
           (inValue & kLowOuter) << 16;
}

template <typename Unit>
Unit Load(const void* inAddress) {
    Unit unit;
    std::memcpy(&unit, inAddress, sizeof unit);
    return unit;
}

template <typename Unit>
void Store(void* outAddress, Unit inUnit) {
    std::memcpy(outAddress, &inUnit, sizeof inUnit);
}

template <typename Unit, Unit (*Permute)(Unit)>
void MoveUnits(const void* inSource, void* outDestination, unsigned long inUnitCount) {
    const auto* source = static_cast<const unsigned char*>(inSource);
    auto* destination = static_cast<unsigned char*>(outDestination);
    for (unsigned long i = 0; i < inUnitCount; ++i)
        Store(destination + i * sizeof(Unit), Permute(Load<Unit>(source + i * sizeof(Unit))));
}

// MoveUnits onto itself would do, but the compiler could not know that no load meets an earlier store.
template <typename Unit, Unit (*Permute)(Unit)>
void PermuteUnits(void* ioData, unsigned long inUnitCount) {
    auto* data = static_cast<unsigned char*>(ioData);
    for (unsigned long i = 0; i < inUnitCount; ++i)
        Store(data + i * sizeof(Unit), Permute(Load<Unit>(data + i * sizeof(Unit))));
}

unsigned long UnitCount(long inByteCount, long inUnitByteCount) {
    return inByteCount <= 0 ? 0 : static_cast<unsigned long>(inByteCount / inUnitByteCount);
}

}  // namespace

void SwapBytesShort(void* ioData, long inByteCount) {
    PermuteUnits<UInt16, Swapped>(ioData, UnitCount(inByteCount, 2));
}

void SwapBytesLong(void* ioData, long inByteCount) {
    PermuteUnits<UInt32, Swapped>(ioData, UnitCount(inByteCount, 4));
}

void SwapBytes24(void* ioData, long inByteCount) {
    auto* unit = static_cast<unsigned char*>(ioData);
    for (unsigned long left = UnitCount(inByteCount, 3); left > 0; --left, unit += 3)
        Store(unit, OuterBytesSwapped(Load<UInt32>(unit)));
}

void SwapBytes64(void* ioData, long inByteCount) {
    PermuteUnits<UInt64, Swapped>(ioData, UnitCount(inByteCount, 8));
}

void SwapSectors(char* ioData, long inSectorCount) {
    constexpr unsigned long kSamplesPerSector = 1176;
    PermuteUnits<UInt16, Swapped>(ioData, static_cast<unsigned long>(inSectorCount) * kSamplesPerSector);
}

void BlockMoveDataSwappedShort(const void* inSrc, void* outDst, long inByteCount) {
    MoveUnits<UInt16, Swapped>(inSrc, outDst, UnitCount(inByteCount, 2));
}

void BlockMoveDataSwappedLong(const void* inSrc, void* outDst, long inByteCount) {
    MoveUnits<UInt32, Swapped>(inSrc, outDst, UnitCount(inByteCount, 4));
}

void BlockMoveDataSwappedShortAltivecAligned(const void* inSrc, void* outDst, long inByteCount) {
    BlockMoveDataSwappedShort(inSrc, outDst, inByteCount);
}

void BlockMoveDataSwappedLongAltivecAligned(const void* inSrc, void* outDst, long inByteCount) {
    BlockMoveDataSwappedLong(inSrc, outDst, inByteCount);
}

void UPlatforms::Swap(unsigned short& ioValue) {
    ioValue = Swapped(static_cast<UInt16>(ioValue));
}

void UPlatforms::Swap(short& ioValue) {
    ioValue = static_cast<short>(Swapped(static_cast<UInt16>(ioValue)));
}

void UPlatforms::Swap(long& ioValue) {
    ioValue = static_cast<SInt32>(Swapped(static_cast<UInt32>(ioValue)));
}

void UPlatforms::Swap(unsigned long& ioValue) {
    ioValue = Swapped(static_cast<UInt32>(ioValue));
}

void UPlatforms::Swap(long long& ioValue) {
    ioValue = static_cast<long long>(Swapped(static_cast<UInt64>(ioValue)));
}

void UPlatforms::Swap(unsigned long long& ioValue) {
    ioValue = Swapped(static_cast<UInt64>(ioValue));
}

void UPlatforms::Swap(Int64& ioValue) {
    long long value = ioValue.LongLong();
    Swap(value);
    ioValue = Int64(value);
}

void UPlatforms::Swap(Rect& ioRect) {
    Swap(ioRect.top);
    Swap(ioRect.left);
    Swap(ioRect.bottom);
    Swap(ioRect.right);
}

void UPlatforms::Swap(HFSUniStr255& ioName) {
    constexpr UInt16 kMaxCharacters = 255;
    UInt16 count = ioName.length;
    Swap(ioName.length);
    if (count > kMaxCharacters) count = ioName.length;
    if (count > kMaxCharacters) count = kMaxCharacters;
    for (UInt16 i = 0; i < count; ++i)
        Swap(ioName.unicode[i]);
}

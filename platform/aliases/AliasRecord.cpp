#include "AliasRecord.h"

#include <algorithm>
#include <cstring>

namespace toolbox::files {

namespace {

constexpr std::size_t kSizeOffset = 4;
constexpr std::size_t kVersionOffset = 6;
constexpr std::size_t kKindOffset = 8;
constexpr std::size_t kDeviceOffset = 12;
constexpr std::size_t kInodeOffset = 20;
constexpr std::size_t kBirthOffset = 28;
constexpr std::size_t kPathSizeOffset = 36;
constexpr std::size_t kPathOffset = 40;
constexpr std::size_t kMaxRecordBytes = UINT16_MAX;
constexpr UInt64 kVersion = 1;

template <std::size_t kByteCount>
void Put(UInt8* outBytes, std::size_t inOffset, UInt64 inValue) {
    for (std::size_t at = kByteCount; at-- > 0; inValue >>= 8)
        outBytes[inOffset + at] = static_cast<UInt8>(inValue);
}

template <std::size_t kByteCount>
UInt64 Get(const UInt8* inBytes, std::size_t inOffset) {
    UInt64 value = 0;
    for (std::size_t at = 0; at < kByteCount; ++at)
        value = value << 8 | inBytes[inOffset + at];
    return value;
}

}  // namespace

OSStatus EncodeAlias(const AliasContents& inContents, std::vector<UInt8>& outRecord) {
    if (inContents.path.size() > kMaxRecordBytes - kPathOffset) return pathTooLongErr;
    outRecord.assign(kPathOffset + inContents.path.size(), 0);
    UInt8* bytes = outRecord.data();
    Put<4>(bytes, 0, inContents.userType);
    Put<2>(bytes, kSizeOffset, outRecord.size());
    Put<2>(bytes, kVersionOffset, kVersion);
    Put<2>(bytes, kKindOffset, static_cast<UInt64>(inContents.kind));
    Put<8>(bytes, kDeviceOffset, inContents.identity.device);
    Put<8>(bytes, kInodeOffset, inContents.identity.inode);
    Put<8>(bytes, kBirthOffset, static_cast<UInt64>(inContents.identity.birthNanos));
    Put<4>(bytes, kPathSizeOffset, inContents.path.size());
    std::copy(inContents.path.begin(), inContents.path.end(), bytes + kPathOffset);
    return noErr;
}

OSStatus DecodeAlias(const UInt8* inBytes, std::size_t inByteCount, AliasContents& outContents,
                     std::size_t& outRecordBytes) {
    if (inByteCount <= kPathOffset) return paramErr;
    const std::size_t recordBytes = Get<2>(inBytes, kSizeOffset);
    if (recordBytes <= kPathOffset || recordBytes > inByteCount) return paramErr;
    if (Get<2>(inBytes, kVersionOffset) != kVersion) return paramErr;
    const UInt64 kind = Get<2>(inBytes, kKindOffset);
    if (kind < static_cast<UInt64>(os::ItemKind::kFile) || kind > static_cast<UInt64>(os::ItemKind::kOther))
        return paramErr;
    if (Get<4>(inBytes, kPathSizeOffset) != recordBytes - kPathOffset) return paramErr;
    const UInt8* path = inBytes + kPathOffset;
    if (path[0] != '/' || std::memchr(path, 0, recordBytes - kPathOffset) != nullptr) return paramErr;

    outContents.userType = static_cast<OSType>(Get<4>(inBytes, 0));
    outContents.kind = static_cast<os::ItemKind>(kind);
    outContents.identity.device = Get<8>(inBytes, kDeviceOffset);
    outContents.identity.inode = Get<8>(inBytes, kInodeOffset);
    outContents.identity.birthNanos = static_cast<std::int64_t>(Get<8>(inBytes, kBirthOffset));
    outContents.path.assign(reinterpret_cast<const char*>(path), recordBytes - kPathOffset);
    outRecordBytes = recordBytes;
    return noErr;
}

}  // namespace toolbox::files

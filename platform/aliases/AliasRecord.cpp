#include "AliasRecord.h"

#include "os/BigEndian.h"

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

}  // namespace

OSStatus EncodeAlias(const AliasContents& inContents, std::vector<UInt8>& outRecord) {
    if (inContents.path.size() > kMaxRecordBytes - kPathOffset) return pathTooLongErr;
    outRecord.assign(kPathOffset + inContents.path.size(), 0);
    UInt8* bytes = outRecord.data();
    os::Store32(bytes, inContents.userType);
    os::Store16(bytes + kSizeOffset, outRecord.size());
    os::Store16(bytes + kVersionOffset, kVersion);
    os::Store16(bytes + kKindOffset, static_cast<UInt64>(inContents.kind));
    os::Store64(bytes + kDeviceOffset, inContents.identity.device);
    os::Store64(bytes + kInodeOffset, inContents.identity.inode);
    os::Store64(bytes + kBirthOffset, static_cast<UInt64>(inContents.identity.birthNanos));
    os::Store32(bytes + kPathSizeOffset, inContents.path.size());
    std::copy(inContents.path.begin(), inContents.path.end(), bytes + kPathOffset);
    return noErr;
}

OSStatus DecodeAlias(const UInt8* inBytes, std::size_t inByteCount, AliasContents& outContents,
                     std::size_t& outRecordBytes) {
    if (inByteCount <= kPathOffset) return paramErr;
    const std::size_t recordBytes = os::Load16(inBytes + kSizeOffset);
    if (recordBytes <= kPathOffset || recordBytes > inByteCount) return paramErr;
    if (os::Load16(inBytes + kVersionOffset) != kVersion) return paramErr;
    const UInt64 kind = os::Load16(inBytes + kKindOffset);
    if (kind < static_cast<UInt64>(os::ItemKind::kFile) || kind > static_cast<UInt64>(os::ItemKind::kOther))
        return paramErr;
    if (os::Load32(inBytes + kPathSizeOffset) != recordBytes - kPathOffset) return paramErr;
    const UInt8* path = inBytes + kPathOffset;
    if (path[0] != '/' || std::memchr(path, 0, recordBytes - kPathOffset) != nullptr) return paramErr;

    outContents.userType = static_cast<OSType>(os::Load32(inBytes));
    outContents.kind = static_cast<os::ItemKind>(kind);
    outContents.identity.device = os::Load64(inBytes + kDeviceOffset);
    outContents.identity.inode = os::Load64(inBytes + kInodeOffset);
    outContents.identity.birthNanos = static_cast<std::int64_t>(os::Load64(inBytes + kBirthOffset));
    outContents.path.assign(reinterpret_cast<const char*>(path), recordBytes - kPathOffset);
    outRecordBytes = recordBytes;
    return noErr;
}

}  // namespace toolbox::files

#include "os/CopyContents.h"

#include "os/Descriptor.h"
#include "os/ItemStatus.h"
#include "os/SystemCalls.h"

#include <linux/fs.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <span>
#include <string_view>
#include <vector>

namespace toolbox::os {

namespace {

constexpr std::size_t kMaxBytesAtOnce = 1 << 30;
constexpr std::size_t kBufferBytes = 65536;
constexpr std::size_t kMaxAttributeBytes = 65536;  // of one, and of all names

// As many bytes as the kernel copies by itself; where it stops, reading and writing go on, and tell why.
off_t CopyWithinKernel(int inFrom, int inTo, off_t inStart, off_t inEnd) {
    off_t from = inStart;
    off_t to = inStart;
    while (from < inEnd) {
        const auto wanted = std::min(static_cast<std::size_t>(inEnd - from), kMaxBytesAtOnce);
        const ssize_t count = Calls().copy_file_range(inFrom, &from, inTo, &to, wanted, 0);
        if (count == 0 || (count < 0 && errno != EINTR)) break;
    }
    return from;
}

// outEnd: where the file ended, if that was before.
int CopyRange(int inFrom, int inTo, off_t inStart, off_t inEnd, off_t& outEnd) {
    std::array<UInt8, kBufferBytes> bytes;
    outEnd = CopyWithinKernel(inFrom, inTo, inStart, inEnd);
    while (outEnd < inEnd) {
        const auto wanted = std::min(static_cast<std::size_t>(inEnd - outEnd), bytes.size());
        const auto offset = static_cast<UInt64>(outEnd);
        std::size_t count = 0;
        int error = ReadAt(inFrom, bytes.data(), wanted, offset, count);
        if (error == 0) error = WriteAt(inTo, std::span(bytes).first(count), offset);
        if (error != 0) return error;
        outEnd += static_cast<off_t>(count);
        if (count < wanted) return 0;
    }
    return 0;
}

constexpr char kAccessList[] = "system.posix_acl_access";
constexpr std::string_view kNoEntries("\2\0\0\0", 4);  // its version alone; the list is taken away by it
constexpr mode_t kOwnersRights = 0700;

// A file system without any attributes, or without any of that kind.
bool HasNone(int inError) {
    return inError == EOPNOTSUPP || inError == ENOSYS;
}

// Beyond what a file system keeps of one attribute, or of its name.
bool IsTooLong(int inError) {
    return inError == E2BIG || inError == ERANGE;
}

int SetAttribute(int inFile, const char* inName, std::string_view inBytes) {
    if (Calls().fsetxattr(inFile, inName, inBytes.data(), inBytes.size(), 0) == 0) return 0;
    return IsTooLong(errno) ? ENOSPC : errno;
}

// outIsThere: false where the file has none of that name.
int GetAttribute(int inFile, const char* inName, std::vector<char>& outBytes, bool& outIsThere) {
    outBytes.resize(kMaxAttributeBytes);
    const ssize_t byteCount = Calls().fgetxattr(inFile, inName, outBytes.data(), outBytes.size());
    outIsThere = byteCount >= 0;
    if (!outIsThere) return errno == ENODATA || HasNone(errno) ? 0 : errno;
    outBytes.resize(static_cast<std::size_t>(byteCount));
    return 0;
}

int CopyAttribute(int inFrom, int inTo, const char* inName, std::vector<char>& ioBytes) {
    bool isThere = false;
    int error = GetAttribute(inFrom, inName, ioBytes, isThere);
    if (error != 0 || !isThere) return error;
    error = SetAttribute(inTo, inName, {ioBytes.data(), ioBytes.size()});
    return HasNone(error) ? 0 : error;
}

}  // namespace

int CopyContents(int inFrom, int inTo) {
    if (Calls().ioctl(inTo, FICLONE, inFrom) == 0) return 0;
    ItemStatus status;
    int error = GetDescriptorStatus(inFrom, status);
    off_t end = status.sizeBytes;
    for (off_t at = 0; error == 0 && at < end;) {
        off_t start = Calls().lseek(inFrom, at, SEEK_DATA);
        if (start < 0 && errno == ENXIO) break;  // no data from there on
        if (start < 0) start = at;
        off_t dataEnd = Calls().lseek(inFrom, start, SEEK_HOLE);
        if (dataEnd < 0 || dataEnd > end) dataEnd = end;
        error = CopyRange(inFrom, inTo, start, dataEnd, at);
        if (at < dataEnd) end = at;
    }
    return error == 0 ? SetLength(inTo, static_cast<UInt64>(end)) : error;
}

int CopyAttributes(int inFrom, int inTo) {
    std::vector<char> names(kMaxAttributeBytes);
    const ssize_t byteCount = Calls().flistxattr(inFrom, names.data(), names.size());
    if (byteCount < 0) return HasNone(errno) ? 0 : errno;
    if (byteCount == 0) return 0;
    std::vector<char> bytes(kMaxAttributeBytes);
    for (const char* name = names.data(); name < names.data() + byteCount;
         name += std::string_view(name).size() + 1) {
        const bool isUsers = std::string_view(name).starts_with("user.");
        const int error = isUsers ? CopyAttribute(inFrom, inTo, name, bytes) : 0;
        if (error != 0) return error;
    }
    return 0;
}

int CopyAccess(int inFrom, int inTo, mode_t inMode) {
    std::vector<char> bytes;
    bool hasOne = false;
    bool hasInherited = false;
    mode_t mode = inMode;
    int error = GetAttribute(inTo, kAccessList, bytes, hasInherited);
    if (error == 0 && hasInherited) error = SetAttribute(inTo, kAccessList, kNoEntries);
    if (error == 0) error = GetAttribute(inFrom, kAccessList, bytes, hasOne);
    if (error == 0 && hasOne) error = SetAttribute(inTo, kAccessList, {bytes.data(), bytes.size()});
    // Without the list nobody but the owner has what it gave, and what it kept from some is kept from all.
    if (HasNone(error)) {
        mode &= kOwnersRights;
        error = 0;
    }
    if (error != 0) return error;
    return Calls().fchmod(inTo, mode) == 0 ? 0 : errno;
}

}  // namespace toolbox::os

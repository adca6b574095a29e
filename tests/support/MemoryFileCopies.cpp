// The calls by which the file system in memory has bytes copied, as one that shares none and keeps no
// attributes of the user's does.
#include "support/Failed.h"
#include "support/MemoryFiles.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>

namespace support {

ssize_t MemoryFiles::CopyRange(int inFrom, off_t* ioFromOffset, int inTo, off_t* ioToOffset,
                               std::size_t inByteCount, unsigned inFlags) {
    OpenFile* const from = GetOpen(inFrom);
    OpenFile* const to = GetOpen(inTo);
    if (from == nullptr || to == nullptr) return Fail(EBADF);
    if (inFlags != 0 || !from->Item().IsFile() || !to->Item().IsFile()) return Fail(EINVAL);
    if (ioFromOffset == nullptr || ioToOffset == nullptr) return Fail(EINVAL);  // the only form that is used
    const std::string& source = from->Item().bytes;
    const auto offset = std::min(static_cast<std::size_t>(*ioFromOffset), source.size());
    const std::string bytes = source.substr(offset, std::min(inByteCount, mMaxBytesPerCall));
    const ssize_t count = WriteTo(*to, bytes.data(), bytes.size(), static_cast<std::size_t>(*ioToOffset));
    if (count <= 0) return count;
    *ioFromOffset += count;
    *ioToOffset += count;
    return count;
}

// Files have no holes, but for what is behind their end.
off_t MemoryFiles::Seek(int inDescriptor, off_t inOffset, int inWhence) {
    const OpenFile* const file = GetOpen(inDescriptor);
    if (file == nullptr) return Fail(EBADF);
    if (inWhence != SEEK_DATA && inWhence != SEEK_HOLE) return Fail(EINVAL);
    const auto size = static_cast<off_t>(file->Item().bytes.size());
    if (inOffset < 0 || inOffset >= size) return Fail(ENXIO);
    return inWhence == SEEK_DATA ? inOffset : size;
}

int MemoryFiles::Control(int inDescriptor, unsigned long, int) {
    return Fail(GetOpen(inDescriptor) == nullptr ? EBADF : EOPNOTSUPP);
}

ssize_t MemoryFiles::ListAttributes(int inDescriptor, char*, std::size_t) {
    return Fail(GetOpen(inDescriptor) == nullptr ? EBADF : EOPNOTSUPP);
}

ssize_t MemoryFiles::GetAttribute(int inDescriptor, const char*, void*, std::size_t) {
    return Fail(GetOpen(inDescriptor) == nullptr ? EBADF : EOPNOTSUPP);
}

int MemoryFiles::SetAttribute(int inDescriptor, const char*, const void*, std::size_t, int) {
    return Fail(GetOpen(inDescriptor) == nullptr ? EBADF : EOPNOTSUPP);
}

}  // namespace support

#include "os/FileRange.h"

#include "os/ItemStatus.h"

#include <cassert>
#include <cerrno>

namespace toolbox::os {

int FileRange::Adopt(Descriptor inFile) {
    *this = FileRange();
    mFile = std::move(inFile);
    const int error = Refresh();
    if (error != 0) *this = FileRange();
    return error;
}

int FileRange::Refresh() {
    ItemStatus status;
    const int error = GetDescriptorStatus(mFile.Number(), status);
    if (error != 0) return error;
    if (status.kind != ItemKind::kFile) return EINVAL;
    mOffsetBytes = 0;
    mSizeBytes = static_cast<UInt64>(status.sizeBytes);
    mAllocatedBytes = status.allocatedBytes;
    mChangeNanos = status.changeNanos;
    return 0;
}

void FileRange::Narrow(UInt64 inOffsetBytes, UInt64 inSizeBytes) {
    assert(inOffsetBytes <= mSizeBytes && inSizeBytes <= mSizeBytes - inOffsetBytes);
    mOffsetBytes += inOffsetBytes;
    mSizeBytes = inSizeBytes;
}

int FileRange::Read(UInt64 inOffsetBytes, void* outBytes, std::size_t inByteCount) const {
    if (inOffsetBytes > mSizeBytes || inByteCount > mSizeBytes - inOffsetBytes) return ENODATA;
    std::size_t count = 0;
    const int error = ReadAt(mFile.Number(), outBytes, inByteCount, mOffsetBytes + inOffsetBytes, count);
    return error == 0 && count < inByteCount ? ENODATA : error;
}

bool FileRange::HasChanged() const {
    ItemStatus status;
    return IsOpen() && GetDescriptorStatus(mFile.Number(), status) == 0 && status.changeNanos != mChangeNanos;
}

}  // namespace toolbox::os

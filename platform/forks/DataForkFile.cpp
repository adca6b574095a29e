// A data fork is the file itself. Who writes it holds its lock (flock), as who overwrites it whole does.
#include "ForkFile.h"
#include "catalogue/FileAccess.h"
#include "os/SystemCalls.h"
#include "status/StatusOfErrno.h"

#include <fcntl.h>
#include <sys/file.h>

#include <cerrno>
#include <utility>

namespace toolbox::files {

namespace {

class DataForkFile : public ForkFile {
  public:
    DataForkFile(os::Descriptor inFile, bool inIsReadable)
        : mFile(std::move(inFile)), mIsReadable(inIsReadable) {}

    OSStatus GetSizes(ForkSizes& outSizes) override {
        os::ItemStatus status;
        const int error = os::GetDescriptorStatus(mFile.Number(), status);
        if (error == 0) outSizes = {static_cast<UInt64>(status.sizeBytes), status.allocatedBytes};
        return StatusOfErrno(error);
    }
    OSStatus Read(UInt64 inOffsetBytes, void* outBytes, std::size_t inByteCount,
                  std::size_t& outCount) override {
        outCount = 0;
        if (!mIsReadable) return afpAccessDenied;
        return StatusOfErrno(os::ReadAt(mFile.Number(), outBytes, inByteCount, inOffsetBytes, outCount));
    }
    OSStatus Write(UInt64 inOffsetBytes, std::span<const UInt8> inBytes, std::size_t& outCount) override {
        return StatusOfErrno(os::WriteAt(mFile.Number(), inBytes, inOffsetBytes, outCount));
    }
    OSStatus SetSize(UInt64 inByteCount) override {
        return StatusOfErrno(os::SetLength(mFile.Number(), inByteCount));
    }
    OSStatus Allocate(UInt64 inOffsetBytes, UInt64 inByteCount, bool& outIsReserved) override {
        const int error = os::Reserve(mFile.Number(), inOffsetBytes, inByteCount);
        outIsReserved = error == 0;
        return error == EOPNOTSUPP || error == ENOSYS ? OSStatus{noErr} : StatusOfErrno(error);
    }
    OSStatus Flush() override { return StatusOfErrno(os::Sync(mFile.Number())); }
    OSStatus Close() override { return StatusOfErrno(mFile.Close()); }

  private:
    os::Descriptor mFile;
    bool mIsReadable;
};

// Where locks are unknown, nobody holds any.
bool IsLockedByOthers(int inDescriptor, ForkAccess inAccess) {
    const int kind = inAccess == ForkAccess::kWriteAlone ? LOCK_EX : LOCK_SH;
    return os::Calls().flock(inDescriptor, kind | LOCK_NB) != 0 && errno == EWOULDBLOCK;
}

}  // namespace

OSStatus OpenDataFork(const FoundItem& inFile, ForkAccess inAccess, MayRead inMayRead,
                      std::unique_ptr<ForkFile>& outFile) {
    const bool isToWrite = inAccess != ForkAccess::kRead;
    bool isReadable = true;
    os::Descriptor file;
    OSStatus status = OpenFound(inFile, isToWrite ? O_RDWR : O_RDONLY, file);
    if (status == afpAccessDenied && isToWrite && inMayRead == MayRead::kNeedNot) {
        status = OpenFound(inFile, O_WRONLY, file);
        isReadable = false;
    }
    if (status != noErr) return status;
    if (isToWrite && IsLockedByOthers(file.Number(), inAccess)) return opWrErr;
    outFile = std::make_unique<DataForkFile>(std::move(file), isReadable);
    return noErr;
}

}  // namespace toolbox::files

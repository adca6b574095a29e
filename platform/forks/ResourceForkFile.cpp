// A resource fork lies in the companion, which others may replace, move and remove meanwhile: it is looked
// for again before anything is done.
#include "ForkFile.h"
#include "catalogue/FileAccess.h"
#include "companions/CompanionFork.h"
#include "os/SystemCalls.h"
#include "status/StatusOfErrno.h"

#include <fcntl.h>

#include <cerrno>
#include <utility>

namespace toolbox::files {

namespace {

// How often a change begins anew because the file is moved meanwhile: only who never stops moving it is in
// the way.
constexpr int kRounds = 10'000;

// A companion does not outlast those that replace it, and the lock of the file is its data fork's. So who
// writes the resource fork locks a byte of the file where no data will ever be.
constexpr off_t kLockedByte = 0x7FFFFFFFFFFFFF00;

bool IsLockedByOthers(int inFile, ForkAccess inAccess) {
    struct flock lock = {};
    lock.l_type = inAccess == ForkAccess::kWriteAlone ? F_WRLCK : F_RDLCK;
    lock.l_whence = SEEK_SET;
    lock.l_start = kLockedByte;
    lock.l_len = 1;
    return os::Calls().fcntl(inFile, F_OFD_SETLK, &lock) != 0 && (errno == EAGAIN || errno == EACCES);
}

OSStatus StatusOf(int inError) {
    return inError == EISDIR ? OSStatus{errFSForkNotFound} : StatusOfErrno(inError);
}

// Whether an item has been there all the time since that was told of it: who moves it dates it.
bool HasStayed(const Place& inPlace, const os::ItemStatus& inThen) {
    os::ItemStatus now;
    return GetStatus(inPlace, now) == 0 && now.identity.IsSameItem(inThen.identity) &&
           now.attributeDate.seconds == inThen.attributeDate.seconds &&
           now.attributeDate.nanos == inThen.attributeDate.nanos;
}

class ResourceForkFile : public ForkFile {
  public:
    ResourceForkFile(const FSRef& inItem, os::Descriptor inLockedFile)
        : mItem(inItem), mLockedFile(std::move(inLockedFile)) {}

    OSStatus Open() { return Look(); }

    OSStatus GetSizes(ForkSizes& outSizes) override {
        const OSStatus status = Look();
        if (status == noErr) outSizes = {mFork.SizeBytes(), mFork.AllocatedBytes()};
        return status;
    }
    OSStatus Read(UInt64 inOffsetBytes, void* outBytes, std::size_t inByteCount,
                  std::size_t& outCount) override {
        outCount = 0;
        const OSStatus status = Look();
        return status == noErr ? StatusOf(mFork.Read(inOffsetBytes, outBytes, inByteCount, outCount))
                               : status;
    }
    OSStatus Write(UInt64 inOffsetBytes, std::span<const UInt8> inBytes, std::size_t& outCount) override {
        outCount = 0;
        return Change(
            [&](const Place& inPlace, const os::ItemIdentity& inFile) {
                return WriteCompanionFork(inPlace, inFile, inOffsetBytes, inBytes, outCount);
            },
            [&] { return mFork.Write(inOffsetBytes, inBytes, outCount); });
    }
    OSStatus SetSize(UInt64 inByteCount) override {
        return Change(
            [&](const Place& inPlace, const os::ItemIdentity& inFile) {
                return SetCompanionForkSize(inPlace, inFile, inByteCount);
            },
            [&] { return mFork.SetSize(inByteCount); });
    }
    OSStatus Allocate(UInt64 inOffsetBytes, UInt64 inByteCount, bool& outIsReserved) override {
        const OSStatus status = Look();
        if (status != noErr) return status;
        const int error = mFork.Allocate(inOffsetBytes, inByteCount);
        outIsReserved = error == 0;
        return error == EOPNOTSUPP || error == ENOSYS ? OSStatus{noErr} : StatusOf(error);
    }
    OSStatus Flush() override {
        const OSStatus status = Look();
        return status == noErr ? StatusOf(mFork.Sync()) : status;
    }
    OSStatus Close() override { return StatusOf(mLockedFile.Close()); }

  private:
    int Access() const { return mLockedFile.IsOpen() ? O_RDWR : O_RDONLY; }

    OSStatus Find(FoundItem& outItem, Place& outPlace) const {
        const OSStatus status = FindByRef(mItem, outItem);
        return status == noErr ? OpenPlace(outItem, outPlace) : status;
    }

    // What is held is the companion that the file has now; of one that was deleted it is the one that it had.
    OSStatus Look() {
        for (int round = 0; round < kRounds; ++round) {
            FoundItem item;
            Place place;
            const OSStatus status = Find(item, place);
            if (status == fnfErr) return StatusOf(mFork.LookAgain());
            if (status != noErr) return status;
            const int error = mFork.Look(place, Access());
            if (error != ENOENT) return StatusOf(error);
            if (!HasStayed(place, item.status)) continue;
            mFork.Drop();
            return noErr;
        }
        return fBsyErr;
    }

    template <typename AtPlace, typename OfHeld>
    OSStatus Change(AtPlace inAtPlace, OfHeld inOfHeld) {
        for (int round = 0; round < kRounds; ++round) {
            FoundItem item;
            Place place;
            const OSStatus status = Find(item, place);
            if (status == fnfErr) return StatusOf(inOfHeld());
            if (status != noErr) return status;
            const int error = inAtPlace(place, item.status.identity);
            if (error != ENOENT && error != ESTALE) return StatusOf(error);
        }
        return fBsyErr;
    }

    FSRef mItem;
    os::Descriptor mLockedFile;  // open where the fork is to be written
    CompanionFork mFork;
};

}  // namespace

OSStatus LockResourceFork(const FoundItem& inFile, ForkAccess inAccess, os::Descriptor& outLocked) {
    const OSStatus status = OpenFound(inFile, O_RDWR, outLocked);
    return status == noErr && IsLockedByOthers(outLocked.Number(), inAccess) ? OSStatus{opWrErr} : status;
}

OSStatus OpenResourceFork(const FoundItem& inFile, const FSRef& inRef, ForkAccess inAccess,
                          std::unique_ptr<ForkFile>& outFile) {
    os::Descriptor locked;
    OSStatus status = noErr;
    if (inAccess != ForkAccess::kRead) status = LockResourceFork(inFile, inAccess, locked);
    if (status != noErr) return status;
    auto file = std::make_unique<ResourceForkFile>(inRef, std::move(locked));
    status = file->Open();
    if (status == noErr) outFile = std::move(file);
    return status;
}

}  // namespace toolbox::files

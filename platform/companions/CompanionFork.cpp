#include "companions/CompanionFork.h"

#include "CompanionParts.h"
#include "CompanionWriter.h"
#include "ForkIntent.h"
#include "companions/Companions.h"
#include "os/BigEndian.h"
#include "os/SystemCalls.h"

#include <fcntl.h>
#include <sys/file.h>
#include <toolbox/Companions.h>

#include <algorithm>
#include <limits>
#include <utility>

namespace toolbox::files {

namespace {

constexpr UInt64 kMaxFileBytes = std::numeric_limits<UInt32>::max();
// Of what cannot be done in place.
constexpr int kOtherLayout = EAGAIN;

// Where the fork lies in a companion.
struct ForkPlace {
    bool exists = false;
    bool isLast = false;  // nothing lies behind it
    std::size_t index = 0;
    UInt64 offsetBytes = 0;
    UInt64 sizeBytes = 0;
};

ForkPlace FindFork(const Companion& inCompanion) {
    const auto& entries = inCompanion.entries;
    ForkPlace fork;
    const auto found = std::find_if(entries.begin(), entries.end(), [](const AppleDoubleEntry& inEntry) {
        return inEntry.id == AppleDoubleEntry::kResourceFork;
    });
    if (found == entries.end()) return fork;
    fork.exists = true;
    fork.index = static_cast<std::size_t>(found - entries.begin());
    fork.offsetBytes = found->offsetBytes;
    fork.sizeBytes = found->lengthBytes;
    const UInt64 headerBytes = kAppleDoubleHeaderBytes + kAppleDoubleEntryBytes * entries.size();
    // Which entry tells of the fork an intent decides, until that is settled.
    fork.isLast = inCompanion.intent == IntentState::kNone && fork.offsetBytes >= headerBytes &&
                  std::all_of(entries.begin(), entries.end(), [&](const AppleDoubleEntry& inEntry) {
                      const UInt64 end = UInt64{inEntry.offsetBytes} + inEntry.lengthBytes;
                      return inEntry.id == AppleDoubleEntry::kResourceFork || inEntry.lengthBytes == 0 ||
                             end <= fork.offsetBytes;
                  });
    return fork;
}

// The twelve bytes that tell of the fork.
int WriteEntry(int inDescriptor, const ForkPlace& inFork, UInt64 inByteCount) {
    UInt8 entry[kAppleDoubleEntryBytes];
    os::Store32(entry, AppleDoubleEntry::kResourceFork);
    os::Store32(entry + 4, static_cast<UInt32>(inFork.offsetBytes));
    os::Store32(entry + 8, static_cast<UInt32>(inByteCount));
    return os::WriteAt(inDescriptor, entry, kAppleDoubleHeaderBytes + kAppleDoubleEntryBytes * inFork.index);
}

// Its bytes are there.
int TellOfMore(int inDescriptor, const ForkPlace& inFork, UInt64 inByteCount) {
    const int error = os::Sync(inDescriptor);
    return error != 0 ? error : WriteEntry(inDescriptor, inFork, inByteCount);
}

// What lies behind the fork is left over from what failed: it is not to be seen where the fork grows over it.
int CutBehind(const Companion& inCompanion, const ForkPlace& inFork) {
    const UInt64 endBytes = inFork.offsetBytes + inFork.sizeBytes;
    if (inCompanion.file.SizeBytes() <= endBytes) return 0;
    return os::SetLength(inCompanion.file.DescriptorNumber(), endBytes);
}

int WriteInPlace(const Companion& inCompanion, UInt64 inOffsetBytes, std::span<const UInt8> inBytes,
                 std::size_t& outCount) {
    outCount = 0;
    if (inBytes.empty()) return 0;
    if (AreCompanionsAllowed() == 0) return kNotAllowed;
    const ForkPlace fork = FindFork(inCompanion);
    const int descriptor = inCompanion.file.DescriptorNumber();
    const UInt64 fileOffset = fork.offsetBytes + inOffsetBytes;
    if (inOffsetBytes <= fork.sizeBytes && inBytes.size() <= fork.sizeBytes - inOffsetBytes)
        return os::WriteAt(descriptor, inBytes, fileOffset, outCount);
    if (inOffsetBytes > kMaxFileBytes || fileOffset > kMaxFileBytes ||
        inBytes.size() > kMaxFileBytes - fileOffset)
        return ENOSPC;
    if (!fork.isLast) return kOtherLayout;
    int error = inOffsetBytes > fork.sizeBytes ? CutBehind(inCompanion, fork) : 0;
    if (error == 0) error = os::WriteAt(descriptor, inBytes, fileOffset, outCount);
    const UInt64 endBytes = inOffsetBytes + outCount;
    if (outCount == 0 || endBytes <= fork.sizeBytes) return error;
    const int growError = TellOfMore(descriptor, fork, endBytes);
    if (growError == 0) return error;
    outCount = inOffsetBytes < fork.sizeBytes ? static_cast<std::size_t>(fork.sizeBytes - inOffsetBytes) : 0;
    return growError;
}

int SetSizeInPlace(const Companion& inCompanion, UInt64 inByteCount) {
    const ForkPlace fork = FindFork(inCompanion);
    const int descriptor = inCompanion.file.DescriptorNumber();
    if (inByteCount == fork.sizeBytes) return 0;
    if (AreCompanionsAllowed() == 0) return kNotAllowed;
    if (inByteCount > kMaxFileBytes - fork.offsetBytes) return ENOSPC;
    if (!fork.isLast) return kOtherLayout;
    const UInt64 endBytes = fork.offsetBytes + inByteCount;
    if (inByteCount > fork.sizeBytes) {
        int error = CutBehind(inCompanion, fork);
        if (error == 0) error = os::SetLength(descriptor, endBytes);
        return error == 0 ? TellOfMore(descriptor, fork, inByteCount) : error;
    }
    int error = WriteEntry(descriptor, fork, inByteCount);
    if (error == 0) error = os::Sync(descriptor);
    if (error != 0) return error;
    // What cannot be cut off is told of by nobody.
    (void)os::SetLength(descriptor, endBytes);
    return 0;
}

// The companion with the fork at its end, as long as it is. kOtherLayout once it is so.
int LayOut(CompanionWriter& ioWriter) {
    std::vector<AppleDoublePart> parts;
    int error = ioWriter.ReadParts(0, parts);
    if (error != 0) return error;
    // As others write it: there are readers that look for it in the first place.
    if (!ioWriter.Exists())
        parts.push_back({AppleDoubleEntry::kFinderInfo, std::vector<UInt8>(kFinderInfoBytes)});
    if (!FindFork(ioWriter.Get()).exists) parts.push_back({AppleDoubleEntry::kResourceFork, {}});
    error = ioWriter.Replace(parts);
    return error == 0 ? kOtherLayout : error;
}

int RemoveFork(CompanionWriter& ioWriter) {
    if (!FindFork(ioWriter.Get()).exists) return 0;
    std::vector<AppleDoublePart> parts;
    const int error = ioWriter.ReadParts(AppleDoubleEntry::kResourceFork, parts);
    if (error != 0) return error;
    return AreDefault(parts) ? ioWriter.Remove() : ioWriter.Replace(parts);
}

int ReadAgain(Companion& ioCompanion) {
    const int error = ioCompanion.file.Refresh();
    return error == 0 ? ReadEntries(ioCompanion) : error;
}

}  // namespace

CompanionFork::CompanionFork() : mCompanion(std::make_unique<Companion>()) {}
CompanionFork::~CompanionFork() = default;

bool CompanionFork::IsOf(const Place& inItem) const {
    if (!mCompanion->file.IsOpen()) return false;
    os::ItemStatus held;
    os::ItemStatus named;
    return os::GetDescriptorStatus(mCompanion->file.DescriptorNumber(), held) == 0 &&
           os::GetStatusAt(inItem.folder.Number(), CompanionName(inItem.name).c_str(), named) == 0 &&
           named.identity.IsSameItem(held.identity);
}

int CompanionFork::Look(const Place& inItem, int inAccess) {
    const int folder = inItem.folder.Number();
    if (IsOf(inItem)) {
        const int error = ReadAgain(*mCompanion);
        return error == 0 ? ReadIntentOf(folder, inItem.name, *mCompanion) : error;
    }
    os::Descriptor file;
    Companion found;
    int error = OpenNamedFile(folder, CompanionName(inItem.name), inAccess, file);
    if (error == 0) error = AdoptCompanion(std::move(file), found);
    if (error == 0) error = ReadIntentOf(folder, inItem.name, found);
    if (error == 0) *mCompanion = std::move(found);
    return error;
}

void CompanionFork::Drop() noexcept {
    *mCompanion = {};
}

int CompanionFork::LookAgain() {
    if (!mCompanion->file.IsOpen()) return 0;
    const int error = ReadAgain(*mCompanion);
    if (error == 0) KeepIntent(*mCompanion);
    return error;
}

UInt64 CompanionFork::SizeBytes() const {
    return FindFork(*mCompanion).sizeBytes;
}

UInt64 CompanionFork::AllocatedBytes() const {
    return mCompanion->file.AllocatedBytes();
}

int CompanionFork::Read(UInt64 inOffsetBytes, void* outBytes, std::size_t inByteCount,
                        std::size_t& outCount) const {
    outCount = 0;
    const ForkPlace fork = FindFork(*mCompanion);
    if (inOffsetBytes >= fork.sizeBytes) return 0;
    const auto byteCount =
        static_cast<std::size_t>(std::min<UInt64>(inByteCount, fork.sizeBytes - inOffsetBytes));
    return os::ReadAt(mCompanion->file.DescriptorNumber(), outBytes, byteCount,
                      fork.offsetBytes + inOffsetBytes, outCount);
}

int CompanionFork::Sync() const {
    return mCompanion->file.IsOpen() ? os::Sync(mCompanion->file.DescriptorNumber()) : 0;
}

int CompanionFork::Allocate(UInt64 inOffsetBytes, UInt64 inByteCount) const {
    const ForkPlace fork = FindFork(*mCompanion);
    if (!fork.isLast) return EOPNOTSUPP;
    if (inOffsetBytes > kMaxFileBytes || inByteCount > kMaxFileBytes ||
        fork.offsetBytes + inOffsetBytes + inByteCount > kMaxFileBytes)
        return ENOSPC;
    return os::Reserve(mCompanion->file.DescriptorNumber(), fork.offsetBytes + inOffsetBytes, inByteCount);
}

// It may have gone only for those who find it, while somebody moves it: so it is locked all the same.
template <typename Change>
int CompanionFork::ChangeHeld(Change inChange) {
    if (!mCompanion->file.IsOpen()) return ENOENT;
    const int descriptor = mCompanion->file.DescriptorNumber();
    if (LockFile(descriptor, kMaxWriterMillis) == EBUSY) return EBUSY;
    int error = LookAgain();
    if (error == 0) error = inChange();
    (void)os::Calls().flock(descriptor, LOCK_UN);
    return error == kOtherLayout ? ENOENT : error;
}

int CompanionFork::Write(UInt64 inOffsetBytes, std::span<const UInt8> inBytes, std::size_t& outCount) {
    outCount = 0;
    return ChangeHeld([&] { return WriteInPlace(*mCompanion, inOffsetBytes, inBytes, outCount); });
}

int CompanionFork::SetSize(UInt64 inByteCount) {
    return ChangeHeld([&] { return SetSizeInPlace(*mCompanion, inByteCount); });
}

int WriteCompanionFork(const Place& inItem, const os::ItemIdentity& inIdentity, UInt64 inOffsetBytes,
                       std::span<const UInt8> inBytes, std::size_t& outCount) {
    outCount = 0;
    return ChangeCompanion({inItem, &inIdentity}, O_RDWR, [&](CompanionWriter& ioWriter) {
        const int error = WriteInPlace(ioWriter.Get(), inOffsetBytes, inBytes, outCount);
        return error == kOtherLayout ? LayOut(ioWriter) : error;
    });
}

int SetCompanionForkSize(const Place& inItem, const os::ItemIdentity& inIdentity, UInt64 inByteCount) {
    return ChangeCompanion({inItem, &inIdentity}, O_RDWR, [&](CompanionWriter& ioWriter) {
        if (inByteCount == 0) return RemoveFork(ioWriter);
        const int error = SetSizeInPlace(ioWriter.Get(), inByteCount);
        return error == kOtherLayout ? LayOut(ioWriter) : error;
    });
}

}  // namespace toolbox::files

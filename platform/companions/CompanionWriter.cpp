#include "CompanionWriter.h"

#include "CompanionParts.h"
#include "ForkIntent.h"
#include "companions/CompanionInfo.h"
#include "companions/CompanionNames.h"
#include "companions/Companions.h"
#include "os/SystemCalls.h"

#include <sys/file.h>
#include <time.h>
#include <toolbox/Companions.h>

#include <algorithm>
#include <array>
#include <span>
#include <utility>

namespace toolbox::files {

namespace {

constexpr mode_t kAllPermissions = 07777;
constexpr timespec kMillisecond = {0, 1'000'000};

// ENOENT also when another file has the name by now.
int Lock(int inFolder, const std::string& inName, int inDescriptor, bool& outHasOneName) {
    os::ItemStatus opened;
    os::ItemStatus named;
    int error = os::GetDescriptorStatus(inDescriptor, opened);
    if (error != 0) return error;
    if (opened.kind != os::ItemKind::kFile) return EISDIR;
    error = LockFile(inDescriptor, kMaxWriterMillis);
    if (error == 0 || error == ENOTSUP) error = os::GetStatusAt(inFolder, inName.c_str(), named);
    if (error != 0) return error;
    outHasOneName = named.linkCount == 1;
    return named.identity.IsSameItem(opened.identity) ? 0 : ENOENT;
}

// What has the name by now may be another's.
void RemoveMade(int inFolder, const std::string& inName, int inDescriptor) {
    os::ItemStatus made;
    os::ItemStatus named;
    if (os::GetDescriptorStatus(inDescriptor, made) == 0 &&
        os::GetStatusAt(inFolder, inName.c_str(), named) == 0 && named.identity.IsSameItem(made.identity))
        (void)os::Calls().unlinkat(inFolder, inName.c_str(), 0);
}

}  // namespace

// Not by a call that waits: who is stopped while he holds the lock would stop us, too.
int LockFile(int inDescriptor, int inMillis) {
    for (int waited = 0;; ++waited) {
        if (os::Calls().flock(inDescriptor, LOCK_EX | LOCK_NB) == 0) return 0;
        if (errno != EWOULDBLOCK) return ENOTSUP;
        if (waited == inMillis) return EBUSY;
        (void)os::Calls().clock_nanosleep(CLOCK_MONOTONIC, 0, &kMillisecond, nullptr);
    }
}

int CompanionWriter::CheckItem(os::ItemStatus& outStatus) const {
    const int error = GetStatus(*mItem, outStatus);
    if (error != 0 || mIdentity == nullptr) return error;
    return outStatus.identity.IsSameItem(*mIdentity) ? 0 : ESTALE;
}

int CompanionWriter::CheckItem() const {
    os::ItemStatus status;
    return CheckItem(status);
}

int CompanionWriter::Open(const ItemAt& inItem, int inAccess) {
    mItem = &inItem.place;
    mIdentity = inItem.identity;
    mNameLasts = inItem.nameLasts;
    const int folder = mItem->folder.Number();
    const std::string name = CompanionName(mItem->name);
    for (int round = 0; round < kChangeRounds; ++round) {
        os::Descriptor file;
        int error = OpenNamedFile(folder, name, inAccess, file);
        if (error == ENOENT) return 0;
        if (error == 0) error = Lock(folder, name, file.Number(), mHasOneName);
        if (error == ENOENT) continue;
        // Its entries are read only now, when nobody changes them.
        if (error == 0) error = AdoptCompanion(std::move(file), mCompanion);
        // Who moves the item would hold the lock.
        if (error == 0 && mIdentity != nullptr) error = CheckItem();
        bool isSettled = false;
        if (error == 0 && AreCompanionsAllowed() == 0)
            error = ReadIntentOf(folder, mItem->name, mCompanion);
        else if (error == 0)
            error = SettleIntent(*mItem, mCompanion, isSettled);
        if (error == 0 && !isSettled) return 0;
        mCompanion = {};
        if (error != 0) return error;
    }
    return EBUSY;
}

int CompanionWriter::ReadParts(UInt32 inOtherThan, std::vector<AppleDoublePart>& outParts) const {
    return files::ReadParts(mCompanion, inOtherThan, outParts);
}

int CompanionWriter::Replace(const std::vector<AppleDoublePart>& inParts) {
    std::vector<UInt8> bytes;
    if (AreCompanionsAllowed() == 0) return kNotAllowed;
    if (!EncodeAppleDouble(inParts, bytes)) return ENOSPC;
    const int folder = mItem->folder.Number();
    const std::string name = CompanionName(mItem->name);
    if (Exists()) return os::ReplaceFile(folder, name, bytes);
    const NoNewCompanions noOther;
    os::ItemStatus before;
    os::ItemStatus after;
    os::Descriptor made;
    int error = CheckItem(before);
    if (error == 0) error = os::MakeFile(folder, name, bytes, AccessOfCompanion(before), made);
    if (error != 0) return error;
    // Another process may have moved or deleted the item. Nobody takes the companion for one without an item
    // before that is known, because it is locked.
    error = CheckItem(after);
    const bool isGone = error == ENOENT || error == ESTALE;
    if (isGone) RemoveMade(folder, name, made.Number());
    made = {};
    if (mNameLasts == os::NameLasts::kOnceGiven) os::SyncFolder(folder);
    if (error != 0) return isGone ? error : 0;
    // One that became private meanwhile was not followed.
    const bool isFollowed = ModeOfCompanion(after.mode) == ModeOfCompanion(before.mode);
    return isFollowed ? 0 : SetCompanionMode(*mItem, after.identity, ModeOfCompanion(after.mode));
}

namespace {

bool Overlap(const AppleDoubleEntry& inLeft, const AppleDoubleEntry& inRight) {
    return inLeft.offsetBytes < UInt64{inRight.offsetBytes} + inRight.lengthBytes &&
           inRight.offsetBytes < UInt64{inLeft.offsetBytes} + inLeft.lengthBytes;
}

// Whether the part has the place of an entry, which is in the head and is nobody else's.
bool IsInHead(const Companion& inCompanion, const AppleDoubleEntry& inEntry) {
    return inEntry.offsetBytes + UInt64{inEntry.lengthBytes} <= inCompanion.headByteCount &&
           std::none_of(inCompanion.entries.begin(), inCompanion.entries.end(),
                        [&](const AppleDoubleEntry& inOther) {
                            return inOther.id != inEntry.id && Overlap(inEntry, inOther);
                        });
}

// The head of a companion that has these parts beside its fork, where all the others of its bytes stay. False
// where that would be another layout, or could not be written at once.
bool MakeHead(const Companion& inCompanion, const std::vector<AppleDoublePart>& inParts,
              std::array<UInt8, Companion::kHeadBytes>& outHead) {
    std::size_t entryCount = 0;
    outHead = inCompanion.head;
    for (const AppleDoubleEntry& entry : inCompanion.entries) {
        if (entry.id == AppleDoubleEntry::kResourceFork) continue;
        ++entryCount;
        const auto part = std::find_if(inParts.begin(), inParts.end(), [&](const AppleDoublePart& inPart) {
            return inPart.id == entry.id && inPart.bytes.size() == entry.lengthBytes;
        });
        if (part == inParts.end()) return false;
        if (!IsInfo(entry.id)) continue;
        if (!IsInHead(inCompanion, entry)) return false;
        std::copy(part->bytes.begin(), part->bytes.end(), outHead.begin() + entry.offsetBytes);
    }
    return entryCount == inParts.size();
}

}  // namespace

bool CompanionWriter::CanWriteInPlace(const std::vector<AppleDoublePart>& inParts) const {
    std::array<UInt8, Companion::kHeadBytes> head;
    return Exists() && mHasOneName && MakeHead(mCompanion, inParts, head);
}

int CompanionWriter::WriteInPlace(const std::vector<AppleDoublePart>& inParts) {
    if (AreCompanionsAllowed() == 0) return kNotAllowed;
    std::array<UInt8, Companion::kHeadBytes> head;
    if (!MakeHead(mCompanion, inParts, head)) return EINVAL;
    const auto& before = mCompanion.head;
    const auto first = std::mismatch(head.begin(), head.end(), before.begin()).first;
    const auto last = std::mismatch(head.rbegin(), head.rend(), before.rbegin()).first.base();
    if (first == head.end()) return 0;
    const auto start = static_cast<std::size_t>(first - head.begin());
    const auto byteCount = static_cast<std::size_t>(last - first);
    const int file = mCompanion.file.DescriptorNumber();
    int error = os::WriteAt(file, std::span(head).subspan(start, byteCount), start);
    if (error == 0) error = os::Sync(file);
    if (error != 0) (void)os::WriteAt(file, std::span(before).subspan(start, byteCount), start);
    return error;
}

int CompanionWriter::Remove() {
    return os::RemoveFile(mItem->folder.Number(), CompanionName(mItem->name));
}

os::NewFileAccess AccessOfCompanion(const os::ItemStatus& inItem) {
    os::NewFileAccess access;
    access.owner = {inItem.owner, inItem.group};
    if (inItem.kind != os::ItemKind::kLink) access.mode = ModeOfCompanion(inItem.mode);
    return access;
}

// Under the lock: who replaces it meanwhile gives the new one the permissions of the old.
int SetCompanionMode(const Place& inItem, const os::ItemIdentity& inIdentity, mode_t inMode,
                     std::optional<mode_t>* outBefore) {
    const int error = ChangeCompanion({inItem, &inIdentity}, O_RDONLY, [&](CompanionWriter& ioWriter) {
        if (!ioWriter.Exists()) return ioWriter.CheckItem();
        const int companion = ioWriter.Get().file.DescriptorNumber();
        os::ItemStatus status;
        const int statusError = os::GetDescriptorStatus(companion, status);
        if (statusError != 0) return statusError;
        const mode_t before = status.mode & kCompanionPermissions;
        const mode_t others = status.mode & kAllPermissions & ~kCompanionPermissions;
        if (before != inMode && os::Calls().fchmod(companion, others | inMode) != 0) return errno;
        if (outBefore != nullptr) *outBefore = before;
        return 0;
    });
    const bool isNone = IsNoCompanion(error) && error != ENOENT;  // which is told of the item
    return isNone || error == EACCES ? 0 : error;
}

}  // namespace toolbox::files

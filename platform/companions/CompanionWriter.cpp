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

#include <utility>

namespace toolbox::files {

namespace {

constexpr mode_t kAllPermissions = 07777;
constexpr timespec kMillisecond = {0, 1'000'000};

// ENOENT also when another file has the name by now.
int Lock(int inFolder, const std::string& inName, int inDescriptor) {
    os::ItemStatus opened;
    os::ItemStatus named;
    int error = os::GetDescriptorStatus(inDescriptor, opened);
    if (error != 0) return error;
    if (opened.kind != os::ItemKind::kFile) return EISDIR;
    error = LockFile(inDescriptor, kMaxWriterMillis);
    if (error == 0 || error == ENOTSUP) error = os::GetStatusAt(inFolder, inName.c_str(), named);
    if (error != 0) return error;
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
        if (error == 0) error = Lock(folder, name, file.Number());
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

#include "CompanionWriter.h"

#include "CompanionParts.h"
#include "companions/Companions.h"
#include "os/Replace.h"
#include "os/SystemCalls.h"

#include <sys/file.h>
#include <time.h>

#include <mutex>
#include <shared_mutex>
#include <utility>

namespace toolbox::files {

namespace {

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

// 0 while the item is there.
int CompanionWriter::CheckItem() const {
    os::ItemStatus status;
    const int error = GetStatus(*mItem, status);
    if (error != 0 || mIdentity == nullptr) return error;
    return status.identity.IsSameItem(*mIdentity) ? 0 : ESTALE;
}

int CompanionWriter::Open(const ItemAt& inItem, int inAccess) {
    mItem = &inItem.place;
    mIdentity = inItem.identity;
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
        if (error != 0) mCompanion = {};
        return error;
    }
    return EBUSY;
}

int CompanionWriter::ReadParts(UInt32 inOtherThan, std::vector<AppleDoublePart>& outParts) const {
    return files::ReadParts(mCompanion, inOtherThan, outParts);
}

int CompanionWriter::Replace(const std::vector<AppleDoublePart>& inParts) {
    std::vector<UInt8> bytes;
    if (!EncodeAppleDouble(inParts, bytes)) return ENOSPC;
    const int folder = mItem->folder.Number();
    const std::string name = CompanionName(mItem->name);
    if (Exists()) return os::ReplaceFile(folder, name, bytes);
    const std::shared_lock lock(NewCompanions());
    int error = CheckItem();
    os::ItemIdentity made;
    if (error == 0) error = os::MakeFile(folder, name, bytes, mItem->name, made);
    if (error != 0) return error;
    // Another process may have moved the item.
    error = CheckItem();
    if (error != ENOENT && error != ESTALE) return 0;
    os::ItemStatus named;
    if (os::GetStatusAt(folder, name.c_str(), named) == 0 && named.identity.IsSameItem(made))
        (void)os::RemoveFile(folder, name);
    return error;
}

int CompanionWriter::Remove() {
    return os::RemoveFile(mItem->folder.Number(), CompanionName(mItem->name));
}

}  // namespace toolbox::files

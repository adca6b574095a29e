#include "companions/ExchangedForks.h"

#include "CompanionParts.h"
#include "CompanionWriter.h"
#include "ForkIntent.h"
#include "companions/CompanionInfo.h"
#include "companions/Companions.h"
#include "os/Replace.h"

#include <toolbox/Companions.h>

#include <algorithm>
#include <cerrno>
#include <new>
#include <tuple>
#include <vector>

namespace toolbox::files {

namespace {

using Bytes = std::vector<UInt8>;

// They are in memory several times; names can be moved whatever lies in the forks.
constexpr UInt64 kMaxForkBytes = 64 << 20;
constexpr mode_t kPermissions = 06777;  // without the mark of a companion that has two names

bool IsThere(const Place& inPlace, const std::string& inName, int inDescriptor) {
    os::ItemStatus opened;
    os::ItemStatus named;
    return os::GetDescriptorStatus(inDescriptor, opened) == 0 &&
           os::GetStatusAt(inPlace.folder.Number(), inName.c_str(), named) == 0 &&
           named.identity.IsSameItem(opened.identity);
}

bool HasIntent(const CompanionParts& inParts) {
    return std::any_of(inParts.begin(), inParts.end(), [](const AppleDoublePart& inPart) {
        return inPart.id == AppleDoubleEntry::kForkIntent;
    });
}

}  // namespace

struct ExchangedForks::Side {
    explicit Side(const FileAtExchange& inFile)
        : place(inFile.place), item(inFile.status), name(CompanionName(inFile.place.name)) {}

    // Locks the companion, if there is one.
    [[nodiscard]] int Take();
    [[nodiscard]] bool HasNone() const;
    [[nodiscard]] int ReadParts();
    // It may have none, or none that can be locked.
    [[nodiscard]] bool CanHold() const;
    [[nodiscard]] int WriteIntent(const Side& inOther);
    [[nodiscard]] int Settle(const CompanionParts& inParts);

    const Place& place;
    const os::ItemStatus& item;
    const std::string name;
    CompanionWriter writer;
    bool isForeign = false;  // what has the name is no companion
    bool exists = false;
    UInt64 forkBytes = 0;
    mode_t mode = 0;
    CompanionParts before;
    CompanionParts after;
    os::Descriptor written;  // the companion with the intent, locked
};

int ExchangedForks::Side::Take() {
    for (int round = 0; round < kChangeRounds; ++round) {
        int error = writer.Open({place, &item.identity}, O_RDONLY);
        isForeign = IsNoCompanion(error) && error != ENOENT;
        if (isForeign) return 0;
        exists = error == 0 && writer.Exists();
        if (error == 0 && !exists) error = writer.CheckItem();
        if (error != 0) return error;
        if (exists) break;
        // It may have come here with its item after it was looked for.
        if (HasNone()) return 0;
    }
    for (const AppleDoubleEntry& entry : writer.Get().entries)
        if (entry.id == AppleDoubleEntry::kResourceFork) forkBytes = entry.lengthBytes;
    return exists ? 0 : EBUSY;
}

bool ExchangedForks::Side::HasNone() const {
    os::ItemStatus status;
    const int error = os::GetStatusAt(place.folder.Number(), name.c_str(), status);
    return error == ENOENT || error == ENAMETOOLONG;
}

int ExchangedForks::Side::ReadParts() {
    mode = ModeOfCompanion(item.mode);
    if (!exists) {
        after.push_back({AppleDoubleEntry::kFinderInfo, Bytes(kFinderInfoBytes)});
        return 0;
    }
    os::ItemStatus status;
    int error = os::GetDescriptorStatus(writer.Get().file.DescriptorNumber(), status);
    if (error == 0) error = writer.ReadParts(0, before);
    mode = status.mode & kPermissions;
    after = before;
    return error;
}

bool ExchangedForks::Side::CanHold() const {
    if (isForeign || !HasRoomForCompanion(place.name) || item.identity.birthNanos == 0) return false;
    return !exists || LockFile(writer.Get().file.DescriptorNumber(), 0) == 0;
}

int ExchangedForks::Side::WriteIntent(const Side& inOther) {
    // Who may not read the other's fork yet may not do so here, whatever comes of it.
    const mode_t hidden = mode & ModeOfCompanion(item.mode & inOther.item.mode);
    const int folder = place.folder.Number();
    CompanionParts parts = exists ? before : WithFork(after, {});
    parts.push_back(PartOf({item.identity, inOther.item.identity, mode}, ForkIn(after)));
    Bytes bytes;
    if (!EncodeAppleDouble(parts, bytes)) return ENOTSUP;
    os::Descriptor file;
    int error = 0;
    if (exists) {
        error = os::ReplaceFile(folder, name, bytes, hidden, file);
    } else {
        os::NewFileAccess access = AccessOfCompanion(item);
        access.mode = hidden;
        error = os::MakeFile(folder, name, bytes, access, file);
        if (error == 0) os::SyncFolder(folder);
        if (error == EEXIST) error = EBUSY;
    }
    if (error != 0) return error;
    written = std::move(file);
    // Another program may have moved the item, and seen no companion.
    return writer.CheckItem();
}

int ExchangedForks::Side::Settle(const CompanionParts& inParts) {
    if (!IsThere(place, name, written.Number())) return ENOENT;
    if (AreDefault(inParts)) return os::RemoveFile(place.folder.Number(), name);
    Bytes bytes;
    os::Descriptor file;
    if (!EncodeAppleDouble(inParts, bytes)) return ENOSPC;
    return os::ReplaceFile(place.folder.Number(), name, bytes, mode, file);
}

ExchangedForks::ExchangedForks() = default;

int ExchangedForks::CheckNoneCame() const {
    for (const auto& side : mSides)
        if (side != nullptr && !side->exists && !side->isForeign && !side->written.IsOpen() &&
            !side->HasNone())
            return EBUSY;
    return 0;
}

ExchangedForks::~ExchangedForks() {
    for (const auto& side : mSides)
        if (side != nullptr && side->written.IsOpen() && mNames == Names::kExchanged)
            os::SyncFolder(side->place.folder.Number());
    for (const auto& side : mSides)
        if (side != nullptr && side->written.IsOpen()) End(*side);
}

// What cannot be settled now tells by itself whose it is.
void ExchangedForks::End(Side& ioSide) const noexcept {
    try {
        if (mNames != Names::kUnknown)
            (void)ioSide.Settle(mNames == Names::kExchanged ? ioSide.after : ioSide.before);
    } catch (const std::bad_alloc&) {
        return;
    }
}

bool ExchangedForks::CanChangePlaces() const {
    const Side& side1 = *mSides[0];
    const Side& side2 = *mSides[1];
    return side1.CanHold() && side2.CanHold() && side1.item.owner == side2.item.owner &&
           side1.item.group == side2.item.group && side1.forkBytes + side2.forkBytes <= kMaxForkBytes;
}

int ExchangedForks::MakePartsOf(Side& ioSide, const Side& inOther) const {
    ioSide.after = WithFork(ioSide.after, ForkIn(inOther.before));
    Bytes bytes;
    return !HasIntent(ioSide.before) && EncodeAppleDouble(ioSide.after, bytes) ? 0 : ENOTSUP;
}

int ExchangedForks::Prepare(const FileAtExchange& inFile1, const FileAtExchange& inFile2) {
    mNoOthers.emplace();
    const auto order = [](const FileAtExchange& inFile) {
        const os::ItemIdentity& folder = inFile.place.folderStatus.identity;
        return std::tie(folder.device, folder.inode, inFile.place.name);
    };
    const bool isInOrder = order(inFile1) < order(inFile2);
    mSides[0] = std::make_unique<Side>(isInOrder ? inFile1 : inFile2);
    mSides[1] = std::make_unique<Side>(isInOrder ? inFile2 : inFile1);
    Side& side1 = *mSides[0];
    Side& side2 = *mSides[1];
    int error = mFolders.Lock(inFile1.place, inFile2.place);
    if (error == 0) error = side1.Take();
    if (error == 0) error = side2.Take();
    if (error != 0 || (side1.forkBytes == 0 && side2.forkBytes == 0)) return error;
    if (AreCompanionsAllowed() == 0) return kNotAllowed;
    if (!CanChangePlaces()) return ENOTSUP;
    error = side1.ReadParts();
    if (error == 0) error = side2.ReadParts();
    if (error == 0) error = MakePartsOf(side1, side2);
    if (error == 0) error = MakePartsOf(side2, side1);
    if (error == 0) error = side1.WriteIntent(side2);
    if (error == 0) error = side2.WriteIntent(side1);
    return error;
}

}  // namespace toolbox::files

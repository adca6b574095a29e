#include "ForkIntent.h"

#include "CompanionParts.h"
#include "companions/CompanionInfo.h"
#include "companions/Companions.h"
#include "os/BigEndian.h"
#include "os/Replace.h"

#include <algorithm>
#include <cerrno>
#include <cstddef>

namespace toolbox::files {

namespace {

constexpr std::size_t kOtherOffset = 16;
constexpr std::size_t kModeOffset = 32;
constexpr std::size_t kForkOffset = 36;

void StoreIdentity(UInt8* outBytes, const os::ItemIdentity& inItem) {
    os::Store64(outBytes, inItem.inode);
    os::Store64(outBytes + 8, static_cast<std::uint64_t>(inItem.birthNanos));
}

os::ItemIdentity LoadIdentity(const UInt8* inBytes) {
    return {0, os::Load64(inBytes), static_cast<std::int64_t>(os::Load64(inBytes + 8))};
}

// Without the birth nothing tells a file from a later one of the same inode.
bool IsThat(const os::ItemIdentity& inItem, const os::ItemIdentity& inIntended) {
    return inItem.inode == inIntended.inode && inItem.birthNanos == inIntended.birthNanos &&
           inItem.birthNanos != 0;
}

IntentState StateOf(const ForkIntent& inIntent, const os::ItemIdentity& inItem) {
    if (IsThat(inItem, inIntent.other)) return IntentState::kExchanged;
    return IsThat(inItem, inIntent.own) ? IntentState::kBefore : IntentState::kNone;
}

auto FindIntent(const Companion& inCompanion) {
    return std::find_if(
        inCompanion.entries.begin(), inCompanion.entries.end(), [](const AppleDoubleEntry& inEntry) {
            return inEntry.id == AppleDoubleEntry::kForkIntent && inEntry.lengthBytes >= kForkOffset;
        });
}

int ReadIntent(const Companion& inCompanion, UInt32 inOffsetBytes, ForkIntent& outIntent) {
    UInt8 bytes[kForkOffset];
    const int error = inCompanion.Read(inOffsetBytes, bytes, sizeof bytes);
    if (error != 0) return error;
    outIntent.own = LoadIdentity(bytes);
    outIntent.other = LoadIdentity(bytes + kOtherOffset);
    outIntent.mode = static_cast<mode_t>(os::Load32(bytes + kModeOffset));
    return 0;
}

bool IsFork(const AppleDoublePart& inPart) {
    return inPart.id == AppleDoubleEntry::kResourceFork;
}

bool IsIntent(const AppleDoublePart& inPart) {
    return inPart.id == AppleDoubleEntry::kForkIntent;
}

}  // namespace

AppleDoublePart PartOf(const ForkIntent& inIntent, const std::vector<UInt8>& inOtherFork) {
    AppleDoublePart part = {AppleDoubleEntry::kForkIntent,
                            std::vector<UInt8>(kForkOffset + inOtherFork.size())};
    StoreIdentity(part.bytes.data(), inIntent.own);
    StoreIdentity(part.bytes.data() + kOtherOffset, inIntent.other);
    os::Store32(part.bytes.data() + kModeOffset, static_cast<UInt32>(inIntent.mode));
    std::copy(inOtherFork.begin(), inOtherFork.end(), part.bytes.begin() + kForkOffset);
    return part;
}

std::vector<UInt8> ForkIn(const CompanionParts& inParts) {
    const auto fork = std::find_if(inParts.begin(), inParts.end(), IsFork);
    return fork == inParts.end() ? std::vector<UInt8>() : fork->bytes;
}

CompanionParts WithFork(const CompanionParts& inParts, const std::vector<UInt8>& inFork) {
    CompanionParts parts = inParts;
    std::erase_if(parts, IsFork);
    if (!inFork.empty()) parts.push_back({AppleDoubleEntry::kResourceFork, inFork});
    return parts;
}

void KeepIntent(Companion& ioCompanion) {
    const IntentState state = ioCompanion.intent;
    const auto found = FindIntent(ioCompanion);
    if (state == IntentState::kNone || found == ioCompanion.entries.end()) return;
    const AppleDoubleEntry intent = *found;
    ioCompanion.entries.erase(found);
    if (state == IntentState::kBefore) return;
    std::erase_if(ioCompanion.entries, [](const AppleDoubleEntry& inEntry) {
        return inEntry.id == AppleDoubleEntry::kResourceFork;
    });
    ioCompanion.entries.push_back({AppleDoubleEntry::kResourceFork, intent.offsetBytes + UInt32{kForkOffset},
                                   intent.lengthBytes - UInt32{kForkOffset}});
}

int ReadIntentOf(int inFolder, const std::string& inItemName, Companion& ioCompanion) {
    ioCompanion.intent = IntentState::kNone;
    const auto found = FindIntent(ioCompanion);
    os::ItemStatus item;
    if (found == ioCompanion.entries.end() || inItemName.empty() ||
        os::GetStatusAt(inFolder, inItemName.c_str(), item) != 0)
        return 0;
    ForkIntent intent;
    const int error = ReadIntent(ioCompanion, found->offsetBytes, intent);
    if (error != 0) return error;
    ioCompanion.intent = StateOf(intent, item.identity);
    KeepIntent(ioCompanion);
    return 0;
}

int SettleIntent(const Place& inItem, const Companion& inCompanion, bool& outIsSettled) {
    outIsSettled = false;
    const auto found = FindIntent(inCompanion);
    os::ItemStatus item;
    if (found == inCompanion.entries.end() || GetStatus(inItem, item) != 0) return 0;
    ForkIntent intent;
    CompanionParts parts;
    int error = ReadIntent(inCompanion, found->offsetBytes, intent);
    if (error != 0) return error;
    const IntentState state = StateOf(intent, item.identity);
    if (state == IntentState::kNone) return 0;
    error = ReadParts(inCompanion, 0, parts);
    if (error != 0) return error;
    if (state == IntentState::kExchanged) {
        const auto part = std::find_if(parts.begin(), parts.end(), IsIntent);
        parts = WithFork(parts, {part->bytes.begin() + kForkOffset, part->bytes.end()});
    }
    std::erase_if(parts, IsIntent);
    const int folder = inItem.folder.Number();
    const std::string name = CompanionName(inItem.name);
    // The names are to last before what is settled by them.
    os::SyncFolder(folder);
    std::vector<UInt8> bytes;
    os::Descriptor file;
    if (AreDefault(parts))
        error = os::RemoveFile(folder, name);
    else if (!EncodeAppleDouble(parts, bytes))
        error = ENOSPC;
    else
        error = os::ReplaceFile(folder, name, bytes, intent.mode & ModeOfCompanion(item.mode), file);
    outIsSettled = error == 0;
    return error;
}

}  // namespace toolbox::files

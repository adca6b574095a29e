// Companions of hostile making: what was written is read again, and what is another's stays as it was, bytes
// and, where it tells offsets, place. The first byte tells what is changed; the others are the companion.
#include "InputFile.h"
#include "companions/CompanionInfo.h"
#include "companions/CompanionNames.h"
#include "companions/Companions.h"
#include "formats/AppleDouble.h"
#include "places/Place.h"

#include <cerrno>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <map>
#include <string>
#include <utility>
#include <vector>

namespace {

using namespace toolbox::files;
using Bytes = std::vector<UInt8>;

constexpr std::size_t kFinderInfoBytes = 32;

void Require(bool inHolds) {
    if (!inHolds) std::abort();
}

struct Entry {
    Bytes bytes;
    UInt32 place = 0;  // where it must stay
    bool operator==(const Entry&) const = default;
};
using Entries = std::map<UInt32, Entry>;

bool ReadFile(const std::string& inPath, Bytes& outBytes) {
    std::ifstream file(inPath, std::ios::binary);
    outBytes.assign(std::istreambuf_iterator<char>(file), {});
    return file.is_open();
}

UInt32 NumberAt(const Bytes& inFile, std::size_t inOffset, std::size_t inByteCount) {
    UInt32 number = 0;
    for (std::size_t at = inOffset; at < inOffset + inByteCount; ++at)
        number = number << 8 | inFile[at];
    return number;
}

// By the format alone, not by what is to be tried: a header of 26 bytes, entries of 12, and no entry twice,
// without an id, over the header or beyond the end. Nothing when it is no companion.
bool Decode(const Bytes& inFile, Entries& outEntries) {
    outEntries.clear();
    if (inFile.size() < 26 || NumberAt(inFile, 0, 4) != 0x00051607 || NumberAt(inFile, 4, 4) != 0x00020000)
        return false;
    const std::size_t headerBytes = 26 + std::size_t{12} * NumberAt(inFile, 24, 2);
    if (headerBytes > inFile.size()) return false;
    Entries entries;
    for (std::size_t at = 26; at < headerBytes; at += 12) {
        const UInt32 id = NumberAt(inFile, at, 4);
        const UInt32 offset = NumberAt(inFile, at + 4, 4);
        const UInt32 length = NumberAt(inFile, at + 8, 4);
        if (id == 0 || UInt64{offset} + length > inFile.size() || (length > 0 && offset < headerBytes))
            return false;
        const auto start = inFile.begin() + offset;
        const bool hasPlace = id == AppleDoubleEntry::kFinderInfo && length > kFinderInfoBytes;
        if (!entries.try_emplace(id, Entry{Bytes(start, start + length), hasPlace ? offset : 0}).second)
            return false;
    }
    outEntries = std::move(entries);
    return true;
}

// What is not told by CompanionInfo: whole entries, and of its own those bits and bytes that mean something
// else.
Entries Foreign(Entries inEntries) {
    const auto clear = [&inEntries](UInt32 inID, std::size_t inFrom, std::size_t inTo) {
        const auto entry = inEntries.find(inID);
        if (entry == inEntries.end()) return;
        Bytes& bytes = entry->second.bytes;
        bytes.resize(std::max(bytes.size(), inTo));
        std::fill(bytes.begin() + static_cast<std::ptrdiff_t>(inFrom),
                  bytes.begin() + static_cast<std::ptrdiff_t>(inTo), UInt8{0});
    };
    clear(AppleDoubleEntry::kFinderInfo, 0, kFinderInfoBytes);
    clear(AppleDoubleEntry::kEncodingHint, 0, 4);
    const auto fileInfo = inEntries.find(AppleDoubleEntry::kMacFileInfo);
    if (fileInfo != inEntries.end()) {
        fileInfo->second.bytes.resize(std::max<std::size_t>(fileInfo->second.bytes.size(), 4));
        fileInfo->second.bytes[3] &= 0xFE;
    }
    // Creation and backup; a date that nobody knows is as good as none.
    const auto dates = inEntries.find(AppleDoubleEntry::kFileDates);
    if (dates != inEntries.end()) {
        Bytes& bytes = dates->second.bytes;
        for (std::size_t at = bytes.size(); at < 16; ++at)
            bytes.push_back(at % 4 == 0 ? 0x80 : 0);
        for (const std::size_t at : {0, 8})
            std::copy_n("\x80\0\0\0", 4, bytes.begin() + static_cast<std::ptrdiff_t>(at));
        bool isNone = bytes.size() == 16;
        for (std::size_t at = 0; at < bytes.size(); ++at)
            isNone = isNone && bytes[at] == (at % 4 == 0 ? 0x80 : 0);
        if (isNone) inEntries.erase(dates);
    }
    std::erase_if(inEntries, [](const auto& inEntry) {
        const auto& [id, entry] = inEntry;
        if (id == AppleDoubleEntry::kResourceFork) return entry.bytes.empty();
        if (id == AppleDoubleEntry::kFinderInfo && entry.bytes.size() > kFinderInfoBytes) return false;
        return (id == AppleDoubleEntry::kFinderInfo || id == AppleDoubleEntry::kEncodingHint ||
                id == AppleDoubleEntry::kMacFileInfo) &&
               std::all_of(entry.bytes.begin(), entry.bytes.end(), [](UInt8 inByte) { return inByte == 0; });
    });
    return inEntries;
}

CompanionInfo InfoOf(const Place& inItem) {
    CompanionInfo info;
    CompanionSizes sizes;
    Require(ReadInfo(inItem.folder.Number(), CompanionName(inItem.name), info, sizes) == 0);
    return info;
}

// Writes what was read, with some of it changed, and looks at what lies there then.
void WriteAndRead(const Place& inItem, const std::string& inPath, UInt8 inChanges) {
    Bytes before;
    Entries entries;
    const bool wasThere = ReadFile(inPath, before);
    const bool isCompanion = Decode(before, entries);
    CompanionInfo info = InfoOf(inItem);
    Require(isCompanion || info == CompanionInfo());
    if ((inChanges & 1) != 0) info.finderInfo[inChanges >> 3] ^= 0xFF;
    if ((inChanges & 2) != 0) info.isLocked = !info.isLocked;
    if ((inChanges & 4) != 0) info.creationSeconds = inChanges;
    if ((inChanges & 8) != 0) info.encodingHint ^= inChanges;
    const int error = WriteInfo(inItem, info);
    Bytes after;
    Entries again;
    const bool isThere = ReadFile(inPath, after);
    if (error != 0) {
        Require(error == ENOSPC || error == EBADMSG || error == ENODATA);
        Require(isThere == wasThere && after == before);
        return;
    }
    Require(isCompanion || !wasThere);
    Require(Decode(after, again) == isThere);
    Require(InfoOf(inItem) == info);
    Require(Foreign(entries) == Foreign(again));
}

// Another fork, and all else as it was.
void ReplaceFork(const Place& inItem, const std::string& inPath) {
    Bytes file;
    Entries before;
    Entries after;
    if (!ReadFile(inPath, file) || !Decode(file, before)) return;
    const Bytes fork = {'f', 'o', 'r', 'k'};
    const int error = ReplaceEntry(inItem, AppleDoubleEntry::kResourceFork, fork);
    Require(error == 0 || error == ENOSPC);
    Require(ReadFile(inPath, file) && Decode(file, after));
    if (error == 0) before[AppleDoubleEntry::kResourceFork] = {fork, 0};
    Require(before == after);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const UInt8* inBytes, std::size_t inCount) {
    if (inCount == 0) return 0;
    static const InputFile sItem;
    static const std::string sCompanion = [] {
        const std::string path = sItem.Path();
        const std::size_t nameStart = path.rfind('/') + 1;
        sItem.Fill(nullptr, 0);
        return path.substr(0, nameStart) + "._" + path.substr(nameStart);
    }();
    Place item;
    Require(OpenPlaceOf(sItem.Path(), item) == 0);
    std::ofstream(sCompanion, std::ios::binary)
        .write(reinterpret_cast<const char*>(inBytes) + 1, static_cast<std::streamsize>(inCount - 1));
    WriteAndRead(item, sCompanion, 0);
    WriteAndRead(item, sCompanion, inBytes[0]);
    ReplaceFork(item, sCompanion);
    WriteAndRead(item, sCompanion, inBytes[0]);
    unlink(sCompanion.c_str());
    return 0;
}

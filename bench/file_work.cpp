// One piece of work with files in a process of its own, for bench/file_processes to compare with the
// system's own commands, and to count the calls of the system.
//
//     file-work delete FOLDER
//     file-work copy FILE FOLDER                  under the name that it has
//     file-work copy-fork FILE COPY BUFFERBYTES   into a file that is there
//     file-work call NAME FOLDER TIMES            so often, at items of the folder that has just been made
#include <files/Containers.h>
#include <files/Exchange.h>
#include <files/Forks.h>
#include <toolbox/CatalogInfo.h>
#include <toolbox/CatalogItems.h>
#include <toolbox/FileSpecs.h>
#include <toolbox/Files.h>
#include <toolbox/Forks.h>
#include <toolbox/ItemLookup.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

namespace {

void Check(OSStatus inStatus, const char* inWhat) {
    if (inStatus == noErr) return;
    std::fprintf(stderr, "file-work: %s: %d\n", inWhat, static_cast<int>(inStatus));
    std::exit(1);
}

FSRef RefOf(const std::string& inPath) {
    FSRef ref = {};
    Check(FSPathMakeRef(reinterpret_cast<const UInt8*>(inPath.c_str()), &ref, nullptr), inPath.c_str());
    return ref;
}

void Delete(const char* inFolder) {
    const FSRef folder = RefOf(inFolder);
    Check(FSDeleteContainer(&folder), "FSDeleteContainer");
}

void Copy(const char* inFile, const char* inFolder) {
    const FSRef file = RefOf(inFile);
    const FSRef folder = RefOf(inFolder);
    Check(FSCopyFile(&file, &folder, 0, nullptr, 0, nullptr), "FSCopyFile");
}

SInt16 OpenDataFork(const char* inPath, SInt8 inPermissions) {
    const FSRef ref = RefOf(inPath);
    SInt16 fork = 0;
    Check(FSOpenFork(&ref, 0, nullptr, inPermissions, &fork), "FSOpenFork");
    return fork;
}

void CopyFork(const char* inFrom, const char* inTo, ByteCount inBufferBytes) {
    // At a page's start, as the system's commands have it: the kernel copies there faster.
    constexpr std::size_t kPage = 4096;
    std::vector<char> room(inBufferBytes + kPage);
    void* buffer = room.data();
    std::size_t roomBytes = room.size();
    if (std::align(kPage, inBufferBytes, buffer, roomBytes) == nullptr) std::abort();
    const SInt16 from = OpenDataFork(inFrom, fsRdPerm);
    const SInt16 to = OpenDataFork(inTo, fsWrPerm);
    Check(FSCopyFork(from, to, buffer, inBufferBytes), "FSCopyFork");
    Check(FSCloseFork(to), "FSCloseFork");
    Check(FSCloseFork(from), "FSCloseFork");
}

// What the calls that are counted are made at: "old 0", "old 1" and so on in one folder, and a second folder.
struct Items {
    FSRef folder;
    FSRef other;
    FSSpec folderSpec;
    std::string path;
    std::vector<FSRef> old;
    std::vector<FSSpec> specs;
};

std::vector<UniChar> NameOf(const char* inPrefix, int inNumber) {
    std::vector<UniChar> name;
    for (const char unit : inPrefix + std::to_string(inNumber))
        name.push_back(static_cast<UniChar>(unit));
    return name;
}

std::string OldName(int inNumber) {
    return "old " + std::to_string(inNumber);
}

Items Find(const std::string& inPath, int inCount) {
    Items items = {RefOf(inPath), RefOf(inPath + "/other"), {}, inPath, {}, {}};
    for (int i = 0; i < inCount; ++i) {
        items.old.push_back(RefOf(inPath + '/' + OldName(i)));
        FSSpec spec = {};
        Check(FSGetCatalogInfo(&items.old.back(), kFSCatInfoNone, nullptr, nullptr, &spec, nullptr),
              "FSSpec");
        items.specs.push_back(spec);
    }
    return items;
}

OSStatus OpenReadClose(const FSRef& inFile) {
    SInt16 fork = 0;
    OSErr error = FSOpenFork(&inFile, 0, nullptr, fsRdPerm, &fork);
    char bytes[16];
    ByteCount count = 0;
    if (error == noErr) error = FSReadFork(fork, fsFromStart, 0, sizeof bytes, bytes, &count);
    if (error == eofErr) error = noErr;
    return error == noErr ? FSCloseFork(fork) : error;
}

OSStatus SetFinderInfo(const FSRef& inFile, const char* inType) {
    FSCatalogInfo info = {};
    std::memcpy(info.finderInfo, inType, 4);
    return FSSetCatalogInfo(&inFile, kFSCatInfoFinderInfo, &info);
}

OSStatus GetFinderInfo(const FSRef& inFile) {
    FSCatalogInfo info = {};
    return FSGetCatalogInfo(&inFile, kFSCatInfoFinderInfo, &info, nullptr, nullptr, nullptr);
}

OSStatus SetContentDate(const FSRef& inFile) {
    FSCatalogInfo info = {};
    info.contentModDate.lowSeconds = 0xC0000000;
    return FSSetCatalogInfo(&inFile, kFSCatInfoContentMod, &info);
}

OSStatus GetListedInfo(const FSRef& inFile) {
    constexpr FSCatalogInfoBitmap kListed =
        kFSCatInfoNodeFlags | kFSCatInfoVolume | kFSCatInfoParentDirID | kFSCatInfoNodeID;
    static_assert(kListed == 30);
    FSCatalogInfo info = {};
    return FSGetCatalogInfo(&inFile, kListed, &info, nullptr, nullptr, nullptr);
}

struct NamedCall {
    const char* name;
    OSStatus (*call)(const Items& inItems, std::size_t inAt);
    bool hasCompanions = false;  // the items that it is made at
};

constexpr NamedCall kCalls[] = {
    {"FSMakeFSSpec",
     [](const Items& inItems, std::size_t inAt) -> OSStatus {
         const FSSpec& item = inItems.specs[inAt];
         FSSpec spec = {};
         return FSMakeFSSpec(item.vRefNum, item.parID, item.name, &spec);
     }},
    {"FSpMakeFSRef",
     [](const Items& inItems, std::size_t inAt) -> OSStatus {
         FSRef ref = {};
         return FSpMakeFSRef(&inItems.specs[inAt], &ref);
     }},
    {"FSMakeFSRefUnicode",
     [](const Items& inItems, std::size_t inAt) -> OSStatus {
         const std::vector<UniChar> name = NameOf("old ", static_cast<int>(inAt));
         FSRef ref = {};
         return FSMakeFSRefUnicode(&inItems.folder, name.size(), name.data(), 0, &ref);
     }},
    {"FSGetCatalogInfo",
     [](const Items& inItems, std::size_t inAt) { return GetListedInfo(inItems.old[inAt]); }},
    {"FSOpenFork+FSReadFork+FSCloseFork",
     [](const Items& inItems, std::size_t inAt) { return OpenReadClose(inItems.old[inAt]); }},
    {"FSCreateFileUnicode",
     [](const Items& inItems, std::size_t inAt) -> OSStatus {
         const std::vector<UniChar> name = NameOf("new ", static_cast<int>(inAt));
         return FSCreateFileUnicode(&inItems.folder, name.size(), name.data(), kFSCatInfoNone, nullptr,
                                    nullptr, nullptr);
     }},
    {"FSDeleteObject",
     [](const Items& inItems, std::size_t inAt) -> OSStatus { return FSDeleteObject(&inItems.old[inAt]); }},
    {"FSMoveObject",
     [](const Items& inItems, std::size_t inAt) -> OSStatus {
         return FSMoveObject(&inItems.old[inAt], &inItems.other, nullptr);
     }},
    {"FSSetCatalogInfo (content date)",
     [](const Items& inItems, std::size_t inAt) { return SetContentDate(inItems.old[inAt]); }},
    {"FSSetCatalogInfo (type, new companion)",
     [](const Items& inItems, std::size_t inAt) { return SetFinderInfo(inItems.old[inAt], "TEXT"); }},
    {"FSSetCatalogInfo (type, in a companion)",
     [](const Items& inItems, std::size_t inAt) { return SetFinderInfo(inItems.old[inAt], "TEXT"); }, true},
    {"FSGetCatalogInfo (type, in a companion)",
     [](const Items& inItems, std::size_t inAt) { return GetFinderInfo(inItems.old[inAt]); }, true},
    {"FSPathMakeRef",
     [](const Items& inItems, std::size_t inAt) -> OSStatus {
         FSRef ref = {};
         const std::string path = inItems.path + '/' + OldName(static_cast<int>(inAt));
         return FSPathMakeRef(reinterpret_cast<const UInt8*>(path.c_str()), &ref, nullptr);
     }},
    {"FSRefMakePath",
     [](const Items& inItems, std::size_t inAt) -> OSStatus {
         UInt8 path[4096];
         return FSRefMakePath(&inItems.old[inAt], path, sizeof path);
     }},
};

// All items are found first, however few of them are worked at: so the calls of two runs differ by the work.
void Call(const std::string& inName, const char* inFolder, int inTimes) {
    constexpr int kItems = 40;
    const Items items = Find(inFolder, kItems);
    for (const NamedCall& call : kCalls) {
        if (inName != call.name) continue;
        if (call.hasCompanions)
            for (const FSRef& item : items.old)
                Check(SetFinderInfo(item, "none"), "FSSetCatalogInfo");
        for (int i = 0; i < inTimes && i < kItems; ++i)
            Check(call.call(items, static_cast<std::size_t>(i)), call.name);
        return;
    }
    Check(paramErr, "no such call");
}

void List() {
    for (const NamedCall& call : kCalls)
        std::puts(call.name);
}

}  // namespace

int main(int inCount, char** inArguments) {
    const std::string work = inCount > 1 ? inArguments[1] : "";
    if (work == "delete" && inCount == 3)
        Delete(inArguments[2]);
    else if (work == "copy" && inCount == 4)
        Copy(inArguments[2], inArguments[3]);
    else if (work == "copy-fork" && inCount == 5)
        CopyFork(inArguments[2], inArguments[3], std::strtoul(inArguments[4], nullptr, 10));
    else if (work == "call" && inCount == 5)
        Call(inArguments[2], inArguments[3], std::atoi(inArguments[4]));
    else if (work == "calls" && inCount == 2)
        List();
    else
        Check(paramErr,
              "usage: delete FOLDER | copy FILE FOLDER | copy-fork FILE COPY BYTES | "
              "call NAME FOLDER TIMES | calls");
    return 0;
}

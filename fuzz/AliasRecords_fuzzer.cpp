// Alias records of hostile making: what is read is what they say and is written as it was, and resolving them
// changes none that leads nowhere.
#include "aliases/AliasRecord.h"
#include "os/BigEndian.h"

#include <toolbox/Aliases.h>
#include <toolbox/MacMemory.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <vector>

namespace {

using namespace toolbox::files;

constexpr std::size_t kFillerOffset = 10;
constexpr std::size_t kPathOffset = 40;

void Require(bool inHolds) {
    if (!inHolds) std::abort();
}

bool ReadAndWrite(const UInt8* inBytes, std::size_t inCount) {
    AliasContents contents;
    std::size_t recordBytes = 0;
    if (DecodeAlias(inBytes, inCount, contents, recordBytes) != noErr) return false;
    Require(recordBytes <= inCount && contents.path.size() == recordBytes - kPathOffset);
    Require(contents.path[0] == '/' && std::strlen(contents.path.c_str()) == contents.path.size());
    std::vector<UInt8> record;
    Require(EncodeAlias(contents, record) == noErr);
    std::vector<UInt8> expected(inBytes, inBytes + recordBytes);
    toolbox::os::Store16(expected.data() + kFillerOffset, 0);
    Require(record == expected);
    return true;
}

void Resolve(const UInt8* inBytes, std::size_t inCount, bool inIsRecord) {
    Handle handle = nullptr;
    if (PtrToHand(inBytes, &handle, static_cast<Size>(inCount)) != noErr) return;
    FSRef target = {};
    Boolean wasChanged = 1;
    const OSErr error = FSResolveAlias(nullptr, reinterpret_cast<AliasHandle>(handle), &target, &wasChanged);
    Require(inIsRecord || error == paramErr);
    if (error != noErr) {
        Require(wasChanged == 0 && static_cast<std::size_t>(GetHandleSize(handle)) == inCount);
        Require(std::equal(inBytes, inBytes + inCount, reinterpret_cast<const UInt8*>(*handle)));
    } else {
        // Whatever was brought up to date leads there by itself.
        FSRef again = {};
        Boolean isChangedAgain = 1;
        Require(FSResolveAlias(nullptr, reinterpret_cast<AliasHandle>(handle), &again, &isChangedAgain) ==
                noErr);
        Require(FSCompareFSRefs(&target, &again) == noErr);
    }
    DisposeHandle(handle);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const UInt8* inBytes, std::size_t inCount) {
    const bool isRecord = ReadAndWrite(inBytes, inCount);
    Resolve(inBytes, inCount, isRecord);
    Require(GetLiveHandleCount() == 0);
    return 0;
}

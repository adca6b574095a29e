// Resource forks and companions of hostile making: opened, every resource read, changed and written again.
#include "InputFile.h"
#include "formats/AppleDouble.h"
#include "formats/ResourceFork.h"
#include "os/SystemCalls_test_access.h"

#include <toolbox/Files.h>
#include <toolbox/Resources.h>

#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

namespace {

using namespace toolbox::resources;

void Require(bool inHolds) {
    if (!inHolds) std::abort();
}

// Reads all there is, and marks it as changed.
unsigned UseAll() {
    unsigned sum = 0;
    const SInt16 typeCount = Count1Types();
    for (SInt16 i = 1; i <= typeCount; ++i) {
        ResType type = 0;
        Get1IndType(&type, i);
        const SInt16 count = Count1Resources(type);
        for (SInt16 j = 1; j <= count && j <= 50; ++j) {
            const Handle resource = Get1IndResource(type, j);
            if (resource == nullptr) continue;
            for (Size at = 0; at < GetHandleSize(resource); ++at)
                sum += static_cast<UInt8>((*resource)[at]);
            ChangedResource(resource);
        }
    }
    Str255 string;
    GetIndString(string, 128, 1);
    return sum + string[0];
}

// A map that was read is a map that can be written, and is the same when it is read again.
void CheckMap(const UInt8* inBytes, std::size_t inCount) {
    UInt16 attributes = 0;
    std::vector<Reference> references;
    if (!DecodeMap({inBytes, inCount}, attributes, references)) return;
    std::vector<Image> images;
    for (Reference& reference : references)
        images.push_back({std::move(reference), {}});
    std::vector<UInt8> fork;
    if (!EncodeFork(images, attributes, fork)) return;
    ForkHeader header;
    std::vector<Reference> again;
    Require(DecodeHeader(fork.data(), fork.size(), header));
    Require(DecodeMap(std::span(fork).subspan(header.mapOffset, header.mapBytes), attributes, again));
    Require(again.size() == images.size());
}

void CheckCompanion(const UInt8* inBytes, std::size_t inCount) {
    std::vector<toolbox::files::AppleDoubleEntry> entries;
    if (!toolbox::files::DecodeAppleDouble(inBytes, inCount, inCount, entries)) return;
    for (const auto& entry : entries)
        Require(entry.offsetBytes <= inCount && entry.lengthBytes <= inCount - entry.offsetBytes);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const UInt8* inBytes, std::size_t inCount) {
    static const bool sIsAlone = [] {
        // No resources but those of the input.
        toolbox::os::CallsForTesting().readlinkat = [](int, const char*, char*, std::size_t) -> ssize_t {
            return -1;
        };
        return true;
    }();
    Require(sIsAlone);
    CheckMap(inBytes, inCount);
    CheckCompanion(inBytes, inCount);
    static const InputFile sFile;
    sFile.Fill(inBytes, inCount);
    FSRef file = {};
    Require(FSPathMakeRef(reinterpret_cast<const UInt8*>(sFile.Path()), &file, nullptr) == noErr);
    SInt16 refNum = -1;
    if (FSOpenResourceFile(&file, 0, nullptr, fsRdWrPerm, &refNum) != noErr) return 0;
    const unsigned sum = UseAll();
    CloseResFile(refNum);
    Require(GetLiveHandleCount() == 0);
    return sum == 0xFFFFFFFF ? -1 : 0;
}

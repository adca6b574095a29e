#include "OpenForks.h"

#include "Calls.h"
#include "Catalogue.h"

#include <toolbox/Forks.h>
#include <toolbox/Iterators.h>
#include <toolbox/MacErrors.h>

#include <algorithm>
#include <cstring>
#include <map>
#include <memory>

namespace fakes {

namespace {

struct Fork {
    UInt32 item = 0;
    std::string bytes;
    SInt64 mark = 0;
};

struct Iterator {
    UInt32 folder;
    std::vector<UInt32> met;
};

struct Script {
    std::map<SInt16, Fork> forks;
    std::vector<std::pair<SInt64, UInt64>> forkSizes;
    int callsUntilChange = 0;
    ByteCount readBeforeFailing = 0;
    bool isEndTold = false;
};

Script& TheScript() {
    static Script& sScript = *new Script;
    return sScript;
}

// Live until they are closed, whatever the scenario.
std::map<FSIterator, std::unique_ptr<Iterator>>& Iterators() {
    static auto& sIterators = *new std::map<FSIterator, std::unique_ptr<Iterator>>;
    return sIterators;
}

Fork& ForkOf(SInt16 inNumber) {
    if (TheScript().forks.count(inNumber) == 0) ReportMisuse("a fork that is not open");
    return TheScript().forks[inNumber];
}

// The next item that the iterator has not met; 0 at the end.
UInt32 Next(const Iterator& inIterator) {
    for (const UInt32 id : ItemsIn(inIterator.folder))
        if (std::find(inIterator.met.begin(), inIterator.met.end(), id) == inIterator.met.end()) return id;
    return 0;
}

ByteCount Read(Fork& ioFork, ByteCount inRequestCount, void* outBytes) {
    const auto mark = static_cast<std::size_t>(ioFork.mark);
    const ByteCount count = std::min<ByteCount>(inRequestCount, ioFork.bytes.size() - mark);
    std::memcpy(outBytes, ioFork.bytes.data() + mark, count);
    ioFork.mark += static_cast<SInt64>(count);
    return count;
}

}  // namespace

void OpenFork(SInt16 inNumber, UInt32 inItem, const std::string& inBytes, SInt64 inMark) {
    TheScript().forks[inNumber] = {inItem, inBytes, inMark};
}

const std::string& ForkBytes(SInt16 inNumber) {
    return ForkOf(inNumber).bytes;
}

void ReadBeforeFailing(ByteCount inByteCount) {
    TheScript().readBeforeFailing = inByteCount;
}

void SetForkSizes(const std::vector<std::pair<SInt64, UInt64>>& inSizes) {
    TheScript().forkSizes = inSizes;
}

int LiveIterators() {
    return static_cast<int>(Iterators().size());
}

void ChangeFolderAtBulkCall(int inCall) {
    TheScript().callsUntilChange = inCall;
}

void TellTheEndWithTheLastItem() {
    TheScript().isEndTold = true;
}

void ForgetOpenForks() {
    TheScript() = Script();
}

}  // namespace fakes

using namespace fakes;

OSErr FSGetForkSize(SInt16 inNumber, SInt64* outByteCount) {
    const OSErr answer = LogAndAnswer(CallText("FSGetForkSize", inNumber));
    if (answer == noErr) *outByteCount = static_cast<SInt64>(ForkOf(inNumber).bytes.size());
    return answer;
}

OSErr FSSetForkSize(SInt16 inNumber, UInt16 inPositionMode, SInt64 inPositionOffset) {
    const OSErr answer = LogAndAnswer(CallText("FSSetForkSize", inNumber, inPositionMode, inPositionOffset));
    if (answer == noErr) ForkOf(inNumber).bytes.resize(static_cast<std::size_t>(inPositionOffset));
    return answer;
}

OSErr FSSetForkPosition(SInt16 inNumber, UInt16 inPositionMode, SInt64 inPositionOffset) {
    const OSErr answer =
        LogAndAnswer(CallText("FSSetForkPosition", inNumber, inPositionMode, inPositionOffset));
    if (answer == noErr) ForkOf(inNumber).mark = inPositionOffset;
    return answer;
}

OSErr FSReadFork(SInt16 inNumber, UInt16 inPositionMode, SInt64 inPositionOffset, ByteCount inRequestCount,
                 void* outBytes, ByteCount* outActualCount) {
    const OSErr answer =
        LogAndAnswer(CallText("FSReadFork", inNumber, inPositionMode, inPositionOffset, inRequestCount));
    const ByteCount count =
        answer == noErr ? inRequestCount : std::min(inRequestCount, TheScript().readBeforeFailing);
    *outActualCount = Read(ForkOf(inNumber), count, outBytes);
    if (answer != noErr) return answer;
    return *outActualCount < inRequestCount ? OSErr{eofErr} : OSErr{noErr};
}

OSErr FSWriteFork(SInt16 inNumber, UInt16 inPositionMode, SInt64 inPositionOffset, ByteCount inRequestCount,
                  const void* inBytes, ByteCount* outActualCount) {
    const OSErr answer =
        LogAndAnswer(CallText("FSWriteFork", inNumber, inPositionMode, inPositionOffset, inRequestCount));
    if (outActualCount != nullptr) ReportMisuse("FSWriteFork is asked for a count");
    if (answer != noErr) return answer;
    Fork& fork = ForkOf(inNumber);
    const auto mark = static_cast<std::size_t>(fork.mark);
    if (fork.bytes.size() < mark + inRequestCount) fork.bytes.resize(mark + inRequestCount);
    std::memcpy(fork.bytes.data() + mark, inBytes, inRequestCount);
    fork.mark += static_cast<SInt64>(inRequestCount);
    return noErr;
}

OSErr FSGetForkCBInfo(SInt16 inNumber, SInt16 inVolume, SInt16*, SInt16*, FSForkInfo*, FSRef* outFile,
                      HFSUniStr255*) {
    const OSErr answer = LogAndAnswer(CallText("FSGetForkCBInfo", inNumber, inVolume));
    if (answer == noErr) *outFile = RefOf(ForkOf(inNumber).item);
    return answer;
}

OSErr FSIterateForks(const FSRef* inFile, CatPositionRec* ioIterator, HFSUniStr255*, SInt64* outByteCount,
                     UInt64* outPhysicalByteCount) {
    const OSErr answer = LogAndAnswer(CallText("FSIterateForks", IDOf(*inFile), ioIterator->initialize));
    if (answer != noErr) return answer;
    const auto index = static_cast<std::size_t>(ioIterator->initialize);
    if (index == TheScript().forkSizes.size()) return errFSNoMoreItems;
    *outByteCount = TheScript().forkSizes[index].first;
    *outPhysicalByteCount = TheScript().forkSizes[index].second;
    ++ioIterator->initialize;
    return noErr;
}

OSErr FSOpenIterator(const FSRef* inContainer, FSIteratorFlags inFlags, FSIterator* outIterator) {
    const OSErr answer = LogAndAnswer(CallText("FSOpenIterator", IDOf(*inContainer), inFlags));
    if (answer != noErr) return answer;
    OSErr error = noErr;
    const Item* const item = FindItem(*inContainer, error);
    if (item == nullptr) return error;
    if (!item->isFolder) return errFSNotAFolder;
    auto iterator = std::make_unique<Iterator>(Iterator{IDOf(*inContainer), {}});
    *outIterator = reinterpret_cast<FSIterator>(iterator.get());
    Iterators()[*outIterator] = std::move(iterator);
    return noErr;
}

OSErr FSCloseIterator(FSIterator inIterator) {
    const auto found = Iterators().find(inIterator);
    if (found == Iterators().end()) {
        ReportMisuse("FSCloseIterator of an iterator that is not open");
        return paramErr;
    }
    const UInt32 folder = found->second->folder;
    Iterators().erase(found);
    return LogAndAnswer(CallText("FSCloseIterator", folder));
}

OSErr FSGetCatalogInfoBulk(FSIterator inIterator, ItemCount inMaximumObjects, ItemCount* outActualObjects,
                           Boolean* outContainerChanged, FSCatalogInfoBitmap inWhichInfo,
                           FSCatalogInfo* outInfos, FSRef* outRefs, FSSpec* outSpecs,
                           HFSUniStr255* outNames) {
    if (Iterators().count(inIterator) == 0) {
        ReportMisuse("an iterator that is not open");
        return paramErr;
    }
    Iterator& iterator = *Iterators()[inIterator];
    *outActualObjects = 0;
    const OSErr answer =
        LogAndAnswer(CallText("FSGetCatalogInfoBulk", iterator.folder, inMaximumObjects, inWhichInfo));
    if (outContainerChanged != nullptr)
        *outContainerChanged = TheScript().callsUntilChange > 0 && --TheScript().callsUntilChange == 0;
    if (answer != noErr) return answer;
    for (ItemCount i = 0; i < inMaximumObjects; ++i) {
        const UInt32 id = Next(iterator);
        if (id == 0) return errFSNoMoreItems;
        iterator.met.push_back(id);
        FillInfo(id, inWhichInfo, outInfos == nullptr ? nullptr : outInfos + i,
                 outNames == nullptr ? nullptr : outNames + i, outSpecs == nullptr ? nullptr : outSpecs + i,
                 nullptr);
        if (outRefs != nullptr) outRefs[i] = RefOf(id);
        ++*outActualObjects;
    }
    if (TheScript().isEndTold && Next(iterator) == 0) return errFSNoMoreItems;
    return noErr;
}

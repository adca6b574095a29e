// One opening of a fork, with its mark; and all that have a number.
//
// Safe on any thread: the calls of one opening come one after the other. Functions may throw std::bad_alloc.
#pragma once

#include "ForkFile.h"
#include "os/Mutex.h"

#include <memory>

namespace toolbox::files {

struct ForkFacts {
    FSRef file = {};
    bool isResource = false;
    SInt8 permission = fsRdPerm;  // not fsCurPerm
    SInt16 volume = 0;
    NodeID nodeID = 0;

    bool IsWritable() const { return permission != fsRdPerm; }
};

class ForkOpening {
  public:
    ForkOpening() = default;
    ForkOpening(const ForkOpening&) = delete;
    ForkOpening& operator=(const ForkOpening&) = delete;

    // Once. Statuses are those of FSOpenFork.
    [[nodiscard]] OSStatus Open(const FSRef& inFile, bool inIsResource, SInt8 inPermission);
    const ForkFacts& Facts() const { return mFacts; }

    // As the calls of the same names. rfNumErr when it was closed meanwhile.
    [[nodiscard]] OSStatus Read(UInt16 inMode, SInt64 inOffset, ByteCount inByteCount, void* outBytes,
                                ByteCount& outCount);
    [[nodiscard]] OSStatus Write(UInt16 inMode, SInt64 inOffset, ByteCount inByteCount, const void* inBytes,
                                 ByteCount& outCount);
    [[nodiscard]] OSStatus GetPosition(SInt64& outPosition);
    [[nodiscard]] OSStatus SetPosition(UInt16 inMode, SInt64 inOffset);
    [[nodiscard]] OSStatus GetSizes(ForkSizes& outSizes);
    [[nodiscard]] OSStatus SetSize(UInt16 inMode, SInt64 inOffset);
    [[nodiscard]] OSStatus Allocate(FSAllocationFlags inFlags, UInt16 inMode, SInt64 inOffset,
                                    UInt64 inByteCount, UInt64& outCount);
    [[nodiscard]] OSStatus Flush();
    [[nodiscard]] OSStatus Close();

  private:
    [[nodiscard]] OSStatus OpenFile(const FoundItem& inItem);
    // noErr, and inCall on what is open.
    template <typename Call>
    [[nodiscard]] OSStatus WhileOpen(Call inCall);
    [[nodiscard]] OSStatus FindPosition(UInt16 inMode, SInt64 inOffset, UInt64& outPosition)
        NEEDS_LOCK(mMutex);
    void SetMark(UInt64 inPosition, UInt64 inByteCount) NEEDS_LOCK(mMutex);
    [[nodiscard]] OSStatus ReadLine(UInt64 inPosition, UInt8 inEnd, ByteCount inByteCount, UInt8* outBytes,
                                    ByteCount& outCount) NEEDS_LOCK(mMutex);
    [[nodiscard]] OSStatus Compare(UInt64 inPosition, ByteCount inByteCount, const UInt8* inBytes,
                                   ByteCount& outCount) NEEDS_LOCK(mMutex);

    ForkFacts mFacts;
    os::Mutex mMutex;
    std::unique_ptr<ForkFile> mBytes GUARDED_BY(mMutex);
    ForkUse mUse GUARDED_BY(mMutex);
    UInt64 mMark GUARDED_BY(mMutex) = 0;
};

// noErr when the item of a reference may be written: it is no locked file. Its forks may then be opened to
// write as far as the system allows.
[[nodiscard]] OSStatus CheckIsUnlocked(const FoundItem& inItem);
// noErr for a file; notAFileErr, errFSForkNotFound.
[[nodiscard]] OSStatus FindFile(const FSRef& inRef, FoundItem& outItem);

// Openings by their numbers, from 1 on. A number is not given again before all others were.
[[nodiscard]] OSStatus AddOpening(std::shared_ptr<ForkOpening> inOpening, SInt16& outNumber);
// errFSBadForkRef, rfNumErr.
[[nodiscard]] OSStatus FindOpening(SInt16 inNumber, std::shared_ptr<ForkOpening>& outOpening);
// From now on it has no number.
[[nodiscard]] OSStatus TakeOpening(SInt16 inNumber, std::shared_ptr<ForkOpening>& outOpening);
// The next one after a number, of a volume or of all for 0. errFSNoMoreItems.
[[nodiscard]] OSStatus FindOpeningAfter(SInt16 inNumber, SInt16 inVolume, SInt16& outNumber,
                                        std::shared_ptr<ForkOpening>& outOpening);

}  // namespace toolbox::files

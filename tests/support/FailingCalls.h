// The system under the File Manager, failing at a call of the test's choice.
#pragma once

#include "os/FileCalls_test_access.h"

#include <cerrno>

namespace test_files {

// While it lives, the n-th call of any of the table's functions fails with an errno: once, or it and all
// after it. A call that closes does close before it fails, as the system's own does. One at a time, on one
// thread.
class FailingCalls {
  public:
    enum Extent { kOnce, kForever };

    FailingCalls(int inFailingCall, int inErrno, Extent inExtent = kOnce)
        : mReal(toolbox::os::CallsForTesting()) {
        sFailingCall = inFailingCall;
        sErrno = inErrno;
        sExtent = inExtent;
        sCallCount = 0;
        sReal = mReal;
        ReplaceReading(toolbox::os::CallsForTesting());
        ReplaceWriting(toolbox::os::CallsForTesting());
    }
    ~FailingCalls() { toolbox::os::CallsForTesting() = mReal; }
    FailingCalls(const FailingCalls&) = delete;
    FailingCalls& operator=(const FailingCalls&) = delete;

    bool Delivered() const { return sCallCount >= sFailingCall; }

  private:
    static void ReplaceReading(toolbox::os::FileCalls& outCalls) {
        outCalls.canonicalPath = [](const char* inPath, char* outBuffer) -> char* {
            return Fails() ? nullptr : sReal.canonicalPath(inPath, outBuffer);
        };
        outCalls.statAt = [](int inFolder, const char* inPath, int inFlags, unsigned inMask,
                             struct statx* outStatus) {
            return Fails() ? -1 : sReal.statAt(inFolder, inPath, inFlags, inMask, outStatus);
        };
        outCalls.openFile = [](const char* inPath, int inFlags) {
            return Fails() ? -1 : sReal.openFile(inPath, inFlags);
        };
        outCalls.closeFile = [](int inDescriptor) {
            const int result = sReal.closeFile(inDescriptor);
            return Fails() ? -1 : result;
        };
        outCalls.readAt = [](int inDescriptor, void* outBytes, std::size_t inByteCount,
                             off_t inOffset) -> ssize_t {
            return Fails() ? -1 : sReal.readAt(inDescriptor, outBytes, inByteCount, inOffset);
        };
        outCalls.openFolder = [](const char* inPath) -> DIR* {
            return Fails() ? nullptr : sReal.openFolder(inPath);
        };
        outCalls.readFolder = [](DIR * inFolder) -> struct dirent* {
            if (Fails()) return nullptr;
            return sReal.readFolder(inFolder);
        };
        outCalls.findHome = [](char* outPath, std::size_t inCapacity) {
            return Fails() ? errno : sReal.findHome(outPath, inCapacity);
        };
        outCalls.findLibrary = [](char* outPath, std::size_t inCapacity) {
            return Fails() ? errno : sReal.findLibrary(outPath, inCapacity);
        };
        outCalls.statVolume = [](const char* inPath, struct statvfs* outStatus) {
            return Fails() ? -1 : sReal.statVolume(inPath, outStatus);
        };
        outCalls.closeFolder = [](DIR* inFolder) {
            const int result = sReal.closeFolder(inFolder);
            return Fails() ? -1 : result;
        };
    }
    static void ReplaceWriting(toolbox::os::FileCalls& outCalls) {
        outCalls.createFile = [](const char* inPath, int inFlags, mode_t inMode) {
            return Fails() ? -1 : sReal.createFile(inPath, inFlags, inMode);
        };
        outCalls.writeAt = [](int inDescriptor, const void* inBytes, std::size_t inByteCount,
                              off_t inOffset) -> ssize_t {
            return Fails() ? -1 : sReal.writeAt(inDescriptor, inBytes, inByteCount, inOffset);
        };
        outCalls.reserve = [](int inDescriptor, off_t inOffset, off_t inByteCount) {
            return Fails() ? errno : sReal.reserve(inDescriptor, inOffset, inByteCount);
        };
        outCalls.setLength = [](int inDescriptor, off_t inByteCount) {
            return Fails() ? -1 : sReal.setLength(inDescriptor, inByteCount);
        };
        outCalls.setMode = [](int inDescriptor, mode_t inMode) {
            return Fails() ? -1 : sReal.setMode(inDescriptor, inMode);
        };
        outCalls.setOwner = [](int inDescriptor, uid_t inUser, gid_t inGroup) {
            return Fails() ? -1 : sReal.setOwner(inDescriptor, inUser, inGroup);
        };
        outCalls.lockFile = [](int inDescriptor, int inOperation) {
            return Fails() ? -1 : sReal.lockFile(inDescriptor, inOperation);
        };
        outCalls.syncFile = [](int inDescriptor) { return Fails() ? -1 : sReal.syncFile(inDescriptor); };
        outCalls.renameItem = [](const char* inOldPath, const char* inNewPath) {
            return Fails() ? -1 : sReal.renameItem(inOldPath, inNewPath);
        };
        outCalls.removeFile = [](const char* inPath) { return Fails() ? -1 : sReal.removeFile(inPath); };
        outCalls.changeMode = [](const char* inPath, mode_t inMode) {
            return Fails() ? -1 : sReal.changeMode(inPath, inMode);
        };
        outCalls.makeFolder = [](const char* inPath, mode_t inMode) {
            return Fails() ? -1 : sReal.makeFolder(inPath, inMode);
        };
    }
    static bool Fails() {
        ++sCallCount;
        const bool fails = sExtent == kOnce ? sCallCount == sFailingCall : sCallCount >= sFailingCall;
        if (fails) errno = sErrno;
        return fails;
    }

    static inline int sFailingCall;
    static inline int sErrno;
    static inline Extent sExtent;
    static inline int sCallCount;
    static inline toolbox::os::FileCalls sReal;
    toolbox::os::FileCalls mReal;
};

}  // namespace test_files

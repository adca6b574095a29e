#include "catalogue/FileAccess.h"

#include "catalogue/Catalogue.h"
#include "os/FileCalls.h"

#include <fcntl.h>
#include <algorithm>
#include <cerrno>
#include <memory>
#include <utility>

namespace toolbox::files {

namespace {

// How often opening starts again because another item took the path between finding and opening.
constexpr int kRounds = 3;

OSStatus StatusOfKind(os::ItemKind inKind) {
    if (inKind == os::ItemKind::kFile) return noErr;
    return inKind == os::ItemKind::kFolder ? notAFileErr : errFSForkNotFound;
}

// Opens the item where it was found; fnfErr when something else is there meanwhile.
OSStatus OpenFound(const std::string& inPath, const os::ItemIdentity& inItem, int& outDescriptor) {
    // Without O_NONBLOCK a pipe that took the path just now would hold us until somebody writes to it.
    const int descriptor =
        os::Calls().openFile(inPath.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY | O_NOFOLLOW);
    if (descriptor < 0) return errno == ELOOP ? static_cast<OSStatus>(fnfErr) : os::StatusOfErrno(errno);
    os::ItemStatus opened;
    const int error = os::GetDescriptorStatus(descriptor, opened);
    if (error == 0 && opened.identity.IsSameItem(inItem)) {
        outDescriptor = descriptor;
        return noErr;
    }
    os::Calls().closeFile(descriptor);
    return error != 0 ? os::StatusOfErrno(error) : static_cast<OSStatus>(fnfErr);
}

// Up to inByteCount bytes from the file's start; at its end, fewer.
OSStatus ReadFromStart(int inDescriptor, std::size_t inByteCount, std::string& outContents) {
    constexpr std::size_t kBlockBytes = 65536;
    outContents.clear();
    while (outContents.size() < inByteCount) {
        const std::size_t byteCount = outContents.size();
        outContents.resize(byteCount + std::min(kBlockBytes, inByteCount - byteCount));
        ssize_t readCount = 0;
        do {
            readCount = os::Calls().readAt(inDescriptor, outContents.data() + byteCount,
                                       outContents.size() - byteCount, static_cast<off_t>(byteCount));
        } while (readCount < 0 && errno == EINTR);
        if (readCount < 0) return os::StatusOfErrno(errno);
        outContents.resize(byteCount + static_cast<std::size_t>(readCount));
        if (readCount == 0) break;
    }
    return noErr;
}

}  // namespace

OSStatus OpenForReading(const FSRef& inItem, int& outDescriptor, std::string& outPath) {
    outDescriptor = -1;
    OSStatus status = fnfErr;
    for (int round = 0; round < kRounds && status == fnfErr; ++round) {
        outPath.clear();
        FoundItem found;
        status = FindByRef(inItem, found);
        if (status != noErr) return status;
        outPath = std::move(found.path);
        status = StatusOfKind(found.status.kind);
        if (status == noErr) status = OpenFound(outPath, found.status.identity, outDescriptor);
    }
    return status;
}

OSStatus ReadSmallFile(const FSRef& inItem, std::size_t inMaxByteCount, std::string& outContents) {
    int descriptor = -1;
    std::string path;
    const OSStatus openStatus = OpenForReading(inItem, descriptor, path);
    if (openStatus != noErr) return openStatus;
    const auto close = [](const int* inDescriptor) { os::Calls().closeFile(*inDescriptor); };
    const std::unique_ptr<int, decltype(close)> closer(&descriptor, close);
    const OSStatus status = ReadFromStart(descriptor, inMaxByteCount + 1, outContents);
    return status == noErr && outContents.size() > inMaxByteCount ? static_cast<OSStatus>(fileBoundsErr)
                                                                  : status;
}

}  // namespace toolbox::files

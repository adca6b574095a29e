// Files of system-wide access keys of hostile making: read, changed and read again, or told and left as they
// are.
#include "keys/AccessKeyList.h"
#include "os/SystemCalls_test_access.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <toolbox/AccessKeys.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <string>

namespace {

using toolbox::keys::AccessKeyList;

void Require(bool inHolds, int inLine = __builtin_LINE()) {
    if (inHolds) return;
    std::fprintf(stderr, "%s:%d: does not hold\n", __FILE__, inLine);
    std::abort();
}

const unsigned char kType[] = "\4type";

// A state folder in memory, where the system has such a place.
const std::string& StateFolder() {
    // Never destroyed: it is needed when the program ends.
    static const std::string& sPath = *new std::string([] {
        const char* folder = access("/dev/shm", W_OK) == 0 ? "/dev/shm" : "/tmp";
        return std::string(folder) + "/access-keys-fuzzer-" + std::to_string(getpid());
    }());
    static const bool sIsMade = [] {
        Require(mkdir(sPath.c_str(), 0700) == 0 && mkdir((sPath + "/mirtal").c_str(), 0700) == 0);
        setenv("XDG_STATE_HOME", sPath.c_str(), 1);
        toolbox::os::CallsForTesting().fsync = [](int) { return 0; };
        std::atexit([] {
            for (const char* name : {"/mirtal/access-keys", "/mirtal/access-keys.lock"})
                unlink((sPath + name).c_str());
            rmdir((sPath + "/mirtal").c_str());
            rmdir(sPath.c_str());
        });
        return true;
    }();
    Require(sIsMade);
    return sPath;
}

void PutFile(const UInt8* inBytes, std::size_t inCount) {
    const std::string path = StateFolder() + "/mirtal/access-keys";
    const int descriptor = open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
    Require(descriptor >= 0 && write(descriptor, inBytes, inCount) == static_cast<ssize_t>(inCount));
    close(descriptor);
}

std::string FileText() {
    std::ifstream file(StateFolder() + "/mirtal/access-keys", std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(file), {});
}

// -1 when the keys cannot be had.
int CountKeys() {
    QTAtomContainer keys = nullptr;
    const OSErr error = QTGetAccessKeys(kType, kAccessKeySystemFlag, &keys);
    Require(error == noErr || error == badFileFormat);
    Require((error == noErr) == (keys != nullptr));
    if (error != noErr) return -1;
    const int count = QTCountChildrenOfType(keys, kParentAtomIsContainer, kAccessKeyAtomType);
    Require(QTDisposeAtomContainer(keys) == noErr);
    return count;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const UInt8* inBytes, std::size_t inCount) {
    PutFile(inBytes, inCount);
    const std::string text(reinterpret_cast<const char*>(inBytes), inCount);
    AccessKeyList list;
    const bool isWhole = list.Decode(text);
    const int count = CountKeys();
    Require(isWhole == (count >= 0));

    Handle key = nullptr;
    Require(PtrToHand("a key of the fuzzer", &key, 19) == noErr);
    const OSErr added = QTRegisterAccessKey(kType, kAccessKeySystemFlag, key);
    if (!isWhole) {
        Require(added == badFileFormat && FileText() == text);
    } else if (added == noErr) {
        AccessKeyList again;
        // A file that has the key already stays as somebody wrote it.
        Require(again.Decode(FileText()) && (FileText() == text || FileText() == again.Encode()));
        Require(again.Contains({"type", "A key of the fuzzer"}));
        Require(QTUnregisterAccessKey(kType, kAccessKeySystemFlag, key) == noErr);
        Require(CountKeys() <= count);
        list.Remove({"type", "a key of the fuzzer"});
        Require(FileText() == list.Encode());
    } else {
        Require(added == dskFulErr && FileText() == text);
    }
    DisposeHandle(key);
    Require(GetLiveHandleCount() == 0);
    return 0;
}

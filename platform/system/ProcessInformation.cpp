#include "Clocks.h"
#include "os/Descriptor.h"
#include "os/OwnPaths.h"
#include "os/SystemCalls.h"

#include <sys/sysinfo.h>
#include <toolbox/CatalogInfo.h>
#include <toolbox/Files.h>
#include <toolbox/LaunchServices.h>
#include <toolbox/Processes.h>
#include <toolbox/Timer.h>
#include <unistd.h>

#include <algorithm>
#include <charconv>
#include <limits>
#include <new>
#include <string>
#include <string_view>

namespace toolbox::system {

namespace {

constexpr std::size_t kMaxNameBytes = 31;

// Its place among the words of /proc/self/stat behind the program's name, counted from 0.
constexpr int kStartTimeWord = 19;
constexpr int kResidentPagesWord = 1;  // of /proc/self/statm

UInt32 Clamped(UInt64 inNumber) {
    return static_cast<UInt32>(std::min<UInt64>(inNumber, std::numeric_limits<UInt32>::max()));
}

// 0 for what is no number, or not there.
UInt64 NumberAt(std::string_view inText, int inWord) {
    for (; inWord > 0; --inWord) {
        const std::size_t space = inText.find(' ');
        if (space == std::string_view::npos) return 0;
        inText.remove_prefix(space + 1);
    }
    UInt64 number = 0;
    std::from_chars(inText.data(), inText.data() + inText.size(), number);
    return number;
}

UInt64 Setting(int inSetting) {
    return static_cast<UInt64>(std::max(os::Calls().sysconf(inSetting), 0L));
}

template <std::size_t Capacity>
std::string_view ReadText(const char* inPath, char (&outBytes)[Capacity]) {
    os::Descriptor file;
    std::size_t count = 0;
    if (os::OpenFile(inPath, O_RDONLY, file) != 0 ||
        os::ReadAt(file.Number(), outBytes, Capacity, 0, count) != 0)
        return {};
    return {outBytes, count};
}

// The kernel tells the start on a clock that runs while the machine sleeps; ours does not.
UInt32 LaunchDate() {
    char bytes[1024];
    const std::string_view text = ReadText("/proc/self/stat", bytes);
    const std::size_t nameEnd = text.rfind(") ");  // the name may have blanks and parentheses
    const UInt64 unitsPerSecond = Setting(_SC_CLK_TCK);
    if (nameEnd == std::string_view::npos || unitsPerSecond == 0) return TickCount();
    const UInt64 startUnits = NumberAt(text.substr(nameEnd + 2), kStartTimeWord);
    const UInt64 startTicks = startUnits * kTicksPerSecond / unitsPerSecond;
    const UInt64 nowTicks = TicksOfNanos(NanosOnClock(CLOCK_BOOTTIME));
    return TickCount() - static_cast<UInt32>(nowTicks > startTicks ? nowTicks - startTicks : 0);
}

UInt32 BytesInUse() {
    char bytes[256];
    return Clamped(NumberAt(ReadText("/proc/self/statm", bytes), kResidentPagesWord) * Setting(_SC_PAGESIZE));
}

UInt32 BytesFree() {
    struct sysinfo info = {};
    if (os::Calls().sysinfo(&info) != 0) return 0;
    return Clamped(static_cast<UInt64>(info.freeram) * info.mem_unit);
}

OSStatus Find(const std::string& inPath, FSRef& outItem) {
    if (inPath.empty()) return fnfErr;
    return FSPathMakeRef(reinterpret_cast<const UInt8*>(inPath.c_str()), &outItem, nullptr);
}

// What is a package if the program is one's; empty when the program lies elsewhere.
std::string PackagePath(std::string_view inProgramPath) {
    const std::string_view folder = inProgramPath.substr(0, inProgramPath.rfind('/'));
    for (const std::string_view place : {"/Contents/Linux", "/Contents/MacOS"})
        if (folder.ends_with(place)) return std::string(folder.substr(0, folder.size() - place.size()));
    return {};
}

// The program's package when it has one, else the program.
OSStatus FindApplication(const std::string& inProgramPath, FSRef& outItem) {
    const std::string path = PackagePath(inProgramPath);
    if (path.empty()) return Find(inProgramPath, outItem);
    OSStatus status = Find(path, outItem);
    if (status != noErr) return status;
    LSItemInfoRecord info;
    status = LSCopyItemInfoForRef(&outItem, kLSRequestBasicFlagsOnly, &info);
    if (status != noErr) return status;
    // No folder holds a volume.
    constexpr LSItemInfoFlags kKinds = kLSItemInfoIsPackage | kLSItemInfoIsVolume;
    return (info.flags & kKinds) == kLSItemInfoIsPackage ? OSStatus{noErr} : Find(inProgramPath, outItem);
}

OSErr DescribeApplication(const std::string& inProgramPath, FSSpec& outFile) {
    FSRef application;
    const OSStatus status = FindApplication(inProgramPath, application);
    if (status != noErr) return static_cast<OSErr>(status);
    return FSGetCatalogInfo(&application, kFSCatInfoNone, nullptr, nullptr, &outFile, nullptr);
}

void CopyName(std::string_view inPath, StringPtr outName) {
    const std::string_view name = inPath.substr(inPath.rfind('/') + 1);
    std::size_t count = std::min(name.size(), kMaxNameBytes);
    // Not in the middle of a character of UTF-8.
    while (count > 0 && count < name.size() && (name[count] & 0xC0) == 0x80)
        --count;
    outName[0] = static_cast<unsigned char>(count);
    std::copy_n(name.begin(), count, outName + 1);
}

// What is known by where the program lies.
OSErr DescribeProgram(ProcessInfoRec& ioInfo) {
    std::string path;
    (void)os::GetExecutablePath(path);  // empty when it cannot be told
    if (ioInfo.processAppSpec != nullptr) {
        const OSErr error = DescribeApplication(path, *ioInfo.processAppSpec);
        if (error != noErr) return error;
    }
    if (ioInfo.processName != nullptr) CopyName(path, ioInfo.processName);
    return noErr;
}

// Beyond the numbers that stand for something else.
UInt32 SerialNumber() {
    constexpr UInt32 kFirst = 0x10000;
    return kFirst + static_cast<UInt32>(os::Calls().getpid());
}

bool IsThisProcess(const ProcessSerialNumber& inNumber) {
    if (inNumber.highLongOfPSN != 0) return false;
    return inNumber.lowLongOfPSN == kCurrentProcess || inNumber.lowLongOfPSN == SerialNumber();
}

}  // namespace

}  // namespace toolbox::system

using namespace toolbox::system;

OSErr GetCurrentProcess(ProcessSerialNumber* outNumber) {
    if (outNumber == nullptr) return paramErr;
    *outNumber = {0, SerialNumber()};
    return noErr;
}

OSErr GetProcessInformation(const ProcessSerialNumber* inNumber, ProcessInfoRec* ioInfo) {
    if (inNumber == nullptr || ioInfo == nullptr || ioInfo->processInfoLength != kProcessInfoLength)
        return paramErr;
    if (!IsThisProcess(*inNumber)) return procNotFound;
    try {
        const OSErr error = DescribeProgram(*ioInfo);
        if (error != noErr) return error;
    } catch (const std::bad_alloc&) {
        return memFullErr;
    }
    ioInfo->processType = FourChars("APPL");
    ioInfo->processSignature = FourChars("\?\?\?\?");
    ioInfo->processMode = 0;
    ioInfo->processLocation = nullptr;
    ioInfo->processSize = BytesInUse();
    ioInfo->processFreeMem = BytesFree();
    ioInfo->processLauncher = {0, kNoProcess};
    ioInfo->processLaunchDate = LaunchDate();
    ioInfo->processActiveTime = static_cast<UInt32>(TicksOfNanos(NanosOnClock(CLOCK_PROCESS_CPUTIME_ID)));
    return GetCurrentProcess(&ioInfo->processNumber);
}

#include "MountTable.h"

#include "os/Descriptor.h"
#include "status/StatusOfErrno.h"

#include <sys/sysmacros.h>

#include <algorithm>
#include <charconv>
#include <iterator>
#include <system_error>
#include <utility>

namespace toolbox::files {

namespace {

// Of a table longer than this the rest is not looked at: thousands of mounts.
constexpr std::size_t kMaxTableBytes = 4 << 20;

// Words of a line. Behind the options stand any number of others, and then "-".
constexpr std::size_t kMountWord = 0;
constexpr std::size_t kDeviceWord = 2;
constexpr std::size_t kRootWord = 3;
constexpr std::size_t kFolderWord = 4;
constexpr std::size_t kOptionsWord = 5;
constexpr std::ptrdiff_t kWordsBehindDash = 3;

bool IsOctal(char inChar) {
    return inChar >= '0' && inChar <= '7';
}

// Blanks and backslashes in a path are a backslash and three octal digits.
std::string Unescaped(std::string_view inText) {
    std::string text;
    for (std::size_t i = 0; i < inText.size(); ++i) {
        const bool isEscape = inText[i] == '\\' && inText.size() - i > 3 && IsOctal(inText[i + 1]) &&
                              IsOctal(inText[i + 2]) && IsOctal(inText[i + 3]);
        if (isEscape)
            text +=
                static_cast<char>((inText[i + 1] & 3) << 6 | (inText[i + 2] & 7) << 3 | (inText[i + 3] & 7));
        else
            text += inText[i];
        if (isEscape) i += 3;
    }
    return text;
}

std::vector<std::string_view> PartsOf(std::string_view inText, char inSeparator) {
    std::vector<std::string_view> parts;
    while (!inText.empty()) {
        const std::string_view part = inText.substr(0, inText.find(inSeparator));
        parts.push_back(part);
        inText.remove_prefix(std::min(part.size() + 1, inText.size()));
    }
    return parts;
}

// False when there is no number.
template <typename Number>
bool ReadNumber(std::string_view inText, Number& outNumber) {
    return std::from_chars(inText.data(), inText.data() + inText.size(), outNumber).ec == std::errc();
}

// "8:1"; 0 for what is none.
std::uint64_t DeviceOf(std::string_view inText) {
    unsigned major = 0;
    unsigned minor = 0;
    const std::size_t colon = inText.find(':');
    if (colon == std::string_view::npos) return 0;
    const bool isDevice =
        ReadNumber(inText.substr(0, colon), major) && ReadNumber(inText.substr(colon + 1), minor);
    return isDevice ? makedev(major, minor) : 0;
}

bool ReadLine(std::string_view inLine, MountEntry& outMount) {
    const std::vector<std::string_view> words = PartsOf(inLine, ' ');
    if (words.size() <= kOptionsWord) return false;
    const auto dash = std::find(words.begin() + kOptionsWord + 1, words.end(), "-");
    if (words.end() - dash <= kWordsBehindDash) return false;
    if (!ReadNumber(words[kMountWord], outMount.mount) || !words[kFolderWord].starts_with('/')) return false;
    outMount.device = DeviceOf(words[kDeviceWord]);
    outMount.rootInside = Unescaped(words[kRootWord]);
    outMount.folder = Unescaped(words[kFolderWord]);
    outMount.options = words[kOptionsWord];
    outMount.type = dash[1];
    outMount.source = Unescaped(dash[2]);
    outMount.superOptions = Unescaped(dash[3]);
    return true;
}

bool IsOf(const MountEntry& inMount, const Volume& inVolume) {
    return inVolume.key.mount != 0 ? inMount.mount == inVolume.key.mount
                                   : inMount.folder == inVolume.rootPath;
}

}  // namespace

int ReadKernelFile(const char* inPath, std::string& outContents) {
    os::Descriptor file;
    const int error = os::OpenFile(inPath, O_RDONLY, file);
    return error != 0 ? error : os::ReadFromStart(file.Number(), kMaxTableBytes, outContents);
}

std::vector<MountEntry> MountsIn(std::string_view inTable) {
    std::vector<MountEntry> mounts;
    for (const std::string_view line : PartsOf(inTable, '\n')) {
        MountEntry mount;
        if (ReadLine(line, mount)) mounts.push_back(std::move(mount));
    }
    return mounts;
}

OSStatus ReadMounts(std::vector<MountEntry>& outMounts) {
    std::string table;
    const int error = ReadKernelFile("/proc/self/mountinfo", table);
    if (error == 0) outMounts = MountsIn(table);
    return StatusOfErrno(error);
}

OSStatus FindMount(const Volume& inVolume, MountEntry& outMount) {
    std::vector<MountEntry> mounts;
    const OSStatus status = ReadMounts(mounts);
    if (status != noErr) return status;
    // Of two at one folder the later one is seen.
    const auto found = std::find_if(mounts.rbegin(), mounts.rend(),
                                    [&](const MountEntry& inMount) { return IsOf(inMount, inVolume); });
    if (found == mounts.rend()) return nsvErr;
    outMount = std::move(*found);
    return noErr;
}

bool HasOption(std::string_view inOptions, std::string_view inOption) {
    const std::vector<std::string_view> options = PartsOf(inOptions, ',');
    return std::find(options.begin(), options.end(), inOption) != options.end();
}

}  // namespace toolbox::files

#include "MountedVolumes.h"

#include "catalogue/Catalogue.h"
#include "catalogue/Volumes.h"
#include "os/Descriptor.h"
#include "os/SystemCalls.h"
#include "status/StatusOfErrno.h"

#include <sys/statvfs.h>
#include <sys/sysmacros.h>

#include <algorithm>
#include <cerrno>

namespace toolbox::files {

namespace {

// Of a table longer than this the rest is not looked at: thousands of mounts.
constexpr std::size_t kMaxTableBytes = 4 << 20;

// 0 or an errno.
int ReadKernelFile(const char* inPath, std::string& outContents) {
    os::Descriptor file;
    const int error = os::OpenFile(inPath, O_RDONLY, file);
    return error != 0 ? error : os::ReadFromStart(file.Number(), kMaxTableBytes, outContents);
}

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

std::string_view WordAt(std::string_view inLine, int inIndex) {
    for (; inIndex > 0; --inIndex) {
        const std::size_t blank = inLine.find(' ');
        if (blank == std::string_view::npos) return {};
        inLine.remove_prefix(blank + 1);
    }
    return inLine.substr(0, inLine.find(' '));
}

// File systems that the kernel makes up have no blocks.
bool HoldsData(const std::string& inFolder) {
    struct statvfs status = {};
    return os::Calls().statvfs(inFolder.c_str(), &status) == 0 && status.f_blocks != 0;
}

// noErr also for what is no volume; a status where nothing can be told of any.
OSStatus AddVolumeAt(const std::string& inFolder, std::vector<SInt16>& ioVolumes) {
    FoundItem item;
    if (!HoldsData(inFolder) || FindByPath(inFolder.c_str(), item) != noErr) return noErr;
    if (item.status.kind != os::ItemKind::kFolder) return noErr;
    SInt16 volume = 0;
    const OSStatus status = GetVolumeNumber(item, volume);
    if (status != noErr) return status;
    if (std::find(ioVolumes.begin(), ioVolumes.end(), volume) == ioVolumes.end()) ioVolumes.push_back(volume);
    return noErr;
}

bool IsDeviceReadOnly(std::uint64_t inDevice) {
    const std::string path =
        "/sys/dev/block/" + std::to_string(major(inDevice)) + ':' + std::to_string(minor(inDevice)) + "/ro";
    std::string contents;
    return ReadKernelFile(path.c_str(), contents) == 0 && contents.substr(0, 1) == "1";
}

}  // namespace

std::vector<std::string> MountFolders(std::string_view inTable) {
    constexpr int kFolderWord = 4;
    std::vector<std::string> folders;
    while (!inTable.empty()) {
        const std::string_view line = inTable.substr(0, inTable.find('\n'));
        inTable.remove_prefix(std::min(line.size() + 1, inTable.size()));
        const std::string_view folder = WordAt(line, kFolderWord);
        if (!folder.empty() && folder[0] == '/') folders.push_back(Unescaped(folder));
    }
    return folders;
}

OSStatus ListVolumes(std::vector<SInt16>& outVolumes) {
    outVolumes.assign(1, kBootVolume);
    std::string table;
    const int error = ReadKernelFile("/proc/self/mountinfo", table);
    if (error != 0) return StatusOfErrno(error);
    for (const std::string& folder : MountFolders(table)) {
        const OSStatus status = AddVolumeAt(folder, outVolumes);
        if (status != noErr) return status;
    }
    return noErr;
}

OSStatus GetVolumeFacts(SInt16 inVolume, VolumeFacts& outFacts) {
    Volume volume;
    const OSStatus status = GetVolume(inVolume == 0 ? kBootVolume : inVolume, volume);
    if (status != noErr) return status;
    struct statvfs facts = {};
    if (os::Calls().statvfs(volume.rootPath.c_str(), &facts) != 0) return StatusOfErrno(errno);
    outFacts = {facts.f_frsize,
                facts.f_blocks,
                facts.f_bavail,
                facts.f_files - facts.f_ffree,
                (facts.f_flag & ST_RDONLY) != 0,
                IsDeviceReadOnly(volume.key.device)};
    return noErr;
}

}  // namespace toolbox::files

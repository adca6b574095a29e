#include "catalogue/VolumeLabels.h"

#include "MountTable.h"
#include "os/CanonicalPath.h"
#include "os/Folders.h"

#include <string_view>

namespace toolbox::files {

namespace {

constexpr int kBitsOfDigit = 4;

int DigitOf(char inByte) {
    if (inByte >= '0' && inByte <= '9') return inByte - '0';
    const int letter = inByte | 0x20;
    return letter >= 'a' && letter <= 'f' ? letter - 'a' + 10 : -1;
}

// Names of links have "\x" and two digits for what could not stand there.
std::string WithoutEscapes(std::string_view inName) {
    std::string text;
    for (std::size_t i = 0; i < inName.size(); ++i) {
        const bool mayBeEscape = inName.substr(i, 2) == "\\x" && i + 3 < inName.size();
        const int high = mayBeEscape ? DigitOf(inName[i + 2]) : -1;
        const int low = mayBeEscape ? DigitOf(inName[i + 3]) : -1;
        const bool isEscape = high >= 0 && low >= 0;
        text += isEscape ? static_cast<char>(high << kBitsOfDigit | low) : inName[i];
        if (isEscape) i += 3;
    }
    return text;
}

}  // namespace

std::string LabelOfDevice(const std::string& inDevice, const std::string& inLabels) {
    std::string device;
    std::string linked;
    os::FolderReader labels;
    const struct dirent* entry = nullptr;
    if (os::GetCanonicalPath(inDevice.c_str(), device) != 0 || labels.Open(inLabels.c_str()) != 0) return {};
    while (labels.Next(entry) == 0 && entry != nullptr) {
        const std::string path = inLabels + '/' + entry->d_name;
        if (os::GetCanonicalPath(path.c_str(), linked) == 0 && linked == device)
            return WithoutEscapes(entry->d_name);
    }
    return {};
}

std::string LabelOfVolume(SInt16 inVolume) {
    Volume volume;
    MountEntry mount;
    if (GetVolume(inVolume, volume) != noErr || FindMount(volume, mount) != noErr ||
        !mount.source.starts_with('/'))
        return {};
    return LabelOfDevice(mount.source, "/dev/disk/by-label");
}

}  // namespace toolbox::files

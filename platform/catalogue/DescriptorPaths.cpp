#include "catalogue/DescriptorPaths.h"

#include "os/CanonicalPath.h"
#include "os/ItemStatus.h"

#include <string_view>

namespace toolbox::files {

namespace {

constexpr std::string_view kProcesses = "/proc/";
constexpr std::string_view kDescriptors = "/fd";

bool IsNumber(std::string_view inText) {
    return !inText.empty() && inText.find_first_not_of("0123456789") == std::string_view::npos;
}

// "/proc/<process>/fd"
bool IsDescriptorFolder(std::string_view inFolder) {
    if (inFolder.size() <= kProcesses.size() + kDescriptors.size()) return false;
    const std::size_t numberEnd = inFolder.size() - kDescriptors.size();
    return inFolder.substr(0, kProcesses.size()) == kProcesses &&
           inFolder.substr(numberEnd) == kDescriptors &&
           IsNumber(inFolder.substr(kProcesses.size(), numberEnd - kProcesses.size()));
}

}  // namespace

std::string PathOfDescriptor(int inDescriptor) {
    return "/proc/self/fd/" + std::to_string(inDescriptor);
}

bool IsDescriptorPath(const std::string& inPath) {
    const std::size_t slash = inPath.rfind('/');
    if (slash == std::string::npos) return false;
    const std::string_view path = inPath;
    return IsNumber(path.substr(slash + 1)) && IsDescriptorFolder(path.substr(0, slash));
}

std::string CanonicalDescriptorPath(const std::string& inPath, std::string& outFolder) {
    const std::size_t slash = inPath.rfind('/');
    if (slash == std::string::npos || !IsNumber(std::string_view(inPath).substr(slash + 1))) return {};
    const std::string folder = inPath.substr(0, slash + 1);
    if (os::GetCanonicalPath(folder.c_str(), outFolder) != 0 || !IsDescriptorFolder(outFolder)) return {};
    std::string path = outFolder + inPath.substr(slash);
    os::ItemStatus opened;
    const bool isFile = os::GetTargetStatus(path.c_str(), opened) == 0 && opened.kind == os::ItemKind::kFile;
    return isFile ? path : std::string();
}

}  // namespace toolbox::files

#include "catalogue/DescriptorPaths.h"

#include "os/ItemStatus.h"
#include "os/SystemCalls.h"

#include <cstdlib>
#include <memory>
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

struct FreeDeleter {
    void operator()(char* inText) const { os::Calls().free(inText); }
};

}  // namespace

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
    const std::unique_ptr<char, FreeDeleter> canonical(os::Calls().realpath(folder.c_str(), nullptr));
    if (canonical == nullptr || !IsDescriptorFolder(canonical.get())) return {};
    outFolder = canonical.get();
    std::string path = outFolder + inPath.substr(slash);
    os::ItemStatus opened;
    const bool isFile = os::GetTargetStatus(path.c_str(), opened) == 0 && opened.kind == os::ItemKind::kFile;
    return isFile ? path : std::string();
}

}  // namespace toolbox::files

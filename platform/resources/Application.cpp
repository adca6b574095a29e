#include "Application.h"

#include "files/Catalogue.h"

#include <toolbox/MacErrors.h>

#include <limits.h>
#include <unistd.h>

namespace toolbox::resources {

namespace {

std::string ExecutablePath() {
    char path[PATH_MAX];
    const ssize_t length = readlink("/proc/self/exe", path, sizeof path);
    return length <= 0 || length == sizeof path ? std::string()
                                                : std::string(path, static_cast<std::size_t>(length));
}

std::unique_ptr<ResourceFile> OpenAt(const std::string& inPath, files::Fork inFork) {
    files::FoundItem item;
    std::unique_ptr<ResourceFile> file;
    if (files::FindByPath(inPath.c_str(), item) != noErr) return nullptr;
    ResourceFile::Open(files::MakeRef(item), inFork, false, file);
    return file;
}

}  // namespace

std::string (*sExecutablePath)() = ExecutablePath;

std::unique_ptr<ResourceFile> OpenResourcesOfApplication() {
    const std::string path = sExecutablePath();
    if (path.empty()) return nullptr;
    std::unique_ptr<ResourceFile> file = OpenAt(path, files::Fork::kResource);
    return file != nullptr ? std::move(file) : OpenAt(path + ".rsrc", files::Fork::kData);
}

}  // namespace toolbox::resources

#include "resources/Application.h"

#include "catalogue/Catalogue.h"

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

OSStatus OpenAt(const std::string& inPath, files::Fork inFork, std::unique_ptr<ResourceFile>& outFile) {
    files::FoundItem item;
    const OSStatus status = files::FindByPath(inPath.c_str(), item);
    return status == noErr ? ResourceFile::Open(files::MakeRef(item), inFork, false, outFile) : status;
}

bool MayBeOverLater(OSStatus inStatus) {
    return inStatus == tmfoErr || inStatus == memFullErr || inStatus == fBsyErr;
}

}  // namespace

std::string (*sExecutablePath)() = ExecutablePath;

OSStatus OpenResourcesOfApplication(std::unique_ptr<ResourceFile>& outFile) {
    const std::string path = sExecutablePath();
    if (path.empty()) return noErr;
    OSStatus status = OpenAt(path, files::Fork::kResource, outFile);
    if (status != noErr && !MayBeOverLater(status))
        status = OpenAt(path + ".rsrc", files::Fork::kData, outFile);
    return MayBeOverLater(status) ? status : OSStatus{noErr};
}

}  // namespace toolbox::resources

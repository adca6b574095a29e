#include "resources/Application.h"

#include "catalogue/Catalogue.h"
#include "os/OwnPaths.h"
#include "status/StatusOfErrno.h"

#include <toolbox/MacErrors.h>

namespace toolbox::resources {

namespace {

OSStatus OpenAt(const std::string& inPath, files::Fork inFork, std::unique_ptr<ResourceFile>& outFile) {
    files::FoundItem item;
    const OSStatus status = files::FindByPath(inPath.c_str(), item);
    return status == noErr ? ResourceFile::Open(files::MakeRef(item), inFork, false, outFile) : status;
}

bool MayBeOverLater(OSStatus inStatus) {
    return inStatus == tmfoErr || inStatus == memFullErr || inStatus == fBsyErr;
}

}  // namespace

OSStatus OpenResourcesOfApplication(std::unique_ptr<ResourceFile>& outFile) {
    std::string path;
    OSStatus status = StatusOfErrno(os::GetExecutablePath(path));
    if (status != noErr) return MayBeOverLater(status) ? status : OSStatus{noErr};
    status = OpenAt(path, files::Fork::kResource, outFile);
    if (status != noErr && !MayBeOverLater(status))
        status = OpenAt(os::ResourceFileBeside(path), files::Fork::kData, outFile);
    return MayBeOverLater(status) ? status : OSStatus{noErr};
}

}  // namespace toolbox::resources

#include "OwnedObject.h"

#include <files/UBundle.h>
#include <toolbox/CFURL.h>
#include <toolbox/Folders.h>
#include <toolbox/MacErrors.h>

namespace {

using OwnedURL = OwnedObject<CFURLRef>;

// The bundle in the folder, with its executable loaded; null when any of it fails.
CFBundleRef CreateLoadedBundle(const FSRef& inFolder, CFStringRef inName) {
    const OwnedURL folderURL(CFURLCreateFromFSRef(kCFAllocatorSystemDefault, &inFolder));
    if (folderURL == nullptr) return nullptr;
    const OwnedURL bundleURL(
        CFURLCreateCopyAppendingPathComponent(kCFAllocatorSystemDefault, folderURL.get(), inName, false));
    if (bundleURL == nullptr) return nullptr;
    const CFBundleRef bundle = CFBundleCreate(kCFAllocatorSystemDefault, bundleURL.get());
    if (bundle == nullptr || CFBundleLoadExecutable(bundle)) return bundle;
    CFRelease(bundle);
    return nullptr;
}

}  // namespace

OSStatus UBundle::LoadFrameworkBundle(CFStringRef inFrameworkName, CFBundleRef* outBundle,
                                      bool inPrivateFramework) {
    *outBundle = nullptr;
    FSRef folder;
    const OSStatus status =
        FSFindFolder(kOnSystemDisk, inPrivateFramework ? kPrivateFrameworksFolderType : kFrameworksFolderType,
                     kCreateFolder, &folder);
    if (status != noErr) return status;
    *outBundle = CreateLoadedBundle(folder, inFrameworkName);
    return *outBundle != nullptr ? noErr : coreFoundationUnknownErr;
}

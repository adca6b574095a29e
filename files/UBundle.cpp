#include "OwnedObject.h"

#include <files/TFSSpec.h>
#include <files/UBundle.h>
#include <foundation/SystemFacts.h>
#include <strings/TCFString.h>
#include <toolbox/CFURL.h>
#include <toolbox/Folders.h>
#include <toolbox/MacErrors.h>

#include <cstring>

namespace {

using OwnedURL = OwnedObject<CFURLRef>;
using OwnedBundle = OwnedObject<CFBundleRef>;

// A bundle whose executable cannot be loaded is given back, and null then. Null is loaded as it is.
void Load(CFBundleRef& ioBundle) {
    if (ioBundle == nullptr || CFBundleLoadExecutable(ioBundle)) return;
    CFRelease(ioBundle);
    ioBundle = nullptr;
}

// The bundle in the folder, with its executable loaded; null when any of it fails.
CFBundleRef CreateLoadedBundle(const FSRef& inFolder, CFStringRef inName) {
    const OwnedURL folderURL(CFURLCreateFromFSRef(kCFAllocatorSystemDefault, &inFolder));
    if (folderURL == nullptr) return nullptr;
    const OwnedURL bundleURL(
        CFURLCreateCopyAppendingPathComponent(kCFAllocatorSystemDefault, folderURL.get(), inName, false));
    if (bundleURL == nullptr) return nullptr;
    CFBundleRef bundle = CFBundleCreate(kCFAllocatorSystemDefault, bundleURL.get());
    Load(bundle);
    return bundle;
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

OSErr UBundle::CreateBundleFromFSSpec(const TFSSpec& inSpec, CFBundleRef* outBundle) {
    *outBundle = nullptr;
    const FSRef item = inSpec.GetFSRef();
    const OwnedURL url(CFURLCreateFromFSRef(kCFAllocatorSystemDefault, &item));
    if (url == nullptr) return fnfErr;
    *outBundle = CFBundleCreate(kCFAllocatorSystemDefault, url.get());
    return noErr;
}

OSErr UBundle::FindApplicationPackageDirectory(short* outVRefNum, long* outDirID) {
    FSSpec file;
    const OSErr error = GetAppFSSpec(&file);
    if (error != noErr) return error;
    *outVRefNum = file.vRefNum;
    // Ids have no sign, though specifications hold them with one.
    *outDirID = static_cast<long>(static_cast<UInt32>(file.parID));
    return noErr;
}

OSErr UBundle::LoadAppFolderBundle(const TCFString& inName, CFBundleRef* outBundle) {
    *outBundle = nullptr;
    short volume = 0;
    long folder = 0;
    OSErr error = FindApplicationPackageDirectory(&volume, &folder);
    if (error != noErr) return error;
    error = CreateBundleFromFSSpec(TFSSpec(volume, static_cast<unsigned long>(folder), inName), outBundle);
    if (*outBundle == nullptr) return error;
    Load(*outBundle);
    return *outBundle != nullptr ? noErr : coreFoundationUnknownErr;
}

OSErr UBundle::GetBundleVersion(char* inPath, unsigned long* outVersion) {
    if (outVersion != nullptr) *outVersion = 0;
    if (inPath == nullptr) return paramErr;
    const auto byteCount = static_cast<CFIndex>(std::strlen(inPath) + 1);
    const OwnedURL url(CFURLCreateFromFileSystemRepresentation(
        kCFAllocatorDefault, reinterpret_cast<const UInt8*>(inPath), byteCount, true));
    if (url == nullptr) return paramErr;
    const OwnedBundle bundle(CFBundleCreate(kCFAllocatorDefault, url.get()));
    if (bundle == nullptr) return paramErr;
    const UInt32 version = CFBundleGetVersionNumber(bundle.get());
    if (version == 0) return paramErr;
    if (outVersion != nullptr) *outVersion = version;
    return noErr;
}

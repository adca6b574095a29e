// Bundles of code and resources.
#pragma once

#include <foundation/MirtalExport.h>
#include <toolbox/CFBundle.h>
#include <toolbox/CFString.h>
#include <toolbox/MacTypes.h>

class TCFString;
class TFSSpec;

class MIRTAL_EXPORT UBundle {
  public:
    // A framework of the system's with its executable loaded.
    //   inFrameworkName     of its folder, as "QuickTime.framework"
    //   outBundle           the caller releases it; null on failure, whatever it held before
    //   inPrivateFramework  from the folder of private frameworks, rather than that of the public ones
    // A status of FSFindFolder's when there is no such folder; -4960 (coreFoundationUnknownErr) when the
    // folder holds no such framework or its executable cannot be loaded.
    [[nodiscard]] static OSStatus LoadFrameworkBundle(CFStringRef inFrameworkName, CFBundleRef* outBundle,
                                                      bool inPrivateFramework);

    // The bundle in a folder, with nothing loaded.
    //   outBundle  the caller releases it. Null on failure, and also when noErr is answered of what is no
    //              bundle: a file, a plain folder.
    // fnfErr when the item has no URL. Throws LException, fnfErr when the item is not there.
    [[nodiscard]] static OSErr CreateBundleFromFSSpec(const TFSSpec& inSpec, CFBundleRef* outBundle);

    // The folder that holds the running application, that is its package when it has one: what may lie beside
    // it lies there. A status of GetProcessInformation's on failure, and the arguments are untouched then.
    [[nodiscard]] static OSErr FindApplicationPackageDirectory(short* outVRefNum, long* outDirID);

    // The bundle of that name beside the running application, with its executable loaded.
    //   outBundle  the caller releases it; null on failure, and when noErr is answered of what is no bundle
    // A status of FindApplicationPackageDirectory's, of CreateBundleFromFSSpec's, or -4960
    // (coreFoundationUnknownErr) when its executable cannot be loaded. Throws LException, fnfErr when nothing
    // has the name.
    [[nodiscard]] static OSErr LoadAppFolderBundle(const TCFString& inName, CFBundleRef* outBundle);

    // The version of the bundle in the folder at a POSIX path, as CFBundleGetVersionNumber packs it.
    //   outVersion  0 on failure; may be null
    // paramErr when there is no such folder, it is no bundle, or has no version.
    [[nodiscard]] static OSErr GetBundleVersion(char* inPath, unsigned long* outVersion);
};

// Bundles of code and resources.
#pragma once

#include <foundation/MirtalExport.h>
#include <toolbox/CFBundle.h>
#include <toolbox/CFString.h>
#include <toolbox/MacTypes.h>

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
};

// Frameworks, under the name that older callers know.
#pragma once

#include <foundation/MirtalExport.h>
#include <toolbox/CFBundle.h>
#include <toolbox/CFString.h>
#include <toolbox/MacTypes.h>

class MIRTAL_EXPORT UCarbon {
  public:
    // The same as UBundle::LoadFrameworkBundle.
    [[nodiscard]] static OSStatus LoadFrameworkBundle(CFStringRef inFrameworkName, CFBundleRef* outBundle,
                                                      bool inPrivateFramework);
};

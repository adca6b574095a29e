#include <files/UBundle.h>
#include <files/UCarbon.h>

OSStatus UCarbon::LoadFrameworkBundle(CFStringRef inFrameworkName, CFBundleRef* outBundle,
                                      bool inPrivateFramework) {
    return UBundle::LoadFrameworkBundle(inFrameworkName, outBundle, inPrivateFramework);
}

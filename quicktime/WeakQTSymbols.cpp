#include <files/UBundle.h>
#include <quicktime/WeakQTSymbols.h>
#include <toolbox/CFBundle.h>
#include <toolbox/CFString.h>
#include <toolbox/MacErrors.h>

Boolean qtInited;

QTBeginUserInteractionSuppressionProcPtr _QTBeginUserInteractionSuppression;
QTEndUserInteractionSuppressionProcPtr _QTEndUserInteractionSuppression;
QTIsUserInteractionAllowedProcPtr _QTIsUserInteractionAllowed;
QTGetMoviePropertyInfoProcPtr _QTGetMoviePropertyInfo;
QTGetMoviePropertyProcPtr _QTGetMovieProperty;
QTSetMoviePropertyProcPtr _QTSetMovieProperty;
QTGetProcessPropertyInfoProcPtr _QTGetProcessPropertyInfo;
QTGetProcessPropertyProcPtr _QTGetProcessProperty;
QTSetProcessPropertyProcPtr _QTSetProcessProperty;

namespace {

template <typename Function>
void Resolve(CFBundleRef inBundle, CFStringRef inName, Function& outFunction) {
    outFunction = reinterpret_cast<Function>(CFBundleGetFunctionPointerForName(inBundle, inName));
}

}  // namespace

OSStatus LoadWeakQTSymbols() {
    if (qtInited) return noErr;

    // Never released once it was loaded: the functions live in it.
    CFBundleRef bundle = nullptr;
    OSStatus const status = UBundle::LoadFrameworkBundle(CFSTR("QuickTime.framework"), &bundle, false);
    if (status != noErr) return status;

    Resolve(bundle, CFSTR("QTBeginUserInteractionSuppression"), _QTBeginUserInteractionSuppression);
    Resolve(bundle, CFSTR("QTEndUserInteractionSuppression"), _QTEndUserInteractionSuppression);
    Resolve(bundle, CFSTR("QTIsUserInteractionAllowed"), _QTIsUserInteractionAllowed);
    Resolve(bundle, CFSTR("QTGetMoviePropertyInfo"), _QTGetMoviePropertyInfo);
    Resolve(bundle, CFSTR("QTGetMovieProperty"), _QTGetMovieProperty);
    Resolve(bundle, CFSTR("QTSetMovieProperty"), _QTSetMovieProperty);
    Resolve(bundle, CFSTR("QTGetProcessPropertyInfo"), _QTGetProcessPropertyInfo);
    Resolve(bundle, CFSTR("QTGetProcessProperty"), _QTGetProcessProperty);
    Resolve(bundle, CFSTR("QTSetProcessProperty"), _QTSetProcessProperty);
    qtInited = true;
    return noErr;
}

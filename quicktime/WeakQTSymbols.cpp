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

// Held for the life of the process, so that what was found stays mapped.
CFBundleRef sQuickTime;

template <typename Function>
void Resolve(CFBundleRef inBundle, CFStringRef inName, Function& outFunction) {
    outFunction = reinterpret_cast<Function>(CFBundleGetFunctionPointerForName(inBundle, inName));
}

}  // namespace

OSStatus LoadWeakQTSymbols() {
    if (qtInited) return noErr;

    const OSStatus status = UBundle::LoadFrameworkBundle(CFSTR("QuickTime.framework"), &sQuickTime, false);
    if (status != noErr) return status;

    Resolve(sQuickTime, CFSTR("QTBeginUserInteractionSuppression"), _QTBeginUserInteractionSuppression);
    Resolve(sQuickTime, CFSTR("QTEndUserInteractionSuppression"), _QTEndUserInteractionSuppression);
    Resolve(sQuickTime, CFSTR("QTIsUserInteractionAllowed"), _QTIsUserInteractionAllowed);
    Resolve(sQuickTime, CFSTR("QTGetMoviePropertyInfo"), _QTGetMoviePropertyInfo);
    Resolve(sQuickTime, CFSTR("QTGetMovieProperty"), _QTGetMovieProperty);
    Resolve(sQuickTime, CFSTR("QTSetMovieProperty"), _QTSetMovieProperty);
    Resolve(sQuickTime, CFSTR("QTGetProcessPropertyInfo"), _QTGetProcessPropertyInfo);
    Resolve(sQuickTime, CFSTR("QTGetProcessProperty"), _QTGetProcessProperty);
    Resolve(sQuickTime, CFSTR("QTSetProcessProperty"), _QTSetProcessProperty);
    qtInited = true;
    return noErr;
}

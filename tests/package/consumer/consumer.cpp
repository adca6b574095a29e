// Converts a file with nothing but the installed headers, and checks the promise: the length announced is the
// length delivered. Then binds what newer toolboxes have, and uses it.
#include <converter/AACToWAV.h>
#include <files/UBundle.h>
#include <quicktime/UQTInteraction.h>
#include <quicktime/WeakQTSymbols.h>
#include <toolbox/Movies.h>

#include <cstdio>

static void Count(void* inContext, void*, long inLength) {
    *static_cast<long*>(inContext) += inLength;
}

// All nine are in the framework that was installed beside the toolbox.
static bool BindsLate() {
    if (LoadWeakQTSymbols() != 0) return false;
    const bool found = _QTBeginUserInteractionSuppression && _QTEndUserInteractionSuppression &&
                       _QTIsUserInteractionAllowed && _QTGetMoviePropertyInfo && _QTGetMovieProperty &&
                       _QTSetMovieProperty && _QTGetProcessPropertyInfo && _QTGetProcessProperty &&
                       _QTSetProcessProperty;
    if (!found || !UQTInteraction::IsInteractionAllowed()) return false;
    const long token = UQTInteraction::BeginSuppress();
    const bool suppressed = !UQTInteraction::IsInteractionAllowed();
    UQTInteraction::EndSuppress(token);
    CFBundleRef bundle = nullptr;
    if (UBundle::LoadFrameworkBundle(CFSTR("QuickTime.framework"), &bundle, false) != 0) return false;
    CFRelease(bundle);
    return suppressed && UQTInteraction::IsInteractionAllowed();
}

int main(int argc, char** argv) {
    if (argc != 2) return 64;
    EnterMovies();
    const long announced = static_cast<long>(getConvertedLength(argv[1]).LongLong());
    long delivered = 0;
    convert_AAC_to_WAV(argv[1], &delivered, Count);
    ExitMovies();
    std::printf("%ld %ld\n", announced, delivered);
    const bool bound = BindsLate();
    if (!bound) std::puts("late binding failed");
    return announced > 44 && announced == delivered && bound ? 0 : 1;
}

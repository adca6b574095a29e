// Keeps the movie toolbox from asking the user.
//
// Where the toolbox lacks the functions for it, nothing is suppressed, and asking it is harmless. Nothing
// here throws. The first call looks the functions up (WeakQTSymbols.h), and so do later ones until that
// succeeds.
#pragma once

#include <foundation/MirtalExport.h>
#include <toolbox/MacTypes.h>

class MIRTAL_EXPORT UQTInteraction {
  public:
    // The token is for EndSuppress, once, with later ones ended first; 0 when nothing could be suppressed.
    [[nodiscard]] static long BeginSuppress();
    static void EndSuppress(long inToken);
    // True where it cannot be suppressed.
    static Boolean IsInteractionAllowed();
};

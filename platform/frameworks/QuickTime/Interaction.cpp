#include <toolbox/Interaction.h>
#include <toolbox/MovieProperties.h>

long QTBeginUserInteractionSuppression() {
    return BeginUserInteractionSuppression();
}

void QTEndUserInteractionSuppression(long inToken) {
    EndUserInteractionSuppression(inToken);
}

Boolean QTIsUserInteractionAllowed() {
    return IsUserInteractionAllowed();
}

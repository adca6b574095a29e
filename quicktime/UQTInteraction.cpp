#include <quicktime/StDisableQTInteraction.h>
#include <quicktime/UQTInteraction.h>
#include <quicktime/WeakQTSymbols.h>

long UQTInteraction::BeginSuppress() {
    if (!qtInited) LoadWeakQTSymbols();
    return _QTBeginUserInteractionSuppression != nullptr ? _QTBeginUserInteractionSuppression() : 0;
}

void UQTInteraction::EndSuppress(long inToken) {
    if (!qtInited) LoadWeakQTSymbols();
    if (_QTEndUserInteractionSuppression != nullptr) _QTEndUserInteractionSuppression(inToken);
}

Boolean UQTInteraction::IsInteractionAllowed() {
    if (!qtInited) LoadWeakQTSymbols();
    return _QTIsUserInteractionAllowed != nullptr ? _QTIsUserInteractionAllowed() : Boolean{true};
}

StDisableQTInteraction::StDisableQTInteraction() : mToken(UQTInteraction::BeginSuppress()) {}

StDisableQTInteraction::~StDisableQTInteraction() {
    UQTInteraction::EndSuppress(mToken);
}

// The executable of a QuickTime.framework that cannot be loaded: it needs what nobody has.
extern int gDefinedNowhere;

extern "C" __attribute__((visibility("default"))) void* QTBeginUserInteractionSuppression() {
    return &gDefinedNowhere;
}

#include <toolbox/Companions.h>

#include <atomic>

namespace {

constinit std::atomic<bool> sAreAllowed = true;

}  // namespace

void SetCompanionsAllowed(Boolean inAreAllowed) {
    sAreAllowed = inAreAllowed != 0;
}

Boolean AreCompanionsAllowed() {
    return sAreAllowed ? 1 : 0;
}

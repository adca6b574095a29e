#include "os/Mutex.h"

#include <toolbox/Interaction.h>

#include <new>
#include <vector>

namespace {

struct State {
    toolbox::os::Mutex mutex;
    long lastToken GUARDED_BY(mutex) = 0;
    std::vector<long> tokens GUARDED_BY(mutex);  // given and not ended
};

// Never destroyed: an alert may come while the program ends.
State& TheState() {
    static State& sState = *new State;
    return sState;
}

}  // namespace

long BeginUserInteractionSuppression() {
    try {
        State& state = TheState();
        const toolbox::os::MutexLock lock(state.mutex);
        state.tokens.push_back(state.lastToken + 1);
        return ++state.lastToken;
    } catch (const std::bad_alloc&) {
        return 0;
    }
}

void EndUserInteractionSuppression(long inToken) {
    State& state = TheState();
    const toolbox::os::MutexLock lock(state.mutex);
    std::erase(state.tokens, inToken);
}

Boolean IsUserInteractionAllowed() {
    State& state = TheState();
    const toolbox::os::MutexLock lock(state.mutex);
    return state.tokens.empty();
}

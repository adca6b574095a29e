#include <toolbox/Interaction.h>

#include <mutex>
#include <new>
#include <vector>

namespace {

struct State {
    std::mutex mutex;
    long lastToken = 0;
    std::vector<long> tokens;  // given and not ended
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
        const std::lock_guard lock(state.mutex);
        state.tokens.push_back(state.lastToken + 1);
        return ++state.lastToken;
    } catch (const std::bad_alloc&) {
        return 0;
    }
}

void EndUserInteractionSuppression(long inToken) {
    State& state = TheState();
    const std::lock_guard lock(state.mutex);
    std::erase(state.tokens, inToken);
}

Boolean IsUserInteractionAllowed() {
    State& state = TheState();
    const std::lock_guard lock(state.mutex);
    return state.tokens.empty();
}

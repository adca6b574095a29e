#include "Calls.h"

#include "AccessKeys.h"
#include "Alerts.h"
#include "Catalogue.h"
#include "Collation.h"
#include "Disks.h"
#include "Drawing.h"
#include "Frameworks.h"
#include "Memory.h"
#include "Movies.h"
#include "OpenForks.h"
#include "Resources.h"
#include "Script.h"
#include "System.h"
#include "Text.h"
#include "support/Countdown.h"

#include <algorithm>

namespace fakes {

namespace {

// So many that a scenario does not make the log grow: tests may count allocations.
constexpr std::size_t kLogCapacity = 1 << 14;

struct State {
    std::vector<std::string> log;
    std::vector<std::string> misuses;
    support::Countdown failure;
};

// Made on first use and never destroyed: load-time constants call the doubles before main and after it.
State& TheState() {
    static State& sState = *new State;
    return sState;
}

std::string NameOf(const std::string& inCall) {
    return inCall.substr(0, inCall.find('('));
}

}  // namespace

void StartScenario() {
    TheState() = State();
    TheState().log.reserve(kLogCapacity);
    ForgetAccessKeys();
    ForgetAlerts();
    ForgetCatalogue();
    ForgetCollation();
    ForgetDisks();
    ForgetDrawing();
    ForgetFrameworks();
    ForgetMemoryScript();
    ForgetMovies();
    ForgetOpenForks();
    ForgetResources();
    ForgetScripts();
    ForgetSystem();
    ForgetTextScript();
}

void FailCall(int inCall) {
    TheState().failure = support::Countdown(inCall);
}

bool FailureDelivered() {
    return TheState().failure.Delivered();
}

const std::vector<std::string>& CallLog() {
    return TheState().log;
}

std::vector<std::string> CallsOf(const std::vector<std::string>& inNames) {
    std::vector<std::string> calls;
    for (const std::string& call : CallLog())
        if (std::find(inNames.begin(), inNames.end(), NameOf(call)) != inNames.end())
            calls.push_back(NameOf(call));
    return calls;
}

const std::vector<std::string>& Misuses() {
    return TheState().misuses;
}

void Log(const std::string& inCall) {
    TheState().log.push_back(inCall);
}

bool LogAndFail(const std::string& inCall) {
    Log(inCall);
    return TheState().failure.IsDue();
}

void ReportMisuse(const std::string& inWhat) {
    TheState().misuses.push_back(inWhat);
}

}  // namespace fakes

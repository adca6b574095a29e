// What the toolbox doubles share: the log of calls, the call that shall fail, and misuse met on the way.
//
// The doubles are plain C++ and belong to one thread. Every scenario begins with StartScenario.
#pragma once

#include <string>
#include <vector>

namespace fakes {

// Empties the log and the misuses, withdraws every script, and lets every call succeed. What is live stays
// live.
void StartScenario();

// The inCall-th call from now on of a function that can fail (from 1) fails; the others do not. 0: none
// fails.
void FailCall(int inCall);
bool FailureDelivered();

// Calls in order, as "Name(arguments)"; of strings, only the conversions to bytes are logged.
std::vector<std::string> const& CallLog();
// The log without arguments, and only of the functions named.
std::vector<std::string> CallsOf(std::vector<std::string> const& inNames);

// What a careful toolbox would have trapped: a block disposed of twice, a locked handle resized.
std::vector<std::string> const& Misuses();

// For the doubles themselves.
void Log(std::string const& inCall);
bool LogAndFail(std::string const& inCall);  // true: answer the failure
void ReportMisuse(std::string const& inWhat);

template <typename... Arguments>
std::string CallText(char const* inName, Arguments... inArguments) {
    std::string text(inName);
    text += '(';
    char const* separator = "";
    ((text.append(separator).append(std::to_string(inArguments)), separator = ", "), ...);
    return text += ')';
}

}  // namespace fakes

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
const std::vector<std::string>& CallLog();
// The log without arguments, and only of the functions named.
std::vector<std::string> CallsOf(const std::vector<std::string>& inNames);

// What a careful toolbox would have trapped: a block disposed of twice, a locked handle resized.
const std::vector<std::string>& Misuses();

// For the doubles themselves.
void Log(const std::string& inCall);
bool LogAndFail(const std::string& inCall);  // true: answer the failure
void ReportMisuse(const std::string& inWhat);

template <typename... Arguments>
std::string CallText(const char* inName, Arguments... inArguments) {
    std::string text(inName);
    text += '(';
    const char* separator = "";
    ((text.append(separator).append(std::to_string(inArguments)), separator = ", "), ...);
    return text += ')';
}

}  // namespace fakes

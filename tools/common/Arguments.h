// A command's arguments, read by a table of its options: one place for names, help and what is refused, all
// of it in the command's own words.
//
// "--name VALUE", "--name=VALUE", "-n VALUE", "-nVALUE" and letters together ("-qr") are understood. Behind
// "--" everything is a name, and so is "-". What begins with a dash is taken as a value where one is due.
#pragma once

#include <optional>
#include <string>
#include <variant>
#include <vector>

namespace tool {

struct ArgumentOption {
    char letter;            // 0: none
    const char* name;       // without dashes
    const char* valueName;  // null for a switch
    const char* help;
    std::variant<bool*, std::optional<std::string>*> target;  // the second where there is a value
    bool endsReading = false;                                 // what follows does not matter: --help
};

// Sets the targets of the options that are given, and outNames to everything else, in order. Throws Failure
// (EX_USAGE): no such option, a value too many or missing, a value given twice.
void ReadArguments(int inArgumentCount, const char* const* inArguments,
                   const std::vector<ArgumentOption>& inOptions, std::vector<std::string>& outNames);

// A line or two for each option, in the order of the table.
std::string OptionsHelp(const std::vector<ArgumentOption>& inOptions);

// EX_USAGE, with a word on where help is.
class Failure;
Failure UsageFailure(const std::string& inReason);

}  // namespace tool

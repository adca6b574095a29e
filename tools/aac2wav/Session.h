// What one run of the command keeps from file to file.
#pragma once

#include "Options.h"
#include "Question.h"

#include <cstddef>
#include <string>

namespace tool {

struct Session {
    const Options& options;
    Question question;
    std::size_t number = 0;  // of the file in hand, from 1
    std::size_t count = 0;

    // For the progress line: "2 of 5", or nothing where there is one file.
    std::string Place() const {
        return count > 1 ? std::to_string(number) + " of " + std::to_string(count) : std::string();
    }
};

// What became of one file.
struct Ending {
    int exitCode = 0;
    bool isSkipped = false;
};

// The question was answered with "quit".
struct Quit {};

}  // namespace tool

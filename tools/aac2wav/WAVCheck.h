// What an existing file is, before it is replaced or taken for what it may be.
#pragma once

#include <string>

namespace tool {

struct WAVCheck {
    bool isEmpty = false;
    bool isWAV = false;    // it begins as a RIFF or RF64 file of waves does
    bool isWhole = false;  // and every size that it tells fits the file, sound and format among them
    bool isOurs = false;   // and it is 16-bit stereo with nothing between header and sound, as we write it
};

// Follows links. Throws Failure (EX_CANTCREAT) about inName when the file cannot be read.
WAVCheck CheckWAV(const std::string& inPath, const std::string& inName);

}  // namespace tool

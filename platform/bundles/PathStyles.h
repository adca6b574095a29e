// File system paths in other styles than POSIX. Functions may throw std::bad_alloc.
#pragma once

#include <toolbox/CFURL.h>

#include <string>
#include <string_view>

namespace toolbox::corefoundation {

// A path of a style as the POSIX path, which may be relative. False when it is empty, the style is unknown,
// or the path does not follow it.
bool POSIXPathOf(std::string_view inPath, CFURLPathStyle inStyle, std::string& outPath);

// An absolute POSIX path in a style. False when the style is unknown or cannot express it.
bool StyledPathOf(std::string_view inPOSIXPath, CFURLPathStyle inStyle, std::string& outPath);

}  // namespace toolbox::corefoundation

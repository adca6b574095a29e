// File URLs as other parts of Core Foundation make and read them. Functions may throw std::bad_alloc.
#pragma once

#include "corefoundation/Owned.h"

#include <toolbox/CFURL.h>

#include <string>
#include <string_view>

namespace toolbox::corefoundation {

// The URL of an absolute POSIX path; null when memory is short.
Owned<CFURLRef> FileURLOf(std::string_view inPath, bool inIsFolder);

// The POSIX path. False when the URL is no file's or its path holds NUL.
bool GetPOSIXPath(CFURLRef inURL, std::string& outPath);

}  // namespace toolbox::corefoundation

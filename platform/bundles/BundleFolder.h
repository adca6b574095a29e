// What a bundle's folder holds. Functions may throw std::bad_alloc.
#pragma once

#include "corefoundation/Owned.h"

#include <toolbox/CFDictionary.h>

#include <string>
#include <string_view>

namespace toolbox::corefoundation {

struct BundleContents {
    std::string folderPath;              // absolute, links followed
    Owned<CFDictionaryRef> information;  // empty when there is none; null when memory is short
    std::string executablePath;          // the same; empty when there is none
    UInt32 packageType = 0;
    UInt32 creator = 0;
};

// Reads the folder at a path. False when there is none or it is no bundle.
bool ReadBundle(const std::string& inPath, BundleContents& outContents);

// The packed form of a version's text; 0 when it has none. See CFBundleGetVersionNumber.
UInt32 PackVersion(std::string_view inText);

}  // namespace toolbox::corefoundation

// How other managers read an item of the catalogue.
#pragma once

#include <toolbox/Files.h>

#include <string>

namespace toolbox::files {

// An open descriptor for reading (close-on-exec) that the caller closes; -1 with a File Manager status on failure.
// outPath: the item's path at this moment, for messages.
OSStatus OpenForReading(const FSRef& inItem, int& outDescriptor, std::string& outPath);

}  // namespace toolbox::files

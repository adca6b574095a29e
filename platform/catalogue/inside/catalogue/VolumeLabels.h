// The labels that volumes have for people. Safe on any thread. Functions may throw std::bad_alloc.
#pragma once

#include <toolbox/MacTypes.h>

#include <string>

namespace toolbox::files {

// That of a volume on a device, as udev tells it; bytes. Empty when there is none or nobody tells.
std::string LabelOfVolume(SInt16 inVolume);

// The name of the link in a folder of labels that leads to the device of that path.
std::string LabelOfDevice(const std::string& inDevice, const std::string& inLabels);

}  // namespace toolbox::files

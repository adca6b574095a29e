// Lets a test stand in for the system under the File Manager. Replace calls only while no other thread uses
// it.
#pragma once

#include "os/FileCalls.h"

namespace toolbox::os {

// The table that Calls() answers.
FileCalls& CallsForTesting();

}  // namespace toolbox::os

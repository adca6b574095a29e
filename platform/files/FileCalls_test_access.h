// Lets a test stand in for the system under the File Manager. Replace calls only while no other thread uses
// it.
#pragma once

#include "FileCalls.h"

namespace toolbox::files {

// The table that Calls() answers.
FileCalls& CallsForTesting();

}  // namespace toolbox::files

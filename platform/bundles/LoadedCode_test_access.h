// For tests only: the calls by which bundles load code.
#pragma once

#include "LoadedCode.h"

namespace toolbox::corefoundation {

// The table that CallsOfLoading() answers. Replace entries only while no other thread loads a bundle.
LoadingCalls& LoadingCallsForTesting();

}  // namespace toolbox::corefoundation

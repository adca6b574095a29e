// A Unicode converter, over the encodings that the double of strings has, which counts what is live.
#pragma once

#include <toolbox/UnicodeConverter.h>

namespace fakes {

// Those for an encoding of which this is not true cannot be made: Mac Roman and UTF-8 are there.
int LiveConverters();

}  // namespace fakes

// What Mac Japanese has in common with Shift JIS, and what not.
#pragma once

#include "DoubleByteTables.h"

namespace toolbox::corefoundation {

const DoubleByteChanges& MacJapaneseChanges();

}  // namespace toolbox::corefoundation

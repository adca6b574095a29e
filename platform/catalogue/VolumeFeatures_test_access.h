// For tests only: the volumes as before any refusal.
#pragma once

#include "VolumeFeatures.h"

namespace toolbox::files {

void AllowExchanges() noexcept;

}  // namespace toolbox::files

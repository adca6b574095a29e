// For tests only: the system under the access keys. Replace calls only while no other thread uses the keys.
#pragma once

#include "keys/AccessKeyFile.h"

namespace toolbox::movies {

inline AccessKeyCalls& AccessKeyCallsForTesting() {
    return sAccessKeyCalls;
}

}  // namespace toolbox::movies

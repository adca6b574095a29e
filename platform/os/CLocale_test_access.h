// Lets a test see how the C locale is made for the first time. Only while no other thread asks for it.
#pragma once

#include <locale.h>

#include <atomic>

namespace toolbox::os {

extern std::atomic<locale_t> sCLocale;

// What was made before is not freed: other threads may have kept it.
inline void ForgetCLocaleForTesting() {
    sCLocale = nullptr;
}

}  // namespace toolbox::os

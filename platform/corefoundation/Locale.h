// Locales as ICU names them.
#pragma once

#include <toolbox/CFLocale.h>

namespace toolbox::corefoundation {

// The locale's identifier, NUL-terminated; empty for null and for the system's. Lives as long as the locale.
const char* IdentifierOf(CFLocaleRef inLocale);

// Whether the small letter of I has no dot in the locale's language, null being the process's locale.
bool IsTurkic(CFLocaleRef inLocale);

}  // namespace toolbox::corefoundation

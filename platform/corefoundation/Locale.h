// Locales as ICU names them.
#pragma once

#include <toolbox/CFLocale.h>

#include <unicode/uloc.h>

namespace toolbox::corefoundation {

struct LocaleName {
    char text[ULOC_FULLNAME_CAPACITY];
};

// What the environment calls its locale: LC_ALL, LC_MESSAGES or LANG, the first that is not empty; "" when
// all are. Borrowed from the environment.
const char* LocaleVariable();

// The process's locale as ICU spells it. False when memory is short.
[[nodiscard]] bool GetCurrentLocaleName(LocaleName& outName);
// The locale whose order is that of the process. One without customs (C, POSIX) has an order of its own only
// by code, which is none for people: the order common to all locales stands in for it.
[[nodiscard]] bool GetCollationLocaleName(LocaleName& outName);

// The locale's identifier, NUL-terminated; empty for null and for the system's. Lives as long as the locale.
const char* IdentifierOf(CFLocaleRef inLocale);

// Whether the small letter of I has no dot in the locale's language, null being the process's locale.
bool IsTurkic(CFLocaleRef inLocale);

}  // namespace toolbox::corefoundation

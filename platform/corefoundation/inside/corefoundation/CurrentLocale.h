// The locale of the process.
#pragma once

namespace toolbox::corefoundation {

struct LocaleName {
    char text[157];  // what the longest name in ICU's spelling takes
};

// What the environment calls its locale: LC_ALL, LC_MESSAGES or LANG, the first that is not empty; "" when
// all are. Borrowed from the environment.
const char* LocaleVariable();

// Before ICU opens anything by a locale, whichever it is: keeps it from a variable that would end the
// program.
void SpareICUTheVariable();

// The process's locale as ICU spells it, after the above. False when memory is short.
[[nodiscard]] bool GetCurrentLocaleName(LocaleName& outName);
// The locale whose order is that of the process. One without customs (C, POSIX) has an order of its own only
// by code, which is none for people: the order common to all locales stands in for it.
[[nodiscard]] bool GetCollationLocaleName(LocaleName& outName);

}  // namespace toolbox::corefoundation

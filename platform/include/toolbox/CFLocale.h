// Core Foundation locales: a language and the customs of a place, named by an identifier such as de_CH.
// Immutable, for any thread.
#pragma once

#include <toolbox/CFBase.h>

TOOLBOX_EXTERN_C_BEGIN

TOOLBOX_EXPORT CFTypeID CFLocaleGetTypeID(void);
// The locale without customs of its own, that is common to all. Borrowed, and never destroyed.
TOOLBOX_EXPORT CFLocaleRef CFLocaleGetSystem(void);
// The process's: of LC_ALL, LC_MESSAGES or LANG, the first that is not empty, at its first use. Null when
// memory is short.
TOOLBOX_MUST_USE CFLocaleRef CFLocaleCopyCurrent(void);
// By identifier, also in the form of a language tag (de-CH); any well-formed one is a locale, as its parts
// are looked up from the left. Null when the identifier is null, not ASCII or too long, or memory is short.
TOOLBOX_MUST_USE CFLocaleRef CFLocaleCreate(CFAllocatorRef inAllocator, CFStringRef inIdentifier);
// The same object with a count more. Null for null.
TOOLBOX_MUST_USE CFLocaleRef CFLocaleCreateCopy(CFAllocatorRef inAllocator, CFLocaleRef inLocale);
// In its usual spelling (de_CH), empty for the system's. Borrowed from the locale.
TOOLBOX_EXPORT CFStringRef CFLocaleGetIdentifier(CFLocaleRef inLocale);

TOOLBOX_EXTERN_C_END

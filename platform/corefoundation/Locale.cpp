#include "Locale.h"

#include "StringObject.h"
#include "UnicodeText.h"

#include <unicode/uloc.h>

#include <cstring>

namespace toolbox::corefoundation {

namespace {

struct LocaleObject {
    Object base;
    CFStringRef identifier;
    char name[ULOC_FULLNAME_CAPACITY];
};

LocaleObject* LocaleOf(CFTypeRef inLocale) {
    return static_cast<LocaleObject*>(const_cast<void*>(inLocale));
}

void FinishLocale(Object* inLocale) {
    CFRelease(LocaleOf(inLocale)->identifier);
}

bool HasSameIdentifier(CFTypeRef inOne, CFTypeRef inOther) {
    return CFEqual(LocaleOf(inOne)->identifier, LocaleOf(inOther)->identifier);
}

CFHashCode HashIdentifier(CFTypeRef inLocale) {
    return CFHash(LocaleOf(inLocale)->identifier);
}

constexpr TypeInfo kLocaleType = {kLocaleTypeID,     FinishLocale,   "CFLocale",
                                  HasSameIdentifier, HashIdentifier, nullptr};

CFLocaleRef NewLocale(const char* inName) {
    CFStringRef identifier = CFStringCreateWithCString(nullptr, inName, kCFStringEncodingASCII);
    if (identifier == nullptr) return nullptr;
    auto* locale = static_cast<LocaleObject*>(NewObject(kLocaleType, sizeof(LocaleObject)));
    if (locale == nullptr) {
        CFRelease(identifier);
        return nullptr;
    }
    locale->identifier = identifier;
    std::memcpy(locale->name, inName, std::strlen(inName) + 1);
    return reinterpret_cast<CFLocaleRef>(locale);
}

}  // namespace

const char* IdentifierOf(CFLocaleRef inLocale) {
    return inLocale == nullptr ? "" : LocaleOf(inLocale)->name;
}

bool IsTurkic(CFLocaleRef inLocale) {
    char language[ULOC_LANG_CAPACITY] = {};
    UErrorCode status = StartStatus();
    uloc_getLanguage(inLocale == nullptr ? uloc_getDefault() : IdentifierOf(inLocale), language,
                     sizeof language, &status);
    return U_SUCCESS(status) && (std::strcmp(language, "tr") == 0 || std::strcmp(language, "az") == 0);
}

}  // namespace toolbox::corefoundation

using namespace toolbox::corefoundation;

CFTypeID CFLocaleGetTypeID() {
    return kLocaleTypeID;
}

CFLocaleRef CFLocaleGetSystem() {
    // So many counts that no mistake of a caller brings it to none.
    static LocaleObject sSystem = {{&kLocaleType, std::numeric_limits<SInt64>::max() / 2}, CFSTR(""), ""};
    return reinterpret_cast<CFLocaleRef>(&sSystem);
}

CFLocaleRef CFLocaleCopyCurrent() {
    return NewLocale(uloc_getDefault());
}

CFLocaleRef CFLocaleCreate(CFAllocatorRef, CFStringRef inIdentifier) {
    char given[ULOC_FULLNAME_CAPACITY];
    if (inIdentifier == nullptr ||
        !CFStringGetCString(inIdentifier, given, sizeof given, kCFStringEncodingASCII)) {
        return nullptr;
    }
    char name[ULOC_FULLNAME_CAPACITY];
    UErrorCode status = StartStatus();
    const int32_t length = uloc_getName(given, name, sizeof name, &status);
    if (U_FAILURE(status) || length >= ULOC_FULLNAME_CAPACITY) return nullptr;
    return NewLocale(name);
}

CFLocaleRef CFLocaleCreateCopy(CFAllocatorRef, CFLocaleRef inLocale) {
    return inLocale == nullptr ? nullptr : static_cast<CFLocaleRef>(CFRetain(inLocale));
}

CFStringRef CFLocaleGetIdentifier(CFLocaleRef inLocale) {
    return LocaleOf(inLocale)->identifier;
}

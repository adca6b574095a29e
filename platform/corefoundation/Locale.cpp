#include "Locale.h"

#include "StringObject.h"
#include "UnicodeText.h"
#include "os/SystemCalls.h"

#include <corefoundation/CurrentLocale.h>
#include <unicode/uloc.h>

#include <cstring>
#include <string_view>

namespace toolbox::corefoundation {

namespace {

static_assert(sizeof(LocaleName) == ULOC_FULLNAME_CAPACITY);

struct LocaleObject {
    Object base;
    CFStringRef identifier;
    LocaleName name;
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

CFLocaleRef NewLocale(const LocaleName& inName) {
    CFStringRef identifier = CFStringCreateWithCString(nullptr, inName.text, kCFStringEncodingASCII);
    if (identifier == nullptr) return nullptr;
    auto* locale = static_cast<LocaleObject*>(NewObject(kLocaleType, sizeof(LocaleObject)));
    if (locale == nullptr) {
        CFRelease(identifier);
        return nullptr;
    }
    locale->identifier = identifier;
    locale->name = inName;
    return reinterpret_cast<CFLocaleRef>(locale);
}

using Spelling = int32_t(const char*, char*, int32_t, UErrorCode*);

UErrorCode Spell(Spelling* inSpelling, const char* inName, LocaleName& outName) {
    UErrorCode status = StartStatus();
    const int32_t length = inSpelling(inName, outName.text, sizeof outName.text, &status);
    return U_SUCCESS(status) && length >= ULOC_FULLNAME_CAPACITY ? U_BUFFER_OVERFLOW_ERROR : status;
}

const char* NameForICU(const char* inVariable) {
    const std::string_view variable = inVariable;
    const std::string_view place = variable.substr(0, variable.find_first_of(".@"));
    const bool hasCustoms = !place.empty() && place != "C" && place != "POSIX";
    return hasCustoms ? inVariable : "en_US_POSIX";
}

// Whether the variable names a language of 12 letters or more, or is longer than names may be.
bool IsBeyondICU(std::string_view inVariable) {
    return inVariable.substr(0, inVariable.find_first_of("_-.@")).size() >= ULOC_LANG_CAPACITY ||
           inVariable.size() >= ULOC_FULLNAME_CAPACITY;
}

}  // namespace

const char* IdentifierOf(CFLocaleRef inLocale) {
    return inLocale == nullptr ? "" : LocaleOf(inLocale)->name.text;
}

const char* LocaleVariable() {
    for (const char* const name : {"LC_ALL", "LC_MESSAGES", "LANG"}) {
        const char* const value = os::Calls().getenv(name);
        if (value != nullptr && *value != '\0') return value;
    }
    return "";
}

// ICU 76 looks for its default whatever it opens, and ends the program when the variable is beyond it. So it
// gets one before; one that the host gave it goes, because asking for that is looking for it.
void SpareICUTheVariable() {
    if (!IsBeyondICU(LocaleVariable())) return;
    UErrorCode status = U_ZERO_ERROR;
    uloc_setDefault("", &status);
}

bool GetCurrentLocaleName(LocaleName& outName) {
    outName.text[0] = '\0';
    SpareICUTheVariable();
    if (IsBeyondICU(LocaleVariable())) return true;
    const std::string_view known = uloc_getDefault();
    UErrorCode status = U_ZERO_ERROR;
    if (known.empty()) {
        // ICU takes a variable that is set but empty for one that names no locale.
        status = Spell(uloc_canonicalize, NameForICU(LocaleVariable()), outName);
        if (status == U_MEMORY_ALLOCATION_ERROR) return false;
    } else if (known.size() < sizeof outName.text) {
        outName.text[known.copy(outName.text, known.size())] = '\0';
    } else {
        status = U_BUFFER_OVERFLOW_ERROR;
    }
    if (U_FAILURE(status)) outName.text[0] = '\0';
    return true;
}

bool GetCollationLocaleName(LocaleName& outName) {
    if (!GetCurrentLocaleName(outName)) return false;
    // ICU's en_US_POSIX has an order of its own, of ASCII by its codes; what is meant is the order common to
    // all, the root's.
    if (std::strstr(outName.text, "POSIX") != nullptr) outName.text[0] = '\0';
    return true;
}

bool IsTurkic(CFLocaleRef inLocale) {
    LocaleName current;
    if (inLocale == nullptr && !GetCurrentLocaleName(current)) return false;
    char language[ULOC_LANG_CAPACITY] = {};
    UErrorCode status = StartStatus();
    uloc_getLanguage(inLocale == nullptr ? current.text : IdentifierOf(inLocale), language, sizeof language,
                     &status);
    return U_SUCCESS(status) && (std::strcmp(language, "tr") == 0 || std::strcmp(language, "az") == 0);
}

}  // namespace toolbox::corefoundation

using namespace toolbox::corefoundation;

CFTypeID CFLocaleGetTypeID() {
    return kLocaleTypeID;
}

CFLocaleRef CFLocaleGetSystem() {
    // So many counts that no mistake of a caller brings it to none.
    static LocaleObject sSystem = {{&kLocaleType, std::numeric_limits<SInt64>::max() / 2}, CFSTR(""), {}};
    return reinterpret_cast<CFLocaleRef>(&sSystem);
}

CFLocaleRef CFLocaleCopyCurrent() {
    LocaleName name;
    return GetCurrentLocaleName(name) ? NewLocale(name) : nullptr;
}

CFLocaleRef CFLocaleCreate(CFAllocatorRef, CFStringRef inIdentifier) {
    char given[ULOC_FULLNAME_CAPACITY];
    if (inIdentifier == nullptr ||
        !CFStringGetCString(inIdentifier, given, sizeof given, kCFStringEncodingASCII))
        return nullptr;
    LocaleName name;
    return U_SUCCESS(Spell(uloc_getName, given, name)) ? NewLocale(name) : nullptr;
}

CFLocaleRef CFLocaleCreateCopy(CFAllocatorRef, CFLocaleRef inLocale) {
    return inLocale == nullptr ? nullptr : static_cast<CFLocaleRef>(CFRetain(inLocale));
}

CFStringRef CFLocaleGetIdentifier(CFLocaleRef inLocale) {
    return LocaleOf(inLocale)->identifier;
}

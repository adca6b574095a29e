#include "Locale.h"
#include "StringObject.h"
#include "UnicodeText.h"
#include "corefoundation/CurrentLocale.h"

#include <toolbox/CFDateFormatter.h>
#include <unicode/udat.h>

#include <cmath>

namespace toolbox::corefoundation {

namespace {

struct DateFormatterObject {
    Object base;
    CFLocaleRef locale;
    CFDateFormatterStyle dateStyle;
    CFDateFormatterStyle timeStyle;
    UDateFormat* format;  // null when nothing is to be written
    CFStringRef pattern;
};

DateFormatterObject& FormatterOf(CFDateFormatterRef inFormatter) {
    return *reinterpret_cast<DateFormatterObject*>(inFormatter);
}

void FinishFormatter(Object* inFormatter) {
    auto* formatter = reinterpret_cast<DateFormatterObject*>(inFormatter);
    if (formatter->format != nullptr) udat_close(formatter->format);
    if (formatter->pattern != nullptr) CFRelease(formatter->pattern);
    if (formatter->locale != nullptr) CFRelease(formatter->locale);
}

constexpr TypeInfo kDateFormatterType = {
    kDateFormatterTypeID, FinishFormatter, "CFDateFormatter", nullptr, nullptr, nullptr};

bool IsStyle(CFDateFormatterStyle inStyle) {
    return inStyle >= kCFDateFormatterNoStyle && inStyle <= kCFDateFormatterFullStyle;
}

UDateFormatStyle ICUStyle(CFDateFormatterStyle inStyle) {
    constexpr UDateFormatStyle kStyles[] = {UDAT_NONE, UDAT_SHORT, UDAT_MEDIUM, UDAT_LONG, UDAT_FULL};
    return kStyles[inStyle];
}

CFStringRef CopyPattern(const UDateFormat* inFormat) {
    UnitArray pattern;
    if (!WriteText(pattern, [inFormat](UChar* outUnits, int32_t inCapacity, UErrorCode* ioStatus) {
            return udat_toPattern(inFormat, false, outUnits, inCapacity, ioStatus);
        })) {
        return nullptr;
    }
    return NewStringOf(pattern.Data(), pattern.Count());
}

bool OpenByStyles(DateFormatterObject& ioFormatter) {
    if (ioFormatter.dateStyle == kCFDateFormatterNoStyle &&
        ioFormatter.timeStyle == kCFDateFormatterNoStyle) {
        ioFormatter.pattern = CFSTR("");
        return true;
    }
    SpareICUTheVariable();
    UErrorCode status = StartStatus();
    // The time's style comes first.
    ioFormatter.format = udat_open(ICUStyle(ioFormatter.timeStyle), ICUStyle(ioFormatter.dateStyle),
                                   IdentifierOf(ioFormatter.locale), nullptr, 0, nullptr, 0, &status);
    if (U_FAILURE(status)) return false;
    ioFormatter.pattern = CopyPattern(ioFormatter.format);
    return ioFormatter.pattern != nullptr;
}

}  // namespace

}  // namespace toolbox::corefoundation

using namespace toolbox::corefoundation;

CFTypeID CFDateFormatterGetTypeID() {
    return kDateFormatterTypeID;
}

CFDateFormatterRef CFDateFormatterCreate(CFAllocatorRef, CFLocaleRef inLocale,
                                         CFDateFormatterStyle inDateStyle, CFDateFormatterStyle inTimeStyle) {
    if (!IsStyle(inDateStyle) || !IsStyle(inTimeStyle)) return nullptr;
    auto* formatter =
        static_cast<DateFormatterObject*>(NewObject(kDateFormatterType, sizeof(DateFormatterObject)));
    if (formatter == nullptr) return nullptr;
    formatter->locale = inLocale == nullptr ? CFLocaleCopyCurrent() : CFLocaleCreateCopy(nullptr, inLocale);
    formatter->dateStyle = inDateStyle;
    formatter->timeStyle = inTimeStyle;
    formatter->format = nullptr;
    formatter->pattern = nullptr;
    if (formatter->locale != nullptr && OpenByStyles(*formatter))
        return reinterpret_cast<CFDateFormatterRef>(formatter);
    CFRelease(formatter);
    return nullptr;
}

CFLocaleRef CFDateFormatterGetLocale(CFDateFormatterRef inFormatter) {
    return FormatterOf(inFormatter).locale;
}

CFDateFormatterStyle CFDateFormatterGetDateStyle(CFDateFormatterRef inFormatter) {
    return FormatterOf(inFormatter).dateStyle;
}

CFDateFormatterStyle CFDateFormatterGetTimeStyle(CFDateFormatterRef inFormatter) {
    return FormatterOf(inFormatter).timeStyle;
}

CFStringRef CFDateFormatterGetFormat(CFDateFormatterRef inFormatter) {
    return FormatterOf(inFormatter).pattern;
}

void CFDateFormatterSetFormat(CFDateFormatterRef ioFormatter, CFStringRef inFormat) {
    if (inFormat == nullptr || !FitsICU(CFStringGetLength(inFormat))) return;
    DateFormatterObject& formatter = FormatterOf(ioFormatter);
    CFStringRef pattern = CFStringCreateCopy(nullptr, inFormat);
    if (pattern == nullptr) return;
    const StringObject& text = ObjectOf(pattern);
    SpareICUTheVariable();
    UErrorCode status = StartStatus();
    UDateFormat* format = udat_open(UDAT_PATTERN, UDAT_PATTERN, IdentifierOf(formatter.locale), nullptr, 0,
                                    ICUUnits(text.characters), static_cast<int32_t>(text.length), &status);
    if (U_FAILURE(status)) {
        CFRelease(pattern);
        return;
    }
    if (formatter.format != nullptr) udat_close(formatter.format);
    CFRelease(formatter.pattern);
    formatter.format = format;
    formatter.pattern = pattern;
}

CFStringRef CFDateFormatterCreateStringWithAbsoluteTime(CFAllocatorRef, CFDateFormatterRef inFormatter,
                                                        CFAbsoluteTime inTime) {
    if (!std::isfinite(inTime)) return nullptr;
    const UDateFormat* format = FormatterOf(inFormatter).format;
    if (format == nullptr) return CFSTR("");
    const UDate milliseconds = (inTime + kCFAbsoluteTimeIntervalSince1970) * 1000;
    UnitArray text;
    if (!WriteText(text, [format, milliseconds](UChar* outUnits, int32_t inCapacity, UErrorCode* ioStatus) {
            return udat_format(format, milliseconds, outUnits, inCapacity, nullptr, ioStatus);
        })) {
        return nullptr;
    }
    return NewStringOf(text.Data(), text.Count());
}

CFStringRef CFDateFormatterCreateStringWithDate(CFAllocatorRef inAllocator, CFDateFormatterRef inFormatter,
                                                CFDateRef inDate) {
    if (inDate == nullptr) return nullptr;
    return CFDateFormatterCreateStringWithAbsoluteTime(inAllocator, inFormatter,
                                                       CFDateGetAbsoluteTime(inDate));
}

#include "FormatWriter.h"

#include "StringObject.h"
#include "os/CLocale.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <limits>

namespace toolbox::corefoundation {

namespace {

class Writer {
  public:
    Writer(const Argument* inArguments, UnitArray& outText) : mArguments(inArguments), mText(outText) {}

    bool Write(const Directive& inDirective) {
        mDirective = inDirective;
        mWidth = AmountOf(inDirective.width);
        mPrecision = AmountOf(inDirective.precision);
        if (inDirective.width.argument != 0 && mWidth < 0) {
            mDirective.isLeft = true;
            mWidth =
                mWidth == std::numeric_limits<SInt32>::min() ? std::numeric_limits<SInt32>::max() : -mWidth;
        }
        switch (inDirective.conversion) {
            case '%':
                return mText.Append('%');
            case '@':
                return WriteObject();
            case 'c':
            case 'C':
                return WriteCharacter();
            case 's':
                return WriteCString();
            case 'S':
                return WriteUnits();
            case 'P':
                return WritePascalString();
            case 'p':
                return WritePointer();
            case 'd':
            case 'D':
            case 'i':
                return WriteNumber("jd", intmax_t{SignedValue()});
            case 'u':
            case 'U':
                return WriteNumber("ju", uintmax_t{UnsignedValue()});
            case 'o':
            case 'O':
                return WriteNumber("jo", uintmax_t{UnsignedValue()});
            case 'x':
                return WriteNumber("jx", uintmax_t{UnsignedValue()});
            case 'X':
                return WriteNumber("jX", uintmax_t{UnsignedValue()});
            default:
                return WriteFloating();
        }
    }

  private:
    const Argument& Value() const { return mArguments[mDirective.argument - 1]; }

    SInt32 AmountOf(const Amount& inAmount) const {
        return inAmount.argument == 0 ? inAmount.value
                                      : static_cast<SInt32>(mArguments[inAmount.argument - 1].integer);
    }

    long SignedValue() const {
        const long value = Value().integer;
        if (mDirective.length == LengthModifier::kChar) return static_cast<signed char>(value);
        return mDirective.length == LengthModifier::kShort ? static_cast<short>(value) : value;
    }

    unsigned long UnsignedValue() const {
        const auto value = static_cast<unsigned long>(Value().integer);
        switch (mDirective.length) {
            case LengthModifier::kChar:
                return static_cast<unsigned char>(value);
            case LengthModifier::kShort:
                return static_cast<unsigned short>(value);
            case LengthModifier::kLong:
                return value;
            default:
                return static_cast<unsigned int>(value);
        }
    }

    // Text cut at the precision and filled up to the width.
    bool WriteText(const UniChar* inUnits, CFIndex inCount) {
        CFIndex count = inCount;
        if (mPrecision >= 0 && mPrecision < count) {
            count = mPrecision;
            const bool isSplit =
                count > 0 && (inUnits[count - 1] & 0xFC00) == 0xD800 && (inUnits[count] & 0xFC00) == 0xDC00;
            if (isSplit) --count;
        }
        const CFIndex missing = mWidth > count ? mWidth - count : 0;
        return (mDirective.isLeft || mText.AppendCopies(' ', missing)) && mText.Append(inUnits, count) &&
               (!mDirective.isLeft || mText.AppendCopies(' ', missing));
    }

    bool WriteString(CFStringRef inString) {
        const StringObject& string = ObjectOf(inString);
        return WriteText(string.characters, string.length);
    }

    // A string that was made for this.
    bool WriteMade(CFStringRef inString) {
        if (inString == nullptr) return false;
        const bool isDone = WriteString(inString);
        CFRelease(inString);
        return isDone;
    }

    bool WriteNull() { return WriteString(CFSTR("(null)")); }

    bool WriteObject() {
        const void* object = Value().pointer;
        if (object == nullptr) return WriteNull();
        return CFGetTypeID(object) == kStringTypeID ? WriteString(static_cast<CFStringRef>(object))
                                                    : WriteMade(CFCopyDescription(object));
    }

    bool WriteBytes(const void* inBytes, CFIndex inCount) {
        return WriteMade(CFStringCreateWithBytes(nullptr, static_cast<const UInt8*>(inBytes), inCount,
                                                 CFStringGetSystemEncoding(), false));
    }

    bool WriteCharacter() {
        mPrecision = -1;
        if (mDirective.conversion == 'C') {
            const auto unit = static_cast<UniChar>(Value().integer);
            return WriteText(&unit, 1);
        }
        const auto byte = static_cast<UInt8>(Value().integer);
        return WriteBytes(&byte, 1);
    }

    // In the system encoding a byte is a character, so that no more of them are read than the precision
    // allows: nothing else may end the text.
    bool WriteCString() {
        const auto* text = static_cast<const char*>(Value().pointer);
        if (text == nullptr) return WriteNull();
        const std::size_t count =
            mPrecision < 0 ? std::strlen(text) : strnlen(text, static_cast<std::size_t>(mPrecision));
        return WriteBytes(text, static_cast<CFIndex>(count));
    }

    bool WritePascalString() {
        const auto* text = static_cast<const UInt8*>(Value().pointer);
        return text == nullptr ? WriteNull() : WriteBytes(text + 1, text[0]);
    }

    bool WriteUnits() {
        const auto* units = static_cast<const UniChar*>(Value().pointer);
        if (units == nullptr) return WriteNull();
        CFIndex count = 0;
        while ((mPrecision < 0 || count < mPrecision) && units[count] != 0)
            ++count;
        return WriteText(units, count);
    }

    bool WritePointer() {
        char digits[24];
        const int count =
            std::snprintf(digits, sizeof digits, "0x%lx",
                          static_cast<unsigned long>(reinterpret_cast<std::uintptr_t>(Value().pointer)));
        UniChar units[sizeof digits];
        std::copy_n(digits, count, units);
        mPrecision = -1;
        return WriteText(units, count);
    }

    bool WriteFloating() {
        const char conversion[] = {mDirective.conversion, 0};
        if (mDirective.length != LengthModifier::kLongDouble) return WriteNumber(conversion, Value().number);
        const char longConversion[] = {'L', mDirective.conversion, 0};
        return WriteNumber(longConversion, Value().longNumber);
    }

    // By the C library, which knows all about numbers; with a point and without grouping.
    template <typename Number>
    bool WriteNumber(const char* inConversion, Number inNumber) {
        char directive[16];
        char* end = directive;
        *end++ = '%';
        if (mDirective.isLeft) *end++ = '-';
        if (mDirective.hasSign) *end++ = '+';
        if (mDirective.hasSpace) *end++ = ' ';
        if (mDirective.isAlternate) *end++ = '#';
        if (mDirective.hasZeros) *end++ = '0';
        end = stpcpy(stpcpy(end, "*.*"), inConversion);
        const int width = std::max<SInt32>(mWidth, 0);
        SystemArray<char, 256> bytes;
        const os::CLocaleOnThread locale;
        if (!locale.IsSet()) return false;
        int count = std::snprintf(bytes.Data(), static_cast<std::size_t>(bytes.Capacity()), directive, width,
                                  mPrecision, inNumber);
        if (count >= bytes.Capacity()) {
            if (!bytes.Reserve(CFIndex{count} + 1)) return false;
            count = std::snprintf(bytes.Data(), static_cast<std::size_t>(bytes.Capacity()), directive, width,
                                  mPrecision, inNumber);
        }
        if (count < 0 || !mText.Reserve(mText.Count() + count)) return false;
        std::copy_n(bytes.Data(), count, mText.Data() + mText.Count());
        mText.SetCount(mText.Count() + count);
        return true;
    }

    const Argument* mArguments;
    UnitArray& mText;
    Directive mDirective{};
    SInt32 mWidth = 0;      // -1: none
    SInt32 mPrecision = 0;  // negative: none
};

}  // namespace

bool WriteFormat(const UniChar* inUnits, CFIndex inLength, const Format& inFormat,
                 const Argument* inArguments, UnitArray& outText) {
    Writer writer(inArguments, outText);
    CFIndex position = 0;
    for (CFIndex i = 0; i < inFormat.directives.Count(); ++i) {
        const Directive& directive = inFormat.directives[i];
        if (!outText.Append(inUnits + position, directive.start - position) || !writer.Write(directive))
            return false;
        position = directive.end;
    }
    return outText.Append(inUnits + position, inLength - position);
}

}  // namespace toolbox::corefoundation

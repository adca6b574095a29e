#include "FormatDirectives.h"

#include <string_view>

namespace toolbox::corefoundation {

namespace {

// Arguments that a directive can name: its own, its width's and its precision's.
constexpr CFIndex kMaxArgumentsOfOne = 3;

static_assert(sizeof(long) == sizeof(long long) && sizeof(long) == sizeof(std::size_t) &&
                  sizeof(long) == sizeof(std::ptrdiff_t) && sizeof(long) == sizeof(std::intmax_t),
              "every integer longer than an int is passed as a long");

bool IsOneOf(char inCharacter, std::string_view inCharacters) {
    return inCharacter != 0 && inCharacters.find(inCharacter) != std::string_view::npos;
}

ArgumentType TypeOfArgument(const Directive& inDirective) {
    if (IsOneOf(inDirective.conversion, "@sSPp")) return ArgumentType::kPointer;
    if (IsOneOf(inDirective.conversion, "fFeEgGaA")) {
        return inDirective.length == LengthModifier::kLongDouble ? ArgumentType::kLongDouble
                                                                 : ArgumentType::kDouble;
    }
    return inDirective.length == LengthModifier::kLong && !IsOneOf(inDirective.conversion, "cC")
               ? ArgumentType::kLong
               : ArgumentType::kInt;
}

class Parser {
  public:
    Parser(const UniChar* inUnits, CFIndex inLength, Format& outFormat)
        : mUnits(inUnits), mLength(inLength), mFormat(outFormat) {}

    bool Parse() {
        for (CFIndex start = 0; start < mLength; ++start) {
            if (mUnits[start] != '%') continue;
            mPosition = start + 1;
            const CFIndex nextArgument = mNextArgument;
            Directive directive{};
            directive.start = start;
            if (!ParseDirective(directive)) {
                mNextArgument = nextArgument;
                continue;
            }
            directive.end = mPosition;
            if (!mFormat.directives.Append(directive)) return false;
            start = mPosition - 1;
        }
        return FindArgumentTypes();
    }

  private:
    // The next character, if it is ASCII; else 0, which is no part of a directive.
    char Peek() const {
        return mPosition < mLength && mUnits[mPosition] < 0x80 ? static_cast<char>(mUnits[mPosition]) : '\0';
    }

    bool Take(char inCharacter) {
        if (Peek() != inCharacter) return false;
        ++mPosition;
        return true;
    }

    // False when there is a number beyond 32 bits; -1 when there is none.
    bool TakeNumber(SInt32& outNumber) {
        SInt64 number = 0;
        const CFIndex start = mPosition;
        for (; Peek() >= '0' && Peek() <= '9'; ++mPosition) {
            number = number * 10 + (Peek() - '0');
            if (number > std::numeric_limits<SInt32>::max()) return false;
        }
        outNumber = mPosition == start ? -1 : static_cast<SInt32>(number);
        return true;
    }

    // n$, with n from 1; 0 where there is none.
    bool TakeArgumentNumber(CFIndex& outArgument) {
        const CFIndex start = mPosition;
        SInt32 number;
        if (!TakeNumber(number)) return false;
        if (number < 0 || !Take('$')) {
            mPosition = start;
            outArgument = 0;
            return true;
        }
        outArgument = number;
        return number > 0;
    }

    bool TakeAmount(Amount& outAmount) {
        if (!Take('*')) return TakeNumber(outAmount.value);
        if (!TakeArgumentNumber(outAmount.argument)) return false;
        if (outAmount.argument == 0) outAmount.argument = mNextArgument++;
        return true;
    }

    void TakeFlags(Directive& ioDirective) {
        for (;; ++mPosition) {
            switch (Peek()) {
                case '-':
                    ioDirective.isLeft = true;
                    break;
                case '+':
                    ioDirective.hasSign = true;
                    break;
                case ' ':
                    ioDirective.hasSpace = true;
                    break;
                case '#':
                    ioDirective.isAlternate = true;
                    break;
                case '0':
                    ioDirective.hasZeros = true;
                    break;
                case '\'':
                    break;
                default:
                    return;
            }
        }
    }

    LengthModifier TakeLength() {
        if (Take('h')) return Take('h') ? LengthModifier::kChar : LengthModifier::kShort;
        if (Take('l')) {
            Take('l');
            return LengthModifier::kLong;
        }
        if (IsOneOf(Peek(), "qjzt")) {
            ++mPosition;
            return LengthModifier::kLong;
        }
        return Take('L') ? LengthModifier::kLongDouble : LengthModifier::kNone;
    }

    bool TakeConversion(Directive& ioDirective) {
        ioDirective.conversion = Peek();
        if (!IsOneOf(ioDirective.conversion, "@dDiuUoOxXfFeEgGaAcCsSPp%")) return false;
        ++mPosition;
        const bool isInteger = IsOneOf(ioDirective.conversion, "dDiuUoOxX");
        // As the C library has it; else the argument would be taken for an int.
        if (isInteger && ioDirective.length == LengthModifier::kLongDouble)
            ioDirective.length = LengthModifier::kLong;
        if (ioDirective.length == LengthModifier::kLong) {
            if (ioDirective.conversion == 'c') ioDirective.conversion = 'C';
            if (ioDirective.conversion == 's') ioDirective.conversion = 'S';
        }
        return true;
    }

    bool ParseDirective(Directive& ioDirective) {
        if (!TakeArgumentNumber(ioDirective.argument)) return false;
        TakeFlags(ioDirective);
        if (!TakeAmount(ioDirective.width)) return false;
        if (Take('.')) {
            if (!TakeAmount(ioDirective.precision)) return false;
            // A point alone is a precision of 0.
            if (ioDirective.precision.value < 0) ioDirective.precision.value = 0;
        }
        ioDirective.length = TakeLength();
        if (!TakeConversion(ioDirective)) return false;
        if (ioDirective.conversion == '%')
            ioDirective.argument = 0;
        else if (ioDirective.argument == 0)
            ioDirective.argument = mNextArgument++;
        return true;
    }

    // Only arguments whose number some directives can fill up to are real: others leave one out.
    bool SetType(CFIndex inArgument, ArgumentType inType) {
        auto& arguments = mFormat.arguments;
        if (inArgument == 0) return true;
        if (inArgument > mFormat.directives.Count() * kMaxArgumentsOfOne) return false;
        if (inArgument > arguments.Count() &&
            !arguments.AppendCopies(ArgumentType::kNone, inArgument - arguments.Count()))
            return false;
        ArgumentType& type = arguments[inArgument - 1];
        if (type != ArgumentType::kNone && type != inType) return false;
        type = inType;
        return true;
    }

    bool FindArgumentTypes() {
        for (CFIndex i = 0; i < mFormat.directives.Count(); ++i) {
            const Directive& directive = mFormat.directives[i];
            if (!SetType(directive.width.argument, ArgumentType::kInt) ||
                !SetType(directive.precision.argument, ArgumentType::kInt) ||
                !SetType(directive.argument, TypeOfArgument(directive)))
                return false;
        }
        for (CFIndex i = 0; i < mFormat.arguments.Count(); ++i) {
            if (mFormat.arguments[i] == ArgumentType::kNone) return false;
        }
        return true;
    }

    const UniChar* mUnits;
    const CFIndex mLength;
    Format& mFormat;
    CFIndex mPosition = 0;
    CFIndex mNextArgument = 1;
};

}  // namespace

bool ParseFormat(const UniChar* inUnits, CFIndex inLength, Format& outFormat) {
    return Parser(inUnits, inLength, outFormat).Parse();
}

}  // namespace toolbox::corefoundation

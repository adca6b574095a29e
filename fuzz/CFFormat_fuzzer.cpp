// Formats from foreign text, written with arguments of the types that they ask for: what is no directive is
// copied, widths are kept, and the same arguments give the same text again.
#include <corefoundation/CF_test_access.h>
#include <corefoundation/FormatDirectives.h>
#include <corefoundation/FormatWriter.h>
#include <toolbox/CFString.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string_view>
#include <vector>

namespace cf = toolbox::corefoundation;

namespace {

constexpr SInt32 kMaxDigits = 2000;  // wider ones take time and memory, and no other way

void Check(bool inHolds, int inLine = __builtin_LINE()) {
    if (inHolds) return;
    std::fprintf(stderr, "%s:%d: does not hold\n", __FILE__, inLine);
    std::abort();
}

bool IsModest(const cf::Format& inFormat) {
    for (CFIndex i = 0; i < inFormat.directives.Count(); ++i) {
        const cf::Directive& directive = inFormat.directives[i];
        if (directive.width.value > kMaxDigits || directive.precision.value > kMaxDigits) return false;
    }
    return inFormat.directives.Count() <= 100;
}

// In order, not overlapping, and each argument that they name is there.
void CheckDirectives(const std::vector<UniChar>& inUnits, const cf::Format& inFormat) {
    CFIndex position = 0;
    const auto check = [&inFormat](CFIndex inArgument) {
        Check(inArgument >= 0 && inArgument <= inFormat.arguments.Count());
    };
    for (CFIndex i = 0; i < inFormat.directives.Count(); ++i) {
        const cf::Directive& directive = inFormat.directives[i];
        Check(directive.start >= position && directive.end > directive.start);
        Check(directive.end <= static_cast<CFIndex>(inUnits.size()));
        Check(inUnits[static_cast<std::size_t>(directive.start)] == '%');
        position = directive.end;
        check(directive.argument);
        check(directive.width.argument);
        check(directive.precision.argument);
    }
    for (CFIndex i = 0; i < inFormat.arguments.Count(); ++i)
        Check(inFormat.arguments[i] != cf::ArgumentType::kNone);
}

// What a pointer must point to, by the conversions that take it; false when they do not agree.
bool FindKind(const cf::Format& inFormat, CFIndex inArgument, char& outConversion) {
    outConversion = 'p';
    for (CFIndex i = 0; i < inFormat.directives.Count(); ++i) {
        const cf::Directive& directive = inFormat.directives[i];
        if (directive.argument != inArgument || directive.conversion == 'p') continue;
        if (outConversion != 'p' && outConversion != directive.conversion) return false;
        outConversion = directive.conversion;
    }
    return true;
}

const void* PointerFor(char inConversion, CFStringRef inObject) {
    switch (inConversion) {
        case '@':
            return inObject;
        case 's':
            return "bytes \x8E";
        case 'S':
            return u"units \U0001D11E";
        case 'P':
            return "\x05pascal";
        default:
            return nullptr;
    }
}

bool MakeArguments(const cf::Format& inFormat, CFStringRef inObject,
                   std::vector<cf::Argument>& outArguments) {
    for (CFIndex i = 0; i < inFormat.arguments.Count(); ++i) {
        cf::Argument argument{};
        char conversion = 0;
        switch (inFormat.arguments[i]) {
            case cf::ArgumentType::kInt:
                argument.integer = static_cast<int>(i * 37 % 256 - 100);
                break;
            case cf::ArgumentType::kLong:
                argument.integer = i * 0x123456789ABL;
                break;
            case cf::ArgumentType::kDouble:
                argument.number = static_cast<double>(i) * -1.25e10;
                break;
            case cf::ArgumentType::kLongDouble:
                argument.longNumber = static_cast<long double>(i) / 3;
                break;
            default:
                if (!FindKind(inFormat, i + 1, conversion)) return false;
                argument.pointer = PointerFor(conversion, inObject);
                break;
        }
        outArguments.push_back(argument);
    }
    return true;
}

CFIndex CountLiteral(const std::vector<UniChar>& inUnits, const cf::Format& inFormat) {
    auto count = static_cast<CFIndex>(inUnits.size());
    for (CFIndex i = 0; i < inFormat.directives.Count(); ++i) {
        const cf::Directive& directive = inFormat.directives[i];
        const bool hasWidth = directive.conversion != '%' && directive.width.argument == 0;
        count +=
            directive.start - directive.end + (hasWidth ? std::max<CFIndex>(directive.width.value, 0) : 0);
    }
    return count;
}

void CheckWriting(const std::vector<UniChar>& inUnits, const cf::Format& inFormat,
                  const std::vector<cf::Argument>& inArguments) {
    const auto length = static_cast<CFIndex>(inUnits.size());
    cf::UnitArray once;
    cf::UnitArray twice;
    Check(cf::WriteFormat(inUnits.data(), length, inFormat, inArguments.data(), once));
    Check(cf::WriteFormat(inUnits.data(), length, inFormat, inArguments.data(), twice));
    Check(once.Count() == twice.Count() && std::equal(once.Data(), once.Data() + once.Count(), twice.Data()));
    Check(once.Count() >= CountLiteral(inUnits, inFormat));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* inBytes, std::size_t inByteCount) {
    const SInt64 live = cf::LiveObjectsForTesting();
    CFStringRef string = CFStringCreateWithBytes(nullptr, inBytes, static_cast<CFIndex>(inByteCount),
                                                 kCFStringEncodingUTF8, false);
    // Bytes that are no text stand for Latin letters.
    if (string == nullptr) {
        string = CFStringCreateWithBytes(nullptr, inBytes, static_cast<CFIndex>(inByteCount),
                                         kCFStringEncodingISOLatin1, false);
    }
    Check(string != nullptr);
    std::vector<UniChar> units(static_cast<std::size_t>(CFStringGetLength(string)));
    CFStringGetCharacters(string, CFRangeMake(0, CFStringGetLength(string)), units.data());
    cf::Format format;
    std::vector<cf::Argument> arguments;
    if (cf::ParseFormat(units.data(), static_cast<CFIndex>(units.size()), format)) {
        CheckDirectives(units, format);
        if (IsModest(format) && MakeArguments(format, string, arguments))
            CheckWriting(units, format, arguments);
    }
    CFRelease(string);
    Check(cf::LiveObjectsForTesting() == live);
    return 0;
}

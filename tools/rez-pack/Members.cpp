#include "Members.h"

#include "Text.h"

#include <algorithm>
#include <limits>

namespace rez_pack {

void RequireKind(bool inIsOfKind, const char* inKind, const JSON& inValue) {
    if (!inIsOfKind) throw DescriptionError(std::string(inKind) + " is needed, not " + Quoted(inValue));
}

void CheckMembers(const JSON& inObject, const std::vector<std::string_view>& inKnown, const char* inPlace) {
    RequireKind(inObject.is_object(), "an object", inObject);
    for (const auto& [name, value] : inObject.items())
        if (std::find(inKnown.begin(), inKnown.end(), name) == inKnown.end())
            throw DescriptionError("there is no member " + Quoted(name) + " " + inPlace);
}

int Number(const JSON& inValue, int inLeast, int inMost) {
    RequireKind(inValue.is_number_integer(), "a whole number", inValue);
    const auto number = inValue.get<std::int64_t>();
    // Numbers without a sign go further than those with one.
    const bool isTooGreat =
        inValue.is_number_unsigned() && inValue.get<std::uint64_t>() > std::numeric_limits<SInt32>::max();
    if (isTooGreat || number < inLeast || number > inMost)
        throw DescriptionError(Quoted(inValue) + " is not from " + std::to_string(inLeast) + " to " +
                               std::to_string(inMost));
    return static_cast<int>(number);
}

int Short(const JSON& inValue) {
    return Number(inValue, std::numeric_limits<SInt16>::min(), std::numeric_limits<SInt16>::max());
}

bool Flag(const JSON& inValue) {
    RequireKind(inValue.is_boolean(), "true or false", inValue);
    return inValue.get<bool>();
}

const std::string& TextIn(const JSON& inValue) {
    RequireKind(inValue.is_string(), "a text", inValue);
    return inValue.get_ref<const std::string&>();
}

std::string ShortText(const JSON& inText, CFStringEncoding inEncoding) {
    const auto text = Recoded(TextIn(inText), kCFStringEncodingUTF8, inEncoding);
    if (!text) throw DescriptionError("the encoding has no room for " + Quoted(inText));
    if (text->size() > 255) throw DescriptionError("a text is longer than 255 bytes");
    return *text;
}

std::string OptionalText(const JSON& inObject, const char* inName, CFStringEncoding inEncoding) {
    if (!inObject.contains(inName)) return {};
    return OfMember(inObject, inName, [&](const JSON& inText) { return ShortText(inText, inEncoding); });
}

}  // namespace rez_pack

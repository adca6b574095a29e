// The members of a description's objects: each is there, of its kind and within its limits, or what throws
// DescriptionError says which one is not.
#pragma once

#include "Records.h"

#include <string>
#include <string_view>
#include <vector>

namespace rez_pack {

// "an object is needed, not 5".
void RequireKind(bool inIsOfKind, const char* inKind, const JSON& inValue);

// What a function answers; where it fails is put in front of why.
template <typename Function>
auto Within(const std::string& inPlace, Function inFunction) {
    try {
        return inFunction();
    } catch (const DescriptionError& error) {
        throw DescriptionError(inPlace + ": " + error.what());
    }
}

// What a function makes of an object's member, which must be there.
template <typename Use>
auto OfMember(const JSON& inObject, const char* inName, Use inUse) {
    const auto member = inObject.find(inName);
    if (member == inObject.end()) throw DescriptionError(std::string(inName) + " is missing");
    return Within(inName, [&] { return inUse(*member); });
}

// The object has no member of another name.
//   inPlace  what the message says that there is no such member of
void CheckMembers(const JSON& inObject, const std::vector<std::string_view>& inKnown, const char* inPlace);

// A whole number within the limits, and within those of 16 bits.
int Number(const JSON& inValue, int inLeast, int inMost);
int Short(const JSON& inValue);

bool Flag(const JSON& inValue);

// In UTF-8.
const std::string& TextIn(const JSON& inValue);
// In the encoding, as long as a Pascal string may be.
std::string ShortText(const JSON& inText, CFStringEncoding inEncoding);
// The same of a member that may be left out, which is then empty.
std::string OptionalText(const JSON& inObject, const char* inName, CFStringEncoding inEncoding);

}  // namespace rez_pack

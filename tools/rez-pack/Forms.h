// The forms in which the data of some types is described. Encoders throw a JSON exception, or
// DescriptionError, when the description is not of the form; decoders answer null when the data is not.
#pragma once

#include "Records.h"

#include <string>
#include <string_view>
#include <vector>

namespace rez_pack {

// Whether the description is in a form of its type rather than in hexadecimal.
bool HasForm(ResType inType);
// The names of the form's members.
std::vector<std::string_view> MembersOfForm(ResType inType);

Bytes EncodeForm(ResType inType, const JSON& inDescription, CFStringEncoding inEncoding);
// Adds the form's members to the description; false when the data is not exactly what encoding them would
// give.
bool DecodeForm(ResType inType, const Bytes& inData, CFStringEncoding inEncoding, JSON& ioDescription);

// Throws DescriptionError when the object has a member of another name.
//   inPlace  what the message says that there is no such member of
void CheckMembers(const JSON& inObject, const std::vector<std::string_view>& inKnown, const char* inPlace);

// A whole number within the limits. Throws DescriptionError.
int Number(const JSON& inValue, int inLeast, int inMost);

// Text in the encoding, as long as a Pascal string may be. Throws DescriptionError.
std::string ShortText(const JSON& inText, CFStringEncoding inEncoding);

}  // namespace rez_pack

// The forms in which the data of some types is described. Encoders throw DescriptionError when the
// description is not of the form; decoders answer null when the data is not.
#pragma once

#include "Members.h"

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

}  // namespace rez_pack

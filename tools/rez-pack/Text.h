// Text between JSON's UTF-8 and the encoding of a resource file.
#pragma once

#include <toolbox/CFString.h>
#include <toolbox/MacTypes.h>

#include <optional>
#include <string>
#include <string_view>

namespace rez_pack {

// Nothing when the text is not of the first encoding, or the second cannot hold it.
std::optional<std::string> Recoded(std::string_view inText, CFStringEncoding inFrom, CFStringEncoding inTo);

// Four characters of Mac Roman.
std::optional<ResType> TypeOfText(const std::string& inText);
std::string TextOfType(ResType inType);

}  // namespace rez_pack

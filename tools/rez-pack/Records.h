// Resources as their description in JSON tells of them, and as bytes.
//
//   {"resources": [
//     {"type": "STR ", "id": 128, "name": "greeting", "attributes": ["purgeable"], "string": "Hello"},
//     {"type": "STR#", "id": 128, "strings": ["one", "two"]},
//     {"type": "ALRT", "id": 251, "bounds": [40, 40, 200, 400], "items": 251,
//      "stages": [{"default": 1, "shown": true, "sound": 0}, ... four of them]},
//     {"type": "DITL", "id": 251, "items": [{"kind": "button", "bounds": [120, 10, 140, 70], "text": "Quit"},
//                                           {"kind": "icon", "bounds": [10, 10, 42, 42], "resource": 1}]},
//     {"type": "data", "id": 1, "data": "48656C6C6F"}]}
//
// Bounds are top, left, bottom, right. Of the stages the first comes first. "name", "attributes" and an
// item's "enabled" (true) may be left out. Any type may be given as "data", in hexadecimal; what is not
// exactly one of the forms above is shown so. A name that is not text in the encoding is "nameData", in
// hexadecimal, and bits of the attributes that have no name are the number "otherAttributes". Members of
// other names are refused.
#pragma once

#include <nlohmann/json.hpp>
#include <toolbox/CFString.h>
#include <toolbox/MacTypes.h>

#include <stdexcept>
#include <string>
#include <vector>

namespace rez_pack {

using Bytes = std::vector<UInt8>;
using JSON = nlohmann::ordered_json;  // shown in the order of the description above

struct Record {
    ResType type = 0;
    SInt16 id = 0;
    std::string name;  // bytes in the resource file's encoding
    UInt8 attributes = 0;
    Bytes data;
};

// Why a description cannot be followed, and where: the resource and what of it, or line and column.
class DescriptionError : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

// The description in inText, which is not nested deeper than any that means something: what walks through it
// may call itself. Throws DescriptionError.
JSON Parsed(const std::string& inText);

// A value for a message, cut off when it is long.
std::string Quoted(const JSON& inValue);

// The records that a description tells of, text in the encoding; no two of one type and id. Throws
// DescriptionError.
std::vector<Record> RecordsOf(const JSON& inDescription, CFStringEncoding inEncoding);

JSON DescriptionOf(const std::vector<Record>& inRecords, CFStringEncoding inEncoding);

}  // namespace rez_pack

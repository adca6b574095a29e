// Descriptions for tests of the resource packer.
#pragma once

#include "Records.h"

#include <string>

namespace test_rez_pack {

inline constexpr char kAlertDescription[] = R"({"resources": [
    {"type": "STR ", "id": 128, "name": "greeting", "attributes": ["purgeable", "preload"], "string": "Grüße"},
    {"type": "STR#", "id": -5, "strings": ["one", "", "three"]},
    {"type": "ALRT", "id": 251, "bounds": [40, -40, 200, 400], "items": 251,
     "stages": [{"default": 1, "shown": true, "sound": 0}, {"default": 2, "shown": false, "sound": 3},
                {"default": 1, "shown": true, "sound": 1}, {"default": 2, "shown": true, "sound": 2}]},
    {"type": "DITL", "id": 251, "items": [
        {"kind": "button", "bounds": [120, 10, 140, 70], "text": "Quit"},
        {"kind": "staticText", "bounds": [0, 0, 20, 300], "enabled": false, "text": "^0 ^1"},
        {"kind": "icon", "bounds": [10, 10, 42, 42], "resource": -1}]},
    {"type": "tést", "id": 1, "data": "00FF7A"}]})";

inline std::vector<rez_pack::Record> RecordsIn(const std::string& inText,
                                               CFStringEncoding inEncoding = kCFStringEncodingUTF8) {
    return rez_pack::RecordsOf(rez_pack::Parsed(inText), inEncoding);
}

// Why there is no following it.
inline std::string MessageOf(const std::string& inText) {
    try {
        RecordsIn(inText);
    } catch (const rez_pack::DescriptionError& error) {
        return error.what();
    }
    return "none";
}

}  // namespace test_rez_pack

#include "Records.h"

#include "Forms.h"
#include "Text.h"

#include <toolbox/Resources.h>

#include <array>
#include <utility>

namespace rez_pack {

namespace {

constexpr std::array<std::pair<const char*, UInt8>, 5> kAttributes = {{{"sysHeap", resSysHeap},
                                                                       {"purgeable", resPurgeable},
                                                                       {"locked", resLocked},
                                                                       {"protected", resProtected},
                                                                       {"preload", resPreload}}};

UInt8 AttributeOf(const JSON& inName) {
    for (const auto& [name, bit] : kAttributes)
        if (inName == name) return bit;
    throw DescriptionError("there is no attribute " + inName.dump());
}

int Nibble(char inDigit) {
    constexpr std::string_view kDigits = "0123456789ABCDEF";
    const char digit = inDigit >= 'a' && inDigit <= 'f' ? static_cast<char>(inDigit - 'a' + 'A') : inDigit;
    const std::size_t value = kDigits.find(digit);
    if (value == std::string_view::npos) throw DescriptionError("data is not in hexadecimal");
    return static_cast<int>(value);
}

Bytes BytesOfHex(const std::string& inText) {
    if (inText.size() % 2 != 0) throw DescriptionError("data has half a byte");
    Bytes bytes;
    for (std::size_t i = 0; i < inText.size(); i += 2)
        bytes.push_back(static_cast<UInt8>(Nibble(inText[i]) << 4 | Nibble(inText[i + 1])));
    return bytes;
}

std::string HexOf(const Bytes& inBytes) {
    std::string text;
    for (const UInt8 byte : inBytes) {
        text += "0123456789ABCDEF"[byte >> 4];
        text += "0123456789ABCDEF"[byte & 15];
    }
    return text;
}

Record RecordOf(const JSON& inDescription, CFStringEncoding inEncoding) {
    Record record;
    const auto type = TypeOfText(inDescription.at("type").get<std::string>());
    if (!type) throw DescriptionError("a type is four characters of Mac Roman");
    record.type = *type;
    const JSON& id = inDescription.at("id");
    if (!id.is_number_integer() || id.get<std::int64_t>() != static_cast<SInt16>(id.get<std::int64_t>()))
        throw DescriptionError("an id is a whole number from -32768 to 32767");
    record.id = id.get<SInt16>();
    record.name = ShortText(inDescription.value("name", JSON("")), inEncoding);
    for (const JSON& attribute : inDescription.value("attributes", JSON::array()))
        record.attributes |= AttributeOf(attribute);
    const bool isHex = !HasForm(record.type) || inDescription.contains("data");
    record.data = isHex ? BytesOfHex(inDescription.at("data").get<std::string>())
                        : EncodeForm(record.type, inDescription, inEncoding);
    return record;
}

JSON DescriptionOf(const Record& inRecord, CFStringEncoding inEncoding) {
    JSON description = {{"type", TextOfType(inRecord.type)}, {"id", inRecord.id}};
    if (!inRecord.name.empty()) {
        const auto name = Recoded(inRecord.name, inEncoding, kCFStringEncodingUTF8);
        // A name in another encoding cannot be told in JSON but as what its bytes are in Mac Roman.
        description["name"] =
            name ? *name : *Recoded(inRecord.name, kCFStringEncodingMacRoman, kCFStringEncodingUTF8);
    }
    JSON attributes = JSON::array();
    for (const auto& [name, bit] : kAttributes)
        if ((inRecord.attributes & bit) != 0) attributes.push_back(name);
    if (!attributes.empty()) description["attributes"] = attributes;
    const bool isTold =
        HasForm(inRecord.type) && DecodeForm(inRecord.type, inRecord.data, inEncoding, description);
    if (!isTold) description["data"] = HexOf(inRecord.data);
    return description;
}

}  // namespace

std::string ReasonOf(const JSON::exception& inError) {
    const std::string_view words = inError.what();
    const std::size_t kindEnd = words.find("] ");
    return std::string(kindEnd == std::string_view::npos ? words : words.substr(kindEnd + 2));
}

std::vector<Record> RecordsOf(const JSON& inDescription, CFStringEncoding inEncoding) {
    if (!inDescription.is_object() || !inDescription.contains("resources") ||
        !inDescription["resources"].is_array())
        throw DescriptionError("the description is not an object with a list \"resources\"");
    std::vector<Record> records;
    for (const JSON& resource : inDescription["resources"]) {
        const std::string which = "resource " + std::to_string(records.size() + 1) + ": ";
        try {
            records.push_back(RecordOf(resource, inEncoding));
        } catch (const DescriptionError& error) {
            throw DescriptionError(which + error.what());
        } catch (const JSON::exception& error) {
            throw DescriptionError(which + ReasonOf(error));
        }
    }
    return records;
}

JSON DescriptionOf(const std::vector<Record>& inRecords, CFStringEncoding inEncoding) {
    JSON resources = JSON::array();
    for (const Record& record : inRecords)
        resources.push_back(DescriptionOf(record, inEncoding));
    return {{"resources", resources}};
}

}  // namespace rez_pack

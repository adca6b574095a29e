#include "Records.h"

#include "Forms.h"
#include "Syntax.h"
#include "Text.h"

#include <toolbox/Resources.h>

#include <array>
#include <map>
#include <utility>

namespace rez_pack {

namespace {

constexpr std::array<std::pair<const char*, UInt8>, 5> kAttributes = {{{"sysHeap", resSysHeap},
                                                                       {"purgeable", resPurgeable},
                                                                       {"locked", resLocked},
                                                                       {"protected", resProtected},
                                                                       {"preload", resPreload}}};

constexpr UInt8 NamedAttributes() {
    UInt8 all = 0;
    for (const auto& [name, bit] : kAttributes)
        all |= bit;
    return all;
}

// resChanged tells a state in memory, and is never in a file.
constexpr UInt8 kOtherAttributes = static_cast<UInt8>(~(NamedAttributes() | resChanged));

constexpr std::size_t kMaxQuotedBytes = 60;
// What can be counted, and so shown again.
constexpr int kMaxOfType = 32767;

// Whole characters of UTF-8.
std::string Shortened(std::string_view inText, std::size_t inMostBytes) {
    if (inText.size() <= inMostBytes) return std::string(inText);
    std::size_t end = inMostBytes;
    while (end > 0 && (static_cast<UInt8>(inText[end]) & 0xC0) == 0x80)
        --end;
    return std::string(inText.substr(0, end)) + "...";
}

UInt8 AttributeOf(const JSON& inName) {
    for (const auto& [name, bit] : kAttributes)
        if (inName == name) return bit;
    throw DescriptionError("there is no attribute " + Quoted(inName));
}

int Nibble(char inDigit) {
    constexpr std::string_view kDigits = "0123456789ABCDEF";
    const char digit = inDigit >= 'a' && inDigit <= 'f' ? static_cast<char>(inDigit - 'a' + 'A') : inDigit;
    const std::size_t value = kDigits.find(digit);
    if (value == std::string_view::npos) throw DescriptionError("the bytes are not in hexadecimal");
    return static_cast<int>(value);
}

Bytes BytesOfHex(const JSON& inText) {
    const auto& text = TextIn(inText);
    if (text.size() % 2 != 0) throw DescriptionError("half a byte is there");
    Bytes bytes;
    for (std::size_t i = 0; i < text.size(); i += 2)
        bytes.push_back(static_cast<UInt8>(Nibble(text[i]) << 4 | Nibble(text[i + 1])));
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

UInt8 AttributesOf(const JSON& inDescription) {
    int attributes = 0;
    if (inDescription.contains("attributes")) {
        OfMember(inDescription, "attributes", [&attributes](const JSON& inNames) {
            RequireKind(inNames.is_array(), "a list", inNames);
            for (const JSON& name : inNames)
                attributes |= AttributeOf(name);
        });
    }
    if (inDescription.contains("otherAttributes")) {
        OfMember(inDescription, "otherAttributes", [&attributes](const JSON& inBits) {
            const int others = Number(inBits, 0, 0xFF);
            if ((others & ~kOtherAttributes) != 0)
                throw DescriptionError("there are bits that have names, or are not kept in files");
            attributes |= others;
        });
    }
    return static_cast<UInt8>(attributes);
}

std::string NameOf(const JSON& inDescription, CFStringEncoding inEncoding) {
    if (!inDescription.contains("nameData")) return OptionalText(inDescription, "name", inEncoding);
    if (inDescription.contains("name")) throw DescriptionError("name and nameData are both there");
    const Bytes bytes = OfMember(inDescription, "nameData", BytesOfHex);
    if (bytes.size() > 255) throw DescriptionError("a name is longer than 255 bytes");
    return {bytes.begin(), bytes.end()};
}

Bytes DataOf(ResType inType, const JSON& inDescription, CFStringEncoding inEncoding) {
    std::vector<std::string_view> members = {"type",     "id",         "name",
                                             "nameData", "attributes", "otherAttributes"};
    if (!HasForm(inType) || inDescription.contains("data")) {
        members.push_back("data");
        CheckMembers(inDescription, members, "beside data");
        return OfMember(inDescription, "data", BytesOfHex);
    }
    const std::vector<std::string_view> form = MembersOfForm(inType);
    members.insert(members.end(), form.begin(), form.end());
    CheckMembers(inDescription, members, "of such a resource");
    return EncodeForm(inType, inDescription, inEncoding);
}

ResType TypeOf(const JSON& inText) {
    const auto type = TypeOfText(TextIn(inText));
    if (!type) throw DescriptionError("a type is four characters of Mac Roman, not " + Quoted(inText));
    return *type;
}

Record RecordOf(const JSON& inDescription, CFStringEncoding inEncoding) {
    Record record;
    RequireKind(inDescription.is_object(), "an object", inDescription);
    record.type = OfMember(inDescription, "type", TypeOf);
    record.id = static_cast<SInt16>(OfMember(inDescription, "id", Short));
    record.name = NameOf(inDescription, inEncoding);
    record.attributes = AttributesOf(inDescription);
    record.data = DataOf(record.type, inDescription, inEncoding);
    return record;
}

// Refuses what the records so far leave no room for.
class Takings {
  public:
    void Take(const Record& inRecord) {
        const int number = ++mCount;
        const std::string type = Quoted(TextOfType(inRecord.type));
        const auto [found, isNew] = mNumbers.try_emplace({inRecord.type, inRecord.id}, number);
        if (!isNew)
            throw DescriptionError("resources " + std::to_string(found->second) + " and " +
                                   std::to_string(number) + " are both of type " + type + " and id " +
                                   std::to_string(inRecord.id));
        if (++mOfType[inRecord.type] > kMaxOfType)
            throw DescriptionError("there are more than " + std::to_string(kMaxOfType) +
                                   " resources of type " + type);
    }

  private:
    int mCount = 0;
    std::map<std::pair<ResType, SInt16>, int> mNumbers;
    std::map<ResType, int> mOfType;
};

JSON DescriptionOf(const Record& inRecord, CFStringEncoding inEncoding) {
    JSON description = {{"type", TextOfType(inRecord.type)}, {"id", inRecord.id}};
    if (!inRecord.name.empty()) {
        const auto name = Recoded(inRecord.name, inEncoding, kCFStringEncodingUTF8);
        if (name && Recoded(*name, kCFStringEncodingUTF8, inEncoding) == inRecord.name)
            description["name"] = *name;
        else
            description["nameData"] = HexOf({inRecord.name.begin(), inRecord.name.end()});
    }
    JSON attributes = JSON::array();
    for (const auto& [name, bit] : kAttributes)
        if ((inRecord.attributes & bit) != 0) attributes.push_back(name);
    if (!attributes.empty()) description["attributes"] = attributes;
    const int others = inRecord.attributes & kOtherAttributes;
    if (others != 0) description["otherAttributes"] = others;
    const bool isTold =
        HasForm(inRecord.type) && DecodeForm(inRecord.type, inRecord.data, inEncoding, description);
    if (!isTold) description["data"] = HexOf(inRecord.data);
    return description;
}

}  // namespace

JSON Parsed(const std::string& inText) {
    const auto isModest = [&inText](int inDepth, JSON::parse_event_t, JSON&) {
        if (inDepth >= kMaxDepth) throw DescriptionError(SyntaxFault(inText));
        return true;
    };
    try {
        return JSON::parse(inText, isModest);
    } catch (const JSON::exception&) {
        throw DescriptionError(SyntaxFault(inText));
    }
}

std::string Quoted(const JSON& inValue) {
    return Shortened(inValue.dump(-1, ' ', false, JSON::error_handler_t::replace), kMaxQuotedBytes);
}

std::vector<Record> RecordsOf(const JSON& inDescription, CFStringEncoding inEncoding) {
    if (!inDescription.is_object() || !inDescription.contains("resources") ||
        !inDescription["resources"].is_array())
        throw DescriptionError("the description is not an object with a list \"resources\"");
    std::vector<Record> records;
    Takings takings;
    for (const JSON& resource : inDescription["resources"]) {
        records.push_back(Within("resource " + std::to_string(records.size() + 1),
                                 [&] { return RecordOf(resource, inEncoding); }));
        takings.Take(records.back());
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

#include "Forms.h"

#include "Text.h"

#include <toolbox/MacErrors.h>

#include <algorithm>
#include <array>
#include <limits>
#include <utility>

namespace rez_pack {

namespace {

constexpr ResType kString = FourChars("STR ");
constexpr ResType kStringList = FourChars("STR#");
constexpr ResType kAlert = FourChars("ALRT");
constexpr ResType kItemList = FourChars("DITL");
constexpr std::size_t kMaxCounted = 0xFFFF;
constexpr UInt8 kDisabled = 0x80;

struct ItemKind {
    const char* name;
    UInt8 code;
    bool isText;  // else the id of a resource, if it has any data
};
constexpr std::array kItemKinds = {
    ItemKind{"user", 0, true},        ItemKind{"button", 4, true},   ItemKind{"checkBox", 5, true},
    ItemKind{"radioButton", 6, true}, ItemKind{"control", 7, false}, ItemKind{"staticText", 8, true},
    ItemKind{"editText", 16, true},   ItemKind{"icon", 32, false},   ItemKind{"picture", 64, false}};

// Reads numbers and text one after the other. After a read past the end, isGood is false and all is empty.
class Reader {
  public:
    explicit Reader(const Bytes& inBytes) : mBytes(inBytes) {}

    bool isGood = true;

    bool IsAtEnd() const { return mAt == mBytes.size(); }
    int Byte() { return Has(1) ? mBytes[mAt++] : 0; }
    int Word() {
        const int high = Byte();
        return high << 8 | Byte();
    }
    int Signed() { return static_cast<SInt16>(Word()); }
    std::string Text(int inLength) {
        if (!Has(static_cast<std::size_t>(inLength))) return {};
        const auto begin = mBytes.begin() + static_cast<std::ptrdiff_t>(mAt);
        mAt += static_cast<std::size_t>(inLength);
        return {begin, begin + inLength};
    }

  private:
    bool Has(std::size_t inCount) {
        if (inCount > mBytes.size() - mAt) isGood = false;
        return isGood;
    }
    const Bytes& mBytes;
    std::size_t mAt = 0;
};

void AddWord(Bytes& ioBytes, int inValue) {
    ioBytes.push_back(static_cast<UInt8>(inValue >> 8));
    ioBytes.push_back(static_cast<UInt8>(inValue));
}

void AddText(Bytes& ioBytes, const std::string& inText) {
    ioBytes.push_back(static_cast<UInt8>(inText.size()));
    ioBytes.insert(ioBytes.end(), inText.begin(), inText.end());
}

int Short(const JSON& inValue) {
    return Number(inValue, std::numeric_limits<SInt16>::min(), std::numeric_limits<SInt16>::max());
}

void AddBounds(Bytes& ioBytes, const JSON& inBounds) {
    if (!inBounds.is_array() || inBounds.size() != 4)
        throw DescriptionError("bounds are [top, left, bottom, right]");
    for (const JSON& coordinate : inBounds)
        AddWord(ioBytes, Short(coordinate));
}

JSON ReadBounds(Reader& ioReader) {
    JSON bounds = JSON::array();
    for (int i = 0; i < 4; ++i)
        bounds.push_back(ioReader.Signed());
    return bounds;
}

// Text as JSON shows it; null when it is not in the encoding.
JSON Shown(const std::string& inText, CFStringEncoding inEncoding) {
    const auto text = Recoded(inText, inEncoding, kCFStringEncodingUTF8);
    return text ? JSON(*text) : JSON();
}

const JSON& ListOf(const JSON& inDescription, const char* inName) {
    const JSON& list = inDescription.at(inName);
    if (!list.is_array() || list.size() > kMaxCounted)
        throw DescriptionError(std::string(inName) + " is not a list of at most 65535");
    return list;
}

Bytes EncodeStringList(const JSON& inDescription, CFStringEncoding inEncoding) {
    const JSON& strings = ListOf(inDescription, "strings");
    Bytes bytes;
    AddWord(bytes, static_cast<int>(strings.size()));
    for (const JSON& string : strings)
        AddText(bytes, ShortText(string, inEncoding));
    return bytes;
}

bool DecodeStringList(Reader& ioReader, CFStringEncoding inEncoding, JSON& ioDescription) {
    JSON& strings = ioDescription["strings"] = JSON::array();
    for (int left = ioReader.Word(); left > 0 && ioReader.isGood; --left) {
        strings.push_back(Shown(ioReader.Text(ioReader.Byte()), inEncoding));
        if (strings.back().is_null()) return false;
    }
    return ioReader.isGood;
}

Bytes EncodeAlert(const JSON& inDescription) {
    Bytes bytes;
    AddBounds(bytes, inDescription.at("bounds"));
    AddWord(bytes, Short(inDescription.at("items")));
    const JSON& stages = inDescription.at("stages");
    if (!stages.is_array() || stages.size() != 4) throw DescriptionError("an alert has four stages");
    int word = 0;
    for (std::size_t i = 0; i < 4; ++i) {
        const JSON& stage = stages[i];
        CheckMembers(stage, {"default", "shown", "sound"}, "of a stage");
        const int bits = (Number(stage.at("default"), 1, 2) - 1) << 3 |
                         int{stage.at("shown").get<bool>()} << 2 | Number(stage.at("sound"), 0, 3);
        word |= bits << (4 * i);
    }
    AddWord(bytes, word);
    return bytes;
}

bool DecodeAlert(Reader& ioReader, JSON& ioDescription) {
    ioDescription["bounds"] = ReadBounds(ioReader);
    ioDescription["items"] = ioReader.Signed();
    JSON& stages = ioDescription["stages"] = JSON::array();
    const int word = ioReader.Word();
    for (int shift = 0; shift < 16; shift += 4) {
        const int bits = word >> shift & 0xF;
        stages.push_back({{"default", (bits >> 3) + 1}, {"shown", (bits & 4) != 0}, {"sound", bits & 3}});
    }
    return ioReader.isGood;
}

const ItemKind& KindOfName(const JSON& inName) {
    for (const ItemKind& kind : kItemKinds)
        if (inName == kind.name) return kind;
    throw DescriptionError("there is no kind of item " + Quoted(inName));
}

Bytes EncodeItemList(const JSON& inDescription, CFStringEncoding inEncoding) {
    const JSON& items = ListOf(inDescription, "items");
    Bytes bytes;
    AddWord(bytes, static_cast<int>(items.size()) - 1);
    for (const JSON& item : items) {
        const ItemKind& kind = KindOfName(item.at("kind"));
        CheckMembers(item, {"kind", "bounds", "enabled", kind.isText ? "text" : "resource"},
                     "of such an item");
        bytes.insert(bytes.end(), 4, 0);
        AddBounds(bytes, item.at("bounds"));
        bytes.push_back(static_cast<UInt8>(kind.code | (item.value("enabled", true) ? 0 : kDisabled)));
        if (kind.isText) {
            AddText(bytes, ShortText(item.value("text", JSON("")), inEncoding));
        } else {
            bytes.push_back(2);
            AddWord(bytes, Short(item.at("resource")));
        }
        if (bytes.size() % 2 != 0) bytes.push_back(0);
    }
    return bytes;
}

bool DecodeItem(Reader& ioReader, CFStringEncoding inEncoding, JSON& ioItems) {
    if (ioReader.Text(4) != std::string(4, '\0')) return false;
    const JSON bounds = ReadBounds(ioReader);
    const int code = ioReader.Byte();
    const int length = ioReader.Byte();
    for (const ItemKind& kind : kItemKinds) {
        if (kind.code != (code & ~kDisabled)) continue;
        JSON item = {{"kind", kind.name}, {"bounds", bounds}};
        if ((code & kDisabled) != 0) item["enabled"] = false;
        if (kind.isText)
            item["text"] = Shown(ioReader.Text(length), inEncoding);
        else
            item["resource"] = ioReader.Signed();
        if (length % 2 != 0) ioReader.Byte();
        ioItems.push_back(item);
        return ioReader.isGood && (!kind.isText || !item["text"].is_null());
    }
    return false;
}

bool DecodeItemList(Reader& ioReader, CFStringEncoding inEncoding, JSON& ioDescription) {
    JSON& items = ioDescription["items"] = JSON::array();
    for (int left = (ioReader.Word() + 1) & 0xFFFF; left > 0; --left)
        if (!DecodeItem(ioReader, inEncoding, items)) return false;
    return ioReader.isGood;
}

bool Decode(ResType inType, Reader& ioReader, CFStringEncoding inEncoding, JSON& ioDescription) {
    switch (inType) {
        case kString:
            ioDescription["string"] = Shown(ioReader.Text(ioReader.Byte()), inEncoding);
            return ioReader.isGood && !ioDescription["string"].is_null();
        case kStringList:
            return DecodeStringList(ioReader, inEncoding, ioDescription);
        case kAlert:
            return DecodeAlert(ioReader, ioDescription);
        default:
            return DecodeItemList(ioReader, inEncoding, ioDescription);
    }
}

}  // namespace

void CheckMembers(const JSON& inObject, const std::vector<std::string_view>& inKnown, const char* inPlace) {
    for (const auto& [name, value] : inObject.items())
        if (std::find(inKnown.begin(), inKnown.end(), name) == inKnown.end())
            throw DescriptionError("there is no member " + Quoted(name) + " " + inPlace);
}

int Number(const JSON& inValue, int inLeast, int inMost) {
    if (!inValue.is_number_integer())
        throw DescriptionError("a whole number is needed, not " + Quoted(inValue));
    const auto number = inValue.get<std::int64_t>();
    // Numbers without a sign go further than those with one.
    const bool isTooGreat =
        inValue.is_number_unsigned() && inValue.get<std::uint64_t>() > std::numeric_limits<SInt32>::max();
    if (isTooGreat || number < inLeast || number > inMost)
        throw DescriptionError(Quoted(inValue) + " is not from " + std::to_string(inLeast) + " to " +
                               std::to_string(inMost));
    return static_cast<int>(number);
}

std::string ShortText(const JSON& inText, CFStringEncoding inEncoding) {
    if (!inText.is_string()) throw DescriptionError("a text is needed, not " + Quoted(inText));
    const auto text = Recoded(inText.get<std::string>(), kCFStringEncodingUTF8, inEncoding);
    if (!text) throw DescriptionError("the encoding has no room for " + Quoted(inText));
    if (text->size() > 255) throw DescriptionError("a text is longer than 255 bytes");
    return *text;
}

bool HasForm(ResType inType) {
    return inType == kString || inType == kStringList || inType == kAlert || inType == kItemList;
}

std::vector<std::string_view> MembersOfForm(ResType inType) {
    switch (inType) {
        case kString:
            return {"string"};
        case kStringList:
            return {"strings"};
        case kAlert:
            return {"bounds", "items", "stages"};
        default:
            return {"items"};
    }
}

Bytes EncodeForm(ResType inType, const JSON& inDescription, CFStringEncoding inEncoding) {
    Bytes bytes;
    switch (inType) {
        case kString:
            AddText(bytes, ShortText(inDescription.at("string"), inEncoding));
            return bytes;
        case kStringList:
            return EncodeStringList(inDescription, inEncoding);
        case kAlert:
            return EncodeAlert(inDescription);
        default:
            return EncodeItemList(inDescription, inEncoding);
    }
}

bool DecodeForm(ResType inType, const Bytes& inData, CFStringEncoding inEncoding, JSON& ioDescription) {
    JSON description = ioDescription;
    Reader reader(inData);
    if (!Decode(inType, reader, inEncoding, description) || !reader.IsAtEnd()) return false;
    if (EncodeForm(inType, description, inEncoding) != inData) return false;
    ioDescription = std::move(description);
    return true;
}

}  // namespace rez_pack

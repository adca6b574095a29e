#include "Forms.h"

#include "Text.h"

#include <toolbox/MacErrors.h>

#include <algorithm>
#include <array>
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

void AddBounds(Bytes& ioBytes, const JSON& inDescription) {
    OfMember(inDescription, "bounds", [&ioBytes](const JSON& inBounds) {
        RequireKind(inBounds.is_array() && inBounds.size() == 4, "[top, left, bottom, right]", inBounds);
        for (const JSON& coordinate : inBounds)
            AddWord(ioBytes, Short(coordinate));
    });
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

// Hands the entries of a list to a function, one after the other.
template <typename Use>
void ForEach(const JSON& inList, const char* inEntryName, Use inUse) {
    RequireKind(inList.is_array() && inList.size() <= kMaxCounted, "a list of at most 65535", inList);
    for (std::size_t i = 0; i < inList.size(); ++i)
        Within(inEntryName + (' ' + std::to_string(i + 1)), [&] { inUse(inList[i]); });
}

void AddStringList(Bytes& ioBytes, const JSON& inStrings, CFStringEncoding inEncoding) {
    AddWord(ioBytes, static_cast<int>(inStrings.size()));
    ForEach(inStrings, "string",
            [&](const JSON& inString) { AddText(ioBytes, ShortText(inString, inEncoding)); });
}

bool DecodeStringList(Reader& ioReader, CFStringEncoding inEncoding, JSON& ioDescription) {
    JSON& strings = ioDescription["strings"] = JSON::array();
    for (int left = ioReader.Word(); left > 0 && ioReader.isGood; --left) {
        strings.push_back(Shown(ioReader.Text(ioReader.Byte()), inEncoding));
        if (strings.back().is_null()) return false;
    }
    return ioReader.isGood;
}

int BitsOfStage(const JSON& inStage) {
    CheckMembers(inStage, {"default", "shown", "sound"}, "of a stage");
    const int button =
        OfMember(inStage, "default", [](const JSON& inValue) { return Number(inValue, 1, 2); });
    const int sound = OfMember(inStage, "sound", [](const JSON& inValue) { return Number(inValue, 0, 3); });
    return (button - 1) << 3 | int{OfMember(inStage, "shown", Flag)} << 2 | sound;
}

void AddStages(Bytes& ioBytes, const JSON& inStages) {
    RequireKind(inStages.is_array() && inStages.size() == 4, "a list of four", inStages);
    int word = 0;
    int shift = 0;
    ForEach(inStages, "stage", [&](const JSON& inStage) {
        word |= BitsOfStage(inStage) << shift;
        shift += 4;
    });
    AddWord(ioBytes, word);
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

void AddItem(Bytes& ioBytes, const JSON& inItem, CFStringEncoding inEncoding) {
    RequireKind(inItem.is_object(), "an object", inItem);
    const ItemKind kind = OfMember(inItem, "kind", KindOfName);
    CheckMembers(inItem, {"kind", "bounds", "enabled", kind.isText ? "text" : "resource"}, "of such an item");
    ioBytes.insert(ioBytes.end(), 4, 0);
    AddBounds(ioBytes, inItem);
    const bool isEnabled = !inItem.contains("enabled") || OfMember(inItem, "enabled", Flag);
    ioBytes.push_back(static_cast<UInt8>(kind.code | (isEnabled ? 0 : kDisabled)));
    if (kind.isText) {
        AddText(ioBytes, OptionalText(inItem, "text", inEncoding));
    } else {
        ioBytes.push_back(2);
        AddWord(ioBytes, OfMember(inItem, "resource", Short));
    }
    if (ioBytes.size() % 2 != 0) ioBytes.push_back(0);
}

void AddItemList(Bytes& ioBytes, const JSON& inItems, CFStringEncoding inEncoding) {
    AddWord(ioBytes, static_cast<int>(inItems.size()) - 1);
    ForEach(inItems, "item", [&](const JSON& inItem) { AddItem(ioBytes, inItem, inEncoding); });
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
            OfMember(inDescription, "string",
                     [&](const JSON& inText) { AddText(bytes, ShortText(inText, inEncoding)); });
            break;
        case kStringList:
            OfMember(inDescription, "strings",
                     [&](const JSON& inStrings) { AddStringList(bytes, inStrings, inEncoding); });
            break;
        case kAlert:
            AddBounds(bytes, inDescription);
            AddWord(bytes, OfMember(inDescription, "items", Short));
            OfMember(inDescription, "stages", [&](const JSON& inStages) { AddStages(bytes, inStages); });
            break;
        default:
            OfMember(inDescription, "items",
                     [&](const JSON& inItems) { AddItemList(bytes, inItems, inEncoding); });
    }
    return bytes;
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

#include "AlertResources.h"

#include "os/BigEndian.h"

#include <algorithm>
#include <iterator>

namespace toolbox::interface {

namespace {

// An "ALRT": bounds (8), the item list's id (2), the stages (2).
constexpr std::size_t kAlertBytes = 12;
constexpr std::size_t kItemListOffset = 8;
constexpr std::size_t kStagesOffset = 10;
// A "DITL": the number of items less one (2); each item: room for its handle (4), bounds (8), kind (1),
// length (1) and as many bytes, padded to an even number.
constexpr std::size_t kCountBytes = 2;
constexpr std::size_t kBoundsOffset = 4;
constexpr std::size_t kKindOffset = 12;
constexpr std::size_t kLengthOffset = 13;
constexpr std::size_t kItemBytes = 14;
constexpr UInt8 kDisabled = 0x80;
constexpr UInt8 kButtonKind = 4;
constexpr UInt8 kCheckBoxKind = 5;
constexpr UInt8 kRadioButtonKind = 6;
constexpr UInt8 kStaticTextKind = 8;
constexpr UInt8 kEditTextKind = 16;

UInt16 Word(std::span<const UInt8> inBytes, std::size_t inOffset) {
    return os::Load16(&inBytes[inOffset]);
}

SInt16 Coordinate(std::span<const UInt8> inItem, std::size_t inIndex) {
    return static_cast<SInt16>(Word(inItem, kBoundsOffset + 2 * inIndex));
}

AlertItem::Kind KindOf(UInt8 inKind) {
    switch (inKind & ~kDisabled) {
        case kButtonKind:
            return AlertItem::kButton;
        case kStaticTextKind:
            return AlertItem::kStaticText;
        default:
            return AlertItem::kOther;
    }
}

// Of what else there is, the list holds a resource's id or nothing.
bool HasText(UInt8 inType) {
    constexpr UInt8 kTypes[] = {kButtonKind, kCheckBoxKind, kRadioButtonKind, kStaticTextKind, kEditTextKind};
    return std::find(std::begin(kTypes), std::end(kTypes), inType) != std::end(kTypes);
}

}  // namespace

bool DecodeAlert(std::span<const UInt8> inBytes, AlertTemplate& outAlert) {
    if (inBytes.size() < kAlertBytes) return false;
    outAlert.itemListID = static_cast<SInt16>(Word(inBytes, kItemListOffset));
    // Four bits a stage, the first stage in the lowest: the default button (0: item 1), whether the box is
    // shown, and how often to beep, which a terminal is spared.
    UInt16 stages = Word(inBytes, kStagesOffset);
    for (AlertStage& stage : outAlert.stages) {
        stage = {static_cast<SInt16>((stages & 8) != 0 ? 2 : 1), (stages & 4) != 0};
        stages = static_cast<UInt16>(stages >> 4);
    }
    return true;
}

bool DecodeItems(std::span<const UInt8> inBytes, std::vector<AlertItem>& outItems) {
    outItems.clear();
    if (inBytes.size() < kCountBytes) return false;
    const std::size_t count = (Word(inBytes, 0) + std::size_t{1}) & 0xFFFF;  // of an empty list -1 is stored
    std::span<const UInt8> rest = inBytes.subspan(kCountBytes);
    for (std::size_t i = 0; i < count; ++i) {
        if (rest.size() < kItemBytes) return false;
        const std::size_t length = rest[kLengthOffset];
        if (length > rest.size() - kItemBytes) return false;
        AlertItem item;
        item.kind = KindOf(rest[kKindOffset]);
        item.type = static_cast<UInt8>(rest[kKindOffset] & ~kDisabled);
        item.isEnabled = (rest[kKindOffset] & kDisabled) == 0;
        item.bounds = {Coordinate(rest, 0), Coordinate(rest, 1), Coordinate(rest, 2), Coordinate(rest, 3)};
        if (HasText(item.type))
            item.text.assign(reinterpret_cast<const char*>(rest.data() + kItemBytes), length);
        outItems.push_back(std::move(item));
        // The last item need not be padded.
        const std::size_t padded = kItemBytes + length + length % 2;
        rest = rest.subspan(padded < rest.size() ? padded : rest.size());
    }
    return true;
}

}  // namespace toolbox::interface

// Alert templates and item lists, as resources hold them.
//
//   ALRT   8 bounds, 2 id of the item list, 2 stages: four bits each, the fourth stage's first
//   DITL   2 number of items less one; each item: 4 room, 8 bounds, 1 kind, 1 length, then as many bytes and
//   a pad to
//          an even number
// Numbers are big-endian.
#pragma once

#include <toolbox/MacTypes.h>

#include <array>
#include <span>
#include <string>
#include <vector>

namespace toolbox::interface {

struct AlertStage {
    SInt16 defaultItem = 1;  // 1 or 2
    bool isShown = true;
};

struct AlertTemplate {
    SInt16 itemListID = 0;
    std::array<AlertStage, 4> stages;
};

struct AlertItem {
    enum Kind { kButton, kStaticText, kOther };

    Kind kind = kOther;
    UInt8 type = 0;  // as in the list, without the mark of disabled ones
    bool isEnabled = true;
    Rect bounds = {};
    std::string text;  // bytes; of a control or text
};

// False when the bytes end too soon.
bool DecodeAlert(std::span<const UInt8> inBytes, AlertTemplate& outAlert);
bool DecodeItems(std::span<const UInt8> inBytes, std::vector<AlertItem>& outItems);

}  // namespace toolbox::interface

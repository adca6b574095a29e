// Dialog templates, as resources hold them.
//
//   DLOG   8 bounds, 2 kind of window, 2 whether it is visible, 2 whether it can be closed, 4 for the
//   program,
//          2 id of the item list, then the title as a Pascal string
// Numbers are big-endian; what tells whether is in the first of its two bytes.
#pragma once

#include <toolbox/MacTypes.h>

#include <span>

namespace toolbox::interface {

struct DialogTemplate {
    Rect bounds = {};
    bool isVisible = false;
    SInt16 itemListID = 0;
};

// False when the bytes end before the title.
bool DecodeDialog(std::span<const UInt8> inBytes, DialogTemplate& outDialog);

}  // namespace toolbox::interface

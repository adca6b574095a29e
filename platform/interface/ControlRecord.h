// What a control's block holds.
#pragma once

#include "Port.h"

#include <toolbox/Controls.h>
#include <toolbox/MacTypes.h>

namespace toolbox::interface {

struct ControlRecord {
    Port* port;  // of its dialog
    Rect box;
    SInt16 type;  // of its item
    UInt8 hilite;
    bool isVisible;
    Str255 title;
};

// The blocks are the Memory Manager's, and may move: a record is copied out or written at once.
inline ControlRecord& RecordOf(ControlRef inControl) {
    return *reinterpret_cast<ControlRecord*>(*inControl);
}

}  // namespace toolbox::interface

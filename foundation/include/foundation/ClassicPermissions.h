// The permissions of a file or folder, as a POSIX mode.
#pragma once

#include <foundation/MirtalExport.h>
#include <toolbox/FileSpecs.h>
#include <toolbox/MacTypes.h>

#ifdef __cplusplus
extern "C" {
#endif

// Both answer paramErr for a null argument, and otherwise what the system answers. On a system without the
// extended file interfaces they do nothing and answer 0.

// outMode gets the whole 16-bit mode, with the bits of the item's kind; untouched on failure.
[[nodiscard]] MIRTAL_EXPORT OSErr GetClassicPermissions(const FSSpec* inItem, UInt16* outMode);

// Nothing is written when the low 12 bits are inMode already. Otherwise the whole 16-bit mode becomes inMode.
// So a mode that was read, with the bits of the kind, is always written.
[[nodiscard]] MIRTAL_EXPORT OSErr SetClassicPermissions(const FSSpec* inItem, UInt16 inMode);

#ifdef __cplusplus
}
#endif

// Items moved, renamed and exchanged in one step.
//
// Every function may be called on any thread.
#pragma once

#include <foundation/MirtalExport.h>
#include <toolbox/Files.h>
#include <toolbox/MacTypes.h>

#ifdef __cplusplus
extern "C" {
#endif

// Moves an item to another folder of its volume under another name, so that it never collides with what has
// its old name there, or its new one here. For that it passes through a folder of its own in the volume's
// temporary folder, which is deleted afterwards. Where there is no temporary folder, the item is moved or
// renamed alone, if that is all there is to do.
//   inNameLength    UTF-16 units of the name
//   inName          null: its own; it is moved alone then
//   inEncodingHint  of the new name
//   outItem         the item; may be inItem. On failure it is the item as well
// On failure the item is where and as it was, and the status is that of the first call that failed: dupFNErr
// when the folder has an item of the name, for instance. diffVolErr for a folder of another volume, paramErr
// for null. What cannot even be put back, because somebody took its old name meanwhile, stays in the folder
// of its own in the temporary folder, which nothing deletes.
[[nodiscard]] MIRTAL_EXPORT OSErr FSMoveRenameObjectUnicode(const FSRef* inItem, const FSRef* inFolder,
                                                            UniCharCount inNameLength, const UniChar* inName,
                                                            TextEncoding inEncodingHint, FSRef* outItem);

#ifdef __cplusplus
}
#endif

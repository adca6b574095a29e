// Items copied, moved, renamed and exchanged in one step.
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
// temporary folder (toolbox/Folders.h), which is deleted afterwards. Where there is no temporary folder, the
// item is moved or renamed alone, if that is all there is to do.
//   inNameLength    UTF-16 units of the name
//   inName          null: its own; it is moved alone then
//   inEncodingHint  of the new name
//   outItem         the item; may be inItem. On failure it is the item as well
// On failure the item is where and as it was, and the status is that of the first call that failed: dupFNErr
// when the folder has an item of the name, for instance. diffVolErr for a folder of another volume, paramErr
// for null. What cannot even be put back, because somebody took its old name meanwhile, stays whole in the
// folder of its own; and so does, under its old name or its new one, what a process was moving that is
// killed. The toolbox deletes nothing there, but programs that clear temporary folders away may; which is why
// it lies in one that outlives the next start of the machine, where the volume has such a folder.
[[nodiscard]] MIRTAL_EXPORT OSErr FSMoveRenameObjectUnicode(const FSRef* inItem, const FSRef* inFolder,
                                                            UniCharCount inNameLength, const UniChar* inName,
                                                            TextEncoding inEncodingHint, FSRef* outItem);

// Two files exchange their contents, both forks of them, and leave each name in its place: with the name stay
// the creation and backup dates, Finder information, encoding hint, lock and permissions. A volume that can
// does it in one step (FSExchangeObjects), and ids, references and the dates of change and access are then as
// told there. Where it cannot, as with files of several names (paramErr there), the files change places,
// through names of eight hexadecimal digits: the dates of change and access then stay with the name as well,
// while ids and references go with the contents. Somebody who looks meanwhile may miss a name; a process
// that is killed meanwhile leaves both files whole, one or both under such a name. Of a file with several
// names the one name changes places, and the information of all its names is exchanged.
//   outNewItem1, outNewItem2  the file that has the first one's name now, and the second one's: what the
//                             first name leads to has the contents of the second. On failure the items
// On failure both are as they were, their dates as exactly as FSGetCatalogInfo tells them, and the status is
// that of the first call that failed. -1302 (notAFileErr) for what is no file, diffVolErr for files of two
// volumes, sameFileErr for one file twice, fLckdErr for a locked one, paramErr for null.
[[nodiscard]] MIRTAL_EXPORT OSErr FSExchangeObjectsCompat(const FSRef* inItem1, const FSRef* inItem2,
                                                          FSRef* outNewItem1, FSRef* outNewItem2);

// A file copied, and an item moved and renamed, by the volume itself (toolbox/FileCopies.h): nothing is
// replaced, and nobody sees half of it.
//   inName          the name there, which must fit a specification: 31 bytes in the application's encoding.
//                   Null: the one that it has, whatever its length
//   inEncodingHint  of that name, kept as far as it can be
//   outCopy, outItem  what is there now; may be null; untouched on failure
// Beside what is told there: dirNFErr for what is no folder, paramErr for null, diffVolErr for an item to be
// moved to another volume. When it is done, and what is there cannot be found again, the status is why.
[[nodiscard]] MIRTAL_EXPORT OSErr FSCopyFile(const FSRef* inFile, const FSRef* inFolder,
                                             UniCharCount inNameLength, const UniChar* inName,
                                             TextEncoding inEncodingHint, FSRef* outCopy);
[[nodiscard]] MIRTAL_EXPORT OSErr FSMoveRename(const FSRef* inItem, const FSRef* inFolder,
                                               UniCharCount inNameLength, const UniChar* inName,
                                               TextEncoding inEncodingHint, FSRef* outItem);

#ifdef __cplusplus
}
#endif

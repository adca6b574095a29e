// Access keys: named settings of the movie toolbox, for this process or for all of the user's.
//
// A key is bytes under a key type, a Pascal string. Types, and keys, that differ only in the case of ASCII
// letters are the same. Keys of this process live as long as it does. System-wide keys are in one file of the
// user's, access-keys in the folder mirtal of $XDG_STATE_HOME, or of .local/state in the home folder when
// that is not set to an absolute path (the home folder is $HOME, else what the user database tells); they are
// read anew on every call. The file is text, one key on each line:
//
//   mirtal access keys 1
//   SoundArchitecture=soundmgr
//   end
//
// where bytes other than printable ASCII, and "%" and "=", are "%" and two hexadecimal digits. It is replaced
// as a whole, so that a reader sees the keys before or after a change, and programs that change keys at the
// same time take turns. A file that is something else is left as it is, and every call on system-wide keys
// answers badFileFormat. Any thread may call these.
//
// Failures are kept as sticky errors of the movie toolbox. Beside those named: a file status for the file,
// its folder or its lock, and for a user database that cannot be asked; fnfErr for a change when nobody tells
// a home folder (without one there are no keys); paramErr for null, and for flags other than the scope;
// memFullErr.
#pragma once

#include <toolbox/AtomContainers.h>
#include <toolbox/MacErrors.h>
#include <toolbox/MacTypes.h>
#include <toolbox/ToolboxExport.h>

TOOLBOX_EXTERN_C_BEGIN

enum { kAccessKeySystemFlag = 1 };  // in inFlags: system-wide keys; without, those of this process

#ifdef __cplusplus
constexpr QTAtomType kAccessKeyAtomType = FourChars("acky");
#endif

// The whole block of inKey is the key; the block is only read. A key that is registered already, or
// unregistered already, is left so: noErr. A scope has room for 5,000 keys, and the file for 1 MB: dskFulErr,
// or memFullErr for keys of this process.
TOOLBOX_MUST_USE OSErr QTRegisterAccessKey(ConstStr255Param inType, SInt32 inFlags, Handle inKey);
TOOLBOX_MUST_USE OSErr QTUnregisterAccessKey(ConstStr255Param inType, SInt32 inFlags, Handle inKey);

// The keys of a type at one scope in the order in which they were registered: atoms of type "acky" under the
// root, each with a key as its data. The caller disposes of the container, which may have no atoms; null on
// failure.
TOOLBOX_MUST_USE OSErr QTGetAccessKeys(ConstStr255Param inType, SInt32 inFlags, QTAtomContainer* outKeys);

TOOLBOX_EXTERN_C_END

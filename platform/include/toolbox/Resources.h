// The Resource Manager: typed, numbered pieces of data in resource files.
//
// A resource file is the resource fork of a file, or its data fork when that is in the same format. Open
// files form a chain, the one opened last in front; one of them is the current file. A search by id or name
// starts at the current file and goes on to those opened before it; the forms with a 1 look in the current
// file only. Counts and indexes (from 1) take in every open file, newest first, whichever is current.
//
// The application's own resources are at the end of the chain from the start: the resource fork of the
// running executable, or else the file <executable>.rsrc beside it. One that cannot be read counts as absent.
//
// A resource's data is a Memory Manager handle with the resource bit, read when first asked for and handed
// out again from then on. It belongs to the manager until it is detached or removed, and goes when its file
// is closed; it must not be disposed of. Pascal strings are bytes in the application's encoding; names match
// whatever the case of their ASCII letters.
//
// Every call leaves its result in ResError(), which is kept per thread; the calls may come from any thread.
// Beside what a function names: resNotFound for a handle that is no resource's, null included; resFNotFound
// for a reference number of no open file; memFullErr; mapReadErr for a file that is not in the format or
// contradicts itself; and what reading or writing a file may answer (Files.h).
#pragma once

#include <toolbox/FilePermissions.h>
#include <toolbox/Files.h>
#include <toolbox/MacErrors.h>
#include <toolbox/MacMemory.h>
#include <toolbox/MacTypes.h>
#include <toolbox/ToolboxExport.h>

TOOLBOX_EXTERN_C_BEGIN

// Attributes of a resource. Those not named here are kept and mean nothing.
enum {
    resChanged = 0x02,    // to be written when the file is
    resPreload = 0x04,    // read when the file is opened
    resProtected = 0x08,  // its data, name and id cannot be changed, and it cannot be removed
    resLocked = 0x10,     // its handle is locked when it is read
    resPurgeable = 0x20,  // its handle is made purgeable when it is read
    resSysHeap = 0x40     // kept, without meaning
};
// Attributes of a resource file.
enum {
    mapChanged = 0x20,  // something of the map is to be written
    mapCompact = 0x40,  // kept, without meaning: a file is always written compact
    mapReadOnly = 0x80  // opened for reading only
};

// The result of this thread's last Resource Manager call.
TOOLBOX_MUST_USE OSErr ResError(void);

// Files.

// An empty resource file in the fork that inForkName names (no characters: the data fork; "RESOURCE_FORK":
// the resource fork) of an existing file. dupFNErr when the fork has bytes already; errFSForkNotFound for
// another name; fLckdErr and fBsyErr as for UpdateResFile. inFlags: 0.
TOOLBOX_MUST_USE OSErr FSCreateResourceFork(const FSRef* inFile, size_t inForkNameLength,
                                            const UniChar* inForkName, UInt32 inFlags);
// Opens a fork and makes it the current file. All permissions but fsRdPerm allow changes; whether the system
// allows them too shows when they are written. A fork that is open for changes already is not opened again:
// its reference number is answered, and the current file stays. eofErr when the fork is empty or missing.
//   outRefNum  positive; -1 on failure
TOOLBOX_MUST_USE OSErr FSOpenResourceFile(const FSRef* inFile, size_t inForkNameLength,
                                          const UniChar* inForkName, SInt8 inPermission, SInt16* outRefNum);
// The same for the resource fork; returns the reference number, or -1.
TOOLBOX_MUST_USE SInt16 FSOpenResFile(const FSRef* inFile, SInt8 inPermission);
// Updates the file, gives up its handles and closes it. It is closed also when updating fails, which ResError
// tells. When it was the current file, the one opened before it becomes current.
TOOLBOX_EXPORT void CloseResFile(SInt16 inRefNum);
// The current file; 0 stands for the system's file, which has no resources.
TOOLBOX_EXPORT SInt16 CurResFile(void);
TOOLBOX_EXPORT void UseResFile(SInt16 inRefNum);
// The file that a resource came from; -1 on failure.
TOOLBOX_EXPORT SInt16 HomeResFile(Handle inResource);
TOOLBOX_EXPORT SInt16 GetResFileAttrs(SInt16 inRefNum);
// Only mapCompact and mapChanged can be set; clearing mapChanged keeps changes of the map from being written.
TOOLBOX_EXPORT void SetResFileAttrs(SInt16 inRefNum, SInt16 inAttributes);
// Writes what has changed. The file holds either all changes or none, at every moment, whatever ends the
// program or the machine; for that it takes room for the old and twice the new while it is written. wPrErr
// when it was opened for reading only and something has changed; dskFulErr too when the changes do not fit
// the format, which ends at 16 MB of data and some thousands of names; fLckdErr when the file is locked by
// now; fBsyErr when somebody else has written the file since it was opened here, is writing it, or has the
// fork open to write (Forks.h), in this process too. (Data that is asked for then is mapReadErr.)
TOOLBOX_EXPORT void UpdateResFile(SInt16 inRefNum);

// Finding. Handles are null on failure. While SetResLoad(false) is in force, for all threads, resources that
// are not in memory are handed out as empty handles, for LoadResource to fill.
//
// When no file searched has any resource of the type, the forms by id and name answer null with noErr;
// every other null comes with its reason.
TOOLBOX_EXPORT Handle GetResource(ResType inType, SInt16 inID);
TOOLBOX_EXPORT Handle Get1Resource(ResType inType, SInt16 inID);
TOOLBOX_EXPORT Handle GetNamedResource(ResType inType, ConstStr255Param inName);
TOOLBOX_EXPORT Handle Get1NamedResource(ResType inType, ConstStr255Param inName);
TOOLBOX_EXPORT Handle GetIndResource(ResType inType, SInt16 inIndex);
TOOLBOX_EXPORT Handle Get1IndResource(ResType inType, SInt16 inIndex);
TOOLBOX_EXPORT SInt16 CountResources(ResType inType);
TOOLBOX_EXPORT SInt16 Count1Resources(ResType inType);
TOOLBOX_EXPORT SInt16 CountTypes(void);
TOOLBOX_EXPORT SInt16 Count1Types(void);
// *outType is 0 when there is no such type.
TOOLBOX_EXPORT void GetIndType(ResType* outType, SInt16 inIndex);
TOOLBOX_EXPORT void Get1IndType(ResType* outType, SInt16 inIndex);
// The lowest id from 128 on that is free in all open files, or in the current one; 0 when there is none.
TOOLBOX_EXPORT SInt16 UniqueID(ResType inType);
TOOLBOX_EXPORT SInt16 Unique1ID(ResType inType);
TOOLBOX_EXPORT void SetResLoad(Boolean inLoad);
// Reads the data if it is not in memory.
TOOLBOX_EXPORT void LoadResource(Handle inResource);

// One resource.

// Each result may be null. On failure the results are left alone. A resource without a name has an empty one.
TOOLBOX_EXPORT void GetResInfo(Handle inResource, SInt16* outID, ResType* outType, unsigned char* outName);
// A null name keeps the name, an empty one takes it away. resAttrErr when protected, wPrErr when the file
// is read only.
TOOLBOX_EXPORT void SetResInfo(Handle inResource, SInt16 inID, ConstStr255Param inName);
TOOLBOX_EXPORT SInt16 GetResAttrs(Handle inResource);
// Effective at once, in a read-only file in memory only, but for the handle's lock and purge bits, which are
// set when the data is read. resChanged stays as it is.
TOOLBOX_EXPORT void SetResAttrs(Handle inResource, SInt16 inAttributes);
// Bytes of data in the file, or of the handle when it was not written yet; -1 on failure. Reads no data.
TOOLBOX_EXPORT SInt32 GetResourceSizeOnDisk(Handle inResource);
// Frees the handle; the next search reads the data again. A changed resource keeps its handle, without an
// error.
TOOLBOX_EXPORT void ReleaseResource(Handle inResource);
// Makes the handle a plain one, which belongs to the caller. resAttrErr for a changed resource, which stays
// one.
TOOLBOX_EXPORT void DetachResource(Handle inResource);

// Changes. They are in memory until the file is updated or closed.

// Makes a plain handle a resource of the current file, changed. Neither type and id nor the name need be new.
// The name may be null. addResFailed for null, an emptied handle or one that is a resource already, and when
// there is no current file; wPrErr when that is read only. The handle is the caller's own still when this
// fails.
TOOLBOX_EXPORT void AddResource(Handle inData, ResType inType, SInt16 inID, ConstStr255Param inName);
// What is in the handle is to be written. resAttrErr when protected, wPrErr when the file is read only.
TOOLBOX_EXPORT void ChangedResource(Handle inResource);
// Takes the resource out of the current file; its handle becomes a plain one of the caller's. rmvResFailed
// when it is protected or not of the current file, which may be read only.
TOOLBOX_EXPORT void RemoveResource(Handle inResource);
// Writes this resource now if it has changed. Other changes of data stay in memory.
TOOLBOX_EXPORT void WriteResource(Handle inResource);

// Strings.

// The "STR " resource, whose data is a Pascal string; null as GetResource.
TOOLBOX_EXPORT Handle GetString(SInt16 inID);
// String inIndex (from 1) of the list "STR#" inListID; empty when list or string is missing, or the list is
// cut off before the string's end. The list stays in memory.
TOOLBOX_EXPORT void GetIndString(unsigned char* outString, SInt16 inListID, SInt16 inIndex);

TOOLBOX_EXTERN_C_END

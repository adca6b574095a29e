// Atom containers: trees of typed atoms in one relocatable block.
//
// An atom has a type, an id that no sibling of its type shares, and either children or data. It is named by
// its offset in the container, which holds until the container is changed. A container belongs to whoever
// made it and is used by one thread at a time.
//
// The block is big-endian on every host and can be written to a file as it is:
//   10 reserved, 2 lock count, then the root, an atom of type "sean" and id 1 that reaches to the block's end
//   atom: 4 size in bytes, these 20 included; 4 type; 4 id; 2 reserved; 2 child count; 4 reserved; then the
//   children one after the other, or, when the count is 0, the data
// Containers may come from a file: what their bytes claim is checked on every call, never trusted, and only
// the atoms that a call passes by are looked at. A null container, or bytes that are none, give
// invalidAtomContainerErr; an offset where no atom of the container starts gives invalidAtomErr.
#pragma once

#include <toolbox/MacErrors.h>
#include <toolbox/MacMemory.h>
#include <toolbox/MacTypes.h>
#include <toolbox/ToolboxExport.h>

TOOLBOX_EXTERN_C_BEGIN

typedef Handle QTAtomContainer;
typedef SInt32 QTAtom;  // offset in the container, in bytes; 0 is no atom
typedef OSType QTAtomType;
typedef SInt32 QTAtomID;

enum { kParentAtomIsContainer = 0 };  // stands for the root wherever a parent is named

// A container without atoms, for the caller to dispose of; null on failure. paramErr, memFullErr.
TOOLBOX_MUST_USE OSErr QTNewAtomContainer(QTAtomContainer* outContainer);
// Locked or not. noErr for null.
TOOLBOX_EXPORT OSErr QTDisposeAtomContainer(QTAtomContainer inContainer);

// Adds an atom.
//   inID         0: the lowest id above 0 that no sibling of the type has
//   inIndex      place among the siblings of its type, from 1; 0: the last. At most their number and one
//   inData       inByteCount bytes, copied; may be null when that is 0
//   outAtom      the new atom; 0 on failure; may be null
// invalidAtomTypeErr for type 0, duplicateAtomTypeAndIDErr, atomIndexInvalidErr (also past 65535 children),
// cannotBeLeafAtomErr when the parent has data, memLockedErr while the container is locked, memFullErr,
// paramErr. The container is unchanged on failure.
TOOLBOX_MUST_USE OSErr QTInsertChild(QTAtomContainer inContainer, QTAtom inParent, QTAtomType inType,
                                     QTAtomID inID, SInt16 inIndex, SInt32 inByteCount, const void* inData,
                                     QTAtom* outAtom);

// Children of inParent with the type; at most 32767. 0 when there are none, or on any failure. Children
// whose bytes make no sense, and those after them, are not counted.
TOOLBOX_EXPORT SInt16 QTCountChildrenOfType(QTAtomContainer inContainer, QTAtom inParent, QTAtomType inType);
// The child of the type with the index, from 1, or with the id; 0 when there is none. outID may be null, and
// is 0 when there is none; so is outIndex.
TOOLBOX_EXPORT QTAtom QTFindChildByIndex(QTAtomContainer inContainer, QTAtom inParent, QTAtomType inType,
                                         SInt16 inIndex, QTAtomID* outID);
TOOLBOX_EXPORT QTAtom QTFindChildByID(QTAtomContainer inContainer, QTAtom inParent, QTAtomType inType,
                                      QTAtomID inID, SInt16* outIndex);
// outType and outID may be null; unchanged on failure.
TOOLBOX_MUST_USE OSErr QTGetAtomTypeAndID(QTAtomContainer inContainer, QTAtom inAtom, QTAtomType* outType,
                                          QTAtomID* outID);

// Where an atom's data is: good until the container is changed or, unless it is locked, resized or moved.
//   outByteCount, outData  0 and null on failure; either may be null. An atom without data: 0, and a pointer
//                          that must not be read
// notLeafAtomErr when the atom has children.
TOOLBOX_MUST_USE OSErr QTGetAtomDataPtr(QTAtomContainer inContainer, QTAtom inAtom, SInt32* outByteCount,
                                        Ptr* outData);

// Keeps the block where it is. Locks are counted in its bytes, up to 65535 (memLockedErr); one unlock too
// many is ignored.
TOOLBOX_MUST_USE OSErr QTLockContainer(QTAtomContainer inContainer);
TOOLBOX_EXPORT OSErr QTUnlockContainer(QTAtomContainer inContainer);

TOOLBOX_EXTERN_C_END

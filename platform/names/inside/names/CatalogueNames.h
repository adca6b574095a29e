// Names of the catalogue, which are Unicode, and names on disk, which are bytes.
//
// "/" in the one is ":" in the other. Bytes on disk that are not UTF-8 stand in a catalogue name as U+F700
// and the byte, one by one, and so do the bytes of characters that would be taken for such. Every name on
// disk comes back as it was. Functions may throw std::bad_alloc.
#pragma once

#include <toolbox/Files.h>
#include <toolbox/MacTypes.h>

#include <string>
#include <string_view>

namespace toolbox::files {

constexpr std::size_t kMaxNameUnits = 255;  // of a catalogue name that a caller gives

std::u16string CatalogueName(std::string_view inDiskName);

// A name as programs get it, cut off where it is longer than that, as a name of the disk's may be that is no
// text.
// Units behind the length stay as they are.
void SetUniStr(std::u16string_view inCatalogueName, HFSUniStr255& outName);

// Whether a name on disk is ASCII, as most are; not an empty one. Of such a one what SetUniStr sets, without
// any memory.
bool IsASCIIName(std::string_view inDiskName);
void SetASCIIName(std::string_view inDiskName, HFSUniStr255& outName);

// False for a name that no item can have: an empty one, "." and "..", one with a NUL, or a surrogate without
// its partner.
bool DiskName(std::u16string_view inCatalogueName, std::string& outDiskName);

// What a name has in common with those that are the same but for case and the form of composed characters:
// of two names that are, and of no others, it is equal. That of a name on disk makes use of the room there
// is.
std::u16string FoldedName(std::u16string_view inCatalogueName);
void FoldDiskName(std::string_view inDiskName, std::u16string& outFolded);

// Whether two names are the same but for that.
bool IsSameName(std::u16string_view inLeft, std::u16string_view inRight);

// The name as a Pascal string of an FSSpec: one that fits as it is, else one that tells the node; see
// toolbox/FileSpecs.h.
//   inMaxByteCount  of text, 15 or more
constexpr std::size_t kMaxSpecNameBytes = 31;
void SpecName(std::u16string_view inCatalogueName, UInt32 inNodeID, StringPtr outName,
              std::size_t inMaxByteCount = kMaxSpecNameBytes);

// Whether a name surely fits as it is, whatever the application's encoding.
bool IsSpecName(std::string_view inDiskName);

// The other way, for one that fits. False when it is no text in the application's encoding.
bool NameOfSpec(ConstStr255Param inName, std::u16string& outCatalogueName);

// The node that a name tells; 0 for one that tells none.
UInt32 NodeOfSpecName(ConstStr255Param inName);

}  // namespace toolbox::files

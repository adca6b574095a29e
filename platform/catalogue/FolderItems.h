// Items by volume, folder and name.
//
// Safe on any thread. Functions may throw std::bad_alloc.
#pragma once

#include "catalogue/Catalogue.h"

#include <toolbox/FileSpecs.h>

#include <string_view>

namespace toolbox::files {

// A volume that was just looked at: it is where its number says.
struct KnownVolume {
    SInt16 number = 0;  // 0: none
    os::VolumeKey key;
};

// A folder by its id on a volume; both as FSMakeFSSpec takes them. nsvErr, dirNFErr.
//   outPlace   may be null; else it may come open, without a name, where that makes it found by one look
//   outVolume  may be null; else it is the volume, where that is looked at
[[nodiscard]] OSStatus FindFolderByID(SInt16 inVolume, NodeID inFolderID, FoundItem& outFolder,
                                      Place* outPlace = nullptr, KnownVolume* outVolume = nullptr);

// Opens the folder, which was just found, as a place without a name. dirNFErr when something else is there by
// now.
[[nodiscard]] OSStatus OpenFoundFolder(const FoundItem& inFolder, Place& outPlace);

// The item of a folder that was just found, by its name in the catalogue: the one that has it, else one whose
// name is the same but for case and form. fnfErr when there is none, dirNFErr when the folder is there no
// more, bdNamErr when there can be none.
//   ioPlace  the folder's; opened unless it is open
[[nodiscard]] OSStatus FindByName(const FoundItem& inFolder, Place& ioPlace, std::u16string_view inName,
                                  FoundItem& outItem);

// The item of a folder, by its name as a specification has it. fnfErr when there is none; bdNamErr when there
// can be none. Of the id that is the parent of all root folders, the one item is the root folder.
//   outVolume  as of FindFolderByID
[[nodiscard]] OSStatus FindBySpec(const FSSpec& inSpec, FoundItem& outItem, KnownVolume* outVolume = nullptr);

// The specification of an item that was just found; the first where its volume is at hand.
[[nodiscard]] FSSpec SpecOf(const FoundItem& inItem, SInt16 inVolume);
//   inKnown  a volume of which it may be
[[nodiscard]] OSStatus MakeSpec(const FoundItem& inItem, FSSpec& outSpec, const KnownVolume& inKnown = {});

// The item's name in the catalogue. That of the root of all paths is "/"; of another volume's root it is the
// folder's where that is mounted.
std::u16string NameInCatalogue(const FoundItem& inItem);

}  // namespace toolbox::files

// Items made, moved and renamed in a test's short form.
#pragma once

#include "CatalogTest.h"
#include "FolderPicture.h"

#include <toolbox/CatalogItems.h>

#include <string>
#include <string_view>

namespace test_files {

inline const UniChar* UnitsOf(std::u16string_view inName) {
    return reinterpret_cast<const UniChar*>(inName.data());
}

// Of a test with a folder.
template <typename Test>
class ItemChangesTest : public CatalogItemsTest<Test> {
  protected:
    static OSErr Rename(const FSRef& inItem, std::u16string_view inName, FSRef* outRef = nullptr) {
        return FSRenameUnicode(&inItem, inName.size(), UnitsOf(inName), 0, outRef);
    }
    static OSErr SetLock(const FSRef& inItem, bool inIsLocked) {
        FSCatalogInfo info = {};
        info.nodeFlags = inIsLocked ? kFSNodeLockedMask : 0;
        return FSSetCatalogInfo(&inItem, kFSCatInfoNodeFlags, &info);
    }
    static OSErr Move(const FSRef& inItem, const FSRef& inFolder, FSRef* outRef = nullptr) {
        return FSMoveObject(&inItem, &inFolder, outRef);
    }
    static OSErr MakeFile(const FSRef& inFolder, std::u16string_view inName, FSRef* outRef = nullptr) {
        return FSCreateFileUnicode(&inFolder, inName.size(), UnitsOf(inName), kFSCatInfoNone, nullptr, outRef,
                                   nullptr);
    }
    static OSErr MakeFolder(const FSRef& inFolder, std::u16string_view inName, FSRef* outRef = nullptr) {
        return FSCreateDirectoryUnicode(&inFolder, inName.size(), UnitsOf(inName), kFSCatInfoNone, nullptr,
                                        outRef, nullptr, nullptr);
    }
    // A file with a companion, each with its name in it.
    std::string MakeWithCompanion(const std::string& inFolder, const std::string& inName) const {
        this->mFolder.MakeFile(inFolder + "._" + inName, CompanionBytes("fork of " + inName));
        return this->mFolder.MakeFile(inFolder + inName, "of " + inName);
    }
    std::string Picture() const { return PictureOf(this->mFolder.Path()); }

    // Somebody looks for these items: answers whether each is there.
    std::string LookFor(std::initializer_list<std::string> inPaths) const {
        std::string found;
        for (const std::string& path : inPaths) {
            const std::size_t slash = path.rfind('/');
            const FSCatalogInfo info =
                this->InfoOf(path.substr(0, slash), kFSCatInfoVolume | kFSCatInfoNodeID);
            FSSpec spec = {};
            const OSErr error = FSMakeFSSpec(info.volume, static_cast<SInt32>(info.nodeID),
                                             PascalName(path.substr(slash + 1)), &spec);
            found += error == noErr ? 'y' : error == fnfErr ? 'n' : '?';
        }
        return found;
    }
};

}  // namespace test_files

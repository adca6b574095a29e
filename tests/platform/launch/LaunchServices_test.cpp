#include "platform/catalogue/ItemChanges.h"
#include "support/FailEach.h"
#include "support/FailingCalls.h"
#include "support/FailingNew.h"
#include "support/FileWorld.h"
#include "support/Variables.h"

#include <catalogue/VolumeLabels.h>
#include <corefoundation/CF_test_access.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <os/SystemCalls_test_access.h>
#include <toolbox/FinderInfo.h>
#include <toolbox/LaunchServices.h>

#include <cstring>
#include <string>

namespace {

using namespace test_files;
using support::FileWorld;
using toolbox::corefoundation::LiveObjectsForTesting;
using toolbox::os::Calls;
using toolbox::os::CallsForTesting;

constexpr const char* kInformation =
    "<plist version=\"1.0\"><dict><key>CFBundleName</key><string>Editor</string></dict></plist>";

class LaunchServicesTest : public ItemChangesTest<support::FileWorldTest> {
  protected:
    ~LaunchServicesTest() override {
        EXPECT_EQ(mObjects, LiveObjectsForTesting());
        EXPECT_EQ(mDescriptors, OpenDescriptorCount());
    }

    // Given back; "(null)", or "status -43" for instance.
    static std::string Taken(OSStatus inStatus, CFStringRef inString) {
        if (inStatus != noErr) return "status " + std::to_string(inStatus);
        if (inString == nullptr) return "(null)";
        char text[2000];
        EXPECT_TRUE(CFStringGetCString(inString, text, sizeof text, kCFStringEncodingUTF8));
        CFRelease(inString);
        return text;
    }
    static std::string Shown(const FSRef& inItem) {
        CFStringRef name = nullptr;
        const OSStatus status = LSCopyDisplayNameForRef(&inItem, &name);
        return Taken(status, name);
    }
    std::string Shown(std::string_view inName) const { return Shown(RefOfItself(mFolder / inName)); }
    static std::string ShownOfURL(const std::string& inText) {
        const CFURLRef url =
            CFURLCreateWithBytes(kCFAllocatorDefault, reinterpret_cast<const UInt8*>(inText.data()),
                                 static_cast<CFIndex>(inText.size()), kCFStringEncodingUTF8, nullptr);
        CFStringRef name = nullptr;
        const OSStatus status = LSCopyDisplayNameForURL(url, &name);
        CFRelease(url);
        return Taken(status, name);
    }
    LSItemInfoRecord ItemInfo(std::string_view inName, LSRequestedInfo inWhich) const {
        const FSRef ref = RefOfItself(mFolder / inName);
        LSItemInfoRecord info;
        std::memset(&info, 0x55, sizeof info);
        EXPECT_EQ(noErr, LSCopyItemInfoForRef(&ref, inWhich, &info)) << inName;
        return info;
    }
    LSItemInfoFlags Flags(std::string_view inName, LSRequestedInfo inWhich = kLSRequestAllFlags) const {
        return ItemInfo(inName, inWhich).flags;
    }
    void SetFinder(std::string_view inName, const FileInfo& inFinder) const {
        const FSRef ref = RefOf(mFolder / inName);
        FSCatalogInfo info = {};
        std::memcpy(info.finderInfo, &inFinder, sizeof inFinder);
        EXPECT_EQ(noErr, FSSetCatalogInfo(&ref, kFSCatInfoFinderInfo, &info));
    }
    void SetFinderFlags(std::string_view inName, UInt16 inFlags) const {
        SetFinder(inName, {0, 0, inFlags, {}, 0});
    }
    // What is trusted of a user's: nobody else may write it, and it may be executed.
    std::string MakeEntry(std::string_view inName, const std::string& inContents,
                          mode_t inMode = 0700) const {
        const std::string path = mFolder.MakeFile(inName, inContents);
        FileWorld::SetMode(path, inMode);
        return path;
    }
    // A package with a name in German.
    void MakeApplication(const std::string& inName, const std::string& inStrings,
                         const std::string& inLanguage = "de") const {
        mFolder.MakeFolder(inName + "/Contents/Resources/" + inLanguage + ".lproj");
        mFolder.MakeFile(inName + "/Contents/Info.plist", kInformation);
        mFolder.MakeFile(inName + "/Contents/Resources/" + inLanguage + ".lproj/InfoPlist.strings",
                         inStrings);
    }

    Variables mVariables{{"LANG", "de_AT.UTF-8"}, {"HOME", mFolder.Path()}};

  private:
    std::size_t mDescriptors = OpenDescriptorCount();
    const decltype(LiveObjectsForTesting()) mObjects = LiveObjectsForTesting();
};
INSTANTIATE_TEST_SUITE_P(Worlds, LaunchServicesTest, support::BothWorlds(), support::NameOfWorld);

TEST_P(LaunchServicesTest, NamesAreThoseOnDiskForPeople) {
    mFolder.MakeFile("plain.txt");
    mFolder.MakeFolder("folder");
    mFolder.MakeFile("12:30");
    mFolder.MakeFile("bad\xFFname");
    mFolder.MakeLink("plain.txt", "link");
    EXPECT_EQ("plain.txt", Shown("plain.txt"));
    EXPECT_EQ("folder", Shown("folder"));
    EXPECT_EQ("12/30", Shown("12:30"));
    EXPECT_EQ("bad\xEF\xBF\xBDname", Shown("bad\xFFname"));
    EXPECT_EQ("link", Shown("link"));
    EXPECT_EQ("/", Shown(RefOf("/")));
}

TEST_P(LaunchServicesTest, WhatIsNotThere) {
    const FSRef ref = RefOf(mFolder.MakeFile("file"));
    FileWorld::Remove(mFolder / "file");
    EXPECT_EQ("status -43", Shown(ref));
    LSItemInfoRecord info;
    EXPECT_EQ(fnfErr, LSCopyItemInfoForRef(&ref, kLSRequestAllFlags, &info));
    FSRef none = {};
    none.hidden[0] = 0xFF;
    EXPECT_EQ(errFSBadFSRef, LSCopyItemInfoForRef(&none, kLSRequestAllFlags, &info));
    CFStringRef name = nullptr;
    EXPECT_EQ(paramErr, LSCopyDisplayNameForRef(nullptr, &name));
    EXPECT_EQ(paramErr, LSCopyDisplayNameForRef(&ref, nullptr));
    EXPECT_EQ(paramErr, LSCopyDisplayNameForURL(nullptr, &name));
    EXPECT_EQ(paramErr, LSCopyItemInfoForRef(nullptr, 0, &info));
    EXPECT_EQ(paramErr, LSCopyItemInfoForRef(&ref, 0, nullptr));
}

TEST_P(LaunchServicesTest, URLs) {
    mFolder.MakeFile("plain.txt");
    mFolder.MakeFile("hidden.txt");
    SetFinderFlags("hidden.txt", kHidesExtension);
    mFolder.MakeLink("plain.txt", "link");
    mFolder.MakeLink("none", "dangling");
    mFolder.MakeFolder("folder");
    const std::string here = "file://" + mFolder.Path() + '/';
    EXPECT_EQ("plain.txt", ShownOfURL(here + "plain.txt"));
    EXPECT_EQ("hidden", ShownOfURL(here + "hidden.txt"));
    EXPECT_EQ("link", ShownOfURL(here + "link"));
    EXPECT_EQ("dangling", ShownOfURL(here + "dangling"));
    EXPECT_EQ("folder", ShownOfURL(here + "folder/"));
    EXPECT_EQ("new/1.txt", ShownOfURL(here + "new:1.txt")) << "there is none";
    EXPECT_EQ("page.txt", ShownOfURL("http://host" + mFolder.Path() + "/page.txt"));
    EXPECT_EQ("hidden.txt", ShownOfURL("http://host" + mFolder.Path() + "/hidden.txt")) << "of another host";
    EXPECT_EQ("status -43", ShownOfURL(here + "%FF"));
    EXPECT_EQ("status -43", ShownOfURL("http:"));
}

TEST_P(LaunchServicesTest, ExtensionsAreHiddenWhereTheItemSaysSo) {
    for (const char* const name : {"a.txt", "b.tar.gz", "plain", ".profile", "end."}) {
        mFolder.MakeFile(name);
        SetFinderFlags(name, kHidesExtension);
    }
    mFolder.MakeFolder("folder.d");
    SetFinderFlags("folder.d", kHidesExtension);
    mFolder.MakeFile("c.txt");
    SetFinderFlags("c.txt", 0xBFEF);
    EXPECT_EQ("a", Shown("a.txt"));
    EXPECT_EQ("b.tar", Shown("b.tar.gz"));
    EXPECT_EQ("plain", Shown("plain"));
    EXPECT_EQ(".profile", Shown(".profile"));
    EXPECT_EQ("end.", Shown("end."));
    EXPECT_EQ("folder", Shown("folder.d"));
    EXPECT_EQ("c.txt", Shown("c.txt"));
    EXPECT_EQ(kLSItemInfoExtensionIsHidden, Flags("a.txt", kLSRequestExtensionFlagsOnly));
    EXPECT_EQ(0U, Flags("plain", kLSRequestExtensionFlagsOnly));
    EXPECT_EQ(0U, Flags("c.txt", kLSRequestExtensionFlagsOnly));
    EXPECT_EQ(0U, Flags("a.txt", kLSRequestBasicFlagsOnly) & kLSItemInfoExtensionIsHidden);
}

TEST_P(LaunchServicesTest, TrustedDesktopEntries) {
    const std::string entry =
        "# comment\n[Desktop Entry]\r\nType=Application\nName=Editor\n"
        "Name[de]=Schreiber\nName[de_AT] = \xC3\x96sterreichischer Schreiber \n"
        "Name[ca@valencia]=Escriptor\n"
        "[Other]\nName[de_AT]=wrong\nName[fr]=wrong\n";
    MakeEntry("editor.desktop", entry);
    EXPECT_EQ("\xC3\x96sterreichischer Schreiber", Shown("editor.desktop"));
    mVariables["LANG"] = "de_CH";
    EXPECT_EQ("Schreiber", Shown("editor.desktop"));
    mVariables["LANG"] = "C.UTF-8";
    mVariables["LANGUAGE"] = "de";
    EXPECT_EQ("Editor", Shown("editor.desktop"));
    mVariables["LANG"] = "fr_FR@euro";
    EXPECT_EQ("Schreiber", Shown("editor.desktop")) << "by LANGUAGE";
    mVariables["LANGUAGE"] = "fr:en:de";
    EXPECT_EQ("Editor", Shown("editor.desktop")) << "which is English";
    mVariables["LANGUAGE"] = "../de:de";
    EXPECT_EQ("Schreiber", Shown("editor.desktop"));
    mVariables["LANGUAGE"] = "ca_ES@valencia";
    EXPECT_EQ("Escriptor", Shown("editor.desktop"));
    mVariables["LANGUAGE"] = "fr";
    EXPECT_EQ("Editor", Shown("editor.desktop")) << "what follows the entry is not of it";
}

TEST_P(LaunchServicesTest, DesktopEntriesThatAreNotTrusted) {
    const std::string entry = "[Desktop Entry]\nName=Other\n";
    for (const mode_t mode : {0720, 0702, 0777}) {
        MakeEntry("a.desktop", entry, mode);
        EXPECT_EQ("a.desktop", Shown("a.desktop")) << mode;
    }
    MakeEntry("a.desktop", entry, 0700);
    EXPECT_EQ("Other", Shown("a.desktop"));
    mFolder.MakeLink("a.desktop", "link.desktop");
    EXPECT_EQ("link.desktop", Shown("link.desktop"));
    MakeEntry("a.text", entry);
    EXPECT_EQ("a.text", Shown("a.text"));
    const FileWorld::OrdinaryUser user(mFolder);
    MakeEntry("own.desktop", entry, 0600);
    EXPECT_EQ("own.desktop", Shown("own.desktop")) << "it cannot be executed";
    MakeEntry("own.desktop", entry, 0700);
    EXPECT_EQ("Other", Shown("own.desktop"));
}

TEST_P(LaunchServicesTest, DesktopEntriesWithoutAUsableName) {
    const std::string before = "[Desktop Entry]\nName=";
    for (const std::string& contents :
         {std::string(), std::string("Name=Other\n"), std::string("[Other]\nName=Other\n"), before,
          before + "two\\nlines", before + "\xFF", before + std::string(256, 'n'),
          before + "\xE2\x80\xAEtxt.exe", before + "Other\n" + std::string(64 * 1024, '#')}) {
        MakeEntry("a.desktop", contents);
        EXPECT_EQ("a.desktop", Shown("a.desktop")) << contents.substr(0, 60);
    }
    MakeEntry("a.desktop", before + std::string(255, 'n'));
    EXPECT_EQ(std::string(255, 'n'), Shown("a.desktop"));
    MakeEntry("a.desktop", before + "\\sa\\\\b");
    EXPECT_EQ(" a\\b", Shown("a.desktop"));
}

TEST_P(LaunchServicesTest, PackagesInALanguageOfTheUsers) {
    MakeApplication("Editor.app", "/* a */ \"CFBundleName\" = \"Schreiber\"; // b\n");
    EXPECT_EQ("Schreiber", Shown("Editor.app"));
    EXPECT_EQ("Schreiber", ShownOfURL("file://" + mFolder.Path() + "/Editor.app/"));
    mVariables["LANG"] = "fr_FR";
    EXPECT_EQ("Editor.app", Shown("Editor.app"));
    mVariables["LANGUAGE"] = "fr:de";
    EXPECT_EQ("Schreiber", Shown("Editor.app"));
    mVariables["LANG"] = "C";
    EXPECT_EQ("Editor.app", Shown("Editor.app"));
    mVariables["LANG"] = "de_AT";
    mVariables["LANGUAGE"] = "";
    FileWorld::Rename(mFolder / "Editor.app", mFolder / "Mine.app");
    EXPECT_EQ("Mine.app", Shown("Mine.app")) << "by the name that the user gave it";
}

TEST_P(LaunchServicesTest, FormsOfTranslations) {
    const char* const kPlist =
        "<plist version=\"1.0\"><dict><key>CFBundleName</key><string>S</string>"
        "<key>CFBundleDisplayName</key><string>Liste</string></dict></plist>";
    const struct {
        std::string contents;
        std::string shown;
    } cases[] = {
        {"CFBundleName = Schreiber;", "Schreiber"},
        {"\"CFBundleName\"=\"A\";\"CFBundleDisplayName\"=\"B \\\"b\\\"\";", "B \"b\""},
        {std::string("\xFE\xFF\0C\0F\0B\0u\0n\0d\0l\0e\0N\0a\0m\0e\0=\0\xD6\0;", 32), "Editor.app"},
        {std::string("\xFE\xFF\0C\0F\0B\0u\0n\0d\0l\0e\0N\0a\0m\0e\0=\0\"\0\xD6\0\"\0;", 36), "\xC3\x96"},
        {kPlist, "Liste"},
        {"\"Other\" = \"x\"", "Editor.app"},
        {"\"CFBundleName\" = \"x", "Editor.app"},
        {"\"CFBundleName\" \"x\";", "Editor.app"},
        {"/* CFBundleName = x;", "Editor.app"},
        {"\"CFBundleName\" = \"two\\nlines\";", "Editor.app"},
        {"CFBundleName = x;" + std::string(256 * 1024, ' '), "Editor.app"},
        {"", "Editor.app"},
    };
    for (const auto& [contents, shown] : cases) {
        MakeApplication("Editor.app", contents);
        EXPECT_EQ(shown, Shown("Editor.app")) << contents.substr(0, 60);
    }
}

TEST_P(LaunchServicesTest, PlacesOfTranslations) {
    const std::string strings = "CFBundleName = Schreiber;";
    for (const char* const language : {"de_AT", "de-AT", "de"}) {
        MakeApplication("Editor.app", strings, language);
        EXPECT_EQ("Schreiber", Shown("Editor.app")) << language;
        FileWorld::RemoveAll(mFolder / "Editor.app");
    }
    MakeApplication("Editor.app", strings, "de_CH");
    EXPECT_EQ("Editor.app", Shown("Editor.app"));
    MakeApplication("Editor.app", strings, "sub/de");
    mVariables["LANGUAGE"] = "sub/de";
    EXPECT_EQ("Editor.app", Shown("Editor.app")) << "which is no language";
    mVariables["LANGUAGE"] = "";
    // What is outside of it does not count, nor is a folder that is no package looked into.
    mFolder.MakeFile("outside", strings);
    mFolder.MakeFolder("Editor.app/Contents/Resources/de.lproj");
    mFolder.MakeLink(mFolder / "outside", "Editor.app/Contents/Resources/de.lproj/InfoPlist.strings");
    EXPECT_EQ("Editor.app", Shown("Editor.app"));
    MakeApplication("Editor", strings);
    EXPECT_EQ("Editor", Shown("Editor"));
    mFolder.MakeFile("Editor/Contents/PkgInfo", "APPLedit");
    EXPECT_EQ("Schreiber", Shown("Editor"));
}

TEST_P(LaunchServicesTest, FlagsOfItems) {
    mFolder.MakeFile("file");
    mFolder.MakeFile(".dot");
    mFolder.MakeFolder("folder");
    mFolder.MakeLink("file", "link");
    mFolder.MakePipe("pipe");
    EXPECT_EQ(kLSItemInfoIsPlainFile, Flags("file"));
    EXPECT_EQ(static_cast<LSItemInfoFlags>(kLSItemInfoIsPlainFile | kLSItemInfoIsInvisible), Flags(".dot"));
    EXPECT_EQ(kLSItemInfoIsContainer, Flags("folder"));
    EXPECT_EQ(static_cast<LSItemInfoFlags>(kLSItemInfoIsSymlink | kLSItemInfoIsAliasFile), Flags("link"));
    EXPECT_EQ(kLSItemInfoIsPlainFile, Flags("pipe"));
    SetFinderFlags("file", kIsAlias | kIsInvisible);
    EXPECT_EQ(static_cast<LSItemInfoFlags>(kLSItemInfoIsPlainFile | kLSItemInfoIsInvisible |
                                           kLSItemInfoIsAliasFile),
              Flags("file"));
    SetFinderFlags("folder", kIsAlias);
    EXPECT_EQ(kLSItemInfoIsContainer, Flags("folder"));
    const FSRef root = RefOf("/");
    LSItemInfoRecord info;
    EXPECT_EQ(noErr, LSCopyItemInfoForRef(&root, kLSRequestBasicFlagsOnly, &info));
    EXPECT_EQ(static_cast<LSItemInfoFlags>(kLSItemInfoIsContainer | kLSItemInfoIsVolume), info.flags);
    EXPECT_EQ(0U, Flags("file", 0));
}

TEST_P(LaunchServicesTest, Packages) {
    constexpr LSItemInfoFlags kPackage = kLSItemInfoIsPackage | kLSItemInfoIsContainer;
    for (const char* const name : {"a.bundle", "b.component", "c.plugin", "d.nib", "e.BUNDLE"}) {
        mFolder.MakeFolder(name);
        EXPECT_EQ(kPackage, Flags(name)) << name;
    }
    for (const char* const name : {"a.framework", "app", ".app", "b.application"}) {
        mFolder.MakeFolder(name);
        EXPECT_EQ(0U, Flags(name) & kPackage & ~kLSItemInfoIsContainer) << name;
    }
    mFolder.MakeFolder("flagged");
    SetFinderFlags("flagged", kHasBundle);
    EXPECT_EQ(kPackage, Flags("flagged"));
    mFolder.MakeFolder("e/Contents");
    EXPECT_EQ(kLSItemInfoIsContainer, Flags("e"));
    mFolder.MakeFile("e/Contents/PkgInfo", "BNDLedit");
    EXPECT_EQ(kPackage, Flags("e"));
    mFolder.MakeFile("f.app");
    EXPECT_EQ(kLSItemInfoIsPlainFile, Flags("f.app"));
}

TEST_P(LaunchServicesTest, ApplicationsTypesAndCreators) {
    constexpr LSItemInfoFlags kApplication =
        kLSItemInfoIsApplication | kLSItemInfoIsPackage | kLSItemInfoIsContainer;
    mFolder.MakeFolder("Editor.app/Contents");
    mFolder.MakeFile("Editor.app/Contents/PkgInfo", "APPLedit");
    EXPECT_EQ(kApplication, Flags("Editor.app", kLSRequestBasicFlagsOnly));
    EXPECT_EQ(kLSItemInfoIsNativeApp, Flags("Editor.app", kLSRequestAppTypeFlags));
    EXPECT_EQ(kApplication | kLSItemInfoIsNativeApp, Flags("Editor.app"));
    LSItemInfoRecord info = ItemInfo("Editor.app", kLSRequestTypeCreator | kLSRequestExtension);
    EXPECT_EQ(0x4150504CU, info.filetype);
    EXPECT_EQ(0x65646974U, info.creator);
    EXPECT_EQ(0U, info.flags);
    EXPECT_EQ("app", Taken(noErr, info.extension));
    EXPECT_TRUE(info.iconFileName == nullptr && info.kindID == 0);

    mFolder.MakeFile("tool");
    SetFinder("tool", {0x4150504C, 0x746F6F6C, 0, {}, 0});
    EXPECT_EQ(static_cast<LSItemInfoFlags>(kLSItemInfoIsPlainFile | kLSItemInfoIsApplication),
              Flags("tool", kLSRequestBasicFlagsOnly));
    info = ItemInfo("tool", kLSRequestTypeCreator | kLSRequestExtension);
    EXPECT_EQ(0x746F6F6CU, info.creator);
    EXPECT_EQ(nullptr, info.extension);
    info = ItemInfo("tool", kLSRequestAllFlags);
    EXPECT_TRUE(info.filetype == 0 && info.creator == 0) << "what was not asked for";
    mFolder.MakeFolder("folder");
    SetFinder("folder", {0x4150504C, 0x746F6F6C, 0, {}, 0});
    info = ItemInfo("folder", kLSRequestTypeCreator | kLSRequestAllFlags);
    EXPECT_TRUE(info.filetype == 0 && info.creator == 0 && info.flags == kLSItemInfoIsContainer);
}

// A name that is worth less, or a status; never half of one, and nothing stays.
TEST_P(LaunchServicesTest, EveryFailingCallAndAllocationInTurn) {
    MakeApplication("Editor.app", "CFBundleName = Schreiber;");
    MakeEntry("editor.desktop", "[Desktop Entry]\nName=Schreiber\n");
    for (const char* const item : {"Editor.app", "editor.desktop"}) {
        const FSRef ref = RefOf(mFolder / item);
        const auto show = [&](const auto& inUnderFault) {
            CFStringRef name = nullptr;
            OSStatus status = noErr;
            LSItemInfoRecord info = {};
            inUnderFault([&] {
                status = LSCopyDisplayNameForRef(&ref, &name);
                (void)LSCopyItemInfoForRef(&ref, kLSRequestAllFlags | kLSRequestExtension, &info);
            });
            if (info.extension != nullptr) CFRelease(info.extension);
            const std::string shown = Taken(status, name);
            EXPECT_TRUE(shown == "Schreiber" || shown == item || shown == "status -36" ||
                        shown == "status -108")
                << shown;
        };
        EXPECT_GT(support::FailEach<FailingCalls>(show, EIO), 5);
        EXPECT_GT(support::FailEach<FailingNew>(show), 5);
    }
}

// The device and the folder of labels are made up; the mount table is the real one with another source.
TEST_P(LaunchServicesTest, LabelsOfVolumes) {
    mFolder.MakeFile("device");
    mFolder.MakeFolder("labels");
    mFolder.MakeLink("../none", "labels/None");
    mFolder.MakeLink("../device", "labels/My\\x20Disk\\x");
    EXPECT_EQ("My Disk\\x", toolbox::files::LabelOfDevice(mFolder / "device", mFolder / "labels"));
    EXPECT_EQ("", toolbox::files::LabelOfDevice(mFolder / "labels", mFolder / "labels"));
    EXPECT_EQ("", toolbox::files::LabelOfDevice(mFolder / "none", mFolder / "labels"));
    EXPECT_EQ("", toolbox::files::LabelOfDevice(mFolder / "device", mFolder / "none"));
}

TEST_P(LaunchServicesTest, VolumesAreShownByTheirLabels) {
    if (mFolder.Memory() == nullptr) GTEST_SKIP() << "where the test can make a device";
    for (const char* const folder : {"/dev/disk", "/dev/disk/by-label"})
        ASSERT_EQ(0, Calls().mkdirat(AT_FDCWD, folder, 0755));
    std::string table = FileWorld::Contents("/proc/self/mountinfo");
    const std::string none = " none ";
    for (std::size_t at = table.find(none); at != std::string::npos; at = table.find(none))
        table.replace(at, none.size(), " /dev/null ");
    static std::string sTable;
    sTable = mFolder.MakeFile("table", table);
    static auto sOpen = CallsForTesting().openat;
    sOpen = CallsForTesting().openat;
    CallsForTesting().openat = [](int inFolder, const char* inPath, int inFlags, mode_t inMode) {
        const bool isTable = std::strcmp(inPath, "/proc/self/mountinfo") == 0;
        return sOpen(inFolder, isTable ? sTable.c_str() : inPath, inFlags, inMode);
    };
    EXPECT_EQ("/", Shown(RefOf("/"))) << "without a label";
    ASSERT_EQ(0, mFolder.Memory()->MakeLink("../../null", "/dev/disk/by-label/Hard\\x20Disk"));
    EXPECT_EQ("Hard Disk", Shown(RefOf("/")));
    EXPECT_EQ("tmp", Shown(RefOf("/tmp"))) << "a folder like others";
    CallsForTesting().openat = sOpen;
}

}  // namespace

// Specifications of files: how they are made, and what they remember.
#include "SpecTest.h"

#include <toolbox/CFURL.h>

#include <memory>
#include <utility>

namespace {

using namespace test_files;

class TFSSpecTest : public SpecTest {
  protected:
    static FSCatalogInfo InfoWith(UInt16 inNodeFlags) {
        FSCatalogInfo info = {};
        info.nodeFlags = inNodeFlags;
        info.volume = -7;
        info.parentDirID = 0x80000001;
        info.nodeID = 0x80000002;
        return info;
    }
    // Of "file://" and what follows; the caller releases it.
    static CFURLRef NewURL(const std::string& inText) {
        return CFURLCreateWithBytes(kCFAllocatorDefault, reinterpret_cast<const UInt8*>(inText.data()),
                                    static_cast<CFIndex>(inText.size()), kCFStringEncodingUTF8, nullptr);
    }
    static long ThrownOfPath(const char* inPath) {
        return Thrown([&] { const TFSSpec spec(inPath); });
    }
};

TEST_F(TFSSpecTest, Layout) {
    const TFSSpec spec(InfoWith(0), Uni(u"name"));
    const SpecImage image = ImageOf(spec);
    EXPECT_EQ(-7, image.volume);
    EXPECT_EQ(0x80000001, image.folder);
    EXPECT_EQ("name", fakes::TextOf(image.name));
    EXPECT_EQ(0U, image.hasFolderRef);
}

TEST_F(TFSSpecTest, WithoutAnything) {
    const TFSSpec spec;
    EXPECT_EQ("0 0 ", Fields(spec));
    EXPECT_FALSE(HasFolderRef(spec));
    FSRef ref;
    EXPECT_FALSE(spec.IsValid() || spec.Exists() || spec.IsFolder() || spec.IsBundle() || spec.IsVolume() ||
                 spec.GetFSRef(ref));
    EXPECT_EQ(0U, spec.GetNodeID());
    EXPECT_EQ(0U, spec.GetParentID());
    EXPECT_EQ(0U, spec.GetFileCreator());
    EXPECT_EQ(0, spec.GetVolume());
    EXPECT_EQ(fnfErr, Thrown([&] { (void)spec.GetFSRef(); }));
    EXPECT_EQ(Log(), Asked());
}

TEST_F(TFSSpecTest, OfAFilesReference) {
    const TFSSpec spec(mFile);
    EXPECT_EQ("-1 20 file", Fields(spec));
    EXPECT_FALSE(HasFolderRef(spec));
    EXPECT_EQ(Log{"FSGetCatalogInfo(30, 30, name)"}, Asked());
}

TEST_F(TFSSpecTest, OfAFoldersReference) {
    const TFSSpec spec(mFolder);
    EXPECT_EQ("-1 40 ", Fields(spec));
    EXPECT_FALSE(HasFolderRef(spec));
    EXPECT_EQ(Log{"FSGetCatalogInfo(40, 30, name)"}, Asked());
}

TEST_F(TFSSpecTest, OfAReferenceToNothing) {
    EXPECT_EQ(fnfErr, Thrown([&] { const TFSSpec spec(mMissing); }));
    fakes::Refuse("FSGetCatalogInfo", afpAccessDenied);
    EXPECT_EQ(afpAccessDenied, Thrown([&] { const TFSSpec spec(mFile); }));
}

TEST_F(TFSSpecTest, InitFromFSRefTouchesNoCacheAndOfFoldersNoName) {
    TFSSpec spec(mHere, String("file"));
    spec.InitFromFSRef(mFolder);
    EXPECT_EQ("-1 40 file", Fields(spec));
    EXPECT_TRUE(HasFolderRef(spec));
    spec.InitFromFSRef(fakes::RefOf(kInner));
    EXPECT_EQ("-1 40 inner", Fields(spec));
    EXPECT_TRUE(HasFolderRef(spec));
    EXPECT_EQ(fnfErr, Thrown([&] { spec.InitFromFSRef(mMissing); }));
    EXPECT_EQ("-1 40 inner", Fields(spec));
}

TEST_F(TFSSpecTest, OfAnFSSpec) {
    EXPECT_EQ("-1 20 file", Fields(Spec(-1, kHere, "file")));
    EXPECT_EQ((Log{"FSpMakeFSRef(-1, 20)", "FSGetCatalogInfo(30, 30, name)"}), Asked());
    EXPECT_EQ("-1 40 ", Fields(Spec(-1, kHere, "folder")));
    EXPECT_EQ("-1 20 ", Fields(Spec(-1, kHere, "")));
}

TEST_F(TFSSpecTest, OfAnFSSpecOfNothingYet) {
    EXPECT_EQ("-1 20 new", Fields(Spec(0, kHere, "new"))) << "the volume is told";
    EXPECT_EQ((Log{"FSpMakeFSRef(0, 20)", "FSMakeFSSpec(0, 20, new)"}), Asked());
    // What is there all the same by then.
    fakes::Refuse("FSpMakeFSRef", ioErr);
    EXPECT_EQ("-1 20 file", Fields(Spec(0, kHere, "file")));
    EXPECT_EQ((Log{"FSpMakeFSRef(0, 20)", "FSMakeFSSpec(0, 20, file)"}), Asked());
}

TEST_F(TFSSpecTest, OfAnFSSpecThatTheFileManagerDoesNotTake) {
    EXPECT_EQ("0 99 new", Fields(Spec(0, kMissing, "new")));
    fakes::Refuse("FSMakeFSSpec", nsvErr);
    EXPECT_EQ("0 20 new", Fields(Spec(0, kHere, "new")));
    EXPECT_EQ("-9 2147483649 ", Fields(Spec(-9, 0x80000001, ""))) << "ids have no sign";
}

// Else it would be the folder.
TEST_F(TFSSpecTest, NamesThatAreNoTextAreNotNoNames) {
    EXPECT_EQ(bdNamErr, Thrown([&] { const TFSSpec spec(Spec(-1, kHere, "\xFF")); }));
    EXPECT_EQ(bdNamErr, ThrownOfPath("/here/bad\xFFname"));
    EXPECT_EQ(bdNamErr, ThrownOfPath("file:///here/bad%FFname"));
    const CFURLRef url = NewURL("file:///here/bad%FFname");
    EXPECT_EQ(bdNamErr, Thrown([&] { const TFSSpec spec(url); }));
    CFRelease(url);
}

TEST_F(TFSSpecTest, OfVolumeAndFolder) {
    EXPECT_EQ("-1 40 ", Fields({-1, kFolder}));
    EXPECT_EQ((Log{"FSpMakeFSRef(-1, 40)", "FSGetCatalogInfo(40, 30, name)"}), Asked());
    EXPECT_EQ("-1 2 ", Fields({-1, fakes::kRoot}));
    EXPECT_EQ(TFSSpec(mFolder), TFSSpec(-1, kFolder));
}

TEST_F(TFSSpecTest, OfVolumeAndFolderThatAreNone) {
    EXPECT_EQ("-1 99 ", Fields({-1, kMissing}));
    EXPECT_EQ(Log{"FSpMakeFSRef(-1, 99)"}, Asked());
    EXPECT_EQ("-5 1 ", Fields({-5, 1}));
    EXPECT_EQ("-1 2147483649 ", Fields({-1, static_cast<unsigned long>(SInt32(0x80000001))}));
    fakes::Refuse("FSGetCatalogInfo", ioErr);
    EXPECT_EQ(ioErr, Thrown([&] { const TFSSpec spec(-1, kFolder); }));
}

TEST_F(TFSSpecTest, OfVolumeFolderAndName) {
    EXPECT_EQ("-1 20 file", Fields({-1, kHere, String("file")}));
    EXPECT_EQ(
        (Log{"PBMakeFSRefSync(-1, 20, )", "FSMakeFSRefUnicode(20, file)", "FSGetCatalogInfo(30, 30, name)"}),
        Asked());
    EXPECT_EQ("-1 20 file", Fields({-1, kHere, String("FILE")})) << "as it is on disk";
}

TEST_F(TFSSpecTest, OfTheNameOfAFolder) {
    const TFSSpec spec(-1, kHere, String("folder"));
    EXPECT_EQ("-1 40 ", Fields(spec));
    EXPECT_EQ(TFSSpec(mFolder), spec);
    EXPECT_EQ(TFSSpec(mFolder), TFSSpec(-1, kHere, String("FOLDER")));
}

TEST_F(TFSSpecTest, OfANameThatNothingHasYet) {
    EXPECT_EQ("-1 20 New", Fields({-1, kHere, String("New")}));
    EXPECT_EQ((Log{"PBMakeFSRefSync(-1, 20, )", "FSMakeFSRefUnicode(20, New)"}), Asked());
    EXPECT_EQ("-1 99 New", Fields({-1, kMissing, String("New")}));
    EXPECT_EQ(Log{"PBMakeFSRefSync(-1, 99, )"}, Asked());
    EXPECT_EQ("-1 99 ", Fields({-1, kMissing, TCFString::Empty}));
    EXPECT_EQ("-1 20 ", Fields({-1, kHere, TCFString::Empty}));
    EXPECT_EQ((Log{"PBMakeFSRefSync(-1, 99, )", "PBMakeFSRefSync(-1, 20, )"}), Asked());
}

TEST_F(TFSSpecTest, NormalizeGivesUpSilently) {
    fakes::Refuse("FSGetCatalogInfo", ioErr);
    EXPECT_EQ("-1 20 FILE", Fields({-1, kHere, String("FILE")}));
    EXPECT_EQ("-1 20 FOLDER", Fields({-1, kHere, String("FOLDER")}));
}

TEST_F(TFSSpecTest, NormalizeOfWhatWasMadeMeanwhile) {
    TFSSpec spec(-1, kHere, String("new"));
    fakes::PutFolder(50, kHere, "New");
    spec.Normalize();
    EXPECT_EQ("-1 50 ", Fields(spec));
    EXPECT_TRUE(HasFolderRef(spec)) << "of the folder above it, and used no more";
    FSRef ref;
    EXPECT_TRUE(spec.GetFSRef(ref));
    EXPECT_EQ(50U, fakes::IDOf(ref));
}

// Cut off it might be another's.
TEST_F(TFSSpecTest, NamesThatAreTooLongAreNobodys) {
    const std::string name(255, 'n');
    fakes::PutFile(50, kHere, name);
    const TFSSpec longer(-1, kHere, String((name + 'n').c_str()));
    EXPECT_EQ("-1 20 " + name + 'n', Fields(longer));
    EXPECT_FALSE(longer.Exists());
    EXPECT_EQ(Log{"PBMakeFSRefSync(-1, 20, )"}, Asked());
    EXPECT_TRUE(TFSSpec(-1, kHere, String(name.c_str())).Exists());
}

TEST_F(TFSSpecTest, OfParentAndName) {
    const TFSSpec spec(mHere, String("file"));
    EXPECT_EQ("-1 20 file", Fields(spec));
    EXPECT_TRUE(HasFolderRef(spec));
    EXPECT_EQ(kHere, fakes::IDOf(ImageOf(spec).folderRef));
    EXPECT_EQ(
        (Log{"FSGetCatalogInfo(20, 22)", "FSMakeFSRefUnicode(20, file)", "FSGetCatalogInfo(30, 30, name)"}),
        Asked());
    EXPECT_EQ("-1 40 ", Fields({mHere, String("folder")}));
    EXPECT_EQ("-1 20 New", Fields({mHere, String("New")}));
    EXPECT_EQ("-1 20 ", Fields({mHere, TCFString::Empty}));
}

TEST_F(TFSSpecTest, OfAParentThatIsNone) {
    EXPECT_EQ(paramErr, Thrown([&] { const TFSSpec spec(mFile, String("x")); }));
    EXPECT_EQ(Log{"FSGetCatalogInfo(30, 22)"}, Asked());
    EXPECT_EQ(fnfErr, Thrown([&] { const TFSSpec spec(mMissing, String("x")); }));
    TFSSpec spec(mHere, String("file"));
    EXPECT_EQ(paramErr, Thrown([&] { spec.InitFromParentRefAndName(mFile, String("x")); }));
    EXPECT_EQ("-1 20 file", Fields(spec));
}

TEST_F(TFSSpecTest, OfACatalogueRecord) {
    EXPECT_EQ("-7 2147483649 name", Fields({InfoWith(0), Uni(u"name")}));
    EXPECT_EQ("-7 2147483650 ", Fields({InfoWith(kFSNodeIsDirectoryMask), Uni(u"name")}));
    EXPECT_EQ("-7 2147483650 ", Fields({InfoWith(0xFFFF), Uni(u"name")}));
    EXPECT_EQ("-7 2147483649 name", Fields({InfoWith(0xFFEF), Uni(u"name")}));
    EXPECT_EQ(Log(), Asked());
}

TEST_F(TFSSpecTest, OfAURL) {
    const CFURLRef url = NewURL("file:///here/file");
    (void)Asked();
    EXPECT_EQ("-1 20 file", Fields(url));
    EXPECT_EQ((Log{"CFURLGetFSRef(/here/file)", "FSGetCatalogInfo(30, 30, name)"}), Asked());
    CFRelease(url);
}

TEST_F(TFSSpecTest, OfAURLOfNothingYet) {
    const CFURLRef url = NewURL("file:///here/new%20one");
    (void)Asked();
    EXPECT_EQ("-1 20 new one", Fields(url));
    EXPECT_EQ((Log{"CFURLGetFSRef(/here/new one)", "CFURLCreateCopyDeletingLastPathComponent()",
                   "CFURLCopyLastPathComponent()", "CFURLGetFSRef(/here)", "CFRelease(/here)",
                   "FSGetCatalogInfo(20, 22)", "FSMakeFSRefUnicode(20, new one)"}),
              Asked());
    CFRelease(url);
}

TEST_F(TFSSpecTest, OfAURLThatLeadsNowhere) {
    for (const char* const text : {"file:///none/new", "other:path"}) {
        const CFURLRef url = NewURL(text);
        EXPECT_EQ(fnfErr, Thrown([&] { const TFSSpec spec(url); })) << text;
        CFRelease(url);
    }
    const CFURLRef url = NewURL("file:///here/file/new");
    EXPECT_EQ(paramErr, Thrown([&] { const TFSSpec spec(url); })) << "the parent is a file";
    CFRelease(url);
}

TEST_F(TFSSpecTest, OfAPath) {
    EXPECT_EQ("-1 20 file", Fields("/here/file"));
    EXPECT_EQ((Log{"FSPathMakeRef()", "FSGetCatalogInfo(30, 30, name)"}), Asked());
    EXPECT_EQ("-1 40 ", Fields("/here/folder"));
    EXPECT_EQ("-1 2 ", Fields("/"));
}

TEST_F(TFSSpecTest, OfAPathOfNothingYet) {
    EXPECT_EQ("-1 20 new", Fields("/here/new"));
    EXPECT_EQ((Log{"FSPathMakeRef()", "FSPathMakeRef()", "FSGetCatalogInfo(20, 22)",
                   "FSMakeFSRefUnicode(20, new)"}),
              Asked());
    EXPECT_EQ("-1 20 12:30.txt", Fields("/here/12:30.txt"));
    const std::string leaf(300, 'n');
    EXPECT_EQ("-1 20 " + leaf, Fields(("/here/" + leaf).c_str())) << "never cut off";
}

TEST_F(TFSSpecTest, OfAPathWithoutASlash) {
    EXPECT_EQ("-1 2 newfile", Fields("newfile")) << "in the root folder";
    EXPECT_EQ("-1 20 ", Fields("here")) << "which is looked at, too";
}

TEST_F(TFSSpecTest, OfAPathThatLeadsNowhere) {
    EXPECT_EQ(fnfErr, ThrownOfPath("/no/such/folder/file"));
    EXPECT_EQ((Log{"FSPathMakeRef()", "FSPathMakeRef()"}), Asked());
    EXPECT_EQ(fnfErr, ThrownOfPath("/newfile")) << "its folder's path is empty";
    EXPECT_EQ(fnfErr, ThrownOfPath("/here/none/")) << "its last name is";
    EXPECT_EQ(paramErr, ThrownOfPath("/here/file/new"));
    EXPECT_EQ(paramErr, ThrownOfPath(""));
    (void)Asked();
    fakes::AnswerInTurn("FSPathMakeRef", {fnfErr, afpAccessDenied});
    EXPECT_EQ(afpAccessDenied, ThrownOfPath("/here/new"));
    fakes::AnswerInTurn("FSPathMakeRef", {ioErr});
    EXPECT_EQ(paramErr, ThrownOfPath(""));
}

TEST_F(TFSSpecTest, OfATextThatIsAURL) {
    EXPECT_EQ("-1 20 file", Fields("file:///here/file"));
    EXPECT_EQ((Log{"CFURLCreateWithBytes(file:///here/file, 134217984)", "CFURLGetFSRef(/here/file)",
                   "CFRelease(/here/file)", "FSGetCatalogInfo(30, 30, name)"}),
              Asked());
    EXPECT_EQ("-1 20 newfile", Fields("file:///here/newfile"));
    EXPECT_EQ((Log{"CFURLCreateWithBytes(file:///here/newfile, 134217984)", "CFURLGetFSRef(/here/newfile)",
                   "CFURLCreateCopyDeletingLastPathComponent()", "CFURLCopyLastPathComponent()",
                   "CFRelease(/here/newfile)", "CFURLGetFSRef(/here)", "CFRelease(/here)",
                   "FSGetCatalogInfo(20, 22)", "FSMakeFSRefUnicode(20, newfile)"}),
              Asked());
}

TEST_F(TFSSpecTest, OfATextThatIsNoURL) {
    for (const char* const path : {"a:b/c://d", "/here/a://b", "here:/x", "a:/b://c", "://x"}) {
        (void)Thrown([&] { const TFSSpec spec(path); });
        const bool isURL = std::string(path) == "://x";
        EXPECT_EQ(isURL, fakes::CallLog().back().rfind("FSPathMakeRef", 0) != 0) << path;
        EXPECT_EQ(isURL ? 1U : 0U, fakes::CallsOf({"CFURLCreateWithBytes"}).size()) << path;
    }
}

TEST_F(TFSSpecTest, OfAURLsTextThatLeadsNowhere) {
    EXPECT_EQ(paramErr, ThrownOfPath("file:///none/new")) << "not fnfErr, as of a URL";
    EXPECT_EQ(paramErr, ThrownOfPath("other://host")) << "it has no parent";
    EXPECT_EQ(paramErr, ThrownOfPath("file:///here/\xFF")) << "it is no text";
    EXPECT_EQ(paramErr, ThrownOfPath("file:///here/file/new"));
}

// Names of paths are in the application's encoding, those of URLs are UTF-8. Both are that here.
TEST_F(TFSSpecTest, EncodingsOfNames) {
    EXPECT_EQ("-1 20 caf\xC3\xA9", Fields("/here/caf\xC3\xA9"));
    EXPECT_EQ("-1 20 caf\xC3\xA9", Fields("file:///here/caf%C3%A9"));
    EXPECT_EQ("-1 20 caf\xC3\xA9", Fields(Spec(-1, kHere, "caf\xC3\xA9")));
}

TEST_F(TFSSpecTest, CopiesForgetTheFolderAndAssignmentsDoNot) {
    const TFSSpec spec(mHere, String("file"));
    const TFSSpec copy(spec);  // NOLINT(performance-unnecessary-copy-initialization)
    EXPECT_FALSE(HasFolderRef(copy));
    TFSSpec assigned;
    assigned = spec;
    EXPECT_TRUE(HasFolderRef(assigned));
    EXPECT_EQ(0, std::memcmp(&mHere, ImageOf(assigned).folderRef.hidden, sizeof mHere));
    EXPECT_TRUE(spec == copy && spec == assigned && copy == assigned);
    (void)Asked();
    EXPECT_TRUE(assigned.Exists());
    EXPECT_EQ(Log{"FSMakeFSRefUnicode(20, file)"}, Asked());
    EXPECT_TRUE(copy.Exists());
    EXPECT_EQ((Log{"PBMakeFSRefSync(-1, 20, )", "FSMakeFSRefUnicode(20, file)"}), Asked());
    EXPECT_TRUE(HasFolderRef(copy));
    assigned = TFSSpec(-1, kHere, String("new"));
    EXPECT_EQ("-1 20 new", Fields(assigned));
    assigned = *&assigned;
    EXPECT_EQ("-1 20 new", Fields(assigned));
    assigned = TFSSpec();
    EXPECT_EQ("0 0 ", Fields(assigned));
    EXPECT_FALSE(HasFolderRef(assigned));
}

TEST_F(TFSSpecTest, Equality) {
    const TFSSpec spec(-1, kHere, String("new"));
    EXPECT_TRUE(spec == TFSSpec(-1, kHere, String("new")));
    EXPECT_FALSE(spec != TFSSpec(-1, kHere, String("new")));
    EXPECT_TRUE(spec != TFSSpec(-1, kHere, String("New"))) << "case counts";
    EXPECT_TRUE(spec != TFSSpec(-1, kThere, String("new")));
    EXPECT_TRUE(spec != TFSSpec(-2, kHere, String("new")));
    EXPECT_TRUE(spec != TFSSpec(-1, kHere));
    EXPECT_FALSE(spec == TFSSpec(-1, kHere));
    EXPECT_TRUE(TFSSpec(-1, kHere, String("FILE")) == TFSSpec(mFile));
    (void)Asked();
    EXPECT_TRUE(spec == TFSSpec(spec));
    EXPECT_EQ(Log(), Asked());
}

// Short of whatever it is, a specification of a file is never that of its folder.
TEST_F(TFSSpecTest, EveryFailingCallInTurn) {
    const CFURLRef url = NewURL("file:///here/file");
    using Maker = TFSSpec (*)(CFURLRef);
    const Maker kMakers[] = {
        [](CFURLRef) { return TFSSpec(fakes::RefOf(kFile)); },
        [](CFURLRef) { return TFSSpec(Spec(-1, kHere, "file")); },
        [](CFURLRef) { return TFSSpec(-1, kHere, CFSTR("file")); },
        [](CFURLRef) { return TFSSpec(fakes::RefOf(kHere), CFSTR("file")); },
        [](CFURLRef) { return TFSSpec(fakes::ItemOf(kFile).info, Uni(u"file")); },
        [](CFURLRef inURL) { return TFSSpec(inURL); },
        [](CFURLRef) { return TFSSpec("/here/file"); },
        [](CFURLRef) { return TFSSpec("file:///here/file"); },
    };
    for (const Maker make : kMakers)
        for (int failing = 1;; ++failing) {
            fakes::FailCall(failing);
            const long code = Thrown([&] { EXPECT_EQ("file", Text(make(url).GetName())); });
            EXPECT_TRUE(code == 0 || code == ioErr || code == memFullErr || code == bdNamErr ||
                        code == paramErr)
                << code;
            if (!fakes::FailureDelivered()) break;
        }
    CFRelease(url);
}

}  // namespace

// New names for items, and places for new items.
#include "SpecTest.h"

#include <files/UFSSpec.h>
#include <toolbox/Folders.h>

namespace {

using namespace test_files;

class UFSSpecNamesTest : public SpecTest {
  protected:
    static std::string UniqueName(const char* inName) {
        return Fields(UFSSpec::MakeUniqueName(TFSSpec(-1, kHere, String(inName))));
    }
    static std::string Prefixed(const char* inPrefix) {
        return Fields(UFSSpec::TempFileSpec(-1, String(inPrefix)));
    }
    // Parts of the domains' numbers in words.
    static constexpr SInt16 kUser = -32763;
    static constexpr SInt16 kLocal = -32765;
};

TEST_F(UFSSpecNamesTest, MakeUniqueNameOfAFreeName) {
    EXPECT_EQ("-1 20 new.txt", UniqueName("new.txt"));
    EXPECT_EQ("-1 20 12_30", UniqueName("12:30"));
    EXPECT_EQ("-1 99 new", Fields(UFSSpec::MakeUniqueName(TFSSpec(-1, kMissing, String("new")))));
    EXPECT_EQ("-1 99 ", Fields(UFSSpec::MakeUniqueName(TFSSpec(-1, kMissing))));
    const std::string suffix = ".txt";
    EXPECT_EQ("-1 20 " + std::string(251, 'n') + suffix,
              UniqueName((std::string(300, 'n') + suffix).c_str()));
}

TEST_F(UFSSpecNamesTest, MakeUniqueNameOfATakenName) {
    fakes::PutFile(50, kHere, "a.txt");
    EXPECT_EQ("-1 20 a[1].txt", UniqueName("a.txt"));
    fakes::PutFile(51, kHere, "a[1].txt");
    EXPECT_EQ("-1 20 a[2].txt", UniqueName("a.txt"));
    EXPECT_EQ("-1 20 A[2].txt", UniqueName("A[2].txt")) << "which is free";
    EXPECT_EQ("-1 20 file[1]", UniqueName("FILE")) << "as the item is called";
    fakes::PutFile(52, kHere, ".hidden");
    EXPECT_EQ("-1 20 [1].hidden", UniqueName(".hidden"));
}

TEST_F(UFSSpecNamesTest, MakeUniqueNameOfAFolder) {
    fakes::PutFolder(50, kHere, "Data");
    EXPECT_EQ("-1 20 Data[1]", UniqueName("Data"));
    EXPECT_EQ("-1 20 Data[1]", Fields(UFSSpec::MakeUniqueName(TFSSpec(-1, 50))));
    fakes::PutFolder(51, kHere, "Data[1]");
    EXPECT_EQ("-1 20 Data[2]", Fields(UFSSpec::MakeUniqueName(TFSSpec(-1, 50))));
}

TEST_F(UFSSpecNamesTest, MakeUniqueNameMakesRoomForTheNumber) {
    const std::string name = std::string(251, 'n') + ".txt";
    fakes::PutFile(50, kHere, name);
    EXPECT_EQ("-1 20 " + std::string(248, 'n') + "[1].txt", UniqueName(name.c_str()));
    // Names on disk have 255 bytes at most: 85 of these characters.
    std::string cjk;
    for (int i = 0; i < 90; ++i)
        cjk += "\xE6\xBC\xA2";
    EXPECT_EQ("-1 20 " + cjk.substr(0, 83 * 3) + ".txt", UniqueName((cjk + ".txt").c_str()));
    EXPECT_EQ("-1 20 " + cjk.substr(0, 85 * 3), UniqueName(cjk.c_str()));
    EXPECT_EQ("-1 20 " + cjk.substr(0, 85 * 3), UniqueName(cjk.substr(0, 85 * 3).c_str()));
    // What stands for bytes that are no text takes one byte each.
    std::string bytes;
    for (int i = 0; i < 200; ++i)
        bytes += "\xEF\x9F\xBF";
    EXPECT_EQ("-1 20 " + bytes, UniqueName(bytes.c_str()));
}

TEST_F(UFSSpecNamesTest, MakeUniqueNameKeepsPairsOfSurrogates) {
    HFSUniStr255 name = {};
    name.length = 200;
    for (int i = 0; i < 200; i += 2) {
        name.unicode[i] = 0xD83D;
        name.unicode[i + 1] = 0xDE00;
    }
    const TCFString shown = UFSSpec::MakeUniqueName(TFSSpec(-1, kHere, TCFString(name))).GetName();
    EXPECT_EQ(126, shown.Length()) << "63 pairs of four bytes";
    EXPECT_EQ(0xDE00, shown.Char(125));
}

TEST_F(UFSSpecNamesTest, MakeUniqueNameGivesUp) {
    const TFSSpec spec(-1, kHere, String("file"));
    fakes::FindAnyNameAs(kFile);
    EXPECT_EQ(paramErr, Thrown([&] { (void)UFSSpec::MakeUniqueName(spec); }));
    EXPECT_EQ("FSMakeFSRefUnicode(20, file[9999])", fakes::CallLog().back());
    std::vector<OSErr> answers(fakes::CallsOf({"FSMakeFSRefUnicode"}).size() - 1, noErr);
    answers.back() = fnfErr;
    fakes::AnswerInTurn("FSMakeFSRefUnicode", answers);
    EXPECT_EQ("-1 20 file[9999]", Fields(UFSSpec::MakeUniqueName(spec)));
}

// Not once a name that something has, nor the folder itself.
TEST_F(UFSSpecNamesTest, MakeUniqueNameWithEveryFailingCall) {
    for (int failing = 1;; ++failing) {
        fakes::FailCall(0);
        const TFSSpec spec(-1, kHere, String("file"));
        fakes::FailCall(failing);
        (void)Thrown([&] {
            const std::string name = Fields(UFSSpec::MakeUniqueName(spec));
            EXPECT_EQ(0U, name.rfind("-1 20 file", 0)) << name;
        });
        if (!fakes::FailureDelivered()) break;
    }
}

TEST_F(UFSSpecNamesTest, TempFileSpec) {
    fakes::SetSeconds(1000);
    EXPECT_EQ("-1 10 abc1101", Prefixed("abc"));
    EXPECT_EQ((Log{"FindFolder(-1, 1952804208, 1)", "GetDateTime()", "FSMakeFSSpec(-1, 10, abc1101)",
                   "FSpMakeFSRef(-1, 10)", "FSMakeFSSpec(-1, 10, abc1101)"}),
              Asked());
    EXPECT_EQ("temp(), there()", fakes::CatalogueText().substr(fakes::CatalogueText().find("temp")))
        << "not made";
    EXPECT_EQ("-1 10 1101", Prefixed(""));
}

TEST_F(UFSSpecNamesTest, TempFileSpecOfATakenName) {
    fakes::SetSeconds(1000);
    fakes::SetRandom(-1);
    fakes::PutFile(50, fakes::kTemporary, "abc1101");
    EXPECT_EQ("-1 10 abc1356", Prefixed("abc")) << "255 more";
    EXPECT_EQ(Log{"Random"}, fakes::CallsOf({"Random"}));
    fakes::SetSeconds(0xFFFFFFFF);
    EXPECT_EQ("-1 10 abc100", Prefixed("abc"));
}

TEST_F(UFSSpecNamesTest, TempFileSpecFails) {
    fakes::Refuse("FSMakeFSSpec", bdNamErr);
    EXPECT_EQ(bdNamErr, Thrown([&] { (void)UFSSpec::TempFileSpec(-1, String("abc")); }));
    fakes::Refuse("FindFolder", fnfErr);
    EXPECT_EQ(fnfErr, Thrown([&] { (void)UFSSpec::TempFileSpec(-1, String("abc")); }));
}

TEST_F(UFSSpecNamesTest, ItemIsInTrash) {
    fakes::PutFolder(50, fakes::kRoot, "Trash");
    fakes::PutFolder(51, 50, "folder");
    fakes::PutFile(52, 51, "file");
    fakes::SetWellKnownFolder(-32767, 0x74727368, 50);
    for (const UInt32 id : {50U, 51U, 52U})
        EXPECT_TRUE(UFSSpec::ItemIsInTrash(fakes::RefOf(id))) << id;
    EXPECT_TRUE(UFSSpec::ItemIsInTrash(TFSSpec(-1, 51, String("new")))) << "if it were there";
    EXPECT_FALSE(UFSSpec::ItemIsInTrash(mFile) || UFSSpec::ItemIsInTrash(mFolder) ||
                 UFSSpec::ItemIsInTrash(TFSSpec(-1, 2)) || UFSSpec::ItemIsInTrash(TFSSpec(-1, kMissing)) ||
                 UFSSpec::ItemIsInTrash(TFSSpec()));
    EXPECT_EQ("FindFolder(-32767, 1953657704, 0)", Asked()[1]);
}

TEST_F(UFSSpecNamesTest, ItemIsInTrashWithoutATrash) {
    fakes::SetWellKnownFolder(-32767, 0x74727368, 50);
    EXPECT_FALSE(UFSSpec::ItemIsInTrash(mFile)) << "it is gone";
    fakes::Refuse("FindFolder", fnfErr);
    EXPECT_FALSE(UFSSpec::ItemIsInTrash(mFile));
}

TEST_F(UFSSpecNamesTest, ItemIsInTrashTellsOfNoFailure) {
    fakes::PutFolder(50, fakes::kRoot, "Trash");
    fakes::PutFile(51, 50, "file");
    fakes::SetWellKnownFolder(-32767, 0x74727368, 50);
    const TFSSpec spec(fakes::RefOf(51));
    for (int failing = 1;; ++failing) {
        fakes::FailCall(failing);
        const bool isInTrash = UFSSpec::ItemIsInTrash(spec);
        if (!fakes::FailureDelivered()) {
            EXPECT_TRUE(isInTrash);
            break;
        }
    }
}

TEST_F(UFSSpecNamesTest, WellKnownFolders) {
    const struct {
        TFSSpec (*get)(bool);
        SInt16 domain;
        OSType type;
    } kFolders[] = {{UFSSpec::GetMoviesFolder, kUser, 0x6D646F63},
                    {UFSSpec::GetPicturesFolder, kUser, 0x70646F63},
                    {UFSSpec::GetMusicFolder, kUser, 0xB5646F63},
                    {UFSSpec::GetDocumentsFolder, kUser, 0x646F6373},
                    {UFSSpec::GetDesktopFolder, kUser, 0x6465736B},
                    {[](bool inCreate) { return UFSSpec::GetApplicationSupportFolder(false, inCreate); },
                     kUser, 0x61737570},
                    {[](bool inCreate) { return UFSSpec::GetApplicationSupportFolder(true, inCreate); },
                     kLocal, 0x61737570}};
    for (const auto& [get, domain, type] : kFolders)
        for (const bool creates : {false, true}) {
            Start();
            fakes::SetWellKnownFolder(domain, type, kFolder);
            EXPECT_EQ("-1 40 ", Fields(get(creates)));
            EXPECT_EQ(creates ? '1' : '0', fakes::CallLog()[fakes::CallLog().size() - 2].rbegin()[1]);
        }
    Start();
    fakes::SetWellKnownFolder(kUser, 0x64746F70, kHere);
    EXPECT_EQ("-1 20 ", Fields(UFSSpec::GetHomeFolder()));
    EXPECT_EQ("FSFindFolder(-32763, dtop, 0)", fakes::CallLog()[fakes::CallLog().size() - 2]);
}

TEST_F(UFSSpecNamesTest, FoldersThatAreNotKnown) {
    fakes::SetWellKnownFolder(kUser, 0x64746F70, kMissing);
    EXPECT_EQ("0 0 ", Fields(UFSSpec::GetHomeFolder())) << "it went meanwhile";
    for (const OSErr error : {OSErr{fnfErr}, OSErr{nsvErr}, OSErr{-1}}) {
        fakes::Refuse("FSFindFolder", error);
        EXPECT_EQ("0 0 ", Fields(UFSSpec::TFSSpecFindFolder(-32763, 0x64746F70, 1)));
        EXPECT_FALSE(UFSSpec::GetApplicationSupportFolderForApp(true, String("Editor"), true).IsValid());
    }
}

TEST_F(UFSSpecNamesTest, GetApplicationSupportFolderForApp) {
    fakes::SetWellKnownFolder(kUser, 0x61737570, kHere);
    fakes::SetWellKnownFolder(kLocal, 0x61737570, kThere);
    EXPECT_EQ("-1 20 Editor",
              Fields(UFSSpec::GetApplicationSupportFolderForApp(false, String("Editor"), false)));
    EXPECT_EQ("FSFindFolder(-32763, asup, 0)", Asked().front());
    EXPECT_EQ("here(file, folder(inner)), temp(), there()", fakes::CatalogueText());
    EXPECT_EQ("-1 40 ", Fields(UFSSpec::GetApplicationSupportFolderForApp(false, String("folder"), false)));
    (void)Asked();
    const TFSSpec made = UFSSpec::GetApplicationSupportFolderForApp(true, String("Editor"), true);
    EXPECT_EQ("FSFindFolder(-32765, asup, 1)", Asked().front());
    EXPECT_TRUE(made.IsFolder());
    EXPECT_EQ("here(file, folder(inner)), temp(), there(Editor())", fakes::CatalogueText());
    EXPECT_EQ(Fields(made), Fields(UFSSpec::GetApplicationSupportFolderForApp(true, String("Editor"), true)));
    EXPECT_EQ(Log{"FSCreateDirectoryUnicode"}, fakes::CallsOf({"FSCreateDirectoryUnicode"}));
    fakes::Refuse("FSCreateDirectoryUnicode", permErr);
    EXPECT_EQ(permErr,
              Thrown([&] { (void)UFSSpec::GetApplicationSupportFolderForApp(true, String("Other"), true); }));
}

}  // namespace

// A process that is killed at any system call while it writes a fork: whoever looks next finds the fork as it
// was or as it is to be, and a companion that can be read. Over the real file system alone: the process and
// its calls are the kernel's.
#include "ForkTest.h"
#include "companions/CompanionInfo.h"
#include "support/KilledChild.h"

#include <set>

namespace {

using namespace test_files;
using support::FileWorld;

class ForkCrashes : public support::KilledChildTest {
  protected:
    // What lies in the folder: each fork, and any file that is left over by a name that nobody reads.
    std::string Picture() const {
        std::string text;
        for (const std::string& name : FileWorld::NamesIn(mFolder.Path())) {
            if (name.starts_with("._.new-")) continue;
            const std::string path = mFolder / name;
            text += name + '=' + (name.starts_with("._") ? ForkIn(path) : FileWorld::Contents(path)) + ", ";
        }
        return text;
    }

    // Kills the change of a fork at each stop. After each the folder must be in one of the states, and the
    // fork must be written as it was told to by who comes next.
    template <typename Change>
    void ExpectOneOf(const std::set<std::string>& inStates, const std::string& inCompanion, Change inChange) {
        FSRef file = {};
        KilledChildTest::ExpectOneOf(
            inStates,
            [&] {
                file = RefOf(mFolder.MakeFile("file", "data"));
                if (!inCompanion.empty()) mFolder.MakeFile("._file", inCompanion);
            },
            [&] {
                SInt16 number = 0;
                return OpenFork(file, Which::kResource, fsRdWrPerm, number) == noErr &&
                       inChange(number) == noErr && FSCloseFork(number) == noErr;
            },
            [&] {
                std::string picture = Picture();
                const Opened fork(file, Which::kResource);
                EXPECT_EQ(noErr, Write(fork, fsFromStart, 9, "!")) << picture;
                EXPECT_EQ('!', Whole(fork)[9]) << picture;
                return picture;
            });
    }
};

std::string Folder(const std::string& inFork) {
    return "._file=" + inFork + ", file=data, ";
}

TEST_F(ForkCrashes, Making) {
    ExpectOneOf({"file=data, ", Folder(""), Folder("new")}, "",
                [](SInt16 inNumber) { return Write(inNumber, fsFromStart, 0, "new"); });
}

TEST_F(ForkCrashes, Writing) {
    ExpectOneOf({Folder("old"), Folder("new")}, CompanionWithFork("old"),
                [](SInt16 inNumber) { return Write(inNumber, fsFromStart, 0, "new"); });
}

TEST_F(ForkCrashes, Growing) {
    ExpectOneOf({Folder("old"), Folder("old and new")}, CompanionWithFork("old"),
                [](SInt16 inNumber) { return Write(inNumber, fsFromLEOF, 0, " and new"); });
}

TEST_F(ForkCrashes, Resizing) {
    const std::string grown("old\0\0", 5);
    ExpectOneOf({Folder("old"), Folder(grown)}, CompanionWithFork("old"),
                [](SInt16 inNumber) { return FSSetForkSize(inNumber, fsFromStart, 5); });
    ExpectOneOf({Folder("old"), Folder("o")}, CompanionWithFork("old"),
                [](SInt16 inNumber) { return FSSetForkSize(inNumber, fsFromStart, 1); });
}

TEST_F(ForkCrashes, Emptying) {
    ExpectOneOf({Folder("old"), Folder("none")}, CompanionWithFork("old"),
                [](SInt16 inNumber) { return FSSetForkSize(inNumber, fsFromStart, 0); });
    ExpectOneOf({Folder("old"), "file=data, "},
                CompanionOf({{toolbox::files::AppleDoubleEntry::kResourceFork, BytesOf("old")}}),
                [](SInt16 inNumber) { return FSSetForkSize(inNumber, fsFromStart, 0); });
}

TEST_F(ForkCrashes, LayingOutAnew) {
    // An entry of no bytes whose place is in the header.
    std::string file =
        CompanionOf({{4, BytesOf("comment")}, {toolbox::files::AppleDoubleEntry::kResourceFork, {}}});
    file.replace(26 + 12 + 4, 4, std::string(4, '\0'));
    ExpectOneOf({Folder(""), Folder("new")}, file,
                [](SInt16 inNumber) { return Write(inNumber, fsFromStart, 0, "new"); });
}

}  // namespace

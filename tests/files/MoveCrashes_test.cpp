// A process that is killed at any system call of a move with a new name, which leads through a folder of the
// item's own. Over the real file system alone: the process and its calls are the kernel's.
#include "platform/catalogue/ItemChanges.h"
#include "support/KilledChild.h"
#include "support/Rounds.h"
#include "support/Variables.h"

#include <files/Exchange.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <string>
#include <vector>

namespace {

using namespace test_files;
using support::FileWorld;

class MoveCrashes : public ItemChangesTest<support::KilledChildTest> {
  protected:
    // The scratch folder's path; empty where there is none.
    std::string Scratch() const {
        if (!FileWorld::Exists(mTemporary)) return {};
        const std::vector<std::string> names = FileWorld::NamesIn(mTemporary);
        EXPECT_GE(1U, names.size());
        return names.empty() ? std::string() : mTemporary + '/' + names.front();
    }
    // Where the item is with its companion, once somebody has looked for it everywhere; "" where any of it is
    // missing, or is at two places.
    std::string WhereItIs() const {
        std::vector<std::string> paths = {mFolder / "here/file", mFolder / "there/new"};
        const std::string scratch = Scratch();
        if (!scratch.empty()) paths.insert(paths.end(), {scratch + "/file", scratch + "/new"});
        std::string found;
        for (const std::string& path : paths)
            if (LookFor({path}) == "y") found += path;
        const std::string name = found.substr(found.rfind('/') + 1);
        const std::string item = "(._" + name + "=#fork of file, " + name + "=of file, )";
        const std::string picture = Picture();
        const auto isWhole = std::count(picture.begin(), picture.end(), '=') == 2;
        if (!isWhole || picture.find(item) == std::string::npos) return picture;
        return found.starts_with(mTemporary) ? "on its way as " + name : found.substr(mFolder.Path().size());
    }

    const std::string mTemporary = mFolder / "temp/.TemporaryItems-" + std::to_string(getuid());
    Variables mVariables{{"TMPDIR", mFolder / "temp"}};
};

TEST_F(MoveCrashes, ItIsAtOnePlaceWithItsCompanion) {
    FSRef item = {};
    FSRef there = {};
    ExpectOneOf(
        {"/here/file", "on its way as file", "on its way as new", "/there/new"},
        [&] {
            mFolder.MakeFolder("here");
            there = RefOf(mFolder.MakeFolder("there"));
            item = RefOf(MakeWithCompanion("here/", "file"));
        },
        [&] {
            const std::u16string_view name = u"new";
            FSRef moved = {};
            return FSMoveRenameObjectUnicode(&item, &there, name.size(), UnitsOf(name), 0, &moved) == noErr;
        },
        [this] { return WhereItIs(); }, support::Rounds(1) > 1 ? 1 : 5);
}

}  // namespace

#include "folders/UserFolders.h"

#include "support/FileWorld.h"
#include "support/UserDatabase.h"
#include "support/Variables.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <string>

using namespace toolbox::files;
using test_files::Variables;

namespace {

std::string Desktop(std::string_view inContents) {
    return FindUserFolder(inContents, "DESKTOP", "/home/u");
}

// The path, or '?' and the error.
std::string UserFolder(std::string_view inKind, std::string_view inNameInHome) {
    std::string path = "before";
    const int error = GetUserFolderPath(inKind, inNameInHome, path);
    return error == 0 ? path : '?' + std::to_string(error);
}

}  // namespace

TEST(UserFolders, Settings) {
    EXPECT_EQ("/home/u/Desk top", Desktop("XDG_DESKTOP_DIR=\"$HOME/Desk top\"\n"));
    EXPECT_EQ("/home/u/D", Desktop("# note\n\n \tXDG_DESKTOP_DIR = \"$HOME/D\""));
    EXPECT_EQ("/other", Desktop("XDG_MUSIC_DIR=\"/m\"\nXDG_DESKTOP_DIR=\"/other/\"\nXDG_DESKTOP=\"/x\"\n"));
    EXPECT_EQ("/home/u", Desktop("XDG_DESKTOP_DIR=\"$HOME/\""));
    EXPECT_EQ("/home/u", Desktop("XDG_DESKTOP_DIR=\"$HOME\""));
    EXPECT_EQ("/b", Desktop("XDG_DESKTOP_DIR=\"/a\"\nXDG_DESKTOP_DIR=\"/b\"\n"))
        << "the last one, as in a shell";
    EXPECT_EQ("/a\"b\\c$", Desktop("XDG_DESKTOP_DIR=\"/a\\\"b\\\\c\\$\""));
    EXPECT_EQ("/", Desktop("XDG_DESKTOP_DIR=\"/\""));
    EXPECT_EQ("/a", Desktop("XDG_DESKTOP_DIR=\"/a\" # behind"));
    EXPECT_EQ("/a", Desktop("XDG_DESKTOP_DIR=\"/a")) << "no quote at the end";
}

TEST(UserFolders, SettingsThatMakeNoSense) {
    for (const char* contents :
         {"", "\n\n", "XDG_DESKTOP_DIR", "XDG_DESKTOP_DIR=", "XDG_DESKTOP_DIR=/a", "XDG_DESKTOP_DIR=\"a\"",
          "XDG_DESKTOP_DIR=\"\"", "XDG_DESKTOP_DIR=\"", "XDG_DESKTOP_DIR=\"\\", "XDG_DESKTOP_DIR=\"$HOMEa\"",
          "XDG_DESKTOP_DIR=\"$OTHER/a\"", "#XDG_DESKTOP_DIR=\"/a\"", "XDG_DESKTOP_DIRS=\"/a\"",
          "A_XDG_DESKTOP_DIR=\"/a\""})
        EXPECT_EQ("", Desktop(contents)) << contents;
}

TEST(UserFolders, WithoutAHome) {
    const Variables none({});
    const test_files::UserDatabase unknown(nullptr);
    EXPECT_EQ("", UserFolder("DESKTOP", "Desktop"));
    const test_files::UserDatabase broken("/home/u", EMFILE);
    EXPECT_EQ('?' + std::to_string(EMFILE), UserFolder("DESKTOP", "Desktop"));
}

class UserFoldersTest : public support::FileWorldTest {};
INSTANTIATE_TEST_SUITE_P(Worlds, UserFoldersTest, support::BothWorlds(), support::NameOfWorld);

TEST_P(UserFoldersTest, InTheHomeOfTheUserDatabase) {
    const Variables none({});
    const test_files::UserDatabase database(mFolder.Path().c_str());
    EXPECT_EQ(mFolder / "Desktop", UserFolder("DESKTOP", "Desktop"));
    mFolder.MakeFolder(".config");
    mFolder.MakeFile(".config/user-dirs.dirs", "XDG_DESKTOP_DIR=\"$HOME/Tisch\"\n");
    EXPECT_EQ(mFolder / "Tisch", UserFolder("DESKTOP", "Desktop"));
}

TEST_P(UserFoldersTest, OfSettingsOrName) {
    Variables variables{{"HOME", mFolder.Path()}};
    EXPECT_EQ(mFolder / "Desktop", UserFolder("DESKTOP", "Desktop"));
    mFolder.MakeFolder(".config");
    mFolder.MakeFile(".config/user-dirs.dirs", "XDG_DESKTOP_DIR=\"$HOME/Tisch\"\n");
    EXPECT_EQ(mFolder / "Tisch", UserFolder("DESKTOP", "Desktop"));
    EXPECT_EQ(mFolder / "Music", UserFolder("MUSIC", "Music"));
    mFolder.MakeFolder("settings");
    variables["XDG_CONFIG_HOME"] = mFolder / "settings";
    EXPECT_EQ(mFolder / "Desktop", UserFolder("DESKTOP", "Desktop"));
    mFolder.MakeFile("settings/user-dirs.dirs", "XDG_DESKTOP_DIR=\"/elsewhere\"\n");
    EXPECT_EQ("/elsewhere", UserFolder("DESKTOP", "Desktop"));
    mFolder.MakeFile("settings/user-dirs.dirs", "XDG_DESKTOP_DIR=\"/elsewhere\"\n" + std::string(70000, '#'));
    EXPECT_EQ(mFolder / "Desktop", UserFolder("DESKTOP", "Desktop")) << "too long for settings";
}

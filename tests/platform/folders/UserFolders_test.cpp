#include "folders/UserFolders.h"

#include "support/TemporaryFolder.h"
#include "support/Variables.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstring>

using namespace toolbox::files;
using namespace toolbox::os;
using test_files::TemporaryFolder;
using test_files::Variables;

namespace {

std::string Desktop(std::string_view inContents) {
    return FindUserFolder(inContents, "DESKTOP", "/home/u");
}

// Stands in for the user database.
class UserDatabase {
  public:
    explicit UserDatabase(int (*inFindHome)(char*, std::size_t)) : mReal(CallsForTesting().findHome) {
        CallsForTesting().findHome = inFindHome;
    }
    ~UserDatabase() { CallsForTesting().findHome = mReal; }

  private:
    int (*mReal)(char*, std::size_t);
};

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

TEST(UserFolders, Home) {
    Variables variables{{"HOME", "/home/u/"}};
    EXPECT_EQ("/home/u", HomePath());
    variables["HOME"] = "/";
    EXPECT_EQ("/", HomePath());
    {
        const UserDatabase database([](char* outPath, std::size_t) {
            std::strcpy(outPath, "/home/of/database/");
            return 0;
        });
        variables["HOME"] = "relative";
        EXPECT_EQ("/home/of/database", HomePath());
        variables["HOME"] = "";
        EXPECT_EQ("/home/of/database", HomePath());
    }
    const UserDatabase nobody([](char*, std::size_t) { return ENOENT; });
    EXPECT_EQ("", HomePath());
    EXPECT_EQ("", BaseFolderPath("XDG_DATA_HOME", ".local/share"));
    EXPECT_EQ("", UserFolderPath("DESKTOP", "Desktop"));
}

TEST(UserFolders, TheUserDatabaseKnowsThisUser) {
    const Variables none({});
    char path[4096];
    if (CallsForTesting().findHome(path, sizeof(path)) == 0) {
        EXPECT_EQ('/', path[0]);
        EXPECT_EQ(std::string(path), HomePath());
        EXPECT_EQ(ENAMETOOLONG, CallsForTesting().findHome(path, 1));
    } else {
        EXPECT_EQ("", HomePath());
    }
}

TEST(UserFolders, BaseFolders) {
    Variables variables{{"HOME", "/home/u"}};
    EXPECT_EQ("/home/u/.local/share", BaseFolderPath("XDG_DATA_HOME", ".local/share"));
    variables["XDG_DATA_HOME"] = "/data/";
    EXPECT_EQ("/data", BaseFolderPath("XDG_DATA_HOME", ".local/share"));
    variables["XDG_DATA_HOME"] = "data";
    EXPECT_EQ("/home/u/.local/share", BaseFolderPath("XDG_DATA_HOME", ".local/share"));
    variables["XDG_DATA_HOME"] = "";
    EXPECT_EQ("/home/u/.local/share", BaseFolderPath("XDG_DATA_HOME", ".local/share"));
}

TEST(UserFolders, UserFolderOfSettingsOrName) {
    const TemporaryFolder folder;
    Variables variables{{"HOME", folder.Path()}};
    EXPECT_EQ(folder / "Desktop", UserFolderPath("DESKTOP", "Desktop"));
    folder.MakeFolder(".config");
    folder.MakeFile(".config/user-dirs.dirs", "XDG_DESKTOP_DIR=\"$HOME/Tisch\"\n");
    EXPECT_EQ(folder / "Tisch", UserFolderPath("DESKTOP", "Desktop"));
    EXPECT_EQ(folder / "Music", UserFolderPath("MUSIC", "Music"));
    folder.MakeFolder("settings");
    variables["XDG_CONFIG_HOME"] = folder / "settings";
    EXPECT_EQ(folder / "Desktop", UserFolderPath("DESKTOP", "Desktop"));
    folder.MakeFile("settings/user-dirs.dirs", "XDG_DESKTOP_DIR=\"/elsewhere\"\n");
    EXPECT_EQ("/elsewhere", UserFolderPath("DESKTOP", "Desktop"));
    folder.MakeFile("settings/user-dirs.dirs", "XDG_DESKTOP_DIR=\"/elsewhere\"\n" + std::string(70000, '#'));
    EXPECT_EQ(folder / "Desktop", UserFolderPath("DESKTOP", "Desktop")) << "too long for settings";
}

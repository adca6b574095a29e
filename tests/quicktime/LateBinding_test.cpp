// Late binding in processes of its own, over frameworks that lack functions or do not load: as a program
// links the library, and with all of it inside, where what stays alive is counted.
#include "LateBoundNames.h"
#include "support/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

namespace {

namespace fs = std::filesystem;

// "bin" with the program and "lib" with the libraries, or nothing where they are inside it.
class Tree {
  public:
    explicit Tree(const std::string& inProgram) : mProgram(mFolder / "bin/probe") {
        mFolder.MakeFolder("bin");
        mFolder.MakeFolder("lib/mirtal/Frameworks");
        Put(inProgram, mProgram);
        if (inProgram != LATE_BINDING_PROBE) return;
        Put(TOOLBOX_LIBRARY, mFolder / ("lib/" TOOLBOX_SONAME));
        Put(AAC2WAV_LIBRARY, mFolder / ("lib/" + fs::path(AAC2WAV_LIBRARY).filename().string()));
    }

    std::string Frameworks() const { return mFolder / "lib/mirtal/Frameworks"; }
    void PutFramework(const std::string& inFrameworks) const {
        fs::copy(std::string(TEST_FRAMEWORKS) + '/' + inFrameworks, Frameworks(),
                 fs::copy_options::recursive | fs::copy_options::overwrite_existing);
    }
    std::string Path(const std::string& inName) const { return mFolder / inName; }

    // What the program tells, its complaints included.
    std::string Run(const std::string& inArguments = "") const {
        std::unique_ptr<FILE, int (*)(FILE*)> program(
            popen((mProgram + ' ' + inArguments + " 2>&1").c_str(), "r"), pclose);
        if (program == nullptr) return "not started";
        std::string told;
        for (int c; (c = std::fgetc(program.get())) != EOF;)
            told += static_cast<char>(c);
        EXPECT_EQ(0, pclose(program.release()));
        return told;
    }

  private:
    // A second name is enough, where the folders are on one volume.
    static void Put(const fs::path& inFrom, const fs::path& inTo) {
        std::error_code error;
        fs::create_hard_link(fs::canonical(inFrom), inTo, error);
        if (error) fs::copy_file(inFrom, inTo);
    }

    test_files::TemporaryFolder mFolder;
    std::string mProgram;
};

std::string Line(const char* inName, long inValue) {
    return std::string(inName) + ' ' + std::to_string(inValue) + '\n';
}

// What the probe tells of a framework with these functions; of none that loads, when inLoads is false.
std::string Expected(const std::vector<bool>& inFound, bool inLoads, long inFolderStatus = 0) {
    const long status = inLoads ? 0 : inFolderStatus != 0 ? inFolderStatus : -4960;
    std::string bits;
    for (const bool found : inFound)
        bits += found ? '1' : '0';
    std::ostringstream text;
    text << Line("inited-at-start", 0) << Line("load", status) << Line("inited", inLoads) << "found " << bits
         << '\n'
         << Line("again", status) << Line("more-objects", 0) << Line("keeps-nothing-on-failure", 1);
    text << Line("begin", inFound[0] ? 1000 : 0) << Line("allowed", inFound[2] ? 0 : 1);
    text << Line("movie-info", inFound[3] ? -1001 : -4) << "  outputs " << (inFound[3] ? "11 12 13" : "1 2 3")
         << '\n';
    text << Line("get-movie", inFound[4] ? -1002 : -4) << "  outputs " << (inFound[4] ? "14 15" : "4 2")
         << '\n';
    text << Line("set-movie", inFound[5] ? -1003 : -4);
    text << Line("process-info", inFound[6] ? -1004 : -4) << "  outputs "
         << (inFound[6] ? "11 12 13" : "1 2 3") << '\n';
    text << Line("get-process", inFound[7] ? 0 : -4) << "  outputs " << (inFound[7] ? "14 15" : "4 2")
         << '\n';
    text << Line("set-process", inFound[8] ? -1006 : -4);
    text << Line("architecture", inFound[7] ? 0 : -4) << Line("  is", inFound[7] ? 14 : 0);
    text << Line("objects-left-by-wrappers", 0);
    text << Line("folder", inFolderStatus);
    const long missing = inFolderStatus != 0 ? inFolderStatus : -4960;
    for (const auto& [name, loaded] : {std::pair{"bundle", status}, std::pair{"carbon", status},
                                       std::pair{"no-such-name", missing}, std::pair{"private", missing}})
        text << Line(name, loaded) << Line("  bundle-as-told", 1) << Line("  objects-left", 0);
    return text.str();
}

const std::vector<bool> kNone(9, false);
const std::vector<bool> kAll(9, true);

class LateBindingTest : public ::testing::TestWithParam<const char*> {
  protected:
    const Tree mTree{GetParam()};
};

TEST_P(LateBindingTest, Complete) {
    mTree.PutFramework("complete");
    EXPECT_EQ(Expected(kAll, true), mTree.Run());
}

TEST_P(LateBindingTest, LacksOneFunction) {
    for (std::size_t missing = 0; missing < 9; ++missing) {
        mTree.PutFramework(std::string("lacks-") + kLateBoundNames[missing]);
        std::vector<bool> found = kAll;
        found[missing] = false;
        EXPECT_EQ(Expected(found, true), mTree.Run()) << kLateBoundNames[missing];
    }
}

TEST_P(LateBindingTest, LacksAllFunctions) {
    mTree.PutFramework("lacks-all");
    EXPECT_EQ(Expected(kNone, true), mTree.Run());
}

TEST_P(LateBindingTest, DoesNotLoad) {
    for (const char* const framework : {"unresolved", "no-elf"}) {
        mTree.PutFramework(framework);
        EXPECT_EQ(Expected(kNone, false), mTree.Run()) << framework;
    }
}

TEST_P(LateBindingTest, NoExecutable) {
    mTree.PutFramework("no-executable");
    EXPECT_EQ(Expected(kNone, false), mTree.Run());
}

TEST_P(LateBindingTest, NoFramework) {
    EXPECT_EQ(Expected(kNone, false), mTree.Run());
}

TEST_P(LateBindingTest, FolderOfFrameworksIsMade) {
    fs::remove_all(mTree.Path("lib/mirtal"));
    EXPECT_EQ(Expected(kNone, false), mTree.Run());
    EXPECT_TRUE(fs::is_directory(mTree.Path("lib/mirtal/Frameworks")));
    EXPECT_TRUE(fs::is_directory(mTree.Path("lib/mirtal/PrivateFrameworks")));
}

TEST_P(LateBindingTest, FolderCannotBeMade) {
    fs::remove_all(mTree.Path("lib/mirtal"));
    std::ofstream(mTree.Path("lib/mirtal")) << "no folder";
    const std::string told = mTree.Run();
    // Which status it is, is the Folder Manager's part; it is passed on as it is.
    const std::size_t at = told.find("\nfolder ");
    ASSERT_NE(std::string::npos, at) << told;
    const long status = std::stol(told.substr(at + 8));
    EXPECT_NE(0, status);
    EXPECT_NE(-4960, status);
    EXPECT_EQ(Expected(kNone, false, status), told);
}

TEST_P(LateBindingTest, FailedLoadIsTriedAgainAndALaterOneIsFinal) {
    mTree.PutFramework("complete");
    const std::string framework = mTree.Frameworks() + "/QuickTime.framework";
    const std::string aside = mTree.Path("aside");
    fs::rename(framework, aside);
    EXPECT_EQ(Line("load", -4960) + Line("begin", 0) + Line("inited", 0) + Line("begin", 1000) +
                  Line("inited", 1) + "found 111111111\n" + Line("load", 0) + Line("begin", 1000) +
                  Line("more-objects", 0),
              mTree.Run("retry " + aside + ' ' + framework));
}

INSTANTIATE_TEST_SUITE_P(Linked, LateBindingTest, ::testing::Values(LATE_BINDING_PROBE));
INSTANTIATE_TEST_SUITE_P(Inside, LateBindingTest, ::testing::Values(LATE_BINDING_PROBE_INSIDE));

}  // namespace

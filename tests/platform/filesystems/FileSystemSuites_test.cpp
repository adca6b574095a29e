// Other tests, with their folders on images of file systems.
#include "SharedImages.h"
#include "support/Rounds.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <fstream>
#include <sstream>
#include <string>
#include <string_view>
#include <tuple>
#include <vector>

namespace {

struct Suite {
    const char* program;
    const char* essentials;  // what is run where there is little time
};

constexpr Suite kSuites[] = {
    {"platform_catalogue_test",
     "*NameWriter*Real:*Exchange.*Real:*ExchangeOfForks*Real:*CatalogInfoTest*Real:*FindByRef*Real"},
    {"platform_iterators_test", "*Iterators*Real"},
    {"platform_forks_test", "*/Forks*Real"},
    {"platform_companions_test", "*CompanionInfo*Real:*InPlace*Real:*ExchangingForks*Real:*ForkIntents*Real"},
    {"files_toolbox_test", "*OnToolbox*"},
};

class FileSystemSuites : public testing::TestWithParam<std::tuple<const char*, Suite>> {};
INSTANTIATE_TEST_SUITE_P(Images, FileSystemSuites,
                         testing::Combine(testing::Values("ext4", "xfs", "btrfs"),
                                          testing::ValuesIn(kSuites)),
                         [](const auto& inInfo) {
                             return std::string(std::get<0>(inInfo.param)) + '_' +
                                    std::get<1>(inInfo.param).program;
                         });

// Of a suite all tests of the real world in the long run, else a part, without those that go over every step.
TEST_P(FileSystemSuites, Pass) {
    const auto& [type, suite] = GetParam();
    const support::MountedImage& image = test_files::SharedImages::Get(type);
    if (!image.WhyNot().empty()) GTEST_SKIP() << "left out: " << type << ", " << image.WhyNot();
    const bool isLong = support::Rounds(1) > 1;
    const test_files::TemporaryFolder own;
    const std::string log = own / "log";
    const std::string program = std::string(TESTS_FOLDER) + '/' + suite.program;
    const std::string filter = std::string("--gtest_filter=") + (isLong ? "*" : suite.essentials) +
                               ":-*Memory*" + (isLong ? "" : ":*Fail*:*Deep*");
    const std::string temporary = "TMPDIR=" + image.Path();
    std::vector<char*> environment;
    for (char** variable = environ; *variable != nullptr; ++variable)
        if (!std::string_view(*variable).starts_with("TMPDIR=")) environment.push_back(*variable);
    environment.push_back(const_cast<char*>(temporary.c_str()));
    environment.push_back(nullptr);
    char* arguments[] = {const_cast<char*>(program.c_str()), const_cast<char*>(filter.c_str()), nullptr};
    posix_spawn_file_actions_t actions;
    ASSERT_EQ(0, posix_spawn_file_actions_init(&actions));
    EXPECT_EQ(0, posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, log.c_str(),
                                                  O_WRONLY | O_CREAT | O_TRUNC, 0600));
    EXPECT_EQ(0, posix_spawn_file_actions_adddup2(&actions, STDOUT_FILENO, STDERR_FILENO));
    pid_t process = 0;
    ASSERT_EQ(0, posix_spawn(&process, program.c_str(), &actions, nullptr, arguments, environment.data()));
    EXPECT_EQ(0, posix_spawn_file_actions_destroy(&actions));
    int status = 0;
    ASSERT_EQ(process, waitpid(process, &status, 0));
    std::stringstream text;
    text << std::ifstream(log).rdbuf();
    EXPECT_EQ(0, status) << text.str();
    EXPECT_NE(std::string::npos, text.str().find("[  PASSED  ] ")) << "it runs some";
    EXPECT_EQ(std::string::npos, text.str().find("[  PASSED  ] 0 tests")) << "it runs some";
}

}  // namespace

// Programs that change system-wide keys at the same time.

#include "StateFolder.h"
#include "keys/AccessKeyFile.h"
#include "os/SystemCalls_test_access.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <toolbox/MacErrors.h>
#include <unistd.h>

#include <functional>
#include <string>

namespace {

using namespace toolbox::keys;

constexpr int kKeyCount = 1000;
constexpr int kKeysPerLeave = 100;

pid_t Start(const std::function<bool()>& inBody) {
    const pid_t child = fork();
    if (child != 0) return child;
    // What a failing machine would leave is not the subject, and waiting for the disk is most of the time.
    toolbox::os::CallsForTesting().fsync = [](int) { return 0; };
    _exit(inBody() ? 0 : 1);
}

bool Add(const std::string& inKey) {
    return ChangeSystemKeys(KeyChange::kAdd, {"type", inKey}) == noErr;
}
bool Remove(const std::string& inKey) {
    return ChangeSystemKeys(KeyChange::kRemove, {"type", inKey}) == noErr;
}

// Lets processes go on as often as another one has given leave.
class Leave {
  public:
    Leave() { EXPECT_EQ(0, pipe2(mEnds, O_CLOEXEC)); }
    ~Leave() {
        close(mEnds[0]);
        close(mEnds[1]);
    }
    Leave(const Leave&) = delete;
    Leave& operator=(const Leave&) = delete;

    bool Give() const { return write(mEnds[1], "", 1) == 1; }
    bool Await() const {
        char byte = 0;
        return read(mEnds[0], &byte, 1) == 1;
    }

  private:
    int mEnds[2] = {-1, -1};
};

// Registers its own keys, those that both use, and takes away every third of its own again. The reader of
// them has its turns on a machine that gives it little time, too.
bool RegisterAndUnregister(const std::string& inName, const Leave& inLeave) {
    for (int n = 0; n < kKeyCount; ++n) {
        if (n % kKeysPerLeave == 0 && !inLeave.Await()) return false;
        if (!Add(inName + std::to_string(n)) || !Add("shared" + std::to_string(n / 100))) return false;
        if (n % 3 == 0 && !Remove(inName + std::to_string(n))) return false;
        if (n % 100 == 50 && !Remove("shared" + std::to_string(n / 100))) return false;
    }
    return true;
}

TEST(AccessKeyProcesses, TwoAgainstEachOtherLeaveExactlyWhatRemains) {
    const test_movies::StateFolder state;
    constexpr long kLeaveCount = 2 * kKeyCount / kKeysPerLeave;
    const Leave leave;
    pid_t running[] = {Start([&] { return RegisterAndUnregister("a", leave); }),
                       Start([&] { return RegisterAndUnregister("b", leave); })};
    long loads = 0;
    for (pid_t& child : running) {
        int status = 0;
        // Whoever reads meanwhile always finds the file whole.
        for (pid_t ended = 0; ended == 0; ++loads) {
            AccessKeyList keys;
            EXPECT_EQ(noErr, LoadSystemKeys(keys));
            if (loads < kLeaveCount) {
                EXPECT_TRUE(leave.Give());
            }
            usleep(2000);
            ended = waitpid(child, &status, WNOHANG);
            ASSERT_NE(-1, ended);
        }
        EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
    }
    EXPECT_GE(loads, kLeaveCount);

    AccessKeyList keys;
    ASSERT_EQ(noErr, LoadSystemKeys(keys));
    std::size_t expected = 0;
    for (int n = 0; n < kKeyCount; ++n)
        for (const char* name : {"a", "b"}) {
            EXPECT_EQ(n % 3 != 0, keys.Contains({"type", name + std::to_string(n)})) << name << n;
            expected += n % 3 != 0;
        }
    for (int n = 0; n < kKeyCount / 100; ++n) {
        EXPECT_TRUE(keys.Contains({"type", "shared" + std::to_string(n)})) << "added after each was removed";
        ++expected;
    }
    EXPECT_EQ(expected, keys.Count());
    EXPECT_EQ("access-keys access-keys.lock ", state.Names());
}

// One registers what the other unregisters: each key is there or not, and no other is.
TEST(AccessKeyProcesses, OneRegistersWhatTheOtherUnregisters) {
    const test_movies::StateFolder state;
    const pid_t adding = Start([] {
        bool isGood = true;
        for (int n = 0; n < kKeyCount / 2; ++n)
            isGood = Add(std::to_string(n)) && isGood;
        return isGood;
    });
    const pid_t removing = Start([] {
        bool isGood = true;
        for (int round = 0; round < 4; ++round)
            for (int n = 0; n < kKeyCount / 2; ++n)
                isGood = Remove(std::to_string(n)) && isGood;
        return isGood;
    });
    for (const pid_t child : {adding, removing}) {
        int status = 0;
        ASSERT_EQ(child, waitpid(child, &status, 0));
        EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
    }
    AccessKeyList keys;
    ASSERT_EQ(noErr, LoadSystemKeys(keys));
    std::size_t count = 0;
    for (int n = 0; n < kKeyCount / 2; ++n)
        count += keys.Contains({"type", std::to_string(n)});
    EXPECT_EQ(keys.Count(), count);
    for (int n = 0; n < kKeyCount / 2; ++n)
        EXPECT_TRUE(Remove(std::to_string(n)));
    EXPECT_EQ("mirtal access keys 1\nend\n", state.Text());
}

}  // namespace

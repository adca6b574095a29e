// A process that is killed at any system call while it writes a fork: whoever looks next finds the fork as it
// was or as it is to be, and a companion that can be read. Over the real file system alone: the process and
// its calls are the kernel's.
#include "ForkTest.h"
#include "companions/CompanionInfo.h"

#include <sys/ptrace.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <set>

namespace {

using namespace test_files;
using support::FileWorld;

constexpr int kFailed = 98;

class ForkCrashes : public testing::Test {
  protected:
    // Makes a call in a process of its own, which is killed when it stops for the n-th time, before or after
    // a system call. False when it ended before that.
    template <typename Call>
    static bool IsKilledAt(int inStop, Call inCall) {
        const pid_t child = fork();
        if (child == 0) {
            if (ptrace(PTRACE_TRACEME, 0, nullptr, nullptr) != 0) _exit(99);
            raise(SIGSTOP);
            _exit(inCall() ? 0 : kFailed);
        }
        int status = 0;
        EXPECT_EQ(child, waitpid(child, &status, 0));
        for (int stop = 0; WIFSTOPPED(status); ++stop) {
            if (stop == inStop)
                EXPECT_EQ(0, kill(child, SIGKILL));
            else
                EXPECT_EQ(0, ptrace(PTRACE_SYSCALL, child, nullptr, nullptr));
            EXPECT_EQ(child, waitpid(child, &status, 0));
        }
        EXPECT_TRUE(WIFSIGNALED(status) || WEXITSTATUS(status) == 0) << status;
        return WIFSIGNALED(status);
    }

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
        std::set<std::string> seen;
        for (int stop = 0;; ++stop) {
            for (const std::string& name : FileWorld::NamesIn(mFolder.Path()))
                FileWorld::RemoveAll(mFolder / name);
            const FSRef file = RefOf(mFolder.MakeFile("file", "data"));
            if (!inCompanion.empty()) mFolder.MakeFile("._file", inCompanion);
            const bool isKilled = IsKilledAt(stop, [&] {
                SInt16 number = 0;
                return OpenFork(file, Which::kResource, fsRdWrPerm, number) == noErr &&
                       inChange(number) == noErr && FSCloseFork(number) == noErr;
            });
            const std::string picture = Picture();
            EXPECT_EQ(1U, inStates.count(picture)) << stop << ": " << picture;
            seen.insert(picture);
            {
                const Opened fork(file, Which::kResource);
                EXPECT_EQ(noErr, Write(fork, fsFromStart, 9, "!")) << stop;
                EXPECT_EQ('!', Whole(fork)[9]) << stop;
            }
            if (!isKilled) break;
            ASSERT_LT(stop, 2000);
        }
        EXPECT_EQ(inStates, seen) << "each of them is met";
    }

    FileWorld mFolder{FileWorld::kReal};
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

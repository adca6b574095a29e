#include "platform/resources/ResourcesTest.h"

#include <toolbox/Processes.h>
#include <toolbox/Resources.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>

namespace {

using namespace test_resources;

class ProcessesTest : public ResourcesTest {};

TEST_F(ProcessesTest, ExitToShellEndsInOrder) {
    const FSRef file = MakeFile("f", {ImageOf(kText, 1, "old")});
    EXPECT_EXIT(
        {
            std::atexit([] {
                const char text[] = "exit handlers have run";
                if (write(STDERR_FILENO, text, sizeof text - 1) < 0) _exit(1);
            });
            Open(file);
            EXPECT_EQ(noErr, PtrToXHand("new", GetResource(kText, 1), 3));
            ChangedResource(GetResource(kText, 1));
            ExitToShell();
        },
        testing::ExitedWithCode(0), "exit handlers have run");
    Open(file);
    EXPECT_EQ("new", TextOf(GetResource(kText, 1))) << "what was changed is written";
}

}  // namespace

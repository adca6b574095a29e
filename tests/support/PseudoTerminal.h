// A terminal of a program's own, with somebody at its keys.
#pragma once

#include <gtest/gtest.h>
#include <pty.h>
#include <sys/wait.h>
#include <unistd.h>

#include <string>
#include <string_view>

namespace test_interface {

// Runs inProgram in a process of its own, which ends with its result, at a terminal into which inTyped is
// typed. Answers what the terminal showed, and the process's exit code in outResult.
template <typename Program>
std::string AtTerminal(std::string_view inTyped, Program inProgram, int& outResult) {
    int master = -1;
    const pid_t child = forkpty(&master, nullptr, nullptr, nullptr);
    if (child == 0) _exit(inProgram() & 0xFF);
    EXPECT_GT(child, 0);
    EXPECT_EQ(static_cast<ssize_t>(inTyped.size()), write(master, inTyped.data(), inTyped.size()));
    std::string shown;
    char bytes[256];
    for (ssize_t count; (count = read(master, bytes, sizeof bytes)) > 0;)
        shown.append(bytes, static_cast<std::size_t>(count));
    close(master);
    int status = 0;
    EXPECT_EQ(child, waitpid(child, &status, 0));
    EXPECT_TRUE(WIFEXITED(status)) << shown;
    outResult = WEXITSTATUS(status);
    return shown;
}

}  // namespace test_interface

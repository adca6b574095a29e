// A terminal of a program's own, with somebody at its keys.
#pragma once

#include <gtest/gtest.h>
#include <pty.h>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>
#include <utmp.h>

#include <string>
#include <string_view>

namespace test_interface {

// Runs inProgram in a process of its own, which ends with its result, at a terminal into which inTyped is
// typed. Answers what the terminal showed, and the process's exit code in outResult.
template <typename Program>
std::string AtTerminal(std::string_view inTyped, Program inProgram, int& outResult) {
    int master = -1;
    int slave = -1;
    EXPECT_EQ(0, openpty(&master, &slave, nullptr, nullptr, nullptr));
    // What is typed is shown by the terminal, at once: it would come in the midst of what the program writes.
    struct termios settings = {};
    EXPECT_EQ(0, tcgetattr(slave, &settings));
    settings.c_lflag &= ~static_cast<tcflag_t>(ECHO);
    EXPECT_EQ(0, tcsetattr(slave, TCSANOW, &settings));
    const pid_t child = fork();
    if (child == 0) _exit(login_tty(slave) == 0 ? inProgram() & 0xFF : 0xFF);
    EXPECT_GT(child, 0);
    close(slave);
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

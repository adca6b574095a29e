// Debug reports over the real toolbox: a developer at a terminal.
#include <foundation/LException.h>
#include <foundation/UDebugging.h>
#include <gtest/gtest.h>

#include <string>

#include "platform/interface/PseudoTerminal.h"

namespace {

constexpr unsigned char kExtra[] = "\5extra";

// What the program does after the report, as its exit status.
enum : int { kWentOn = 10, kThrew = 20, kSilenced = 1 };

struct Session {
    std::string shown;
    int exitCode = -1;
};

// Runs a report in a process with a terminal, into which the item is typed.
Session Report(int (*inReport)(), const std::string& inTyped) {
    Session session;
    session.shown = test_interface::AtTerminal(inTyped, inReport, session.exitCode);
    return session;
}

int ThrowWith(SInt32 inSetting) {
    UDebugging::gDebugThrow = inSetting;
    try {
        UDebugging::DebugThrow(-108, "file.cpp", kExtra, 12);
    } catch (LException const& exception) {
        return (exception.GetErrorCode() == -108 ? kThrew : 0) +
               (UDebugging::gDebugThrow == inSetting ? 0 : kSilenced);
    }
}

int ThrowSilently() {
    return ThrowWith(0);
}
int ThrowWithAlert() {
    return ThrowWith(1);
}
int ThrowToDebugger() {
    return ThrowWith(2);
}

int Signal() {
    UDebugging::gDebugSignal = 1;
    UDebugging::AlertSignalOSStatusAt(-43, "file.cpp", kExtra, 12);
    return kWentOn + (UDebugging::gDebugSignal == 1 ? 0 : kSilenced);
}

bool Shows(const Session& inSession, const std::string& inText) {
    return inSession.shown.find(inText) != std::string::npos;
}

TEST(UDebuggingOnToolbox, ThrowUnderEachSetting) {
    Session session = Report(ThrowSilently, "");
    EXPECT_EQ(kThrew, session.exitCode);
    EXPECT_EQ("", session.shown);
    session = Report(ThrowToDebugger, "");
    EXPECT_EQ(kThrew, session.exitCode);
    EXPECT_EQ("-108\r\n", session.shown);
    session = Report(ThrowWithAlert, "1\n");
    EXPECT_EQ(kThrew, session.exitCode);
    EXPECT_TRUE(Shows(session, "-108\r\nfile.cpp\r\nextra\r\n12\r\n")) << session.shown;
}

TEST(UDebuggingOnToolbox, ItemsOfTheThrowAlert) {
    EXPECT_EQ(kThrew + kSilenced, Report(ThrowWithAlert, "6\n").exitCode);
    EXPECT_EQ(0, Report(ThrowWithAlert, "4\n").exitCode) << "quit at once";
    const Session session = Report(ThrowWithAlert, "5\n");
    EXPECT_EQ(kThrew, session.exitCode);
    EXPECT_TRUE(Shows(session, "Debugger() was called")) << session.shown;
}

TEST(UDebuggingOnToolbox, ItemsOfTheSignalAlert) {
    const Session session = Report(Signal, "2\n");
    EXPECT_EQ(kWentOn, session.exitCode);
    EXPECT_TRUE(Shows(session, "Status Code = -43\r\nfile.cpp\r\nextra\r\n12\r\n")) << session.shown;
    EXPECT_EQ(kWentOn + kSilenced, Report(Signal, "6\n").exitCode);
    EXPECT_EQ(0, Report(Signal, "4\n").exitCode);
}

}  // namespace

// Debug reports over the real toolbox: a developer at a terminal.
#include "support/PseudoTerminal.h"
#include "support/Rounds.h"

#include <foundation/LException.h>
#include <foundation/UDebugging.h>
#include <gtest/gtest.h>
#include <toolbox/Dialogs.h>

#include <atomic>
#include <string>
#include <thread>
#include <vector>

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
    } catch (const LException& exception) {
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

std::string TextOf(ConstStr255Param inText) {
    return {reinterpret_cast<const char*>(inText + 1), inText[0]};
}

// Answers alerts while it lives.
class Answering {
  public:
    Answering(AlertHandler inHandler, void* inContext) { SetAlertHandler(inHandler, inContext); }
    ~Answering() { SetAlertHandler(nullptr, nullptr); }
};

// What this thread reports.
thread_local std::string sExpected;

TEST(UDebuggingOnToolbox, EachThreadsReportHasItsOwnTexts) {
    struct Heard {
        std::atomic<int> alerts{0};
        std::atomic<int> mixed{0};
    } heard;
    const Answering answering(
        [](void* inContext, SInt16, const ConstStr255Param* inTexts, DialogItemIndex) -> DialogItemIndex {
            auto& heardHere = *static_cast<Heard*>(inContext);
            ++heardHere.alerts;
            for (int i = 0; i < 4; ++i)
                heardHere.mixed += TextOf(inTexts[i]) != sExpected;
            return 1;
        },
        &heard);
    constexpr int kThreadCount = 3;
    const int kRounds = support::Rounds(20'000);
    std::atomic<int> started{0};
    std::vector<std::thread> threads;
    for (long number = 1; number <= kThreadCount; ++number)
        threads.emplace_back([number, kRounds, &started] {
            const std::string text = std::to_string(number);
            sExpected = text;
            ++started;
            while (started < kThreadCount)
                std::this_thread::yield();
            for (int round = 0; round < kRounds; ++round)
                UDebugging::AlertSignalAt(text.c_str(), text.c_str(), text.c_str(), number);
        });
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(kThreadCount * kRounds, heard.alerts);
    EXPECT_EQ(0, heard.mixed);
}

// A program that answers on another thread, which meets a fault of its own meanwhile, and reports one itself.
TEST(UDebuggingOnToolbox, WhatAnswersMayReport) {
    std::vector<std::string> reports;
    const Answering answering(
        [](void* inContext, SInt16 inAlertID, const ConstStr255Param* inTexts,
           DialogItemIndex) -> DialogItemIndex {
            static_cast<std::vector<std::string>*>(inContext)->push_back(TextOf(inTexts[0]));
            if (inAlertID != 251) return 1;
            UDebugging::AlertSignalAt("same thread", "f", "x", 1);
            std::thread([] { UDebugging::AlertSignalAt("other thread", "f", "x", 1); }).join();
            return 1;
        },
        &reports);
    UDebugging::AlertThrowAt(kExtra, "f", "x", 1);
    EXPECT_EQ((std::vector<std::string>{"extra", "same thread", "other thread"}), reports);
}

}  // namespace

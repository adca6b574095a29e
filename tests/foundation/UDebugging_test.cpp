#include "fakes/Alerts.h"
#include "fakes/Calls.h"

#include <foundation/LException.h>
#include <foundation/UDebugging.h>
#include <gtest/gtest.h>

#include <limits>
#include <string>
#include <vector>

namespace {

using Calls = std::vector<std::string>;

constexpr unsigned char kText[] = "\4text";
constexpr unsigned char kExtra[] = "\5extra";

static_assert(sizeof(UDebugging::gDebugThrow) == 4 && sizeof(UDebugging::gDebugSignal) == 4);

class UDebuggingTest : public ::testing::Test {
  protected:
    UDebuggingTest() {
        fakes::StartScenario();
        UDebugging::gDebugThrow = UDebugging::gDebugSignal = 0;
    }
    ~UDebuggingTest() override {
        EXPECT_EQ(Calls(), fakes::Misuses());
        UDebugging::gDebugThrow = UDebugging::gDebugSignal = 0;
    }

    static Calls Reports() {
        Calls reports;
        for (const std::string& call : fakes::CallLog())
            for (const char* name : {"ParamText", "StopAlert", "Debugger", "DebugStr", "ExitToShell"})
                if (call.rfind(std::string(name) + "(", 0) == 0) reports.push_back(call);
        return reports;
    }
    // The code that DebugThrow throws.
    template <typename Extra>
    static long CodeThrown(long inError, Extra inExtra) {
        try {
            UDebugging::DebugThrow(inError, "file.cpp", inExtra, 12);
        } catch (const LException& exception) {
            EXPECT_EQ(0, exception.GetErrorString()[0]);
            return exception.GetErrorCode();
        }
    }
};

TEST(UDebuggingAtLoad, ReportsNothing) {
    EXPECT_EQ(0, UDebugging::gDebugThrow);
    EXPECT_EQ(0, UDebugging::gDebugSignal);
}

TEST_F(UDebuggingTest, PascalFromCString) {
    for (std::size_t length : {0u, 1u, 254u, 255u, 256u, 300u}) {
        unsigned char text[257];
        text[256] = 0x5A;
        EXPECT_EQ(text, UDebugging::LoadPStrFromCStr(text, std::string(length, 'c').c_str()));
        const std::size_t expected = length < 255 ? length : 255;
        EXPECT_EQ(expected, text[0]);
        EXPECT_EQ(std::string(expected, 'c'), std::string(reinterpret_cast<char*>(text + 1), text[0]));
        EXPECT_EQ(0x5A, text[256]);
    }
}

TEST_F(UDebuggingTest, ThrowAlertHasFourTexts) {
    const Calls expected = {"ParamText(text|file.cpp|extra|12)", "StopAlert(251)"};
    UDebugging::AlertThrowAt(kText, "file.cpp", kExtra, 12);
    EXPECT_EQ(expected, Reports());
    fakes::StartScenario();
    UDebugging::AlertThrowAt(kText, "file.cpp", "extra", 12);
    EXPECT_EQ(expected, Reports());
}

TEST_F(UDebuggingTest, SignalAlertInEveryForm) {
    const Calls expected = {"ParamText(text|file.cpp|extra|-7)", "StopAlert(252)"};
    for (int form = 0; form < 4; ++form) {
        fakes::StartScenario();
        if (form == 0) UDebugging::AlertSignalAt(kText, "file.cpp", kExtra, -7);
        if (form == 1) UDebugging::AlertSignalAt("text", "file.cpp", kExtra, -7);
        if (form == 2) UDebugging::AlertSignalAt(kText, "file.cpp", "extra", -7);
        if (form == 3) UDebugging::AlertSignalAt("text", "file.cpp", "extra", -7);
        EXPECT_EQ(expected, Reports()) << form;
    }
}

TEST_F(UDebuggingTest, LongAndEmptyTexts) {
    const std::string text(300, 't');
    const std::string file(300, 'f');
    UDebugging::AlertSignalAt(text.c_str(), file.c_str(), "", 2147483647);
    EXPECT_EQ("ParamText(" + text.substr(0, 255) + "|" + file.substr(0, 255) + "||2147483647)", Reports()[0]);
}

TEST_F(UDebuggingTest, AlertsDoNotAskTheSettings) {
    for (SInt32 setting : {0, 1, 2}) {
        fakes::StartScenario();
        UDebugging::gDebugThrow = UDebugging::gDebugSignal = setting;
        UDebugging::AlertThrowAt(kText, "f", kExtra, 1);
        UDebugging::AlertSignalAt(kText, "f", kExtra, 1);
        UDebugging::AlertSignalOSStatusAt(1, "f", kExtra, 1);
        EXPECT_EQ(6U, Reports().size());
        EXPECT_EQ(setting, UDebugging::gDebugThrow);
        EXPECT_EQ(setting, UDebugging::gDebugSignal);
    }
}

TEST_F(UDebuggingTest, EveryItem) {
    for (const DialogItemIndex item : {-1, 0, 1, 2, 3, 4, 5, 6, 7, 255}) {
        for (const bool isThrow : {true, false}) {
            fakes::StartScenario();
            fakes::HitItem(item);
            UDebugging::gDebugThrow = 1;
            UDebugging::gDebugSignal = 2;
            const auto alert = [isThrow] {
                if (isThrow)
                    UDebugging::AlertThrowAt(kText, "f", kExtra, 1);
                else
                    UDebugging::AlertSignalAt(kText, "f", kExtra, 1);
            };
            if (item == 4)
                EXPECT_THROW(alert(), fakes::Exited);
            else
                alert();
            EXPECT_EQ(item == 5 ? 1U : 0U, fakes::CallsOf({"Debugger"}).size()) << item;
            EXPECT_EQ(item == 4 ? 1U : 0U, fakes::CallsOf({"ExitToShell"}).size()) << item;
            EXPECT_EQ(item == 6 && isThrow ? 0 : 1, UDebugging::gDebugThrow) << item;
            EXPECT_EQ(item == 6 && !isThrow ? 0 : 2, UDebugging::gDebugSignal) << item;
        }
    }
}

TEST_F(UDebuggingTest, StatusAlert) {
    UDebugging::AlertSignalOSStatusAt(-43, "file.cpp", kExtra, 12);
    EXPECT_EQ((Calls{"ParamText(Status Code = -43|file.cpp|extra|12)", "StopAlert(252)"}), Reports());
    fakes::StartScenario();
    UDebugging::AlertSignalOSStatusAt(std::numeric_limits<SInt32>::min(), "file.cpp", "extra", 12);
    EXPECT_EQ("ParamText(Status Code = -2147483648|file.cpp|extra|12)", Reports()[0]);
    fakes::StartScenario();
    UDebugging::AlertSignalOSStatusAt(0, "f", "", 0);
    EXPECT_EQ("ParamText(Status Code = 0|f||0)", Reports()[0]);
}

TEST_F(UDebuggingTest, ThrowWithoutReport) {
    for (const SInt32 setting : {0, 3, -1, std::numeric_limits<SInt32>::max()}) {
        UDebugging::gDebugThrow = setting;
        EXPECT_EQ(-108, CodeThrown(-108, kExtra));
        EXPECT_EQ(-108, CodeThrown(-108, "extra"));
        EXPECT_EQ(Calls(), Reports()) << setting;
    }
}

TEST_F(UDebuggingTest, ThrowWithTheAlert) {
    UDebugging::gDebugThrow = 1;
    const Calls expected = {"ParamText(-108|file.cpp|extra|12)", "StopAlert(251)"};
    EXPECT_EQ(-108, CodeThrown(-108, kExtra));
    EXPECT_EQ(expected, Reports());
    fakes::StartScenario();
    EXPECT_EQ(-108, CodeThrown(-108, "extra"));
    EXPECT_EQ(expected, Reports());
    EXPECT_EQ(1, UDebugging::gDebugThrow);
}

TEST_F(UDebuggingTest, ThrowToTheDebugger) {
    UDebugging::gDebugThrow = 2;
    EXPECT_EQ(-108, CodeThrown(-108, kExtra));
    EXPECT_EQ(Calls{"DebugStr(-108)"}, Reports());
}

TEST_F(UDebuggingTest, SilencedThrowStillThrows) {
    UDebugging::gDebugThrow = 1;
    fakes::HitItem(6);
    EXPECT_EQ(-50, CodeThrown(-50, kExtra));
    EXPECT_EQ(0, UDebugging::gDebugThrow);
    EXPECT_EQ(-50, CodeThrown(-50, kExtra));
    EXPECT_EQ(2U, Reports().size()) << "and the next one is silent";
}

TEST_F(UDebuggingTest, BreakingIntoTheDebuggerStillThrows) {
    UDebugging::gDebugThrow = 1;
    fakes::HitItem(5);
    EXPECT_EQ(-50, CodeThrown(-50, kExtra));
    EXPECT_EQ("Debugger()", Reports().back());
}

TEST_F(UDebuggingTest, QuittingThrowsNoMore) {
    UDebugging::gDebugThrow = 1;
    fakes::HitItem(4);
    EXPECT_THROW(UDebugging::DebugThrow(-50, "f", kExtra, 1), fakes::Exited);
}

TEST_F(UDebuggingTest, SignalSettingIsNotAsked) {
    UDebugging::gDebugSignal = 1;
    EXPECT_EQ(-50, CodeThrown(-50, kExtra));
    EXPECT_EQ(Calls(), Reports());
}

TEST_F(UDebuggingTest, NumberToTheDebugger) {
    UDebugging::DebugNumber(0);
    UDebugging::DebugNumber(-2147483647 - 1);
    UDebugging::DebugNumber(2147483647);
    EXPECT_EQ((Calls{"DebugStr(0)", "DebugStr(-2147483648)", "DebugStr(2147483647)"}), Reports());
}

}  // namespace

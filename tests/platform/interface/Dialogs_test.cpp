#include "AlertBytes.h"
#include "os/SystemCalls_test_access.h"
#include "platform/resources/ResourcesTest.h"
#include "support/PseudoTerminal.h"

#include <toolbox/Dialogs.h>
#include <toolbox/Resources.h>

#include <thread>

namespace {

using namespace test_interface;
using test_resources::ImageOf;
using test_resources::PascalText;

std::string_view View(const Bytes& inBytes) {
    return {reinterpret_cast<const char*>(inBytes.data()), inBytes.size()};
}

void SetTexts() {
    ParamText(PascalText("-108"), PascalText("file.cpp"), PascalText("no memory"), PascalText("17"));
}

class DialogsTest : public test_resources::ResourcesTest {
  protected:
    DialogsTest() {
        SetTexts();
        // Another alert between, so that each test begins at the first stage.
        SetAlertHandler([](void*, SInt16, const ConstStr255Param*, SInt16) { return SInt16{0}; }, nullptr);
        StopAlert(-32768, nullptr);
        SetAlertHandler(nullptr, nullptr);
    }
    ~DialogsTest() override { SetAlertHandler(nullptr, nullptr); }

    void OpenAlert(const Bytes& inAlert, const Bytes& inItems) {
        ASSERT_GT(Open(MakeFile("alerts", {ImageOf(FourChars("ALRT"), 251, View(inAlert)),
                                           ImageOf(FourChars("DITL"), 7, View(inItems))})),
                  0);
    }

    // Shows the alert in a process of its own, with a pseudo-terminal into which inTyped is typed. Answers
    // what the terminal showed, and the item in outItem.
    static std::string OnTerminal(std::string_view inTyped, int& outItem, SInt16 inAlertID = 251) {
        return AtTerminal(
            inTyped, [inAlertID] { return StopAlert(inAlertID, nullptr); }, outItem);
    }
};

TEST_F(DialogsTest, TerminalShowsTheLayoutAndTakesTheItemTyped) {
    OpenAlert(AlertBytes(7), DebugItems().Get());
    for (const int typed : {1, 4, 5, 6}) {
        int item = 0;
        const std::string shown = OnTerminal(std::to_string(typed) + "\n", item);
        EXPECT_EQ(typed, item);
        EXPECT_NE(std::string::npos, shown.find("Failure -108\r\nin file.cpp, line 17: no memory\r\n"
                                                "[4] Quit  [5] Debug  [6] Silence  *[1] Continue\r\n"
                                                "Item [1]: "))
            << shown;
    }
}

TEST_F(DialogsTest, TerminalAsksAgainForWhatIsNoItem) {
    OpenAlert(AlertBytes(7), DebugItems().Get());
    int item = 0;
    const std::string shown = OnTerminal("0\nx\n7\n-1\n5x\n99999\n6\n", item);
    EXPECT_EQ(6, item);
    std::size_t prompts = 0;
    for (std::size_t at = shown.find("Item ["); at != std::string::npos; at = shown.find("Item [", at + 1))
        ++prompts;
    EXPECT_EQ(7U, prompts) << shown;
}

TEST_F(DialogsTest, TerminalTakesTheDefaultForAnEmptyLineOrItsEnd) {
    OpenAlert(AlertBytes(7, 0xCCCC), DebugItems().Get());
    int item = 0;
    EXPECT_NE(std::string::npos, OnTerminal("\n", item).find("Item [2]: "));
    EXPECT_EQ(2, item);
    OnTerminal("\4", item);
    EXPECT_EQ(2, item);
}

TEST_F(DialogsTest, TerminalWithoutAnAlertOfTheApplication) {
    int item = 0;
    const std::string shown = OnTerminal("6\n", item);
    EXPECT_NE(std::string::npos, shown.find("-108\r\nfile.cpp\r\nno memory\r\n17\r\nItem [1]: ")) << shown;
    EXPECT_EQ(6, item);
}

// What goes to standard error where there is no terminal.
class WithoutTerminal : public DialogsTest {
  protected:
    WithoutTerminal() {
        sShown.clear();
        auto& calls = toolbox::os::CallsForTesting();
        calls.isatty = [](int) { return 0; };
        calls.write = [](int, const void* inBytes, std::size_t inByteCount) {
            sShown.append(static_cast<const char*>(inBytes), inByteCount);
            return static_cast<ssize_t>(inByteCount);
        };
        calls.read = [](int, void*, std::size_t) -> ssize_t {
            ADD_FAILURE() << "nobody is there to answer";
            return 0;
        };
    }
    ~WithoutTerminal() override { toolbox::os::CallsForTesting() = mSaved; }

    static inline std::string sShown;

  private:
    toolbox::os::SystemCalls mSaved = toolbox::os::CallsForTesting();
};

TEST_F(WithoutTerminal, ShowsTheLayoutAndAnswersOne) {
    OpenAlert(AlertBytes(7, 0xCCCC), DebugItems().Get());
    EXPECT_EQ(1, StopAlert(251, nullptr)) << "whatever the default is";
    EXPECT_EQ(
        "Failure -108\nin file.cpp, line 17: no memory\n[4] Quit  [5] Debug  [6] Silence  [1] Continue\n",
        sShown);
}

TEST_F(WithoutTerminal, WithoutAnAlertOfTheApplication) {
    EXPECT_EQ(1, StopAlert(251, nullptr));
    EXPECT_EQ("-108\nfile.cpp\nno memory\n17\n", sShown);
}

TEST_F(WithoutTerminal, TextsAreCopied) {
    Str255 text = {3, 'a', 'b', 'c'};
    ParamText(text, nullptr, PascalText(""), nullptr);
    text[1] = 'x';
    StopAlert(251, nullptr);
    EXPECT_EQ("abc\nfile.cpp\n17\n", sShown) << "and a null leaves the text before";
}

TEST_F(WithoutTerminal, StagesGoUpWhileTheAlertComesAgain) {
    OpenAlert(AlertBytes(7, 0x4040), DebugItems().Get());  // shown at the second and the fourth
    EXPECT_EQ(-1, StopAlert(251, nullptr));
    EXPECT_EQ("", sShown);
    EXPECT_EQ(1, StopAlert(251, nullptr));
    EXPECT_EQ(-1, StopAlert(251, nullptr));
    EXPECT_EQ(1, StopAlert(251, nullptr));
    EXPECT_EQ(1, StopAlert(251, nullptr)) << "the fourth stage is the last";
    EXPECT_EQ(1, StopAlert(252, nullptr)) << "another";
    EXPECT_EQ(-1, StopAlert(251, nullptr)) << "and back at the first";
}

TEST_F(WithoutTerminal, ResourcesThatAreCutOff) {
    const Bytes items = DebugItems().Get();
    OpenAlert(AlertBytes(7), Bytes(items.begin(), items.begin() + 2 + 14 + 8 + 14 + 10));
    EXPECT_EQ(1, StopAlert(251, nullptr));
    EXPECT_EQ("Failure -108\n*[1] Continue\n", sShown) << "the items before";
}

TEST_F(WithoutTerminal, TemplateWithoutItems) {
    OpenAlert(AlertBytes(8), DebugItems().Get());
    EXPECT_EQ(1, StopAlert(251, nullptr));
    EXPECT_EQ("-108\nfile.cpp\nno memory\n17\n", sShown) << "nothing is left untold";
}

struct Heard {
    SInt16 alertID = 0;
    SInt16 defaultItem = 0;
    std::string texts[4];
};

TEST_F(WithoutTerminal, HandlerAnswersInstead) {
    OpenAlert(AlertBytes(7, 0xCCCC), DebugItems().Get());
    Heard heard;
    SetAlertHandler(
        [](void* inContext, SInt16 inAlertID, const ConstStr255Param* inTexts,
           SInt16 inDefaultItem) -> SInt16 {
            auto& one = *static_cast<Heard*>(inContext);
            one.alertID = inAlertID;
            one.defaultItem = inDefaultItem;
            for (int i = 0; i < 4; ++i)
                one.texts[i] = test_resources::TextOf(inTexts[i]);
            // The toolbox may be called from here.
            ParamText(PascalText("again"), nullptr, nullptr, nullptr);
            SetAlertHandler(nullptr, nullptr);
            return 42;
        },
        &heard);
    EXPECT_EQ(42, StopAlert(251, nullptr));
    EXPECT_EQ("", sShown);
    EXPECT_EQ(251, heard.alertID);
    EXPECT_EQ(2, heard.defaultItem);
    EXPECT_EQ("-108", heard.texts[0]);
    EXPECT_EQ("file.cpp", heard.texts[1]);
    EXPECT_EQ("no memory", heard.texts[2]);
    EXPECT_EQ("17", heard.texts[3]);
    EXPECT_EQ(1, StopAlert(251, nullptr)) << "the handler took itself away";
}

DialogItemIndex Hear(void* inContext, SInt16, const ConstStr255Param* inTexts, DialogItemIndex) {
    auto& heard = *static_cast<Heard*>(inContext);
    for (int i = 0; i < 4; ++i)
        heard.texts[i] = test_resources::TextOf(inTexts[i]);
    return 1;
}

TEST_F(WithoutTerminal, AnotherThreadsTextsDoNotComeBetween) {
    Heard heard;
    SetAlertHandler(Hear, &heard);
    ParamText(PascalText("mine"), nullptr, PascalText("mine too"), nullptr);
    std::thread([] { ParamText(PascalText("other"), PascalText("other"), nullptr, nullptr); }).join();
    ParamText(nullptr, nullptr, PascalText("and this"), nullptr);
    StopAlert(251, nullptr);
    EXPECT_EQ("mine", heard.texts[0]);
    EXPECT_EQ("file.cpp", heard.texts[1]);
    EXPECT_EQ("and this", heard.texts[2]);
    EXPECT_EQ("17", heard.texts[3]);
}

TEST_F(WithoutTerminal, TextsGivenForAnotherThread) {
    Heard heard;
    SetAlertHandler(Hear, &heard);
    StopAlert(251, nullptr);
    EXPECT_EQ("-108", heard.texts[0]);
    std::thread([] { ParamText(PascalText("other"), nullptr, nullptr, nullptr); }).join();
    StopAlert(251, nullptr);
    EXPECT_EQ("other", heard.texts[0]) << "this thread has given none since its alert";
    EXPECT_EQ("file.cpp", heard.texts[1]);
    std::thread([] { StopAlert(251, nullptr); }).join();
    EXPECT_EQ("other", heard.texts[0]);
    ParamText(nullptr, PascalText("file"), nullptr, nullptr);
    StopAlert(251, nullptr);
    EXPECT_EQ("other", heard.texts[0]);
    EXPECT_EQ("file", heard.texts[1]);
}

TEST_F(WithoutTerminal, LongestTexts) {
    Heard heard;
    SetAlertHandler(Hear, &heard);
    const std::string longest(255, 'x');
    ParamText(PascalText(longest), PascalText(longest), PascalText(longest), PascalText(longest));
    StopAlert(251, nullptr);
    for (const std::string& text : heard.texts)
        EXPECT_EQ(longest, text);
    ParamText(PascalText(""), nullptr, nullptr, nullptr);
    StopAlert(251, nullptr);
    EXPECT_EQ("", heard.texts[0]);
}

TEST_F(WithoutTerminal, ManyThreadsAtOnce) {
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i)
        threads.emplace_back([] {
            for (int round = 0; round < 50; ++round) {
                SetTexts();
                EXPECT_EQ(1, StopAlert(251, nullptr));
            }
        });
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(200 * std::string("-108\nfile.cpp\nno memory\n17\n").size(), sShown.size());
}

}  // namespace

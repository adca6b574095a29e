#include "support/FailingNew.h"
#include "support/PseudoTerminal.h"

#include <gtest/gtest.h>
#include <toolbox/Dialogs.h>
#include <toolbox/Interaction.h>

#include <limits>
#include <string>
#include <thread>
#include <vector>

namespace {

TEST(Interaction, AllowedUntilSuppressed) {
    EXPECT_TRUE(IsUserInteractionAllowed());
    const long token = BeginUserInteractionSuppression();
    EXPECT_GT(token, 0);
    EXPECT_FALSE(IsUserInteractionAllowed());
    EndUserInteractionSuppression(token);
    EXPECT_TRUE(IsUserInteractionAllowed());
}

TEST(Interaction, SuppressionsEndInAnyOrder) {
    const long first = BeginUserInteractionSuppression();
    const long second = BeginUserInteractionSuppression();
    const long third = BeginUserInteractionSuppression();
    EXPECT_NE(first, second);
    EXPECT_NE(second, third);
    EXPECT_NE(first, third);
    for (const long token : {third, first}) {
        EndUserInteractionSuppression(token);
        EXPECT_FALSE(IsUserInteractionAllowed());
    }
    EndUserInteractionSuppression(second);
    EXPECT_TRUE(IsUserInteractionAllowed());
    EXPECT_GT(BeginUserInteractionSuppression(), third) << "no token comes again";
    EndUserInteractionSuppression(third + 1);
    EXPECT_TRUE(IsUserInteractionAllowed());
}

TEST(Interaction, UnknownTokensAreIgnored) {
    const long token = BeginUserInteractionSuppression();
    for (const long unknown :
         {0L, -1L, token - 1, token + 1, std::numeric_limits<long>::min(), std::numeric_limits<long>::max()})
        EndUserInteractionSuppression(unknown);
    EXPECT_FALSE(IsUserInteractionAllowed());
    const long other = BeginUserInteractionSuppression();
    EndUserInteractionSuppression(token);
    EndUserInteractionSuppression(token);
    EXPECT_FALSE(IsUserInteractionAllowed()) << "one that has ended ends no other";
    EndUserInteractionSuppression(other);
    EXPECT_TRUE(IsUserInteractionAllowed());
}

TEST(Interaction, NoMemoryNoSuppression) {
    // More than there is room for without asking for more.
    std::vector<long> tokens;
    tokens.reserve(1000);
    bool wasDelivered = false;
    while (tokens.size() < 1000 && !wasDelivered) {
        test_files::FailingNew fault(1);
        const long token = BeginUserInteractionSuppression();
        wasDelivered = fault.Delivered();
        if (wasDelivered) {
            EXPECT_EQ(0, token);
        } else {
            EXPECT_GT(token, 0);
            tokens.push_back(token);
        }
    }
    EXPECT_TRUE(wasDelivered);
    EXPECT_EQ(tokens.empty(), IsUserInteractionAllowed() != 0);
    EndUserInteractionSuppression(0);
    for (const long token : tokens)
        EndUserInteractionSuppression(token);
    EXPECT_TRUE(IsUserInteractionAllowed());
}

TEST(Interaction, ManyThreads) {
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i)
        threads.emplace_back([] {
            for (int round = 0; round < 500; ++round) {
                const long token = BeginUserInteractionSuppression();
                EXPECT_FALSE(IsUserInteractionAllowed());
                EndUserInteractionSuppression(token);
            }
        });
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_TRUE(IsUserInteractionAllowed());
}

// Shows an alert in a process of its own, at a terminal where "6" is typed. Answers what was shown and, in
// outItem, the answer.
std::string AlertAtTerminal(bool inIsSuppressed, int& outItem) {
    const auto showAlert = [inIsSuppressed] {
        const unsigned char text[] = "\4What";
        const unsigned char empty[] = "";
        ParamText(text, empty, empty, empty);
        const long token = inIsSuppressed ? BeginUserInteractionSuppression() : 0;
        const int item = StopAlert(251, nullptr);
        EndUserInteractionSuppression(token);
        return item;
    };
    return test_interface::AtTerminal("6\n", showAlert, outItem);
}

TEST(Interaction, SuppressedAlertIsShownAndAsksNobody) {
    int item = 0;
    EXPECT_NE(std::string::npos, AlertAtTerminal(false, item).find("Item ["));
    EXPECT_EQ(6, item);
    const std::string shown = AlertAtTerminal(true, item);
    EXPECT_NE(std::string::npos, shown.find("What\r\n")) << shown;
    EXPECT_EQ(std::string::npos, shown.find("Item [")) << shown;
    EXPECT_EQ(1, item);
}

TEST(Interaction, AlertHandlerIsStillCalled) {
    SetAlertHandler([](void*, SInt16, const ConstStr255Param*,
                       SInt16) -> SInt16 { return IsUserInteractionAllowed() != 0 ? 41 : 42; },
                    nullptr);
    const long token = BeginUserInteractionSuppression();
    EXPECT_EQ(42, StopAlert(251, nullptr));
    EndUserInteractionSuppression(token);
    EXPECT_EQ(41, StopAlert(251, nullptr));
    SetAlertHandler(nullptr, nullptr);
}

}  // namespace

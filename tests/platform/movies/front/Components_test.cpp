#include <gtest/gtest.h>
#include <movies/front/Movies_test_access.h>
#include <toolbox/Components.h>
#include <toolbox/MacErrors.h>

#include <vector>

namespace {

using toolbox::movies::LiveComponentInstanceCount;

constexpr ComponentDescription kAnything = {};

TEST(Components, CountsWhatMatches) {
    EXPECT_EQ(4, CountComponents(&kAnything));
    const ComponentDescription importers = {MovieImportType, 0, 0, 0, 0};
    EXPECT_EQ(3, CountComponents(&importers));
    const ComponentDescription exporter = {MovieExportType, FourChars("snd "), FourChars("mrtl"), 0, 0};
    EXPECT_EQ(1, CountComponents(&exporter));
    const ComponentDescription stranger = {FourChars("none"), 0, 0, 0, 0};
    EXPECT_EQ(0, CountComponents(&stranger));
    const ComponentDescription otherMaker = {MovieExportType, 0, FourChars("none"), 0, 0};
    EXPECT_EQ(0, CountComponents(&otherMaker));
    EXPECT_EQ(0, CountComponents(nullptr));
}

TEST(Components, FlagsCountOnlyUnderTheMask) {
    const ComponentDescription ignored = {0, 0, 0, 7, 0};
    EXPECT_EQ(4, CountComponents(&ignored));
    const ComponentDescription wanted = {0, 0, 0, 7, 1};
    EXPECT_EQ(0, CountComponents(&wanted));
    const ComponentDescription unwanted = {0, 0, 0, 0, 7};
    EXPECT_EQ(4, CountComponents(&unwanted));
}

TEST(Components, ImportersAreFoundInTheOrderInWhichTheyAreAsked) {
    const ComponentDescription importers = {MovieImportType, 0, 0, 0, 0};
    std::vector<OSType> kinds;
    Component component = nullptr;
    while ((component = FindNextComponent(component, &importers)) != nullptr) {
        ComponentDescription description;
        ASSERT_EQ(noErr, GetComponentInfo(component, &description));
        EXPECT_EQ(MovieImportType, description.componentType);
        kinds.push_back(description.componentSubType);
    }
    EXPECT_EQ((std::vector<OSType>{FourChars("mpg4"), FourChars("adts"), FourChars("genr")}), kinds);
}

TEST(Components, NullsAndStrangersAreRefused) {
    ComponentDescription description;
    int stranger = 0;
    const auto unknown = reinterpret_cast<Component>(&stranger);
    EXPECT_EQ(paramErr, GetComponentInfo(nullptr, &description));
    EXPECT_EQ(paramErr, GetComponentInfo(unknown, &description));
    EXPECT_EQ(paramErr, GetComponentInfo(FindNextComponent(nullptr, &kAnything), nullptr));
    EXPECT_EQ(nullptr, FindNextComponent(nullptr, nullptr));
    EXPECT_EQ(nullptr, FindNextComponent(unknown, &kAnything));
    EXPECT_EQ(nullptr, OpenComponent(nullptr));
    EXPECT_EQ(nullptr, OpenComponent(unknown));
    EXPECT_EQ(nullptr, OpenDefaultComponent(FourChars("none"), 0));
    EXPECT_NE(noErr, CloseComponent(nullptr));
}

TEST(Components, OpenedOnesLiveUntilClosed) {
    const std::int64_t before = LiveComponentInstanceCount();
    const ComponentInstance exporter = OpenDefaultComponent(MovieExportType, FourChars("snd "));
    const ComponentInstance another = OpenDefaultComponent(MovieExportType, FourChars("snd "));
    const ComponentInstance importer = OpenDefaultComponent(MovieImportType, FourChars("adts"));
    ASSERT_NE(nullptr, exporter);
    ASSERT_NE(nullptr, another);
    ASSERT_NE(nullptr, importer);
    EXPECT_NE(exporter, another);
    EXPECT_EQ(before + 3, LiveComponentInstanceCount());
    EXPECT_EQ(noErr, CloseComponent(exporter));
    EXPECT_EQ(noErr, CloseComponent(another));
    EXPECT_EQ(noErr, CloseComponent(importer));
    EXPECT_EQ(before, LiveComponentInstanceCount());
}

}  // namespace

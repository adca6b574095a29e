#include "LateBoundFunctions.h"

#include <quicktime/WeakQTSymbols.h>
#include <toolbox/MacErrors.h>

namespace {

// As the program's loader leaves them, before any test or call.
const Boolean sFlagAtLoad = qtInited;
const bool sIsEmptyAtLoad = _QTBeginUserInteractionSuppression == nullptr &&
                            _QTEndUserInteractionSuppression == nullptr &&
                            _QTIsUserInteractionAllowed == nullptr && _QTGetMoviePropertyInfo == nullptr &&
                            _QTGetMovieProperty == nullptr && _QTSetMovieProperty == nullptr &&
                            _QTGetProcessPropertyInfo == nullptr && _QTGetProcessProperty == nullptr &&
                            _QTSetProcessProperty == nullptr;

static_assert(sizeof qtInited == 1);

const std::vector<bool> kNone(9, false);
const std::vector<bool> kAll(9, true);

using WeakQTSymbolsTest = LateBoundTest;

TEST_F(WeakQTSymbolsTest, EmptyAtLoad) {
    EXPECT_EQ(0, sFlagAtLoad);
    EXPECT_TRUE(sIsEmptyAtLoad);
}

TEST_F(WeakQTSymbolsTest, FillsTheTableInOrder) {
    PutQuickTime();
    EXPECT_EQ(noErr, LoadWeakQTSymbols());
    EXPECT_EQ(1, qtInited);
    EXPECT_EQ(kAll, Found());

    Calls expected{"FSFindFolder(-32768, fram, 1)",
                   "CFURLCreateFromFSRef(fram)",
                   "CFURLCreateCopyAppendingPathComponent(QuickTime.framework, 0)",
                   "CFBundleCreate(fram/QuickTime.framework)",
                   "CFBundleLoadExecutable()",
                   "CFRelease(fram/QuickTime.framework)",
                   "CFRelease(fram)"};
    for (const std::string name : kLateBoundNames)
        expected.push_back("CFBundleGetFunctionPointerForName(" + name + ")");
    EXPECT_EQ(expected, fakes::CallLog());
}

TEST_F(WeakQTSymbolsTest, EachEntryIsItsFunction) {
    PutQuickTime();
    LoadWeakQTSymbols();
    const std::size_t before = fakes::CallLog().size();
    _QTBeginUserInteractionSuppression();
    _QTEndUserInteractionSuppression(3);
    _QTIsUserInteractionAllowed();
    _QTGetMoviePropertyInfo(nullptr, 1, 2, nullptr, nullptr, nullptr);
    _QTGetMovieProperty(nullptr, 1, 2, 0, nullptr, nullptr);
    _QTSetMovieProperty(nullptr, 1, 2, 0, nullptr);
    _QTGetProcessPropertyInfo(1, 2, nullptr, nullptr, nullptr);
    _QTGetProcessProperty(1, 2, 0, nullptr, nullptr);
    _QTSetProcessProperty(1, 2, 0, nullptr);
    EXPECT_EQ((Calls{"Begin()", "End(3)", "IsAllowed()", "MovieInfo()", "GetMovie()", "SetMovie()",
                     "ProcessInfo()", "GetProcess()", "SetProcess()"}),
              Calls(fakes::CallLog().begin() + static_cast<long>(before), fakes::CallLog().end()));
}

TEST_F(WeakQTSymbolsTest, SecondCallTouchesNothing) {
    PutQuickTime();
    LoadWeakQTSymbols();
    const auto entry = _QTGetProcessProperty;
    const std::size_t calls = fakes::CallLog().size();
    fakes::RemoveFramework("QuickTime.framework");
    EXPECT_EQ(noErr, LoadWeakQTSymbols());
    EXPECT_EQ(calls, fakes::CallLog().size());
    EXPECT_EQ(entry, _QTGetProcessProperty);
    EXPECT_EQ(1, fakes::LiveBundles());
}

TEST_F(WeakQTSymbolsTest, LacksOneFunction) {
    for (std::size_t missing = 0; missing < 9; ++missing) {
        fakes::StartScenario();
        ForgetTable();
        PutQuickTime({kLateBoundNames[missing]});
        EXPECT_EQ(noErr, LoadWeakQTSymbols()) << kLateBoundNames[missing];
        EXPECT_EQ(1, qtInited);
        std::vector<bool> expected = kAll;
        expected[missing] = false;
        EXPECT_EQ(expected, Found()) << kLateBoundNames[missing];
        if (missing < 8) fakes::ForgetLiveBundles();
    }
}

TEST_F(WeakQTSymbolsTest, LacksAllFunctions) {
    PutEmptyQuickTime();
    EXPECT_EQ(noErr, LoadWeakQTSymbols());
    EXPECT_EQ(1, qtInited);
    EXPECT_EQ(kNone, Found());
    // Final all the same: what comes later is not looked at.
    PutQuickTime();
    EXPECT_EQ(noErr, LoadWeakQTSymbols());
    EXPECT_EQ(kNone, Found());
}

TEST_F(WeakQTSymbolsTest, NoFramework) {
    EXPECT_EQ(-4960, LoadWeakQTSymbols());
    EXPECT_EQ(0, qtInited);
    EXPECT_EQ(kNone, Found());
}

TEST_F(WeakQTSymbolsTest, FrameworkDoesNotLoad) {
    PutQuickTimeThatDoesNotLoad();
    EXPECT_EQ(-4960, LoadWeakQTSymbols());
    EXPECT_EQ(0, qtInited);
    EXPECT_EQ(kNone, Found());
    EXPECT_EQ(0U, Count("CFBundleGetFunctionPointerForName"));
}

TEST_F(WeakQTSymbolsTest, FolderStatusIsPassedOn) {
    fakes::FailCall(1);
    fakes::SetErrorOfFolders(nsvErr);
    EXPECT_EQ(nsvErr, LoadWeakQTSymbols());
    EXPECT_EQ(0, qtInited);
}

TEST_F(WeakQTSymbolsTest, FailedLoadIsTriedAgain) {
    EXPECT_EQ(-4960, LoadWeakQTSymbols());
    PutQuickTimeThatDoesNotLoad();
    EXPECT_EQ(-4960, LoadWeakQTSymbols());
    PutQuickTime();
    EXPECT_EQ(noErr, LoadWeakQTSymbols());
    EXPECT_EQ(kAll, Found());
    EXPECT_EQ(3U, Count("FSFindFolder"));
}

}  // namespace

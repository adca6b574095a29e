#include "OnDoubles.h"
#include "fakes/Resources.h"
#include "support/FailingNew.h"

#include <foundation/LException.h>

#include <algorithm>

namespace {

constexpr ResType kString = FourChars("STR "), kList = FourChars("STR#");

// What Res has read stays read in this process, so every test has resource ids of its own.
class TCFStringResTest : public ::testing::Test {
  protected:
    TCFStringResTest() : mID(sNextID++) { fakes::StartScenario(); }
    ~TCFStringResTest() override { EXPECT_TRUE(fakes::Misuses().empty()); }

    void ScriptString(const std::string& inData) const { fakes::ScriptResource(kString, mID, "", inData); }
    void ScriptList(const std::vector<std::string>& inEntries) const {
        std::string data = {'\0', static_cast<char>(inEntries.size())};
        for (const std::string& entry : inEntries)
            (data += static_cast<char>(entry.size())) += entry;
        fakes::ScriptResource(kList, mID, "", data);
    }
    static int Reads() { return static_cast<int>(fakes::CallsOf({"GetString", "GetIndString"}).size()); }
    TCFString Res(short inIndex) const { return TCFString::Res(mID, inIndex); }

    const short mID;

  private:
    static inline short sNextID = 1000;
};

TEST_F(TCFStringResTest, EntryOfAList) {
    ScriptList({"one", "two", "caf\xC3\xA9"});
    EXPECT_EQ(u"one", UnitsOf(Res(1)));
    EXPECT_EQ(u"caf\u00E9", UnitsOf(Res(3))) << "in the default encoding";
}

TEST_F(TCFStringResTest, ARepeatedLookupReadsNothing) {
    ScriptList({"one", "two", "three"});
    const TCFString first = Res(3);
    EXPECT_EQ(1, Reads());
    const TCFString second = Res(3);
    EXPECT_EQ(1, Reads());
    EXPECT_EQ(first.StringRef(), second.StringRef()) << "the same string";
    fakes::ForgetResources();
    EXPECT_EQ(u"three", UnitsOf(Res(3))) << "even when the resource has gone";
    EXPECT_EQ(1, Reads());
}

TEST_F(TCFStringResTest, WhatCannotBeKeptIsReadAllTheSame) {
    ScriptList({"one", "two"});
    TCFString first, second;
    bool wasDelivered = false;
    {
        const test_files::FailingNew failing(1, test_files::FailingNew::kOnce);
        first = Res(2);
        wasDelivered = failing.Delivered();
    }
    EXPECT_TRUE(wasDelivered);
    EXPECT_EQ(u"two", UnitsOf(first));
    EXPECT_EQ(u"two", UnitsOf(Res(2)));
    EXPECT_EQ(2, Reads());
    EXPECT_EQ(u"two", UnitsOf(Res(2)));
    EXPECT_EQ(2, Reads()) << "kept now";
}

TEST_F(TCFStringResTest, EachEntryIsReadForItself) {
    ScriptList({"one", "two"});
    EXPECT_EQ(u"one", UnitsOf(Res(1)));
    EXPECT_EQ(u"two", UnitsOf(Res(2)));
    EXPECT_EQ(2, Reads());
}

TEST_F(TCFStringResTest, AListAndAStringOfOneID) {
    ScriptList({"of the list"});
    ScriptString("\3one");
    EXPECT_EQ(u"one", UnitsOf(Res(-1)));
    EXPECT_EQ(u"of the list", UnitsOf(Res(1)));
    EXPECT_EQ(u"one", UnitsOf(Res(-2))) << "any index below 0, each kept for itself";
    EXPECT_EQ(3, Reads());
    EXPECT_EQ(u"one", UnitsOf(Res(-2)));
    EXPECT_EQ(3, Reads());
}

TEST_F(TCFStringResTest, AnEmptyEntryIsReadAgain) {
    ScriptList({"", "two"});
    EXPECT_TRUE(Res(1).IsEmpty());
    EXPECT_TRUE(Res(1).IsEmpty());
    EXPECT_EQ(2, Reads());
}

TEST_F(TCFStringResTest, WhatIsMissingInAListIsEmptyAndReadAgain) {
    EXPECT_TRUE(Res(1).IsEmpty());
    ScriptList({"one"});
    EXPECT_EQ(u"one", UnitsOf(Res(1))) << "there by now";
    EXPECT_TRUE(Res(0).IsEmpty());
    EXPECT_TRUE(Res(2).IsEmpty());
    EXPECT_EQ(4, Reads());
}

TEST_F(TCFStringResTest, TextThatTheEncodingDoesNotHoldIsEmptyAndReadAgain) {
    ScriptList({"\xFF"});
    EXPECT_TRUE(Res(1).IsEmpty());
    EXPECT_TRUE(Res(1).IsEmpty());
    EXPECT_EQ(2, Reads());
}

TEST_F(TCFStringResTest, ASingleStringIsReadOnceAndReleased) {
    ScriptString("\5caf\xC3\xA9");
    const int handles = fakes::LiveHandles();
    EXPECT_EQ(u"caf\u00E9", UnitsOf(Res(-1)));
    EXPECT_EQ(u"caf\u00E9", UnitsOf(Res(-1)));
    EXPECT_EQ(1, Reads());
    EXPECT_EQ(1u, fakes::CallsOf({"ReleaseResource"}).size());
    EXPECT_EQ(handles, fakes::LiveHandles());
}

TEST_F(TCFStringResTest, AnEmptySingleStringIsReadAgain) {
    ScriptString(std::string(1, '\0'));
    EXPECT_TRUE(Res(-1).IsEmpty());
    EXPECT_TRUE(Res(-1).IsEmpty());
    EXPECT_EQ(2, Reads());
    EXPECT_EQ(2u, fakes::CallsOf({"ReleaseResource"}).size());
}

TEST_F(TCFStringResTest, AMissingSingleStringIsThrown) {
    for (int i = 0; i < 2; ++i) {
        try {
            static_cast<void>(Res(-1));
            FAIL() << "nothing was thrown";
        } catch (const LException& exception) {
            EXPECT_EQ(0x6E696C50, exception.GetErrorCode()) << "nilP";
        }
    }
    ScriptString("\3one");
    EXPECT_EQ(u"one", UnitsOf(Res(-1))) << "there by now";
}

TEST_F(TCFStringResTest, ASingleStringThatIsCutOff) {
    ScriptString("\377abc");
    EXPECT_EQ(u"abc", UnitsOf(Res(-1))) << "what there is of it";
    EXPECT_EQ(1u, fakes::CallsOf({"ReleaseResource"}).size());
}

TEST_F(TCFStringResTest, ASingleStringOfNoBytes) {
    ScriptString("");
    EXPECT_TRUE(Res(-1).IsEmpty());
    EXPECT_EQ(1u, fakes::CallsOf({"ReleaseResource"}).size());
}

TEST_F(TCFStringResTest, LimitsOfTheIndex) {
    ScriptString("\3one");
    EXPECT_EQ(u"one", UnitsOf(Res(-32768)));
    EXPECT_TRUE(Res(32767).IsEmpty());
}

TEST_F(TCFStringResTest, WhatCouldNotBeMadeIsReadAgain) {
    ScriptList({"one"});
    fakes::FailCall(2);  // the first is the look into the resource
    EXPECT_TRUE(IsTheEmptyString(Res(1)));
    EXPECT_TRUE(fakes::FailureDelivered());
    EXPECT_EQ(u"one", UnitsOf(Res(1)));
    EXPECT_EQ(2, Reads());
}

TEST_F(TCFStringResTest, OneStringIsKeptForEachEntry) {
    ScriptList({"one", "two"});
    const int strings = fakes::LiveStrings();
    for (int i = 0; i < 3; ++i)
        for (const short index : {1, 2, 3})
            static_cast<void>(Res(index));
    EXPECT_EQ(strings + 2, fakes::LiveStrings()) << "an empty one is no string of its own";
}

}  // namespace

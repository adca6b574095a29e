#include "ForkTest.h"

namespace {

using namespace test_files;

class ForkNames : public ForkTest {};
INSTANTIATE_TEST_SUITE_P(Worlds, ForkNames, support::BothWorlds(), support::NameOfWorld);

TEST_P(ForkNames, AreTwo) {
    HFSUniStr255 name = {};
    name.length = 9;
    EXPECT_EQ(noErr, FSGetDataForkName(&name));
    EXPECT_EQ(0, name.length);
    EXPECT_EQ(noErr, FSGetResourceForkName(&name));
    EXPECT_EQ(u"RESOURCE_FORK", std::u16string(name.unicode, name.unicode + name.length));
    EXPECT_EQ(paramErr, FSGetDataForkName(nullptr));
    EXPECT_EQ(paramErr, FSGetResourceForkName(nullptr));
}

TEST_P(ForkNames, OthersAreRefused) {
    SInt16 number = 7;
    const std::u16string units(256, u'R');
    const auto* const long_ = reinterpret_cast<const UniChar*>(units.data());
    EXPECT_EQ(errFSNameTooLong, FSOpenFork(&mRef, 256, long_, fsRdPerm, &number));
    EXPECT_EQ(errFSBadForkName, FSOpenFork(&mRef, 255, long_, fsRdPerm, &number));
    EXPECT_EQ(errFSBadForkName, FSOpenFork(&mRef, 1, nullptr, fsRdPerm, &number));
    const std::u16string_view name = NameOf(Which::kResource);
    const auto* const text = reinterpret_cast<const UniChar*>(name.data());
    EXPECT_EQ(errFSBadForkName, FSOpenFork(&mRef, name.size() - 1, text, fsRdPerm, &number));
    EXPECT_EQ(errFSBadForkName, FSCreateFork(&mRef, 1, text));
    EXPECT_EQ(errFSNameTooLong, FSDeleteFork(&mRef, 256, long_));
    EXPECT_EQ(7, number);
    EXPECT_EQ(noErr, FSOpenFork(&mRef, 0, nullptr, fsRdPerm, &number));
    EXPECT_EQ(noErr, FSCloseFork(number));
}

}  // namespace

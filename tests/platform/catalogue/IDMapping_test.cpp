#include "CatalogTest.h"
#include "support/FailEach.h"
#include "support/FailingCalls.h"
#include "support/FailingNew.h"

#include <grp.h>
#include <gtest/gtest.h>
#include <pwd.h>
#include <toolbox/DirAccess.h>

#include <cerrno>
#include <cstring>
#include <string>
#include <string_view>

namespace {

using namespace test_files;
using toolbox::os::CallsForTesting;

struct Entry {
    const char* name;
    UInt32 number;
};
constexpr Entry kUsers[] = {{"root", 0},
                            {"ada", 1000},
                            {"caf\xC3\xA9", 1001},
                            {"somebody-with-a-very-long-name-of-a-user", 0xFFFFFFF0}};
constexpr Entry kGroups[] = {{"root", 0}, {"staff", 50}};
int sError;

// Puts a name into the room for it, as the system does.
int Answer(const Entry* inFound, char* outText, std::size_t inCapacity) {
    if (sError != 0 || inFound == nullptr) return sError;
    if (std::strlen(inFound->name) >= inCapacity) return ERANGE;
    std::strcpy(outText, inFound->name);
    return 0;
}

template <std::size_t kCount>
const Entry* ByNumber(const Entry (&inEntries)[kCount], UInt32 inNumber) {
    for (const Entry& entry : inEntries)
        if (entry.number == inNumber) return &entry;
    return nullptr;
}
template <std::size_t kCount>
const Entry* ByName(const Entry (&inEntries)[kCount], std::string_view inName) {
    for (const Entry& entry : inEntries)
        if (entry.name == inName) return &entry;
    return nullptr;
}

int TellUser(const Entry* inFound, struct passwd* outEntry, char* outText, std::size_t inCapacity,
             struct passwd** outFound) {
    *outFound = nullptr;
    const int error = Answer(inFound, outText, inCapacity);
    if (error != 0 || inFound == nullptr) return error;
    outEntry->pw_name = outText;
    outEntry->pw_uid = inFound->number;
    *outFound = outEntry;
    return 0;
}
int TellGroup(const Entry* inFound, struct group* outEntry, char* outText, std::size_t inCapacity,
              struct group** outFound) {
    *outFound = nullptr;
    const int error = Answer(inFound, outText, inCapacity);
    if (error != 0 || inFound == nullptr) return error;
    outEntry->gr_name = outText;
    outEntry->gr_gid = inFound->number;
    *outFound = outEntry;
    return 0;
}

class IDMapping : public testing::Test {
  protected:
    IDMapping() {
        sError = 0;
        toolbox::os::SystemCalls& calls = CallsForTesting();
        calls.getpwuid_r = [](uid_t inUser, struct passwd* outEntry, char* outText, std::size_t inCapacity,
                              struct passwd** outFound) {
            return TellUser(ByNumber(kUsers, inUser), outEntry, outText, inCapacity, outFound);
        };
        calls.getpwnam_r = [](const char* inName, struct passwd* outEntry, char* outText,
                              std::size_t inCapacity, struct passwd** outFound) {
            return TellUser(ByName(kUsers, inName), outEntry, outText, inCapacity, outFound);
        };
        calls.getgrgid_r = [](gid_t inGroup, struct group* outEntry, char* outText, std::size_t inCapacity,
                              struct group** outFound) {
            return TellGroup(ByNumber(kGroups, inGroup), outEntry, outText, inCapacity, outFound);
        };
        calls.getgrnam_r = [](const char* inName, struct group* outEntry, char* outText,
                              std::size_t inCapacity, struct group** outFound) {
            return TellGroup(ByName(kGroups, inName), outEntry, outText, inCapacity, outFound);
        };
    }
    ~IDMapping() override { CallsForTesting() = mSaved; }

    // The name, or "status -43" for instance.
    std::string Name(SInt16 inType, UInt32 inNumber, SInt16 inVolume = 0) {
        Str255 name = {};
        mBlock = {};
        mBlock.objParam.ioVRefNum = inVolume;
        mBlock.objParam.ioObjType = inType;
        mBlock.objParam.ioObjID = static_cast<SInt32>(inNumber);
        mBlock.objParam.ioObjNamePtr = name;
        const OSErr error = PBHMapIDSync(&mBlock);
        EXPECT_EQ(error, mBlock.objParam.ioResult);
        return error == noErr ? std::string(reinterpret_cast<char*>(name) + 1, name[0])
                              : "status " + std::to_string(error);
    }
    OSErr Number(SInt16 inType, std::string_view inName, UInt32& outNumber, SInt16 inVolume = 0) {
        Str255 name = {static_cast<unsigned char>(inName.size())};
        inName.copy(reinterpret_cast<char*>(name) + 1, inName.size());
        mBlock = {};
        mBlock.objParam.ioVRefNum = inVolume;
        mBlock.objParam.ioObjType = inType;
        mBlock.objParam.ioObjID = 77;
        mBlock.objParam.ioObjNamePtr = name;
        const OSErr error = PBHMapNameSync(&mBlock);
        EXPECT_EQ(error, mBlock.objParam.ioResult);
        outNumber = static_cast<UInt32>(mBlock.objParam.ioObjID);
        return error;
    }

    HParamBlockRec mBlock = {};
    toolbox::os::SystemCalls mSaved = CallsForTesting();
};

TEST_F(IDMapping, NumbersToNames) {
    EXPECT_EQ("root", Name(kOwnerID2Name, 0));
    EXPECT_EQ("ada", Name(kOwnerID2Name, 1000));
    EXPECT_EQ("caf\xC3\xA9", Name(kOwnerID2Name, 1001)) << "in the application's encoding";
    EXPECT_EQ("staff", Name(kGroupID2Name, 50));
    EXPECT_EQ("status -43", Name(kOwnerID2Name, 50));
    EXPECT_EQ("status -43", Name(kGroupID2Name, 1000));
    const std::string cut = Name(kOwnerID2Name, 0xFFFFFFF0);
    EXPECT_EQ(31U, cut.size());
    EXPECT_NE(std::string::npos, cut.find("#FFFFFFF0")) << cut;
}

TEST_F(IDMapping, NamesToNumbers) {
    UInt32 number = 0;
    EXPECT_EQ(noErr, Number(kOwnerName2ID, "ada", number));
    EXPECT_EQ(1000U, number);
    EXPECT_EQ(noErr, Number(kOwnerName2ID, "caf\xC3\xA9", number));
    EXPECT_EQ(1001U, number);
    EXPECT_EQ(noErr, Number(kGroupName2ID, "staff", number));
    EXPECT_EQ(50U, number);
    EXPECT_EQ(fnfErr, Number(kOwnerName2ID, "staff", number));
    EXPECT_EQ(77U, number) << "untouched";
    EXPECT_EQ(fnfErr, Number(kGroupName2ID, "ada", number));
    EXPECT_EQ(fnfErr, Number(kOwnerName2ID, "", number));
    EXPECT_EQ(fnfErr, Number(kOwnerName2ID, std::string_view("a\0b", 3), number));
}

TEST_F(IDMapping, Refused) {
    UInt32 number = 0;
    for (const SInt16 type : {0, 3, 4, 5})
        EXPECT_EQ("status -50", Name(type, 0)) << type;
    for (const SInt16 type : {0, 1, 2, 5})
        EXPECT_EQ(paramErr, Number(type, "root", number)) << type;
    EXPECT_EQ("status -35", Name(kOwnerID2Name, 0, -31000));
    EXPECT_EQ(nsvErr, Number(kOwnerName2ID, "root", number, -31000));
    EXPECT_EQ(paramErr, PBHMapIDSync(nullptr));
    EXPECT_EQ(paramErr, PBHMapNameSync(nullptr));
    mBlock = {};
    mBlock.objParam.ioObjType = kOwnerID2Name;
    EXPECT_EQ(paramErr, PBHMapIDSync(&mBlock)) << "no room for a name";
    mBlock.objParam.ioObjType = kOwnerName2ID;
    EXPECT_EQ(paramErr, PBHMapNameSync(&mBlock));
}

TEST_F(IDMapping, ADatabaseThatFails) {
    UInt32 number = 0;
    for (const int error : {ENOENT, ESRCH, EBADF, EPERM}) {
        sError = error;
        EXPECT_EQ("status -43", Name(kOwnerID2Name, 0)) << "nobody tells: " << error;
        EXPECT_EQ("status -43", Name(kGroupID2Name, 0)) << error;
        EXPECT_EQ(fnfErr, Number(kOwnerName2ID, "root", number)) << error;
        EXPECT_EQ(fnfErr, Number(kGroupName2ID, "root", number)) << error;
    }
    sError = EMFILE;
    EXPECT_EQ("status -42", Name(kOwnerID2Name, 0));
    EXPECT_EQ("status -42", Name(kGroupID2Name, 0));
    EXPECT_EQ(tmfoErr, Number(kOwnerName2ID, "root", number));
    EXPECT_EQ(tmfoErr, Number(kGroupName2ID, "root", number));
}

TEST_F(IDMapping, EveryStepFails) {
    const auto check = [&](const auto& inUnderFault, OSErr inExpected) {
        std::string name;
        UInt32 number = 0;
        OSErr error = 1;
        bool isDelivered = inUnderFault([&] { name = Name(kOwnerID2Name, 1000); });
        EXPECT_TRUE(name == "ada" || (isDelivered && name == "status " + std::to_string(inExpected))) << name;
        isDelivered = inUnderFault([&] { error = Number(kGroupName2ID, "staff", number); });
        EXPECT_TRUE(error == noErr || (isDelivered && error == inExpected)) << error;
    };
    EXPECT_GT(
        support::FailEach<FailingCalls>([&](const auto& inUnderFault) { check(inUnderFault, ioErr); }, EIO),
        1);
    const auto checkMemory = [&](const auto& inUnderFault) {
        UInt32 number = 0;
        OSErr error = 1;
        const bool isDelivered = inUnderFault([&] { error = Number(kGroupName2ID, "staff", number); });
        EXPECT_EQ(isDelivered ? memFullErr : noErr, error);
    };
    EXPECT_GT(support::FailEach<FailingNew>(checkMemory), 0);
}

}  // namespace

#include <gtest/gtest.h>
#include <toolbox/HParamBlocks.h>
#include <toolbox/ItemLookup.h>
#include <toolbox/MountRecords.h>
#include <toolbox/Processes.h>
#include <toolbox/VolumeAttributes.h>

#include <cstddef>

namespace {

// Where programs compiled for it found the fields on hosts of 32 bits, and where they are on those of 64.
constexpr std::size_t OnHost(std::size_t inOn32Bits, std::size_t inOn64Bits) {
    return sizeof(void*) == 4 ? inOn32Bits : inOn64Bits;
}

TEST(ParameterBlocks, Header) {
    EXPECT_EQ(OnHost(16, 28), offsetof(HVolumeParam, ioResult));
    EXPECT_EQ(OnHost(18, 30), offsetof(HVolumeParam, ioNamePtr));
    EXPECT_EQ(OnHost(22, 38), offsetof(HVolumeParam, ioVRefNum));
    EXPECT_EQ(offsetof(HVolumeParam, ioVRefNum), offsetof(HIOParam, ioVRefNum));
    EXPECT_EQ(offsetof(HVolumeParam, ioVRefNum), offsetof(FIDParam, ioVRefNum));
}

TEST(ParameterBlocks, OfVolumes) {
    EXPECT_EQ(OnHost(122, 138), sizeof(HVolumeParam));
    EXPECT_EQ(OnHost(28, 44), offsetof(HVolumeParam, ioVolIndex));
    EXPECT_EQ(OnHost(90, 106), offsetof(HVolumeParam, ioVFndrInfo));
    EXPECT_EQ(OnHost(50, 74), sizeof(HIOParam));
    EXPECT_EQ(OnHost(32, 52), offsetof(HIOParam, ioBuffer));
    EXPECT_EQ(OnHost(36, 60), offsetof(HIOParam, ioReqCount));
    EXPECT_EQ(OnHost(40, 64), offsetof(HIOParam, ioActCount));
}

TEST(ParameterBlocks, OfAccess) {
    EXPECT_EQ(OnHost(52, 68), sizeof(AccessParam));
    EXPECT_EQ(OnHost(31, 47), offsetof(AccessParam, ioACUser));
    EXPECT_EQ(OnHost(36, 52), offsetof(AccessParam, ioACOwnerID));
    EXPECT_EQ(OnHost(44, 60), offsetof(AccessParam, ioACAccess));
    EXPECT_EQ(OnHost(48, 64), offsetof(AccessParam, ioDirID));
    EXPECT_EQ(OnHost(36, 56), sizeof(ObjParam));
    EXPECT_EQ(OnHost(26, 42), offsetof(ObjParam, ioObjType));
    EXPECT_EQ(OnHost(28, 44), offsetof(ObjParam, ioObjNamePtr));
    EXPECT_EQ(OnHost(32, 52), offsetof(ObjParam, ioObjID));
}

TEST(ParameterBlocks, OfFiles) {
    EXPECT_EQ(OnHost(52, 76), sizeof(CopyParam));
    EXPECT_EQ(OnHost(24, 40), offsetof(CopyParam, ioDstVRefNum));
    EXPECT_EQ(OnHost(28, 44), offsetof(CopyParam, ioNewName));
    EXPECT_EQ(OnHost(32, 52), offsetof(CopyParam, ioCopyName));
    EXPECT_EQ(OnHost(36, 60), offsetof(CopyParam, ioNewDirID));
    EXPECT_EQ(OnHost(48, 72), offsetof(CopyParam, ioDirID));
    EXPECT_EQ(OnHost(58, 78), sizeof(FIDParam));
    EXPECT_EQ(OnHost(28, 44), offsetof(FIDParam, ioDestNamePtr));
    EXPECT_EQ(OnHost(36, 56), offsetof(FIDParam, ioDestDirID));
    EXPECT_EQ(OnHost(48, 68), offsetof(FIDParam, ioSrcDirID));
    EXPECT_EQ(OnHost(54, 74), offsetof(FIDParam, ioFileID));
}

TEST(ParameterBlocks, OfLookUps) {
    EXPECT_EQ(OnHost(72, 120), sizeof(FSRefParam));
    EXPECT_EQ(OnHost(16, 28), offsetof(FSRefParam, ioResult));
}

TEST(ParameterBlocks, OfProcesses) {
    EXPECT_EQ(OnHost(60, 80), sizeof(ProcessInfoRec));
    EXPECT_EQ(60, kProcessInfoLength);
    EXPECT_EQ(OnHost(4, 8), offsetof(ProcessInfoRec, processName));
    EXPECT_EQ(OnHost(8, 16), offsetof(ProcessInfoRec, processNumber));
    EXPECT_EQ(OnHost(16, 24), offsetof(ProcessInfoRec, processType));
    EXPECT_EQ(OnHost(28, 40), offsetof(ProcessInfoRec, processLocation));
    EXPECT_EQ(OnHost(40, 56), offsetof(ProcessInfoRec, processLauncher));
    EXPECT_EQ(OnHost(56, 72), offsetof(ProcessInfoRec, processAppSpec));
}

TEST(ParameterBlocks, OfMounts) {
    EXPECT_EQ(OnHost(50, 74), sizeof(ParamBlockRec));
    EXPECT_EQ(8U, sizeof(VolumeMountInfoHeader));
    EXPECT_EQ(14U, sizeof(SystemVolMountInfo));
}

TEST(ParameterBlocks, ParametersOfVolumes) {
    EXPECT_EQ(OnHost(32, 44), sizeof(GetVolParmsInfoBuffer));
    EXPECT_EQ(OnHost(20, 24), offsetof(GetVolParmsInfoBuffer, vMExtendedAttributes));
}

}  // namespace

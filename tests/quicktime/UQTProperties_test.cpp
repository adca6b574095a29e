#include "LateBoundFunctions.h"

#include <quicktime/UQTProperties.h>
#include <toolbox/MacErrors.h>

namespace {

constexpr OSType kClass = FourChars("abcd");
constexpr OSType kID = FourChars("EFGH");

class UQTPropertiesTest : public LateBoundTest {
  protected:
    // An address is all that is passed on.
    const Movie mMovie = reinterpret_cast<Movie>(this);
    OSType mType = 1;
    ByteCount mSize = 2;
    UInt32 mFlags = 3;
    UInt32 mValue = 4;

    void ExpectOutputsUntouched() {
        EXPECT_EQ(1U, mType);
        EXPECT_EQ(2U, mSize);
        EXPECT_EQ(3U, mFlags);
        EXPECT_EQ(4U, mValue);
    }
    // The six wrappers, by number, with the outputs above.
    OSStatus Call(int inWrapper) {
        switch (inWrapper) {
            case 0:
                return UQTProperties::GetMoviePropertyInfo(mMovie, kClass, kID, &mType, &mSize, &mFlags);
            case 1:
                return UQTProperties::GetMovieProperty(mMovie, kClass, kID, 4, &mValue, &mSize);
            case 2:
                return UQTProperties::SetMovieProperty(mMovie, kClass, kID, 4, &mValue);
            case 3:
                return UQTProperties::GetProcessPropertyInfo(kClass, kID, &mType, &mSize, &mFlags);
            case 4:
                return UQTProperties::GetProcessProperty(kClass, kID, 4, &mValue, &mSize);
            default:
                return UQTProperties::SetProcessProperty(kClass, kID, 4, &mValue);
        }
    }
    static constexpr int kWrapperCount = 6;
    static constexpr int kFirstName = 3;  // among the late-bound names
};

void ExpectProperty() {
    EXPECT_EQ(kClass, sScript.propertyClass);
    EXPECT_EQ(kID, sScript.propertyID);
}

TEST_F(UQTPropertiesTest, MovieInfo) {
    PutQuickTime();
    sScript.type = FourChars("long");
    sScript.size = ~ByteCount{0};
    sScript.flags = 10;
    sScript.status = -1;
    EXPECT_EQ(-1, UQTProperties::GetMoviePropertyInfo(mMovie, kClass, kID, &mType, &mSize, &mFlags));
    EXPECT_EQ("MovieInfo()", fakes::CallLog().back());
    EXPECT_EQ(mMovie, sScript.movie);
    ExpectProperty();
    EXPECT_EQ(FourChars("long"), mType);
    EXPECT_EQ(sScript.size, mSize);
    EXPECT_EQ(10U, mFlags);
}

TEST_F(UQTPropertiesTest, GetOfMovie) {
    PutQuickTime();
    sScript.value = 0xDEADBEEF;
    sScript.size = 4;
    EXPECT_EQ(noErr, UQTProperties::GetMovieProperty(mMovie, kClass, kID, 4, &mValue, &mSize));
    EXPECT_EQ("GetMovie()", fakes::CallLog().back());
    EXPECT_EQ(mMovie, sScript.movie);
    ExpectProperty();
    EXPECT_EQ(4U, sScript.inSize);
    EXPECT_EQ(0xDEADBEEFU, mValue);
    EXPECT_EQ(4U, mSize);
}

TEST_F(UQTPropertiesTest, SetOfMovie) {
    PutQuickTime();
    sScript.status = 2147483647;
    EXPECT_EQ(2147483647, UQTProperties::SetMovieProperty(mMovie, kClass, kID, 4, &mValue));
    EXPECT_EQ("SetMovie()", fakes::CallLog().back());
    EXPECT_EQ(mMovie, sScript.movie);
    ExpectProperty();
    EXPECT_EQ(4U, sScript.inSize);
    EXPECT_EQ(&mValue, sScript.in);
}

TEST_F(UQTPropertiesTest, ProcessInfo) {
    PutQuickTime();
    sScript.type = FourChars("type");
    sScript.size = 8;
    sScript.flags = 2;
    EXPECT_EQ(noErr, UQTProperties::GetProcessPropertyInfo(kClass, kID, &mType, &mSize, &mFlags));
    EXPECT_EQ("ProcessInfo()", fakes::CallLog().back());
    ExpectProperty();
    EXPECT_EQ(FourChars("type"), mType);
    EXPECT_EQ(8U, mSize);
    EXPECT_EQ(2U, mFlags);
}

TEST_F(UQTPropertiesTest, GetOfProcess) {
    PutQuickTime();
    sScript.value = 7;
    sScript.size = 9;
    EXPECT_EQ(noErr, UQTProperties::GetProcessProperty(kClass, kID, 3, &mValue, &mSize));
    EXPECT_EQ("GetProcess()", fakes::CallLog().back());
    ExpectProperty();
    EXPECT_EQ(3U, sScript.inSize);
    EXPECT_EQ(&mValue, sScript.out[0]);
    EXPECT_EQ(9U, mSize);
}

TEST_F(UQTPropertiesTest, SetOfProcess) {
    PutQuickTime();
    EXPECT_EQ(noErr, UQTProperties::SetProcessProperty(kClass, kID, 0, &mValue));
    EXPECT_EQ("SetProcess()", fakes::CallLog().back());
    ExpectProperty();
    EXPECT_EQ(0U, sScript.inSize);
    EXPECT_EQ(&mValue, sScript.in);
}

TEST_F(UQTPropertiesTest, NullsPassThrough) {
    PutQuickTime();
    sScript.out[0] = sScript.out[1] = sScript.out[2] = sScript.in = this;
    EXPECT_EQ(noErr, UQTProperties::GetMoviePropertyInfo(nullptr, 0, 0, nullptr, nullptr, nullptr));
    EXPECT_EQ(nullptr, sScript.movie);
    EXPECT_EQ(nullptr, sScript.out[0]);
    EXPECT_EQ(nullptr, sScript.out[1]);
    EXPECT_EQ(nullptr, sScript.out[2]);
    sScript.out[0] = sScript.out[1] = this;
    sScript.movie = mMovie;
    EXPECT_EQ(noErr, UQTProperties::GetMovieProperty(nullptr, 0, 0, 1, nullptr, nullptr));
    EXPECT_EQ(nullptr, sScript.movie);
    EXPECT_EQ(nullptr, sScript.out[0]);
    EXPECT_EQ(nullptr, sScript.out[1]);
    EXPECT_EQ(noErr, UQTProperties::SetMovieProperty(nullptr, 0, 0, 1, nullptr));
    EXPECT_EQ(nullptr, sScript.in);
    sScript.out[0] = sScript.out[1] = sScript.out[2] = sScript.in = this;
    EXPECT_EQ(noErr, UQTProperties::GetProcessPropertyInfo(0, 0, nullptr, nullptr, nullptr));
    EXPECT_EQ(nullptr, sScript.out[0]);
    EXPECT_EQ(nullptr, sScript.out[1]);
    EXPECT_EQ(nullptr, sScript.out[2]);
    sScript.out[0] = sScript.out[1] = this;
    EXPECT_EQ(noErr, UQTProperties::GetProcessProperty(0, 0, 1, nullptr, nullptr));
    EXPECT_EQ(nullptr, sScript.out[0]);
    EXPECT_EQ(nullptr, sScript.out[1]);
    EXPECT_EQ(noErr, UQTProperties::SetProcessProperty(0, 0, 1, nullptr));
    EXPECT_EQ(nullptr, sScript.in);
}

TEST_F(UQTPropertiesTest, StatusIsPassedOn) {
    PutQuickTime();
    for (const OSStatus status :
         {OSStatus{0}, OSStatus{1}, OSStatus{kQTPropertyNotSupportedErr}, INT32_MIN}) {
        sScript.status = status;
        for (int wrapper = 0; wrapper < kWrapperCount; ++wrapper)
            EXPECT_EQ(status, Call(wrapper)) << wrapper;
    }
}

TEST_F(UQTPropertiesTest, WithoutOneFunction) {
    for (int missing = 0; missing < kWrapperCount; ++missing) {
        fakes::StartScenario();
        fakes::ForgetLiveBundles();
        ForgetTable();
        PutQuickTime({kLateBoundNames[kFirstName + missing]});
        EXPECT_EQ(-4, Call(missing)) << missing;
        ExpectOutputsUntouched();
        for (int wrapper = 0; wrapper < kWrapperCount; ++wrapper)
            EXPECT_EQ(wrapper == missing ? -4 : noErr, Call(wrapper)) << missing << wrapper;
        mType = 1, mSize = 2, mFlags = 3, mValue = 4;
    }
}

TEST_F(UQTPropertiesTest, WithoutTheFunctions) {
    PutEmptyQuickTime();
    for (int wrapper = 0; wrapper < kWrapperCount; ++wrapper)
        EXPECT_EQ(-4, Call(wrapper)) << wrapper;
    ExpectOutputsUntouched();
    EXPECT_EQ(1U, Count("CFBundleCreate"));
}

TEST_F(UQTPropertiesTest, FirstCallResolves) {
    for (int first = 0; first < kWrapperCount; ++first) {
        fakes::StartScenario();
        fakes::ForgetLiveBundles();
        ForgetTable();
        PutQuickTime();
        EXPECT_EQ(noErr, Call(first)) << first;
        for (int wrapper = 0; wrapper < kWrapperCount; ++wrapper)
            EXPECT_EQ(noErr, Call(wrapper)) << wrapper;
        EXPECT_EQ(1U, Count("CFBundleCreate")) << first;
    }
}

TEST_F(UQTPropertiesTest, EveryCallTriesAFailedLoadOnceMore) {
    for (int wrapper = 0; wrapper < kWrapperCount; ++wrapper) {
        EXPECT_EQ(-4, Call(wrapper)) << wrapper;
        EXPECT_EQ(static_cast<std::size_t>(wrapper + 1), Count("CFBundleCreate"));
    }
    ExpectOutputsUntouched();
    PutQuickTime();
    EXPECT_EQ(noErr, Call(0));
}

}  // namespace

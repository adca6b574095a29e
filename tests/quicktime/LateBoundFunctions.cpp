#include "LateBoundFunctions.h"

#include <algorithm>
#include <cstring>
#include <map>

namespace {

OSStatus Info(const char* inName, OSType inClass, OSType inID, OSType* outType, ByteCount* outSize,
              UInt32* outFlags) {
    fakes::Log(std::string(inName) + "()");
    sScript.propertyClass = inClass;
    sScript.propertyID = inID;
    sScript.out[0] = outType;
    sScript.out[1] = outSize;
    sScript.out[2] = outFlags;
    if (outType != nullptr) *outType = sScript.type;
    if (outSize != nullptr) *outSize = sScript.size;
    if (outFlags != nullptr) *outFlags = sScript.flags;
    return sScript.status;
}

OSStatus Get(const char* inName, OSType inClass, OSType inID, ByteCount inSize, void* outValue,
             ByteCount* outSizeUsed) {
    fakes::Log(std::string(inName) + "()");
    sScript.propertyClass = inClass;
    sScript.propertyID = inID;
    sScript.inSize = inSize;
    sScript.out[0] = outValue;
    sScript.out[1] = outSizeUsed;
    if (outValue != nullptr)
        std::memcpy(outValue, &sScript.value, std::min<ByteCount>(inSize, sizeof sScript.value));
    if (outSizeUsed != nullptr) *outSizeUsed = sScript.size;
    return sScript.status;
}

OSStatus Set(const char* inName, OSType inClass, OSType inID, ByteCount inSize, const void* inValue) {
    fakes::Log(std::string(inName) + "()");
    sScript.propertyClass = inClass;
    sScript.propertyID = inID;
    sScript.inSize = inSize;
    sScript.in = inValue;
    return sScript.status;
}

long Begin() {
    fakes::Log("Begin()");
    return sScript.token++;
}

void End(long inToken) {
    fakes::Log(fakes::CallText("End", inToken));
}

Boolean IsAllowed() {
    fakes::Log("IsAllowed()");
    return sScript.isInteractionAllowed;
}

OSStatus MovieInfo(Movie inMovie, OSType inClass, OSType inID, OSType* outType, ByteCount* outSize,
                   UInt32* outFlags) {
    sScript.movie = inMovie;
    return Info("MovieInfo", inClass, inID, outType, outSize, outFlags);
}

OSStatus GetMovie(Movie inMovie, OSType inClass, OSType inID, ByteCount inSize, void* outValue,
                  ByteCount* outSizeUsed) {
    sScript.movie = inMovie;
    return Get("GetMovie", inClass, inID, inSize, outValue, outSizeUsed);
}

OSStatus SetMovie(Movie inMovie, OSType inClass, OSType inID, ByteCount inSize, const void* inValue) {
    sScript.movie = inMovie;
    return Set("SetMovie", inClass, inID, inSize, inValue);
}

OSStatus ProcessInfo(OSType inClass, OSType inID, OSType* outType, ByteCount* outSize, UInt32* outFlags) {
    return Info("ProcessInfo", inClass, inID, outType, outSize, outFlags);
}

OSStatus GetProcess(OSType inClass, OSType inID, ByteCount inSize, void* outValue, ByteCount* outSizeUsed) {
    return Get("GetProcess", inClass, inID, inSize, outValue, outSizeUsed);
}

OSStatus SetProcess(OSType inClass, OSType inID, ByteCount inSize, const void* inValue) {
    return Set("SetProcess", inClass, inID, inSize, inValue);
}

template <typename Function>
void* Address(Function* inFunction) {
    return reinterpret_cast<void*>(inFunction);
}

std::map<std::string, void*> Functions() {
    return {{"QTBeginUserInteractionSuppression", Address(Begin)},
            {"QTEndUserInteractionSuppression", Address(End)},
            {"QTIsUserInteractionAllowed", Address(IsAllowed)},
            {"QTGetMoviePropertyInfo", Address(MovieInfo)},
            {"QTGetMovieProperty", Address(GetMovie)},
            {"QTSetMovieProperty", Address(SetMovie)},
            {"QTGetProcessPropertyInfo", Address(ProcessInfo)},
            {"QTGetProcessProperty", Address(GetProcess)},
            {"QTSetProcessProperty", Address(SetProcess)}};
}

constexpr const char* kFramework = "QuickTime.framework";

}  // namespace

LateBoundTest::LateBoundTest() {
    fakes::StartScenario();
    sScript = LateBoundScript();
    ForgetTable();
}

LateBoundTest::~LateBoundTest() {
    EXPECT_EQ(0, fakes::LiveURLs());
    // What was resolved is kept, and only that.
    EXPECT_EQ(qtInited ? 1 : 0, fakes::LiveBundles());
    EXPECT_EQ(0, fakes::LiveHandles());
    EXPECT_EQ(0, fakes::LiveContainers());
    EXPECT_EQ(Calls(), fakes::Misuses());
    fakes::ForgetLiveBundles();
    ForgetTable();
}

void LateBoundTest::PutQuickTime(std::initializer_list<std::string> inMissing) {
    std::map<std::string, void*> functions = Functions();
    for (const std::string& name : inMissing)
        EXPECT_EQ(1U, functions.erase(name)) << name;
    fakes::PutFramework(kFramework, {functions});
}

void LateBoundTest::PutQuickTimeThatDoesNotLoad() {
    fakes::PutFramework(kFramework, {Functions(), false});
}

void LateBoundTest::PutEmptyQuickTime() {
    fakes::PutFramework(kFramework, {});
}

std::vector<bool> LateBoundTest::Found() {
    return {_QTBeginUserInteractionSuppression != nullptr,
            _QTEndUserInteractionSuppression != nullptr,
            _QTIsUserInteractionAllowed != nullptr,
            _QTGetMoviePropertyInfo != nullptr,
            _QTGetMovieProperty != nullptr,
            _QTSetMovieProperty != nullptr,
            _QTGetProcessPropertyInfo != nullptr,
            _QTGetProcessProperty != nullptr,
            _QTSetProcessProperty != nullptr};
}

void LateBoundTest::ForgetTable() {
    qtInited = false;
    _QTBeginUserInteractionSuppression = nullptr;
    _QTEndUserInteractionSuppression = nullptr;
    _QTIsUserInteractionAllowed = nullptr;
    _QTGetMoviePropertyInfo = nullptr;
    _QTGetMovieProperty = nullptr;
    _QTSetMovieProperty = nullptr;
    _QTGetProcessPropertyInfo = nullptr;
    _QTGetProcessProperty = nullptr;
    _QTSetProcessProperty = nullptr;
}

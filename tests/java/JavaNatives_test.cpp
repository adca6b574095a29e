// The native entries over a scripted Java runtime and a scripted engine. What a real runtime makes of them is
// tested from Java.
#include "../../converter/JavaCallbackContext.h"

#include <converter/AACToWAV.h>
#include <converter/JavaNatives.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <jni.h>
#include <malloc.h>
#include <toolbox/Movies.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <new>
#include <string>
#include <vector>

using testing::ElementsAre;

extern "C" {
jint Java_com_mirtal_AAC2WAV_convert_1AAC2WAV(JNIEnv*, jobject, jstring, jlong, jlong);
jlong Java_com_mirtal_AAC2WAV_get_1StreamLength(JNIEnv*, jobject, jstring);
jint Java_com_mirtal_AAC2WAV_1Converter_convert_1AAC2WAV(JNIEnv*, jobject, jstring);
}

namespace {

// Java references are opaque: any address that is told apart will do.
template <class Reference>
Reference Ref(int inNumber) {
    static char sPlaces[64];
    return reinterpret_cast<Reference>(&sPlaces[inNumber]);
}
const auto kObject = Ref<jobject>(1);
const auto kPath = Ref<jstring>(2);
const auto kClass = Ref<jclass>(3);
const auto kBuffer = Ref<jbyteArray>(4);
const auto kMethod = Ref<jmethodID>(5);
const auto kOldException = Ref<jthrowable>(6);
const auto kNewException = Ref<jthrowable>(7);
const auto kRegionException = Ref<jthrowable>(8);

struct Script {
    std::vector<std::string> calls;
    bool hasMethod = true;
    bool methodThrows = false;
    bool regionThrows = false;
    int localReferences = 0;  // to exceptions
    jthrowable pending = nullptr;
    std::vector<std::string> chunks;
    enum { kNothing, kOutOfMemory, kNumber } engineThrows = kNothing;
    int chunkCount = 1;
};
Script* sScript = nullptr;

void Note(std::string inCall) {
    sScript->calls.push_back(std::move(inCall));
}

// ---- the Java runtime

const char* GetChars(JNIEnv*, jstring inString, jboolean* outIsCopy) {
    EXPECT_EQ(kPath, inString);
    EXPECT_EQ(nullptr, outIsCopy);
    Note("GetStringUTFChars");
    return "song.m4a";
}
void ReleaseChars(JNIEnv*, jstring inString, const char* inChars) {
    EXPECT_EQ(kPath, inString);
    EXPECT_STREQ("song.m4a", inChars);
    Note("ReleaseStringUTFChars");
}
jclass GetClass(JNIEnv*, jobject inObject) {
    EXPECT_EQ(kObject, inObject);
    Note("GetObjectClass");
    return kClass;
}
jmethodID GetMethod(JNIEnv*, jclass inClass, const char* inName, const char* inSignature) {
    EXPECT_EQ(kClass, inClass);
    Note(std::string("GetMethodID ") + inName + " " + inSignature);
    return sScript->hasMethod ? kMethod : nullptr;
}
jbyteArray NewBytes(JNIEnv*, jsize inLength) {
    Note("NewByteArray " + std::to_string(inLength));
    return kBuffer;
}
void SetRegion(JNIEnv*, jbyteArray inArray, jsize inStart, jsize inLength, const jbyte* inBytes) {
    EXPECT_EQ(kBuffer, inArray);
    EXPECT_EQ(0, inStart);
    EXPECT_EQ(nullptr, sScript->pending);
    sScript->chunks.emplace_back(reinterpret_cast<const char*>(inBytes), inLength > 0 ? inLength : 0);
    Note("SetByteArrayRegion " + std::to_string(inLength));
    if (sScript->regionThrows) sScript->pending = kRegionException;
}
void CallMethod(JNIEnv*, jobject inObject, jclass inClass, jmethodID inMethod, va_list inArguments) {
    EXPECT_EQ(kObject, inObject);
    EXPECT_EQ(kClass, inClass);
    EXPECT_EQ(nullptr, sScript->pending);
    EXPECT_EQ(sScript->hasMethod ? kMethod : nullptr, inMethod);
    va_list arguments;
    va_copy(arguments, inArguments);
    EXPECT_EQ(kBuffer, va_arg(arguments, jbyteArray));
    const jint length = va_arg(arguments, jint);
    va_end(arguments);
    Note("call " + std::to_string(length));
    if (sScript->methodThrows) sScript->pending = kNewException;
}
jthrowable Occurred(JNIEnv*) {
    if (sScript->pending != nullptr) ++sScript->localReferences;
    return sScript->pending;
}
void Clear(JNIEnv*) {
    sScript->pending = nullptr;
}
jint ThrowAgain(JNIEnv*, jthrowable inException) {
    EXPECT_EQ(nullptr, sScript->pending);
    sScript->pending = inException;
    return 0;
}
void DeleteRef(JNIEnv*, jobject) {
    --sScript->localReferences;
}

JNINativeInterface_ Table() {
    JNINativeInterface_ table{};
    table.GetStringUTFChars = GetChars;
    table.ReleaseStringUTFChars = ReleaseChars;
    table.GetObjectClass = GetClass;
    table.GetMethodID = GetMethod;
    table.NewByteArray = NewBytes;
    table.SetByteArrayRegion = SetRegion;
    table.CallNonvirtualVoidMethodV = CallMethod;
    table.ExceptionOccurred = Occurred;
    table.ExceptionClear = Clear;
    table.Throw = ThrowAgain;
    table.DeleteLocalRef = DeleteRef;
    return table;
}

// ---- the engine

void Deliver(void* inContext, DataCallback inCallback) {
    const auto* context = static_cast<const JavaCallbackContext*>(inContext);
    EXPECT_EQ(kObject, context->object);
    EXPECT_EQ(kBuffer, context->buffer);
    EXPECT_EQ(kClass, context->objectClass);
    char chunk[] = "RIFF";
    for (int i = 0; i < sScript->chunkCount; ++i)
        inCallback(inContext, chunk, 4);
    if (sScript->engineThrows == Script::kOutOfMemory) throw std::bad_alloc();
    if (sScript->engineThrows == Script::kNumber) throw 42;
}

}  // namespace

OSErr EnterMovies() {
    Note("EnterMovies");
    return paramErr;  // nobody looks
}
void convert_AAC_to_WAV(const char* inPath, void* inContext, DataCallback inCallback) {
    Note(std::string("whole ") + inPath);
    Deliver(inContext, inCallback);
}
void convert_AAC_to_WAV(const char* inPath, void* inContext, DataCallback inCallback, Int64 inStart,
                        Int64 inDuration) {
    Note(std::string("window ") + inPath + " " + std::to_string(inStart.LongLong()) + " " +
         std::to_string(inDuration.LongLong()));
    Deliver(inContext, inCallback);
}
Int64 getConvertedLength(const char* inPath) {
    Note(std::string("length ") + inPath);
    if (sScript->engineThrows == Script::kOutOfMemory) throw std::bad_alloc();
    return Int64(0x1'0000'0001LL);
}

namespace {

class JavaNatives : public testing::Test {
  protected:
    JavaNatives() { sScript = &mScript; }
    ~JavaNatives() override { sScript = nullptr; }

    jint Window(jlong inStart, jlong inDuration) {
        return Java_com_mirtal_AAC2WAV_convert_1AAC2WAV(&mEnv, kObject, kPath, inStart, inDuration);
    }
    jint Whole() { return Java_com_mirtal_AAC2WAV_1Converter_convert_1AAC2WAV(&mEnv, kObject, kPath); }
    // A conversion was made before, so that the movie toolbox is entered.
    void EnterBefore() {
        Whole();
        mScript = Script();
    }

    Script mScript;
    JNINativeInterface_ mTable = Table();
    JNIEnv mEnv{&mTable};
};

// The movie toolbox is entered once in a process: this wants one of its own.
TEST_F(JavaNatives, OnlyTheFirstConversionEntersTheMovieToolbox) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(
        {
            EXPECT_EQ(0x1'0000'0001LL, Java_com_mirtal_AAC2WAV_get_1StreamLength(&mEnv, kObject, kPath));
            EXPECT_THAT(mScript.calls,
                        ElementsAre("GetStringUTFChars", "length song.m4a", "ReleaseStringUTFChars"));
            mScript.calls.clear();

            EXPECT_EQ(0, Whole());
            EXPECT_THAT(mScript.calls,
                        ElementsAre("GetStringUTFChars", "GetObjectClass", "GetMethodID writeBuffer ([BI)V",
                                    "NewByteArray 262144", "EnterMovies", "whole song.m4a",
                                    "SetByteArrayRegion 4", "call 4", "ReleaseStringUTFChars"));
            mScript.calls.clear();

            EXPECT_EQ(0, Window(0, 0));
            EXPECT_THAT(mScript.calls,
                        ElementsAre("GetStringUTFChars", "GetObjectClass", "GetMethodID sendBuffer ([BI)V",
                                    "NewByteArray 262144", "window song.m4a 0 0", "SetByteArrayRegion 4",
                                    "call 4", "ReleaseStringUTFChars"));
            std::exit(HasFailure() ? 1 : 0);
        },
        testing::ExitedWithCode(0), "");
}

TEST_F(JavaNatives, AWindowMayBeTheFirstConversion) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(
        {
            EXPECT_EQ(0, Window(0, 0));
            EXPECT_THAT(mScript.calls,
                        ElementsAre("GetStringUTFChars", "GetObjectClass", "GetMethodID sendBuffer ([BI)V",
                                    "NewByteArray 262144", "EnterMovies", "window song.m4a 0 0",
                                    "SetByteArrayRegion 4", "call 4", "ReleaseStringUTFChars"));
            std::exit(HasFailure() ? 1 : 0);
        },
        testing::ExitedWithCode(0), "");
}

TEST_F(JavaNatives, WindowPassesItsNumbersOnBut) {
    struct Row {
        jlong start, duration;
        const char* call;
    };
    const Row rows[] = {
        {10, 20, "window song.m4a 10 20"},
        {-1, 5, "window song.m4a 0 5"},
        {INT64_MIN, INT64_MIN, "window song.m4a 0 -9223372036854775808"},
        {INT64_MAX, -1, "window song.m4a 9223372036854775807 -1"},
        {0x1'0000'0000, 0x2'8000'0000, "window song.m4a 4294967296 10737418240"},
    };
    for (const Row& row : rows) {
        EnterBefore();
        EXPECT_EQ(0, Window(row.start, row.duration));
        EXPECT_EQ(row.call, mScript.calls.at(4));
    }
}

TEST_F(JavaNatives, ChunkIsCopiedAndItsLengthHandedOver) {
    EnterBefore();
    mScript.chunkCount = 3;
    EXPECT_EQ(0, Whole());
    EXPECT_THAT(mScript.chunks, ElementsAre("RIFF", "RIFF", "RIFF"));
}

TEST_F(JavaNatives, LengthsAreNotChecked) {
    JavaCallbackContext context{&mEnv, kObject, kBuffer, kClass, kMethod};
    std::string bytes(300000, 'x');
    putDataCallback(&context, bytes.data(), 300000);
    putDataCallback(&context, bytes.data(), -3);
    putDataCallback(&context, bytes.data(), 0);
    EXPECT_THAT(mScript.calls,
                ElementsAre("SetByteArrayRegion 300000", "call 300000", "SetByteArrayRegion -3", "call -3",
                            "SetByteArrayRegion 0", "call 0"));
}

TEST_F(JavaNatives, MissingMethodIsNotChecked) {
    EnterBefore();
    mScript.hasMethod = false;
    EXPECT_EQ(0, Window(0, 0));
    EXPECT_EQ("call 4", mScript.calls.at(6));
}

TEST_F(JavaNatives, FirstExceptionStaysAndStopsNothing) {
    JavaCallbackContext context{&mEnv, kObject, kBuffer, kClass, kMethod};
    char chunk[] = "RIFF";
    mScript.methodThrows = true;
    putDataCallback(&context, chunk, 4);
    EXPECT_EQ(kNewException, mScript.pending);

    mScript.pending = kOldException;
    putDataCallback(&context, chunk, 4);
    EXPECT_EQ(kOldException, mScript.pending);

    mScript.methodThrows = false;
    putDataCallback(&context, chunk, 4);
    EXPECT_EQ(kOldException, mScript.pending);
    EXPECT_EQ(3u, mScript.chunks.size());
    EXPECT_EQ(0, mScript.localReferences);
}

TEST_F(JavaNatives, TheMethodIsCalledThoughTheCopyThrew) {
    JavaCallbackContext context{&mEnv, kObject, kBuffer, kClass, kMethod};
    char chunk[] = "RIFF";
    mScript.regionThrows = true;
    mScript.methodThrows = true;
    putDataCallback(&context, chunk, -3);
    EXPECT_THAT(mScript.calls, ElementsAre("SetByteArrayRegion -3", "call -3"));
    EXPECT_EQ(kRegionException, mScript.pending);
    EXPECT_EQ(0, mScript.localReferences);
}

TEST_F(JavaNatives, NoExceptionUnwindsIntoTheRuntime) {
    for (auto thrown : {Script::kOutOfMemory, Script::kNumber}) {
        EnterBefore();
        mScript.engineThrows = thrown;
        EXPECT_EQ(0, Window(0, 0));
        EXPECT_EQ("ReleaseStringUTFChars", mScript.calls.back());
        EXPECT_EQ(0, Whole());
        EXPECT_EQ("ReleaseStringUTFChars", mScript.calls.back());
    }
    mScript = Script();
    mScript.engineThrows = Script::kOutOfMemory;
    EXPECT_EQ(0, Java_com_mirtal_AAC2WAV_get_1StreamLength(&mEnv, kObject, kPath));
    EXPECT_EQ("ReleaseStringUTFChars", mScript.calls.back());
}

// The C library tells what is allocated, except below a sanitizer, which looks for leaks itself.
TEST_F(JavaNatives, TheContextOfACallbackIsFreed) {
    constexpr std::size_t kConversions = 1000;
    const auto convert = [this](auto inThrown) {
        mScript = Script();
        mScript.engineThrows = inThrown;
        Window(0, 0);
        Whole();
    };
    for (auto thrown : {Script::kNothing, Script::kOutOfMemory}) {
        convert(thrown);
        const std::size_t before = mallinfo2().uordblks;
        for (std::size_t i = 0; i < kConversions; ++i)
            convert(thrown);
        EXPECT_LT(mallinfo2().uordblks, before + kConversions * sizeof(JavaCallbackContext)) << thrown;
    }
}

TEST(JavaCallbackContextRecord, HasFiveFieldsInOrder) {
    EXPECT_EQ(5 * sizeof(void*), sizeof(JavaCallbackContext));
    EXPECT_EQ(0u, offsetof(JavaCallbackContext, env));
    EXPECT_EQ(1 * sizeof(void*), offsetof(JavaCallbackContext, object));
    EXPECT_EQ(2 * sizeof(void*), offsetof(JavaCallbackContext, buffer));
    EXPECT_EQ(3 * sizeof(void*), offsetof(JavaCallbackContext, objectClass));
    EXPECT_EQ(4 * sizeof(void*), offsetof(JavaCallbackContext, method));
}

}  // namespace

// The natives of com.mirtal.NativeReader over a scripted Java runtime and a scripted reader: what can go
// wrong beneath them, and what of it reaches Java. The rest is tested from Java.
#include <converter/Conversion.h>
#include <converter/WAVReader.h>
#include <foundation/LException.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <jni.h>
#include <toolbox/Files.h>
#include <toolbox/SoundReport.h>
#include <toolbox/StatusText.h>

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <map>
#include <memory>
#include <new>
#include <string>
#include <utility>
#include <vector>

extern "C" jint JNI_OnLoad(JavaVM*, void*);
extern "C" void JNI_OnUnload(JavaVM*, void*);

namespace {

struct ByteArray {
    std::string bytes;
};

struct Script {
    // What the runtime has and has been told.
    bool hasReaderClass = true;
    bool hasRaise = true;
    bool hasShouldStop = true;
    bool canRegister = true;
    bool canMakeArrays = true;
    int globalReferences = 0;
    std::map<std::string, void*> natives;
    bool pending = false;
    std::string raised;  // "status detail", or "OutOfMemoryError"
    // What the reader does.
    enum { kWorks, kRefuses, kNumber, kOutOfMemory } opening = kWorks, reading = kWorks;
    int liveReaders = 0;
    std::string sound = "0123456789";
    OSStatus pathStatus = noErr;
    OSStatus openStatus = noErr;
    OSErr reportStatus = noErr;
    SInt32 soundTrack = -1;  // that was asked for
    // What the Java half answers, one after the other, when the toolbox asks it whether to stop.
    std::vector<bool> stops;
    bool stopThrows = false;
    std::size_t stopsAsked = 0;
};
Script* sScript = nullptr;

void Throw(int inWhat) {
    if (inWhat == Script::kRefuses) LException::Throw(0x6E696C50);
    if (inWhat == Script::kNumber) throw 42;
    if (inWhat == Script::kOutOfMemory) throw std::bad_alloc();
}

// ---- the Java runtime

char sReaderClass, sMemoryClass, sRaise, sShouldStop, sStop;
const auto kReader = reinterpret_cast<jclass>(&sReaderClass);

ByteArray* Bytes(jbyteArray inArray) {
    return reinterpret_cast<ByteArray*>(inArray);
}

jclass FindClass(JNIEnv*, const char* inName) {
    if (std::strcmp(inName, "java/lang/OutOfMemoryError") == 0)
        return reinterpret_cast<jclass>(&sMemoryClass);
    EXPECT_STREQ("com/mirtal/NativeReader", inName);
    sScript->pending = !sScript->hasReaderClass;
    return sScript->hasReaderClass ? kReader : nullptr;
}
jobject NewGlobal(JNIEnv*, jobject inObject) {
    EXPECT_NE(kReader, inObject) << "its class loader could never go";
    ++sScript->globalReferences;
    return inObject;
}
void DeleteGlobal(JNIEnv*, jobject) {
    --sScript->globalReferences;
}
jmethodID GetStatic(JNIEnv*, jclass, const char* inName, const char* inSignature) {
    const bool isRaise = std::strcmp(inName, "raise") == 0;
    EXPECT_STREQ(isRaise ? "raise" : "shouldStop", inName);
    EXPECT_STREQ(isRaise ? "(I[B)V" : "(Ljava/util/function/BooleanSupplier;)Z", inSignature);
    const bool isThere = isRaise ? sScript->hasRaise : sScript->hasShouldStop;
    sScript->pending = !isThere;
    return isThere ? reinterpret_cast<jmethodID>(isRaise ? &sRaise : &sShouldStop) : nullptr;
}
jint Register(JNIEnv*, jclass, const JNINativeMethod* inMethods, jint inCount) {
    // A class that lacks the last method has the others bound.
    const jint boundCount = sScript->canRegister ? inCount : inCount - 1;
    for (int i = 0; i < boundCount; ++i)
        sScript->natives[std::string(inMethods[i].name) + inMethods[i].signature] = inMethods[i].fnPtr;
    sScript->pending = !sScript->canRegister;
    return sScript->canRegister ? JNI_OK : JNI_ERR;
}
jint Unregister(JNIEnv*, jclass inClass) {
    EXPECT_EQ(kReader, inClass);
    EXPECT_FALSE(sScript->pending);
    sScript->natives.clear();
    return JNI_OK;
}
void Clear(JNIEnv*) {
    sScript->pending = false;
}
jbyteArray NewBytes(JNIEnv*, jsize inLength) {
    if (!sScript->canMakeArrays) {
        sScript->pending = true;
        return nullptr;
    }
    return reinterpret_cast<jbyteArray>(new ByteArray{std::string(inLength, '\0')});
}
jsize Length(JNIEnv*, jarray inArray) {
    return static_cast<jsize>(reinterpret_cast<ByteArray*>(inArray)->bytes.size());
}
void GetRegion(JNIEnv*, jbyteArray inArray, jsize inStart, jsize inLength, jbyte* outBytes) {
    Bytes(inArray)->bytes.copy(reinterpret_cast<char*>(outBytes), inLength, inStart);
}
void SetRegion(JNIEnv*, jbyteArray inArray, jsize inStart, jsize inLength, const jbyte* inBytes) {
    EXPECT_LE(static_cast<std::size_t>(inStart + inLength), Bytes(inArray)->bytes.size());
    Bytes(inArray)->bytes.replace(inStart, inLength, reinterpret_cast<const char*>(inBytes), inLength);
}
void SetLongs(JNIEnv*, jlongArray inArray, jsize inStart, jsize inLength, const jlong* inNumbers) {
    std::copy_n(inNumbers, inLength, reinterpret_cast<jlong*>(inArray) + inStart);
}
void CallStatic(JNIEnv*, jclass inClass, jmethodID inMethod, va_list inArguments) {
    EXPECT_EQ(kReader, inClass);
    EXPECT_EQ(reinterpret_cast<jmethodID>(&sRaise), inMethod);
    va_list arguments;
    va_copy(arguments, inArguments);
    const jint status = va_arg(arguments, jint);
    ByteArray* detail = Bytes(va_arg(arguments, jbyteArray));
    va_end(arguments);
    sScript->raised = std::to_string(status) + " " + detail->bytes;
    sScript->pending = true;
    delete detail;
}
jboolean CallStaticBoolean(JNIEnv*, jclass inClass, jmethodID inMethod, va_list inArguments) {
    EXPECT_EQ(kReader, inClass);
    EXPECT_EQ(reinterpret_cast<jmethodID>(&sShouldStop), inMethod);
    EXPECT_FALSE(sScript->pending);
    va_list arguments;
    va_copy(arguments, inArguments);
    EXPECT_EQ(reinterpret_cast<jobject>(&sStop), va_arg(arguments, jobject));
    va_end(arguments);
    sScript->pending = sScript->stopThrows;
    return sScript->stops.at(sScript->stopsAsked++);
}
jboolean IsPending(JNIEnv*) {
    return sScript->pending;
}
jint ThrowNew(JNIEnv*, jclass inClass, const char*) {
    EXPECT_EQ(reinterpret_cast<jclass>(&sMemoryClass), inClass);
    sScript->raised = "OutOfMemoryError";
    sScript->pending = true;
    return JNI_OK;
}

JNINativeInterface_ Table() {
    JNINativeInterface_ table{};
    table.FindClass = FindClass;
    table.NewGlobalRef = NewGlobal;
    table.DeleteGlobalRef = DeleteGlobal;
    table.GetStaticMethodID = GetStatic;
    table.RegisterNatives = Register;
    table.UnregisterNatives = Unregister;
    table.ExceptionClear = Clear;
    table.NewByteArray = NewBytes;
    table.GetArrayLength = Length;
    table.GetByteArrayRegion = GetRegion;
    table.SetByteArrayRegion = SetRegion;
    table.SetLongArrayRegion = SetLongs;
    table.CallStaticVoidMethodV = CallStatic;
    table.CallStaticBooleanMethodV = CallStaticBoolean;
    table.ExceptionCheck = IsPending;
    table.ThrowNew = ThrowNew;
    return table;
}
JNINativeInterface_ sTable = Table();
JNIEnv sEnv{&sTable};

jint GetEnv(JavaVM*, void** outEnv, jint inVersion) {
    if (inVersion != JNI_VERSION_1_8) return JNI_EVERSION;
    *outEnv = &sEnv;
    return JNI_OK;
}
jint GetNoEnv(JavaVM*, void**, jint) {
    return JNI_EVERSION;
}

}  // namespace

// ---- the reader

SegmentExporter::SegmentExporter(const char*, const MovieOpenOptions& inOptions) {
    EXPECT_EQ(sizeof inOptions, inOptions.byteCount);
    sScript->soundTrack = inOptions.soundTrack;
    for (std::size_t i = 0; i < sScript->stops.size(); ++i)
        if (inOptions.shouldStop(inOptions.stopContext)) LException::Throw(userCanceledErr);
    if (sScript->openStatus != noErr) LException::Throw(sScript->openStatus);
    Throw(sScript->opening);
}
SegmentExporter::~SegmentExporter() = default;
class WAVReader::Stream {
  public:
    explicit Stream(std::unique_ptr<SegmentExporter> inExporter) : exporter(std::move(inExporter)) {
        ++sScript->liveReaders;
    }
    ~Stream() { --sScript->liveReaders; }

    std::unique_ptr<SegmentExporter> exporter;
};
WAVReader::WAVReader(std::unique_ptr<SegmentExporter> inExporter, Header inHeader, FrameRange inRange)
    : mStream(std::make_unique<Stream>(std::move(inExporter))) {
    EXPECT_EQ(Header::kRIFF, inHeader);
    EXPECT_EQ(0, inRange.first);
    EXPECT_EQ(FrameRange::kToTheEnd, inRange.end);
}
WAVReader::~WAVReader() = default;
SInt64 WAVReader::FrameCount() const {
    return 1000;
}
SInt64 WAVReader::ByteCount() const {
    return 4044;
}
SegmentExporter& WAVReader::Exporter() {
    return *mStream->exporter;
}
std::size_t WAVReader::Read(SInt64 inPosition, void* outBytes, std::size_t inByteCount) {
    Throw(sScript->reading);
    const std::string& sound = sScript->sound;
    return inPosition >= static_cast<SInt64>(sound.size())
               ? 0
               : sound.copy(static_cast<char*>(outBytes), inByteCount, static_cast<std::size_t>(inPosition));
}

WAVHeader MakeWAVHeader(SInt32 inSampleRateHz, UInt32 inFrameCount) {
    WAVHeader header{};
    std::snprintf(reinterpret_cast<char*>(header.bytes), sizeof header.bytes, "short %d %u", inSampleRateHz,
                  inFrameCount);
    return header;
}
RF64Header MakeRF64Header(SInt32 inSampleRateHz, UInt64 inFrameCount) {
    RF64Header header{};
    std::snprintf(reinterpret_cast<char*>(header.bytes), sizeof header.bytes, "long %d %llu", inSampleRateHz,
                  static_cast<unsigned long long>(inFrameCount));
    return header;
}

// ---- the toolbox

OSStatus FSPathMakeRef(const UInt8*, FSRef*, Boolean*) {
    return sScript->pathStatus;
}
const char* GetMovieOpenErrorText() {
    return "why";
}
const char* GetFailureText(OSStatus inStatus) {
    return inStatus == fnfErr       ? "it is not there"
           : inStatus == memFullErr ? "no room"
           : inStatus == paramErr   ? "words"
                                    : "";
}
OSErr GetMovieSoundReport(Movie, MovieSoundReport* outReport) {
    outReport->decodable = noCodecErr;
    outReport->sampleRateHz = 44100;
    outReport->channelCount = 2;
    outReport->packetCount = 45;
    outReport->damagedPacketCount = 3;
    outReport->silencedFrameCount = 3072;
    outReport->skippedByteCount = 7;
    std::strcpy(outReport->formatName, "AAC LC");
    std::strcpy(outReport->containerName, "MPEG-4");
    return sScript->reportStatus;
}

namespace {

class WavSourceNatives : public testing::Test {
  protected:
    WavSourceNatives() {
        sScript = &mScript;
        mInterface.GetEnv = GetEnv;
    }
    ~WavSourceNatives() override {
        EXPECT_EQ(0, mScript.liveReaders);
        sScript = nullptr;
    }

    template <class Function>
    Function Native(const char* inName) {
        return reinterpret_cast<Function>(mScript.natives.at(inName));
    }
    jlong Open(jint inSoundTrack = 0) {
        ByteArray path{"song.m4a"};
        mScript.pending = false;
        return Native<jlong (*)(JNIEnv*, jclass, jbyteArray, jint, jobject)>(
            "open([BILjava/util/function/BooleanSupplier;)J")(
            &sEnv, kReader, reinterpret_cast<jbyteArray>(&path), inSoundTrack,
            reinterpret_cast<jobject>(&sStop));
    }
    void Close(jlong inHandle) {
        Native<void (*)(JNIEnv*, jclass, jlong)>("close(J)V")(&sEnv, kReader, inHandle);
    }
    jint Read(jlong inHandle, jlong inPosition, ByteArray& outBytes, jint inOffset, jint inByteCount) {
        return Native<jint (*)(JNIEnv*, jclass, jlong, jlong, jbyteArray, jint, jint)>("read(JJ[BII)I")(
            &sEnv, kReader, inHandle, inPosition, reinterpret_cast<jbyteArray>(&outBytes), inOffset,
            inByteCount);
    }

    Script mScript;
    JNIInvokeInterface_ mInterface{};
    JavaVM mVM{&mInterface};
};

TEST_F(WavSourceNatives, LoadingBindsTheReaderAndUnloadingLetsGo) {
    EXPECT_EQ(JNI_VERSION_1_8, JNI_OnLoad(&mVM, nullptr));
    EXPECT_EQ(9u, mScript.natives.size());
    EXPECT_EQ(1, mScript.globalReferences);
    JNI_OnUnload(&mVM, nullptr);
    EXPECT_EQ(0, mScript.globalReferences);
}

TEST_F(WavSourceNatives, LoadingSucceedsWhereTheReaderIsMissingOrAnother) {
    for (bool Script::*part :
         {&Script::hasReaderClass, &Script::hasRaise, &Script::hasShouldStop, &Script::canRegister}) {
        mScript = Script();
        mScript.*part = false;
        EXPECT_EQ(JNI_VERSION_1_8, JNI_OnLoad(&mVM, nullptr));
        EXPECT_FALSE(mScript.pending);
        EXPECT_EQ(0, mScript.globalReferences);
        EXPECT_TRUE(mScript.natives.empty());
    }
    mInterface.GetEnv = GetNoEnv;
    EXPECT_EQ(JNI_ERR, JNI_OnLoad(&mVM, nullptr));
    JNI_OnUnload(&mVM, nullptr);
}

TEST_F(WavSourceNatives, OpensAndCloses) {
    JNI_OnLoad(&mVM, nullptr);
    using Number = jlong (*)(JNIEnv*, jclass, jlong);
    for (const jint track : {0, 3}) {
        const jlong handle = Open(track);
        ASSERT_NE(0, handle);
        EXPECT_EQ(1, mScript.liveReaders);
        EXPECT_EQ(track, mScript.soundTrack);
        EXPECT_EQ(1000, Native<Number>("frameCount(J)J")(&sEnv, kReader, handle));
        EXPECT_EQ(4044, Native<Number>("byteCount(J)J")(&sEnv, kReader, handle));
        Close(handle);
    }
    EXPECT_EQ(0, mScript.liveReaders);
    EXPECT_FALSE(mScript.pending);
}

TEST_F(WavSourceNatives, RefusalTellsTheToolboxsReason) {
    JNI_OnLoad(&mVM, nullptr);
    mScript.openStatus = cantFindHandler;
    EXPECT_EQ(0, Open());
    EXPECT_EQ("-2003 why", mScript.raised);
    mScript.openStatus = memFullErr;
    EXPECT_EQ(0, Open());
    EXPECT_EQ("-108 no room", mScript.raised);
    // No movie was asked for: what the toolbox says is of another one.
    mScript.openStatus = fnfErr;
    mScript.pathStatus = fnfErr;
    EXPECT_EQ(0, Open());
    EXPECT_EQ("-43 it is not there", mScript.raised);
}

TEST_F(WavSourceNatives, OpeningAsksWhetherToStop) {
    JNI_OnLoad(&mVM, nullptr);
    mScript.stops = {false, false, false};
    const jlong handle = Open();
    EXPECT_NE(0, handle);
    EXPECT_EQ(3u, mScript.stopsAsked);
    Close(handle);
    mScript.stops = {false, true, false};
    mScript.stopsAsked = 0;
    EXPECT_EQ(0, Open());
    EXPECT_EQ(2u, mScript.stopsAsked);
    EXPECT_EQ("-128 why", mScript.raised);
}

TEST_F(WavSourceNatives, WhatTheQuestionThrowsStopsAndStays) {
    JNI_OnLoad(&mVM, nullptr);
    mScript.stops = {false, false};
    mScript.stopThrows = true;
    EXPECT_EQ(0, Open());
    EXPECT_EQ(1u, mScript.stopsAsked);
    EXPECT_TRUE(mScript.pending);
    EXPECT_EQ("", mScript.raised);
}

TEST_F(WavSourceNatives, HeadersOfAnyLength) {
    JNI_OnLoad(&mVM, nullptr);
    const auto header = Native<jbyteArray (*)(JNIEnv*, jclass, jint, jlong, jboolean)>("header(IJZ)[B");
    ByteArray* bytes = Bytes(header(&sEnv, kReader, 44100, 0xFFFFFFFFLL, false));
    EXPECT_EQ(44u, bytes->bytes.size());
    EXPECT_STREQ("short 44100 4294967295", bytes->bytes.c_str());
    delete bytes;
    bytes = Bytes(header(&sEnv, kReader, 8000, 0x100000000LL, true));
    EXPECT_EQ(80u, bytes->bytes.size());
    EXPECT_STREQ("long 8000 4294967296", bytes->bytes.c_str());
    delete bytes;
    mScript.canMakeArrays = false;
    EXPECT_EQ(nullptr, header(&sEnv, kReader, 8000, 1, true));
    EXPECT_TRUE(mScript.pending);
}

TEST_F(WavSourceNatives, NoExceptionUnwindsIntoTheRuntime) {
    JNI_OnLoad(&mVM, nullptr);
    mScript.opening = Script::kOutOfMemory;
    EXPECT_EQ(0, Open());
    EXPECT_EQ("OutOfMemoryError", mScript.raised);
    mScript.opening = Script::kNumber;
    EXPECT_EQ(0, Open());
    EXPECT_EQ("-50 an unexpected failure in the native library", mScript.raised);

    mScript.opening = Script::kWorks;
    const jlong handle = Open();
    ByteArray bytes{std::string(10, '.')};
    mScript.reading = Script::kRefuses;
    EXPECT_EQ(0, Read(handle, 0, bytes, 0, 10));
    EXPECT_EQ("-108 no room", mScript.raised);
    mScript.reading = Script::kOutOfMemory;
    EXPECT_EQ(0, Read(handle, 0, bytes, 0, 10));
    EXPECT_EQ("OutOfMemoryError", mScript.raised);
    EXPECT_EQ("..........", bytes.bytes);
    Close(handle);
}

TEST_F(WavSourceNatives, ExhaustedJavaHeapLeavesItsOwnError) {
    JNI_OnLoad(&mVM, nullptr);
    mScript.opening = Script::kRefuses;
    mScript.canMakeArrays = false;
    EXPECT_EQ(0, Open());
    EXPECT_TRUE(mScript.pending);
    EXPECT_EQ("", mScript.raised);
}

TEST_F(WavSourceNatives, ReadsInPiecesOfAnySize) {
    JNI_OnLoad(&mVM, nullptr);
    const jlong handle = Open();
    for (std::size_t length : {0, 1, 16383, 16384, 16385, 50000}) {
        mScript.sound.assign(length, 'x');
        for (std::size_t i = 0; i < length; ++i)
            mScript.sound[i] = static_cast<char>(i * 31);
        ByteArray bytes{std::string(60000, '.')};
        EXPECT_EQ(static_cast<jint>(length), Read(handle, 0, bytes, 100, 59000));
        EXPECT_EQ(std::string(100, '.') + mScript.sound + std::string(59900 - length, '.'), bytes.bytes);
    }
    Close(handle);
}

TEST_F(WavSourceNatives, BoundsAreCheckedAgain) {
    JNI_OnLoad(&mVM, nullptr);
    const jlong handle = Open();
    ByteArray bytes{std::string(10, '.')};
    struct Row {
        jlong position;
        jint offset, byteCount;
    };
    for (const Row& row : {Row{-1, 0, 1}, Row{0, -1, 1}, Row{0, 0, -1}, Row{0, 11, 0}, Row{0, 0, 11},
                           Row{0, 10, 1}, Row{0, 1, INT32_MAX}, Row{0, INT32_MAX, INT32_MAX}}) {
        mScript.raised.clear();
        EXPECT_EQ(0, Read(handle, row.position, bytes, row.offset, row.byteCount));
        EXPECT_EQ("-50 words", mScript.raised);
    }
    mScript.raised.clear();
    EXPECT_EQ(0, Read(handle, 0, bytes, 10, 0));
    EXPECT_EQ("", mScript.raised);
    EXPECT_EQ("..........", bytes.bytes);
    Close(handle);
}

TEST_F(WavSourceNatives, Describes) {
    JNI_OnLoad(&mVM, nullptr);
    const jlong handle = Open();
    jlong numbers[8] = {0, 0, 0, 0, 0, 0, 0, 99};
    const auto describe = Native<void (*)(JNIEnv*, jclass, jlong, jlongArray)>("describe(J[J)V");
    describe(&sEnv, kReader, handle, reinterpret_cast<jlongArray>(numbers));
    EXPECT_THAT(numbers, testing::ElementsAre(noCodecErr, 44100, 2, 45, 3, 3072, 7, 99));

    const auto name = Native<jbyteArray (*)(JNIEnv*, jclass, jlong, jboolean)>("name(JZ)[B");
    for (bool isContainer : {false, true}) {
        ByteArray* text = Bytes(name(&sEnv, kReader, handle, isContainer));
        EXPECT_EQ(isContainer ? "MPEG-4" : "AAC LC", text->bytes);
        delete text;
    }
    mScript.reportStatus = paramErr;
    EXPECT_EQ(nullptr, name(&sEnv, kReader, handle, false));
    EXPECT_EQ("-50 words", mScript.raised);
    mScript.raised.clear();
    describe(&sEnv, kReader, handle, reinterpret_cast<jlongArray>(numbers));
    EXPECT_EQ("-50 words", mScript.raised);
    mScript.reportStatus = noErr;
    mScript.canMakeArrays = false;
    EXPECT_EQ(nullptr, name(&sEnv, kReader, handle, false));
    Close(handle);
}

}  // namespace

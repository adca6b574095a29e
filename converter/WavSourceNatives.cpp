// The native half of com.mirtal.NativeReader: a WAVReader behind a number.
//
// The Java half sees to it that a handle is used by one thread at a time and never after it was closed.
#include <converter/Conversion.h>
#include <converter/FailureStatus.h>
#include <converter/WAVReader.h>
#include <foundation/LException.h>
#include <jni.h>
#include <toolbox/Files.h>
#include <toolbox/MacErrors.h>
#include <toolbox/SoundReport.h>
#include <toolbox/StatusText.h>

#include <algorithm>
#include <cstdint>
#include <iterator>
#include <memory>
#include <new>
#include <string>
#include <string_view>
#include <utility>

namespace {

// Set in JNI_OnLoad, before any native method can be called, and constant from then on. There is no reference
// to NativeReader, which every native method is given: it would keep the class and its class loader for ever.
struct JavaSide {
    jmethodID raise = nullptr;       // of com.mirtal.NativeReader
    jmethodID shouldStop = nullptr;  // likewise
    jclass outOfMemory = nullptr;
};
JavaSide sJava;

struct Source {
    explicit Source(std::unique_ptr<SegmentExporter> inExporter)
        : reader(std::move(inExporter), WAVReader::Header::kRIFF) {}

    // The Java half makes its streams' headers, because slices have headers too: the sound is what it reads.
    WAVReader reader;
    // On its way into the Java heap the sound rests here: small enough to stay in the processor's nearest
    // cache.
    unsigned char piece[16384];
};

jlong ToHandle(Source* inSource) {
    return static_cast<jlong>(reinterpret_cast<std::intptr_t>(inSource));
}
Source& FromHandle(jlong inHandle) {
    return *reinterpret_cast<Source*>(static_cast<std::intptr_t>(inHandle));
}

// Null, with the runtime's own error pending, when its heap is full.
jbyteArray ToJava(JNIEnv* inEnv, const void* inBytes, std::size_t inByteCount) {
    const auto byteCount = static_cast<jsize>(inByteCount);
    jbyteArray array = inEnv->NewByteArray(byteCount);
    if (array != nullptr) inEnv->SetByteArrayRegion(array, 0, byteCount, static_cast<const jbyte*>(inBytes));
    return array;
}

// NativeReader.raise throws: on return, an exception is pending.
void Raise(JNIEnv* inEnv, jclass inReader, OSStatus inStatus, std::string_view inDetail) {
    jbyteArray detail = ToJava(inEnv, inDetail.data(), inDetail.size());
    if (detail == nullptr) return;
    inEnv->CallStaticVoidMethod(inReader, sJava.raise, static_cast<jint>(inStatus), detail);
}

// The one place where C++ exceptions become Java ones. None may unwind through the frames of the Java
// runtime.
template <class Body>
auto Guarded(JNIEnv* inEnv, jclass inReader, Body inBody) -> decltype(inBody()) {
    try {
        return inBody();
    } catch (const LException& failure) {
        const OSStatus status = StatusOfFailure(failure);
        Raise(inEnv, inReader, status, GetFailureText(status));
    } catch (const std::bad_alloc&) {
        inEnv->ThrowNew(sJava.outOfMemory, "no native memory left");
    } catch (...) {
        Raise(inEnv, inReader, paramErr, "an unexpected failure in the native library");
    }
    return decltype(inBody())();
}

// Why opening failed, for people. What the toolbox has to say of opening is of the last movie that was asked
// for, and for a path that leads nowhere none was.
std::string_view ReasonNotOpened(const char* inPath, OSStatus inStatus) {
    FSRef file;
    if (inStatus == memFullErr ||
        FSPathMakeRef(reinterpret_cast<const UInt8*>(inPath), &file, nullptr) != noErr)
        return GetFailureText(inStatus);
    return GetMovieOpenErrorText();
}

// Asks the Java half, on the thread that opens.
struct StopQuestion {
    JNIEnv* env;
    jclass reader;
    jobject supplier;

    static Boolean Ask(void* inQuestion) {
        const auto& question = *static_cast<const StopQuestion*>(inQuestion);
        const jboolean stops =
            question.env->CallStaticBooleanMethod(question.reader, sJava.shouldStop, question.supplier);
        return question.env->ExceptionCheck() != JNI_FALSE || stops != JNI_FALSE;
    }
};

std::string ToPath(JNIEnv* inEnv, jbyteArray inPath) {
    std::string path(static_cast<std::size_t>(inEnv->GetArrayLength(inPath)), '\0');
    inEnv->GetByteArrayRegion(inPath, 0, static_cast<jsize>(path.size()),
                              reinterpret_cast<jbyte*>(path.data()));
    return path;
}

jlong JNICALL Open(JNIEnv* inEnv, jclass inReader, jbyteArray inPath, jint inSoundTrack, jobject inStop) {
    return Guarded(inEnv, inReader, [&]() -> jlong {
        const std::string path = ToPath(inEnv, inPath);
        StopQuestion question{inEnv, inReader, inStop};
        MovieOpenOptions options{};
        options.byteCount = sizeof options;
        options.soundTrack = inSoundTrack;
        options.shouldStop = StopQuestion::Ask;
        options.stopContext = &question;
        try {
            auto exporter = std::make_unique<SegmentExporter>(path.c_str(), options);
            return ToHandle(std::make_unique<Source>(std::move(exporter)).release());
        } catch (const LException& failure) {
            // What the question threw tells more.
            if (inEnv->ExceptionCheck()) return 0;
            const OSStatus status = StatusOfFailure(failure);
            Raise(inEnv, inReader, status, ReasonNotOpened(path.c_str(), status));
            return 0;
        }
    });
}

void JNICALL Close(JNIEnv*, jclass, jlong inHandle) {
    delete &FromHandle(inHandle);
}

jlong JNICALL ByteCount(JNIEnv*, jclass, jlong inHandle) {
    return FromHandle(inHandle).reader.ByteCount();
}

jlong JNICALL FrameCount(JNIEnv*, jclass, jlong inHandle) {
    return FromHandle(inHandle).reader.FrameCount();
}

jint JNICALL SampleRate(JNIEnv*, jclass, jlong inHandle) {
    return FromHandle(inHandle).reader.Exporter().SampleRate();
}

jint JNICALL Read(JNIEnv* inEnv, jclass inReader, jlong inHandle, jlong inPosition, jbyteArray outBytes,
                  jint inOffset, jint inByteCount) {
    return Guarded(inEnv, inReader, [&]() -> jint {
        const jsize room = inEnv->GetArrayLength(outBytes);
        if (inPosition < 0 || inOffset < 0 || inByteCount < 0 || inOffset > room ||
            room - inOffset < inByteCount)
            LException::Throw(paramErr);
        Source& source = FromHandle(inHandle);
        jint done = 0;
        while (done < inByteCount) {
            const auto wanted = std::min(static_cast<std::size_t>(inByteCount - done), sizeof(source.piece));
            const auto got = static_cast<jsize>(source.reader.Read(inPosition + done, source.piece, wanted));
            if (got == 0) break;
            inEnv->SetByteArrayRegion(outBytes, inOffset + done, got,
                                      reinterpret_cast<const jbyte*>(source.piece));
            done += got;
        }
        return done;
    });
}

MovieSoundReport Report(jlong inHandle) {
    MovieSoundReport report{};
    if (OSErr status = GetMovieSoundReport(FromHandle(inHandle).reader.Exporter().GetMovie(), &report))
        LException::Throw(status);
    return report;
}

// The order is that of the constants in NativeReader.
void JNICALL Describe(JNIEnv* inEnv, jclass inReader, jlong inHandle, jlongArray outNumbers) {
    Guarded(inEnv, inReader, [&] {
        const MovieSoundReport report = Report(inHandle);
        const jlong numbers[] = {report.decodable,
                                 static_cast<jlong>(report.sampleRateHz),
                                 static_cast<jlong>(report.channelCount),
                                 static_cast<jlong>(report.packetCount),
                                 static_cast<jlong>(report.damagedPacketCount),
                                 report.silencedFrameCount,
                                 static_cast<jlong>(report.skippedByteCount)};
        inEnv->SetLongArrayRegion(outNumbers, 0, static_cast<jsize>(std::size(numbers)), numbers);
    });
}

jbyteArray JNICALL Name(JNIEnv* inEnv, jclass inReader, jlong inHandle, jboolean inOfContainer) {
    return Guarded(inEnv, inReader, [&]() -> jbyteArray {
        const MovieSoundReport report = Report(inHandle);
        const std::string_view name = inOfContainer ? report.containerName : report.formatName;
        return ToJava(inEnv, name.data(), name.size());
    });
}

jbyteArray JNICALL MakeHeader(JNIEnv* inEnv, jclass, jint inRateHz, jlong inFrameCount, jboolean inIsRF64) {
    if (inIsRF64) {
        const RF64Header header = MakeRF64Header(inRateHz, static_cast<UInt64>(inFrameCount));
        return ToJava(inEnv, header.bytes, sizeof header.bytes);
    }
    const WAVHeader header = MakeWAVHeader(inRateHz, static_cast<UInt32>(inFrameCount));
    return ToJava(inEnv, header.bytes, sizeof header.bytes);
}

template <class Function>
JNINativeMethod Method(const char* inName, const char* inSignature, Function inFunction) {
    return {const_cast<char*>(inName), const_cast<char*>(inSignature), reinterpret_cast<void*>(inFunction)};
}

void ReleaseClasses(JNIEnv* inEnv) {
    if (sJava.outOfMemory != nullptr) inEnv->DeleteGlobalRef(sJava.outOfMemory);
    sJava = {};
}

bool FindClasses(JNIEnv* inEnv, jclass inReader) {
    jclass outOfMemory = inEnv->FindClass("java/lang/OutOfMemoryError");
    if (outOfMemory == nullptr) return false;
    sJava.outOfMemory = static_cast<jclass>(inEnv->NewGlobalRef(outOfMemory));
    if (sJava.outOfMemory == nullptr) return false;
    sJava.raise = inEnv->GetStaticMethodID(inReader, "raise", "(I[B)V");
    if (sJava.raise == nullptr) return false;
    sJava.shouldStop =
        inEnv->GetStaticMethodID(inReader, "shouldStop", "(Ljava/util/function/BooleanSupplier;)Z");
    return sJava.shouldStop != nullptr;
}

bool BindReader(JNIEnv* inEnv) {
    jclass reader = inEnv->FindClass("com/mirtal/NativeReader");
    if (reader == nullptr || !FindClasses(inEnv, reader)) return false;
    const JNINativeMethod methods[] = {
        Method("open", "([BILjava/util/function/BooleanSupplier;)J", Open),
        Method("close", "(J)V", Close),
        Method("byteCount", "(J)J", ByteCount),
        Method("frameCount", "(J)J", FrameCount),
        Method("sampleRate", "(J)I", SampleRate),
        Method("read", "(JJ[BII)I", Read),
        Method("header", "(IJZ)[B", MakeHeader),
        Method("describe", "(J[J)V", Describe),
        Method("name", "(JZ)[B", Name),
    };
    if (inEnv->RegisterNatives(reader, methods, static_cast<jint>(std::size(methods))) == JNI_OK) return true;
    // A reader of another release may have some of the methods, and those are bound by now.
    inEnv->ExceptionClear();
    inEnv->UnregisterNatives(reader);
    return false;
}

}  // namespace

extern "C" {

JNIEXPORT jint JNICALL JNI_OnLoad(JavaVM* inVM, void*) {
    void* env = nullptr;
    if (inVM->GetEnv(&env, JNI_VERSION_1_8) != JNI_OK) return JNI_ERR;
    auto* javaEnv = static_cast<JNIEnv*>(env);
    // A program that brings classes of its own for the callback entries has no reader class, and needs none.
    if (!BindReader(javaEnv)) {
        javaEnv->ExceptionClear();
        ReleaseClasses(javaEnv);
    }
    return JNI_VERSION_1_8;
}

JNIEXPORT void JNICALL JNI_OnUnload(JavaVM* inVM, void*) {
    void* env = nullptr;
    if (inVM->GetEnv(&env, JNI_VERSION_1_8) == JNI_OK) ReleaseClasses(static_cast<JNIEnv*>(env));
}

}  // extern "C"

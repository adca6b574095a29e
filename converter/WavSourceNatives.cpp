// The native half of com.mirtal.NativeReader: a WAVReader behind a number.
//
// The Java half sees to it that a handle is used by one thread at a time and never after it was closed.
#include <converter/WAVReader.h>
#include <foundation/LException.h>
#include <jni.h>
#include <toolbox/Aliases.h>
#include <toolbox/Files.h>
#include <toolbox/SoundReport.h>

#include <algorithm>
#include <cstdint>
#include <iterator>
#include <memory>
#include <new>
#include <string>
#include <string_view>

namespace {

// Set in JNI_OnLoad, before any native method can be called, and constant from then on. There is no reference
// to NativeReader, which every native method is given: it would keep the class and its class loader for ever.
struct JavaSide {
    jmethodID raise = nullptr;  // of com.mirtal.NativeReader
    jclass outOfMemory = nullptr;
};
JavaSide sJava;

struct Source {
    Source(const char* inPath, WAVReader::Header inHeader) : reader(inPath, inHeader) {}

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

// NativeReader.raise throws: on return, an exception is pending.
void Raise(JNIEnv* inEnv, jclass inReader, OSStatus inStatus, std::string_view inDetail) {
    const auto byteCount = static_cast<jsize>(inDetail.size());
    jbyteArray detail = inEnv->NewByteArray(byteCount);
    if (detail == nullptr) return;
    inEnv->SetByteArrayRegion(detail, 0, byteCount, reinterpret_cast<const jbyte*>(inDetail.data()));
    inEnv->CallStaticVoidMethod(inReader, sJava.raise, static_cast<jint>(inStatus), detail);
}

// The one place where C++ exceptions become Java ones. None may unwind through the frames of the Java
// runtime.
template <class Body>
auto Guarded(JNIEnv* inEnv, jclass inReader, Body inBody) -> decltype(inBody()) {
    try {
        return inBody();
    } catch (LException const& failure) {
        Raise(inEnv, inReader, static_cast<OSStatus>(failure.GetErrorCode()), "");
    } catch (std::bad_alloc const&) {
        inEnv->ThrowNew(sJava.outOfMemory, "no native memory left");
    } catch (...) {
        Raise(inEnv, inReader, paramErr, "an unexpected failure in the native library");
    }
    return decltype(inBody())();
}

struct Refusal {
    OSStatus status;  // noErr when the toolbox does open the file
    std::string detail;
};

// What the toolbox says to a file that the reader could not open: the reader itself only tells that it got no
// movie.
Refusal AskWhyNotOpened(const char* inPath) {
    FSRef file;
    if (OSStatus status = FSPathMakeRef(reinterpret_cast<const UInt8*>(inPath), &file, nullptr))
        return {status, ""};
    AliasHandle alias = nullptr;
    if (OSErr status = FSNewAliasMinimal(&file, &alias)) return {status, ""};
    Movie movie = nullptr;
    SInt16 resourceID = 0;
    const OSErr status = NewMovieFromDataRef(&movie, newMovieDontAskUnresolvedDataRefs, &resourceID,
                                             reinterpret_cast<Handle>(alias), rAliasType);
    DisposeHandle(reinterpret_cast<Handle>(alias));
    if (movie != nullptr) DisposeMovie(movie);
    return {status, GetMovieOpenErrorText()};
}

std::string ToPath(JNIEnv* inEnv, jbyteArray inPath) {
    std::string path(static_cast<std::size_t>(inEnv->GetArrayLength(inPath)), '\0');
    inEnv->GetByteArrayRegion(inPath, 0, static_cast<jsize>(path.size()),
                              reinterpret_cast<jbyte*>(path.data()));
    return path;
}

jlong JNICALL Open(JNIEnv* inEnv, jclass inReader, jbyteArray inPath, jboolean inRF64) {
    return Guarded(inEnv, inReader, [&]() -> jlong {
        const std::string path = ToPath(inEnv, inPath);
        const auto header = inRF64 ? WAVReader::Header::kRF64 : WAVReader::Header::kRIFF;
        try {
            return ToHandle(std::make_unique<Source>(path.c_str(), header).release());
        } catch (LException const& failure) {
            const Refusal refusal = AskWhyNotOpened(path.c_str());
            const bool isRefused = refusal.status != noErr;
            Raise(inEnv, inReader, isRefused ? refusal.status : static_cast<OSStatus>(failure.GetErrorCode()),
                  refusal.detail);
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
            room - inOffset < inByteCount) {
            LException::Throw(paramErr);
        }
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
    if (OSErr status = GetMovieSoundReport(FromHandle(inHandle).reader.Exporter().GetMovie(), &report)) {
        LException::Throw(status);
    }
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
        const std::string name = inOfContainer ? report.containerName : report.formatName;
        jbyteArray bytes = inEnv->NewByteArray(static_cast<jsize>(name.size()));
        if (bytes == nullptr) return nullptr;
        inEnv->SetByteArrayRegion(bytes, 0, static_cast<jsize>(name.size()),
                                  reinterpret_cast<const jbyte*>(name.data()));
        return bytes;
    });
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
    return sJava.raise != nullptr;
}

bool BindReader(JNIEnv* inEnv) {
    jclass reader = inEnv->FindClass("com/mirtal/NativeReader");
    if (reader == nullptr || !FindClasses(inEnv, reader)) return false;
    const JNINativeMethod methods[] = {
        Method("open", "([BZ)J", Open),           Method("close", "(J)V", Close),
        Method("byteCount", "(J)J", ByteCount),   Method("frameCount", "(J)J", FrameCount),
        Method("sampleRate", "(J)I", SampleRate), Method("read", "(JJ[BII)I", Read),
        Method("describe", "(J[J)V", Describe),   Method("name", "(JZ)[B", Name),
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

#include "JavaCallbackContext.h"

#include <converter/AACToWAV.h>
#include <converter/JavaNatives.h>
#include <foundation/Int64.h>
#include <toolbox/Movies.h>

#include <atomic>
#include <cstdlib>

namespace {

// Two first calls at once may both call EnterMovies, which does no harm: the byte orders nothing and guards
// nothing.
std::atomic<unsigned char> sMoviesInitialized{0};

void InitializeMoviesOnce() {
    if (sMoviesInitialized.load(std::memory_order_relaxed) != 0) return;
    EnterMovies();
    sMoviesInitialized.store(1, std::memory_order_relaxed);
}

JavaCallbackContext* NewContext(JNIEnv* inEnv, jobject inObject, const char* inMethodName) {
    auto* context = static_cast<JavaCallbackContext*>(std::malloc(sizeof(JavaCallbackContext)));
    context->env = inEnv;
    context->object = inObject;
    context->objectClass = inEnv->GetObjectClass(inObject);
    context->method = inEnv->GetMethodID(context->objectClass, inMethodName, "([BI)V");
    context->buffer = inEnv->NewByteArray(kChunkArrayByteCount);
    return context;
}

// The engine reports its failures to nobody, and neither do the entries. What else may be thrown, such as
// memory that ran out, must not unwind through the frames of the Java runtime.
template <class Conversion>
void RunShielded(Conversion inConversion) {
    try {
        inConversion();
    } catch (...) {
        return;
    }
}

// No exception may be pending while the runtime is asked for more: it is put aside here. Of several the first
// is kept, as it tells what went wrong.
void PutExceptionAside(JNIEnv* inEnv, jthrowable& ioFirst) {
    jthrowable thrown = inEnv->ExceptionOccurred();
    if (thrown == nullptr) return;
    inEnv->ExceptionClear();
    if (ioFirst == nullptr)
        ioFirst = thrown;
    else
        inEnv->DeleteLocalRef(thrown);
}

Int64 FromJava(jlong inValue) {
    return Int64(static_cast<long long>(inValue));
}

}  // namespace

void putDataCallback(void* inContext, void* inData, long inLength) {
    auto* context = static_cast<JavaCallbackContext*>(inContext);
    JNIEnv* env = context->env;
    // The chunks go on coming whatever the method throws; it surfaces when the native method returns.
    jthrowable first = nullptr;
    PutExceptionAside(env, first);
    env->SetByteArrayRegion(context->buffer, 0, static_cast<jsize>(inLength),
                            static_cast<const jbyte*>(inData));
    PutExceptionAside(env, first);
    env->CallNonvirtualVoidMethod(context->object, context->objectClass, context->method, context->buffer,
                                  static_cast<jint>(inLength));
    PutExceptionAside(env, first);
    if (first == nullptr) return;
    env->Throw(first);
    env->DeleteLocalRef(first);
}

extern "C" {

JNIEXPORT jint JNICALL Java_com_mirtal_AAC2WAV_convert_1AAC2WAV(JNIEnv* inEnv, jobject inObject,
                                                                jstring inPath, jlong inStart,
                                                                jlong inDuration) {
    const char* path = inEnv->GetStringUTFChars(inPath, nullptr);
    JavaCallbackContext* context = NewContext(inEnv, inObject, "sendBuffer");
    RunShielded([&] {
        InitializeMoviesOnce();
        const jlong start = inStart < 0 ? 0 : inStart;
        convert_AAC_to_WAV(path, context, putDataCallback, FromJava(start), FromJava(inDuration));
    });
    std::free(context);
    inEnv->ReleaseStringUTFChars(inPath, path);
    return 0;
}

JNIEXPORT jlong JNICALL Java_com_mirtal_AAC2WAV_get_1StreamLength(JNIEnv* inEnv, jobject, jstring inPath) {
    const char* path = inEnv->GetStringUTFChars(inPath, nullptr);
    jlong length = 0;
    RunShielded([&] { length = getConvertedLength(path).LongLong(); });
    inEnv->ReleaseStringUTFChars(inPath, path);
    return length;
}

JNIEXPORT jint JNICALL Java_com_mirtal_AAC2WAV_1Converter_convert_1AAC2WAV(JNIEnv* inEnv, jobject inObject,
                                                                           jstring inPath) {
    const char* path = inEnv->GetStringUTFChars(inPath, nullptr);
    JavaCallbackContext* context = NewContext(inEnv, inObject, "writeBuffer");
    RunShielded([&] {
        InitializeMoviesOnce();
        convert_AAC_to_WAV(path, context, putDataCallback);
    });
    std::free(context);
    inEnv->ReleaseStringUTFChars(inPath, path);
    return 0;
}

}  // extern "C"

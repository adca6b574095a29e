// What a native entry hands to putDataCallback through the engine. It lives as long as one conversion, on the
// thread that env belongs to; its references are local ones of the native method, which end with it.
#pragma once

#include <jni.h>

struct JavaCallbackContext {
    JNIEnv* env;         // of the calling thread
    jobject object;      // the object that the native method was called on, and that gets the chunks
    jbyteArray buffer;   // carries each chunk; kChunkArrayByteCount bytes
    jclass objectClass;  // the class of object
    jmethodID method;    // void (byte[] data, int length); null when the class has none
};

// One second of 16-bit stereo at any rate up to 65535 Hz is at most 262140 bytes.
constexpr jsize kChunkArrayByteCount = 0x40000;

// For EnduranceProgram: what the C library's allocator has handed out and not taken back. Resident memory
// would tell too, but it keeps whatever eight threads once needed at the same moment, which no two runs agree
// on.
#include <jni.h>
#include <malloc.h>

extern "C" JNIEXPORT jlong JNICALL Java_com_mirtal_EnduranceProgram_heapBytesInUse(JNIEnv*, jclass) {
    const struct mallinfo2 heap = mallinfo2();
    return static_cast<jlong>(heap.uordblks + heap.hblkhd);
}

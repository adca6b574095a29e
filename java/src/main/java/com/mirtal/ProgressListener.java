package com.mirtal;

/** Hears how far a stream has been written. */
@FunctionalInterface
public interface ProgressListener {
    /**
     * Called on the writing thread after each part was written. It may call {@link WavSource#cancel}.
     *
     * @param bytesWritten so far
     * @param byteCount    of the whole stream
     */
    void progress(long bytesWritten, long byteCount);
}

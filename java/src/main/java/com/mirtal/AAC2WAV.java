package com.mirtal;

/**
 * Converts AAC files to WAV, whole or from a byte offset on, and hands the stream over by callbacks.
 *
 * <p>This is the older interface. It tells nothing of failures: a file that cannot be converted gives no
 * callback, a conversion that breaks off gives fewer. {@link WavSource} gives the same bytes, exact byte
 * ranges, and exceptions.
 *
 * <p>Subclass it and implement {@link #sendBuffer}. One object may convert on several threads at once, if its
 * {@code sendBuffer} can tell the streams apart.
 */
public abstract class AAC2WAV {
    /**
     * Makes a converter.
     *
     * @throws UnsatisfiedLinkError when the native library cannot be loaded; the message tells why
     */
    protected AAC2WAV() { NativeLibrary.load(); }

    /**
     * Takes the next part of the stream. It is called on the thread that called {@link #convert_AAC2WAV}, in
     * stream order. What it throws is thrown by that method when the conversion has come to its end; the
     * conversion is not cut short by it.
     *
     * @param data   the same array of 262144 bytes for every call of one conversion; its content is replaced
     *     by the next
     * @param length how many bytes of it, from index 0 on, belong to the stream
     */
    protected abstract void sendBuffer(byte[] data, int length);

    /**
     * Converts a file from a stream position on, calling {@link #sendBuffer} with each part.
     *
     * <p>The window is frozen as its first callers know it, and is not a byte range: {@code duration} {@code
     * d > 0} makes a stream of at most {@code d - 11} frames of four bytes behind the header, and a start
     * beyond the header is rounded down to a frame. {@link WavSource#openStream(long, long)} is exact.
     *
     * @param path     the file, not null
     * @param start    the first byte of the stream wanted; below 0 means 0
     * @param duration bounds the window; 0 or below means to the end
     * @return 0 always
     */
    public native int convert_AAC2WAV(String path, long start, long duration);

    /**
     * How long the stream of a whole file is. Nothing is decoded.
     *
     * @param path the file, not null
     * @return bytes, header included, modulo 2<sup>32</sup>; 0 when the file cannot be opened
     */
    public native long get_StreamLength(String path);
}

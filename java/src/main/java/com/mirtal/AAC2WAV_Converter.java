package com.mirtal;

/**
 * Converts whole AAC files to WAV and hands the stream over by callbacks.
 *
 * <p>This is the older interface, and like {@link AAC2WAV} it tells nothing of failures; {@link WavSource}
 * does.
 *
 * <p>Subclass it and implement {@link #writeBuffer}.
 */
public abstract class AAC2WAV_Converter {
    /**
     * Makes a converter.
     *
     * @throws UnsatisfiedLinkError when the native library cannot be loaded; the message tells why
     */
    protected AAC2WAV_Converter() { NativeLibrary.load(); }

    /**
     * Takes the next part of the stream. It is called on the thread that called {@link #convert_AAC2WAV}, in
     * stream order. What it throws is thrown by that method when the conversion has come to its end; the
     * conversion is not cut short by it.
     *
     * @param data   the same array of 262144 bytes for every call of one conversion; its content is replaced
     *     by the next
     * @param length how many bytes of it, from index 0 on, belong to the stream
     */
    protected abstract void writeBuffer(byte[] data, int length);

    /**
     * Converts a file, calling {@link #writeBuffer} with each part of the stream.
     *
     * @param path the file, not null
     * @return 0 always
     */
    public native int convert_AAC2WAV(String path);
}

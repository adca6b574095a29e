package com.mirtal;

import java.io.IOException;
import java.nio.charset.StandardCharsets;
import java.util.function.BooleanSupplier;

/**
 * The native reader of one file: owns it, and lets one thread at a time use it. The lock is not fair, since
 * every change of reader may cost a jump in the sound: so whoever gets it asks first whether to stop, lest
 * closing wait for all that come.
 *
 * <p>It is the state that a {@link WavSource} leaves to its cleaner, so it must not refer to one. The native
 * methods are bound when the library is loaded, which initialises this class: it must not load the library
 * itself.
 */
final class NativeReader implements Runnable {
    // Places in the array that describe() fills.
    private static final int DECODABLE = 0;
    private static final int SAMPLE_RATE = 1;
    private static final int CHANNEL_COUNT = 2;
    private static final int PACKET_COUNT = 3;
    private static final int DAMAGED_PACKET_COUNT = 4;
    private static final int SILENCED_FRAME_COUNT = 5;
    private static final int SKIPPED_BYTE_COUNT = 6;
    private static final int NUMBER_COUNT = 7;

    /** What {@link #read} answers instead of a count. */
    static final int STOPPED = -1;

    /** Where the sound begins in what is read. */
    final int headerLength;

    final String path;
    final long frameCount;
    final int streamRateHz;
    final SoundFormat format;

    private long handle;
    private Damage damageAtClose;

    /**
     * Opens a file.
     *
     * @param path       the file for messages
     * @param pathUTF8   the file for the system: UTF-8, or whatever bytes its name really has
     * @param soundTrack which of its sound tracks, from 1; 0 for the usual one
     * @param stop       asked on this thread, again and again, whether opening should stop
     * @throws PlatformFailure also {@link PlatformStatus#CANCELLED}, when it should
     */
    NativeReader(String path, byte[] pathUTF8, int soundTrack, BooleanSupplier stop) throws PlatformFailure {
        this.path = path;
        handle = open(pathUTF8, soundTrack, stop);
        boolean usable = false;
        try {
            long[] numbers = describe();
            if (numbers[DECODABLE] != 0) {
                throw new PlatformFailure((int) numbers[DECODABLE], "");
            }
            frameCount = frameCount(handle);
            headerLength = (int) (byteCount(handle) - frameCount * WavSource.FRAME_BYTE_COUNT);
            streamRateHz = sampleRate(handle);
            format = new SoundFormat(text(name(handle, false)), text(name(handle, true)),
                (int) numbers[SAMPLE_RATE], (int) numbers[CHANNEL_COUNT]);
            usable = true;
        } finally {
            if (!usable) {
                close(handle);
            }
        }
    }

    /**
     * Copies bytes from a stream position on; fewer than asked for only at the end, 0 beyond it.
     *
     * @param stop asked once it is this thread's turn, which may be long after the call
     * @return {@link #STOPPED}, with nothing read, when it says so or the reader is closed
     */
    synchronized int read(long position, byte[] bytes, int offset, int length, BooleanSupplier stop)
        throws IOException {
        if (handle == 0 || stop.getAsBoolean()) {
            return STOPPED;
        }
        try {
            return read(handle, position, bytes, offset, length);
        } catch (PlatformFailure failure) {
            throw AudioException.of(path, failure.code, failure.detail);
        }
    }

    /** What is damaged; of a closed reader, what was when it was closed. */
    synchronized Damage damage() { return handle == 0 ? damageAtClose : currentDamage(); }

    /** Closes; does nothing the second time. */
    @Override
    public synchronized void run() {
        if (handle == 0) {
            return;
        }
        try {
            damageAtClose = currentDamage();
        } finally {
            close(handle);
            handle = 0;
        }
    }

    private Damage currentDamage() {
        try {
            long[] numbers = describe();
            return new Damage(numbers[PACKET_COUNT], numbers[DAMAGED_PACKET_COUNT],
                numbers[SILENCED_FRAME_COUNT], numbers[SKIPPED_BYTE_COUNT]);
        } catch (PlatformFailure failure) {
            throw new IllegalStateException(failure);
        }
    }

    private long[] describe() throws PlatformFailure {
        long[] numbers = new long[NUMBER_COUNT];
        describe(handle, numbers);
        return numbers;
    }

    private static String text(byte[] bytes) { return new String(bytes, StandardCharsets.UTF_8); }

    /** Called by the native methods to throw. */
    private static void raise(int code, byte[] detail) throws PlatformFailure {
        throw new PlatformFailure(code, text(detail));
    }

    /** Called by the native methods while they open. */
    private static boolean shouldStop(BooleanSupplier stop) { return stop.getAsBoolean(); }

    private static native long open(byte[] pathUTF8, int soundTrack, BooleanSupplier stop)
        throws PlatformFailure;

    private static native void close(long handle);

    private static native long byteCount(long handle);

    private static native long frameCount(long handle);

    private static native int sampleRate(long handle);

    private static native int read(long handle, long position, byte[] bytes, int offset, int length)
        throws PlatformFailure;

    private static native void describe(long handle, long[] numbers) throws PlatformFailure;

    /**
     * The header of a stream.
     *
     * @param rf64 whether it is the long one, for streams over 4 GiB
     */
    static native byte[] header(int rateHz, long frameCount, boolean rf64);

    private static native byte[] name(long handle, boolean ofContainer) throws PlatformFailure;
}

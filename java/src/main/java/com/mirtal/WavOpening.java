package com.mirtal;

import java.io.IOException;
import java.io.InterruptedIOException;

/**
 * How a file is to be opened, where the usual way is not enough: another sound track than the usual one, or an
 * end to an opening that takes long. MPEG-4 files open at once, whatever their length; files that do not tell
 * how long they are, such as MP3, are read through first.
 *
 * <pre>{@code
 * WavSource german = WavSource.opening(film).soundTrack(2).open();
 * }</pre>
 *
 * <p>Any thread may cancel; the rest belongs to one thread at a time.
 */
public final class WavOpening {
    private final String path;
    private final byte[] pathUTF8;
    private int soundTrack;
    private volatile boolean cancelled;

    WavOpening(String path, byte[] pathUTF8) {
        this.path = path;
        this.pathUTF8 = pathUTF8;
    }

    /**
     * Chooses a sound track. Without a choice it is the first that is enabled. The stream is as long as without
     * a choice, unless the track is a disabled one that is longer.
     *
     * @param number counted from 1 in the file's order, over sound tracks only, disabled ones too
     * @return this
     * @throws IllegalArgumentException when the number is below 1
     */
    public WavOpening soundTrack(int number) {
        if (number < 1) {
            throw new IllegalArgumentException("sound track " + number + ": they are counted from 1");
        }
        soundTrack = number;
        return this;
    }

    /**
     * Opens the file. May be called again, for another source.
     *
     * @return the source; close it
     * @throws InterruptedIOException    when cancelled, or the thread interrupted, before it is open
     * @throws UnsupportedAudioException also when there is no such sound track
     * @throws IOException               as {@link WavSource#open(String)} does
     */
    public WavSource open() throws IOException {
        NativeLibrary.load();
        try {
            NativeReader reader = new NativeReader(path, pathUTF8, soundTrack, this::shouldStop);
            try {
                return new WavSource(reader);
            } catch (Throwable noMemory) {
                reader.run();
                throw noMemory;
            }
        } catch (PlatformFailure failure) {
            if (failure.code == PlatformStatus.CANCELLED) {
                throw new InterruptedIOException(cancelled ? "cancelled" : "interrupted");
            }
            throw AudioException.of(path, failure.code, failure.detail);
        }
    }

    /**
     * Ends the opening in progress, from any thread and for good: it, and those to come, throw
     * {@link InterruptedIOException}. Sources that are open stay so.
     */
    public void cancel() { cancelled = true; }

    private boolean shouldStop() { return cancelled || Thread.currentThread().isInterrupted(); }
}

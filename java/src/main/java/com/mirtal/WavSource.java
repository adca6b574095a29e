package com.mirtal;

import java.io.IOException;
import java.io.InterruptedIOException;
import java.io.OutputStream;
import java.lang.ref.Cleaner;
import java.nio.file.Path;
import java.util.Objects;
import javax.sound.sampled.AudioFormat;
import javax.sound.sampled.AudioInputStream;

/**
 * A sound file as the WAV stream that it converts to: 16-bit little-endian stereo at the file's own rate,
 * behind a header. The length is exact and known at once; nothing is decoded before it is read. A byte range
 * in the middle of an hour of AAC LC decodes at most a minute before it; profiles with a longer memory, such
 * as HE-AAC, decode from the start when a read does not follow the one before.
 *
 * <p>The header has 44 bytes. A stream that is too long for it, over 4 GiB, gets the 64-bit form of the
 * header (RF64). A file without sound, such as a film without a sound track, is silence of the film's length.
 *
 * <p>Any number of streams may be opened on a source. They share its decoder, so those that are read in turns
 * cost more than those that are read one after the other. All methods may be called from any thread; a single
 * stream belongs to one thread at a time.
 *
 * <p>A read that has begun decodes at most a few hundred milliseconds of sound before it looks whether the
 * source was closed or cancelled, or the reading thread interrupted. Whichever it was, the read throws:
 * {@code IOException("closed")} or {@link InterruptedIOException}. The interrupt status stays set.
 */
public final class WavSource implements AutoCloseable {
    /** The largest size that the four-byte fields of the short header can tell. */
    private static final long RIFF_LIMIT = 0xFFFF_FFFFL + 8;

    private static final int FRAME_BYTE_COUNT = 4;
    private static final Cleaner CLEANER = Cleaner.create();

    private final NativeReader reader;
    private final Cleaner.Cleanable cleanable;
    private volatile boolean cancelled;

    private WavSource(NativeReader reader) {
        this.reader = reader;
        this.cleanable = CLEANER.register(this, reader);
    }

    /**
     * Opens a file by its name in Unicode. This finds a file whose name the runtime itself cannot express in
     * the locale that it was started in.
     *
     * @param path absolute, or relative to the folder that the process was started in
     * @return the source; close it
     * @throws AudioFileNotFoundException when there is no such file
     * @throws AudioAccessDeniedException when it may not be read
     * @throws UnsupportedAudioException  when it is of no known kind, or its sound cannot be decoded
     * @throws DamagedAudioException      when too little of it is intact
     * @throws AudioException             for any other failure of the platform
     * @throws UnsatisfiedLinkError       when the native library cannot be loaded
     */
    public static WavSource open(String path) throws AudioException {
        return open(Objects.requireNonNull(path, "path"), FilePaths.bytesOf(path));
    }

    /**
     * Opens a file of the default file system. A path that came from a listing names its file even when the
     * name is not valid in the runtime's encoding.
     *
     * @param path the file
     * @return the source; close it
     * @throws AudioException as {@link #open(String)} does
     */
    public static WavSource open(Path path) throws AudioException {
        return open(Objects.requireNonNull(path, "path").toString(), FilePaths.bytesOf(path));
    }

    private static WavSource open(String path, byte[] pathUTF8) throws AudioException {
        NativeLibrary.load();
        NativeReader reader = new NativeReader(path, pathUTF8, false);
        if (reader.byteCount > RIFF_LIMIT) {
            reader.run();
            reader = new NativeReader(path, pathUTF8, true);
        }
        return new WavSource(reader);
    }

    /**
     * The length of the whole stream.
     *
     * @return bytes, header included
     */
    public long length() { return reader.byteCount; }

    /**
     * The length of the sound.
     *
     * @return frames, at the rate of {@link #audioFormat}
     */
    public long frameCount() { return reader.frameCount; }

    /**
     * The length of the header that the stream starts with.
     *
     * @return bytes
     */
    public int headerLength() { return (int) (reader.byteCount - reader.frameCount * FRAME_BYTE_COUNT); }

    /**
     * What the file holds.
     *
     * @return the same for the life of the source
     */
    public SoundFormat format() { return reader.format; }

    /**
     * What the stream holds behind its header.
     *
     * @return signed 16-bit little-endian stereo
     */
    public AudioFormat audioFormat() { return new AudioFormat(reader.streamRateHz, 16, 2, true, false); }

    /**
     * What was found damaged so far. A damaged part is heard as silence of its own length.
     *
     * @return the state now; of a closed source, when it was closed
     */
    public Damage damage() { return reader.damage(); }

    /**
     * The whole stream.
     *
     * @return a stream that can skip and mark anywhere; closing it leaves the source open
     * @throws IOException when the source is closed
     */
    public WavInputStream openStream() throws IOException { return openRange(0, length()); }

    /**
     * A part of the stream: the same bytes as that part of {@link #openStream()}.
     *
     * @param firstByte the first byte wanted, counted from 0
     * @param lastByte  the last byte wanted; {@code firstByte - 1} for an empty stream
     * @return a stream of {@code lastByte - firstByte + 1} bytes; closing it leaves the source open
     * @throws IndexOutOfBoundsException when the range is not inside {@code 0..length()-1}
     * @throws IOException               when the source is closed
     */
    public WavInputStream openStream(long firstByte, long lastByte) throws IOException {
        if (lastByte >= length()) { // before the sum below can wrap
            throw new IndexOutOfBoundsException("last byte " + lastByte + " of " + length());
        }
        return openRange(firstByte, lastByte + 1);
    }

    /**
     * The sound without the header, with the exact frame length.
     *
     * @return a stream for {@code javax.sound.sampled}; closing it leaves the source open
     * @throws IOException when the source is closed
     */
    public AudioInputStream openAudioStream() throws IOException {
        return new AudioInputStream(openRange(headerLength(), length()), audioFormat(), frameCount());
    }

    private WavInputStream openRange(long first, long end) throws IOException {
        Objects.checkFromToIndex(first, end, length());
        if (reader.isClosed()) {
            throw new IOException("closed");
        }
        return new WavInputStream(this, first, end);
    }

    /**
     * Writes the whole stream.
     *
     * @param out      stays open
     * @param listener hears of each part written; may be null
     * @return how many bytes were written: {@link #length()}
     * @throws InterruptedIOException when cancelled or interrupted; {@code bytesTransferred} tells how far it
     *     came
     * @throws IOException            when reading or writing fails
     */
    public long writeTo(OutputStream out, ProgressListener listener) throws IOException {
        try (WavInputStream stream = openStream()) {
            return stream.transferTo(out, listener);
        }
    }

    /**
     * Ends all reading from this source, from any thread and for good: reads in progress and those to come
     * throw {@link InterruptedIOException}. The source still wants to be closed.
     */
    public void cancel() { cancelled = true; }

    /**
     * Releases the file and the decoder. A read in progress on another thread ends first. May be called
     * twice.
     */
    @Override
    public void close() {
        cleanable.clean();
    }

    /** Whether the calling thread should stop reading. */
    boolean shouldStop() { return cancelled || Thread.currentThread().isInterrupted(); }

    InterruptedIOException stopped() {
        return new InterruptedIOException(cancelled ? "cancelled" : "interrupted");
    }

    NativeReader reader() { return reader; }
}

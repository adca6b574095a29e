package com.mirtal;

import java.io.IOException;
import java.io.InterruptedIOException;
import java.io.OutputStream;
import java.lang.ref.Cleaner;
import java.nio.file.Path;
import java.util.Objects;
import java.util.function.BooleanSupplier;
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
    static final int FRAME_BYTE_COUNT = 4;

    /** The largest size that the four-byte fields of the short header can tell. */
    private static final long RIFF_LIMIT = 0xFFFF_FFFFL + 8;

    private static final int RIFF_HEADER_LENGTH = 44;
    private static final Cleaner CLEANER = Cleaner.create();

    final NativeReader reader;
    /** What this is a slice of, or null: keeps it from being closed as unreachable, too. */
    private final WavSource parent;
    private final Cleaner.Cleanable cleanable;
    private final byte[] header;
    private final long firstFrame; // of the reader's
    private final long frameCount;
    private volatile boolean cancelled;
    private volatile boolean closed;
    private final BooleanSupplier mustStop =
        () -> isClosed() || isCancelled() || Thread.currentThread().isInterrupted();

    /** All of a file. */
    WavSource(NativeReader reader) {
        this.reader = reader;
        this.parent = null;
        this.firstFrame = 0;
        this.frameCount = reader.frameCount;
        this.header = headerOf(reader.streamRateHz, frameCount);
        this.cleanable = CLEANER.register(this, reader);
    }

    /** Frames of another source. */
    private WavSource(WavSource parent, long firstFrame, long frameCount) {
        this.reader = parent.reader;
        this.parent = parent;
        this.firstFrame = parent.firstFrame + firstFrame;
        this.frameCount = frameCount;
        this.header = headerOf(reader.streamRateHz, frameCount);
        this.cleanable = null;
    }

    private static byte[] headerOf(int rateHz, long frameCount) {
        boolean isLong = RIFF_HEADER_LENGTH + frameCount * FRAME_BYTE_COUNT > RIFF_LIMIT;
        return NativeReader.header(rateHz, frameCount, isLong);
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
     * @throws InterruptedIOException     when the thread is interrupted before it is open
     * @throws IOException                only as one of those
     * @throws UnsatisfiedLinkError       when the native library cannot be loaded
     */
    public static WavSource open(String path) throws IOException { return opening(path).open(); }

    /**
     * Opens a file of the default file system. A path that came from a listing names its file even when the
     * name is not valid in the runtime's encoding.
     *
     * @param path the file
     * @return the source; close it
     * @throws IOException as {@link #open(String)} does
     */
    public static WavSource open(Path path) throws IOException { return opening(path).open(); }

    /**
     * Prepares to open a file by its name in Unicode, for those who have more to say or may want to stop it.
     *
     * @param path as for {@link #open(String)}
     * @return not opened yet
     * @throws AudioFileNotFoundException when no file can have that name
     */
    public static WavOpening opening(String path) throws AudioFileNotFoundException {
        return new WavOpening(Objects.requireNonNull(path, "path"), FilePaths.bytesOf(path));
    }

    /**
     * Prepares to open a file of the default file system, for those who have more to say or may want to stop
     * it.
     *
     * @param path the file
     * @return not opened yet
     * @throws AudioFileNotFoundException when it is of another file system, or no file can have that name
     */
    public static WavOpening opening(Path path) throws AudioFileNotFoundException {
        return new WavOpening(Objects.requireNonNull(path, "path").toString(), FilePaths.bytesOf(path));
    }

    /**
     * A stretch of the sound as a source of its own, with a header of its own and its own frame 0. It takes no
     * time: the file is not opened again, and the decoder is shared, as it is among streams. Its bytes are
     * those of the same frames here.
     *
     * <p>Closing or cancelling a slice ends that slice (and slices of it) only; closing or cancelling this source
     * ends its slices. {@link #damage()} of a slice is that of the whole file. A slice that is reachable keeps
     * this source open.
     *
     * @param firstFrame the first frame wanted, counted from 0
     * @param endFrame   one past the last
     * @return a source of {@code endFrame - firstFrame} frames
     * @throws IndexOutOfBoundsException unless {@code 0 <= firstFrame <= endFrame <= frameCount()}
     * @throws IOException               when this source is closed
     */
    public WavSource slice(long firstFrame, long endFrame) throws IOException {
        Objects.checkFromToIndex(firstFrame, endFrame, frameCount);
        requireOpen();
        return new WavSource(this, firstFrame, endFrame - firstFrame);
    }

    /**
     * The length of the whole stream.
     *
     * @return bytes, header included
     */
    public long length() { return header.length + frameCount * FRAME_BYTE_COUNT; }

    /**
     * The length of the sound.
     *
     * @return frames, at the rate of {@link #audioFormat}
     */
    public long frameCount() { return frameCount; }

    /**
     * The length of the header that the stream starts with.
     *
     * @return bytes
     */
    public int headerLength() { return header.length; }

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
        requireOpen();
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
     * Ends all reading from this source, from any thread and for good: the read in progress is the last, and
     * those that wait and those to come throw {@link InterruptedIOException}. The source still wants to be
     * closed.
     */
    public void cancel() { cancelled = true; }

    /**
     * Releases the file and the decoder; of a slice, nothing but the slice. The read in progress on another
     * thread ends first, and is the last: those that wait for their turn, and those to come, throw. May be
     * called twice.
     */
    @Override
    public void close() {
        // Before waiting for the reader, so that those who wait for it too let go.
        closed = true;
        if (cleanable != null) {
            // The cleaning runs once; whoever comes second is to find the file released all the same.
            reader.run();
            cleanable.clean();
        }
    }

    /**
     * Copies bytes from a stream position on; fewer than asked for also behind the header.
     *
     * @return {@link NativeReader#STOPPED}, with nothing read, when the calling thread should stop
     */
    int read(long position, byte[] bytes, int offset, int length) throws IOException {
        requireOpen();
        if (position >= header.length) {
            long sound = reader.headerLength + firstFrame * FRAME_BYTE_COUNT + (position - header.length);
            int got = reader.read(sound, bytes, offset, length, mustStop);
            if (got == NativeReader.STOPPED) {
                requireOpen();
            }
            return got;
        }
        if (mustStop.getAsBoolean()) {
            return NativeReader.STOPPED;
        }
        int count = (int) Math.min(length, header.length - position);
        System.arraycopy(header, (int) position, bytes, offset, count);
        return count;
    }

    private void requireOpen() throws IOException {
        if (isClosed()) {
            throw new IOException("closed");
        }
    }

    private boolean isClosed() { return closed || (parent != null && parent.isClosed()); }

    private boolean isCancelled() { return cancelled || (parent != null && parent.isCancelled()); }

    InterruptedIOException stopped() {
        return new InterruptedIOException(isCancelled() ? "cancelled" : "interrupted");
    }
}

package com.mirtal;

import java.io.IOException;
import java.io.InputStream;
import java.io.InterruptedIOException;
import java.io.OutputStream;
import java.util.Objects;

/**
 * A byte range of a WAV stream. Reading pulls: the sound is decoded on the reading thread, as it is wanted.
 * Skipping costs nothing. It needs no buffering around it unless it is read byte by byte.
 *
 * <p>It belongs to one thread at a time. Other streams on the same source are independent of it.
 */
public final class WavInputStream extends InputStream {
    /**
     * Between two pieces the stream looks whether it should stop: a piece is at most a few hundred
     * milliseconds.
     */
    private static final int PIECE_BYTE_COUNT = 64 * 1024;

    private final WavSource source;
    private final long end;
    private long position;
    private long marked;
    private byte[] single;
    private volatile boolean closed;

    WavInputStream(WavSource source, long first, long end) {
        this.source = source;
        this.position = first;
        this.marked = first;
        this.end = end;
    }

    @Override
    public int read() throws IOException {
        if (single == null) {
            single = new byte[1];
        }
        return read(single, 0, 1) < 0 ? -1 : single[0] & 0xFF;
    }

    /**
     * Reads until the array's part is full or the range is at its end.
     *
     * @throws InterruptedIOException when the source is cancelled or the thread interrupted before the first
     *     byte. After some bytes, those are returned, and the next call throws.
     */
    @Override
    public int read(byte[] bytes, int offset, int length) throws IOException {
        Objects.checkFromIndexSize(offset, length, bytes.length);
        requireOpen();
        if (length == 0) {
            return 0;
        }
        int wanted = (int) Math.min(length, end - position);
        int done = 0;
        while (done < wanted) {
            int piece = Math.min(wanted - done, PIECE_BYTE_COUNT);
            int got = source.read(position, bytes, offset + done, piece);
            if (got == NativeReader.STOPPED) {
                if (done == 0) {
                    throw source.stopped();
                }
                return done;
            }
            if (got == 0) {
                break;
            }
            position += got;
            done += got;
        }
        return done == 0 ? -1 : done;
    }

    @Override
    public long skip(long byteCount) throws IOException {
        requireOpen();
        long skipped = Math.max(0, Math.min(byteCount, end - position));
        position += skipped;
        return skipped;
    }

    /** What is left of the range, up to the largest int. */
    @Override
    public int available() throws IOException {
        requireOpen();
        return (int) Math.min(end - position, Integer.MAX_VALUE);
    }

    @Override
    public long transferTo(OutputStream out) throws IOException {
        return transferTo(out, null);
    }

    long transferTo(OutputStream out, ProgressListener listener) throws IOException {
        Objects.requireNonNull(out, "out");
        long total = end - position;
        long written = 0;
        byte[] piece = new byte[(int) Math.min(PIECE_BYTE_COUNT, Math.max(total, 1))];
        try {
            for (int got = read(piece); got >= 0; got = read(piece)) {
                out.write(piece, 0, got);
                written += got;
                if (listener != null) {
                    listener.progress(written, total);
                }
            }
        } catch (InterruptedIOException stopped) {
            stopped.bytesTransferred = (int) Math.min(written, Integer.MAX_VALUE);
            throw stopped;
        }
        return written;
    }

    @Override
    public boolean markSupported() {
        return true;
    }

    /** Remembers this place for as long as the stream is open, whatever the limit. */
    @Override
    public void mark(int readLimit) {
        marked = position;
    }

    /** Goes back to the last mark, or to the start of the range when there was none. */
    @Override
    public void reset() throws IOException {
        requireOpen();
        position = marked;
    }

    @Override
    public void close() {
        closed = true;
    }

    private void requireOpen() throws IOException {
        if (closed) {
            throw new IOException("closed");
        }
    }
}

package com.mirtal.sampled;

import com.mirtal.AudioException;
import com.mirtal.DamagedAudioException;
import com.mirtal.UnsupportedAudioException;
import com.mirtal.WavSource;
import java.io.BufferedInputStream;
import java.io.File;
import java.io.FileInputStream;
import java.io.IOException;
import java.io.InputStream;
import java.net.URISyntaxException;
import java.net.URL;
import java.nio.file.Files;
import java.nio.file.Path;
import java.nio.file.StandardCopyOption;
import java.util.Map;
import javax.sound.sampled.AudioFileFormat;
import javax.sound.sampled.AudioFormat;
import javax.sound.sampled.AudioInputStream;
import javax.sound.sampled.AudioSystem;
import javax.sound.sampled.UnsupportedAudioFileException;
import javax.sound.sampled.spi.AudioFileReader;

/**
 * Reads files of the MPEG-4 family and raw AAC for {@code AudioSystem}. The streams it gives are decoded
 * sound, with the exact frame length; closing one closes its file. There is no encoded form in between, so no
 * format converter is needed to get at the sound, and Java's own convert it further.
 *
 * <p>What is neither is left alone: the stream is reset, and {@link UnsupportedAudioFileException} thrown, as
 * it is for a file of these kinds whose sound cannot be decoded.
 */
public final class AACAudioFileReader extends AudioFileReader {
    /** Made by {@code AudioSystem}. */
    public AACAudioFileReader() {}

    @Override
    public AudioFileFormat getAudioFileFormat(File file) throws UnsupportedAudioFileException, IOException {
        AudioFileFormat.Type type = typeOf(file);
        try (WavSource source = open(file)) {
            long microseconds = Math.round(source.frameCount() * 1e6 / source.audioFormat().getFrameRate());
            return new FileFormat(
                type, file.length(), source.audioFormat(), source.frameCount(), microseconds);
        }
    }

    @Override
    public AudioInputStream getAudioInputStream(File file) throws UnsupportedAudioFileException, IOException {
        typeOf(file);
        return soundOf(open(file));
    }

    @Override
    public AudioFileFormat getAudioFileFormat(URL url) throws UnsupportedAudioFileException, IOException {
        File file = fileOf(url);
        if (file != null) {
            return getAudioFileFormat(file);
        }
        try (InputStream stream = new BufferedInputStream(url.openStream())) {
            return getAudioFileFormat(stream);
        }
    }

    @Override
    public AudioInputStream getAudioInputStream(URL url) throws UnsupportedAudioFileException, IOException {
        File file = fileOf(url);
        if (file != null) {
            return getAudioInputStream(file);
        }
        try (InputStream stream = new BufferedInputStream(url.openStream())) {
            return getAudioInputStream(stream);
        }
    }

    /**
     * {@inheritDoc}
     *
     * <p>The stream is left where it was. What follows the first bytes decides the rate and the length, so
     * both are {@code NOT_SPECIFIED}; the sound that {@link #getAudioInputStream(InputStream)} gives has
     * them.
     */
    @Override
    public AudioFileFormat getAudioFileFormat(InputStream stream)
        throws UnsupportedAudioFileException, IOException {
        AudioFileFormat.Type type = typeOf(stream);
        AudioFormat format = new AudioFormat(AudioFormat.Encoding.PCM_SIGNED, AudioSystem.NOT_SPECIFIED, 16,
            2, 4, AudioSystem.NOT_SPECIFIED, false);
        return new AudioFileFormat(type, format, AudioSystem.NOT_SPECIFIED);
    }

    /**
     * {@inheritDoc}
     *
     * <p>Decoding needs the whole file, and not in its order. So the stream is read to its end, into a
     * temporary file that has no name any more when this returns. The stream must support mark and reset.
     */
    @Override
    public AudioInputStream getAudioInputStream(InputStream stream)
        throws UnsupportedAudioFileException, IOException {
        typeOf(stream);
        Path spool = Files.createTempFile("mirtal-", ".spool");
        try {
            Files.copy(stream, spool, StandardCopyOption.REPLACE_EXISTING);
            // Past the first bytes the stream cannot be reset for another reader: what fails now is told as
            // it is.
            return soundOf(linked(() -> WavSource.open(spool)));
        } finally {
            Files.delete(spool);
        }
    }

    private static AudioFileFormat.Type typeOf(File file) throws UnsupportedAudioFileException, IOException {
        try (InputStream stream = new FileInputStream(file)) {
            return require(Signature.recognise(stream.readNBytes(Signature.LOOK_BYTE_COUNT)));
        }
    }

    private static AudioFileFormat.Type typeOf(InputStream stream)
        throws UnsupportedAudioFileException, IOException {
        if (!stream.markSupported()) {
            throw new UnsupportedAudioFileException("the stream cannot be looked into: it supports no mark");
        }
        stream.mark(Signature.LOOK_BYTE_COUNT);
        byte[] start;
        try {
            start = stream.readNBytes(Signature.LOOK_BYTE_COUNT);
        } finally {
            stream.reset();
        }
        return require(Signature.recognise(start));
    }

    private static AudioFileFormat.Type require(AudioFileFormat.Type type)
        throws UnsupportedAudioFileException {
        if (type == null) {
            throw new UnsupportedAudioFileException("neither MPEG-4 nor AAC");
        }
        return type;
    }

    private static WavSource open(File file) throws UnsupportedAudioFileException, IOException {
        try {
            WavSource source = linked(() -> WavSource.open(file.getAbsolutePath()));
            if (source.format().hasSound()) {
                return source;
            }
            source.close();
            throw new UnsupportedAudioFileException(file + ": no sound in the file");
        } catch (UnsupportedAudioException | DamagedAudioException notForUs) {
            throw(UnsupportedAudioFileException) new UnsupportedAudioFileException(notForUs.getMessage())
                .initCause(notForUs);
        }
    }

    private interface Opening {
        WavSource open() throws IOException;
    }

    /** A program that asks for a sound gets an exception it can handle when the native library is missing. */
    private static WavSource linked(Opening opening) throws IOException {
        try {
            return opening.open();
        } catch (UnsatisfiedLinkError missing) {
            throw new IOException(missing.getMessage(), missing);
        }
    }

    private static AudioInputStream soundOf(WavSource source) throws IOException {
        InputStream sound = source.openStream(source.headerLength(), source.length() - 1);
        return new AudioInputStream(sound, source.audioFormat(), source.frameCount()) {
            @Override
            public void close() throws IOException {
                super.close();
                source.close();
            }
        };
    }

    private static File fileOf(URL url) {
        if (!url.getProtocol().equalsIgnoreCase("file")) {
            return null;
        }
        try {
            return new File(url.toURI());
        } catch (URISyntaxException | IllegalArgumentException notEscaped) {
            return new File(url.getPath());
        }
    }

    /** No constructor takes both a length in bytes and properties. */
    private static final class FileFormat extends AudioFileFormat {
        private final int byteCount;

        FileFormat(Type type, long byteCount, AudioFormat format, long frameCount, long microseconds) {
            super(type, format, clamp(frameCount), Map.of("duration", microseconds));
            this.byteCount = clamp(byteCount);
        }

        @Override
        public int getByteLength() {
            return byteCount;
        }

        private static int clamp(long value) {
            return value > Integer.MAX_VALUE ? AudioSystem.NOT_SPECIFIED : (int) value;
        }
    }
}

package com.mirtal;

import static org.junit.jupiter.api.Assertions.assertArrayEquals;
import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertNotEquals;
import static org.junit.jupiter.api.Assertions.assertThrows;
import static org.junit.jupiter.api.Assertions.assertTrue;

import com.mirtal.sampled.AACAudioFileReader;
import java.io.BufferedInputStream;
import java.io.ByteArrayInputStream;
import java.io.File;
import java.io.FileInputStream;
import java.io.IOException;
import java.io.InputStream;
import java.nio.file.Files;
import java.nio.file.Path;
import java.util.Arrays;
import javax.sound.sampled.AudioFileFormat;
import javax.sound.sampled.AudioFormat;
import javax.sound.sampled.AudioInputStream;
import javax.sound.sampled.AudioSystem;
import javax.sound.sampled.UnsupportedAudioFileException;
import org.junit.jupiter.api.Test;
import org.junit.jupiter.api.io.TempDir;

/** AAC through {@code AudioSystem}, which finds the reader by itself. */
class SampledTest {
    @TempDir Path folder;

    private static byte[] soundOf(Path file) throws Exception {
        byte[] stream = TestMedia.convertedByCommandLine(file);
        return Arrays.copyOfRange(stream, 44, stream.length);
    }

    @Test
    void readsFilesOfBothKinds() throws Exception {
        for (String name : new String[] {
                 "tone-44100-stereo.m4a", "tone-22050-mono.m4a", "tone.mov", "tone-48000-stereo.aac"}) {
            Path file = TestMedia.file(name);
            byte[] expected = soundOf(file);
            try (AudioInputStream sound = AudioSystem.getAudioInputStream(file.toFile())) {
                assertEquals(expected.length / 4, sound.getFrameLength(), name);
                assertEquals(AudioFormat.Encoding.PCM_SIGNED, sound.getFormat().getEncoding());
                assertArrayEquals(expected, sound.readAllBytes(), name);
            }
            try (AudioInputStream sound = AudioSystem.getAudioInputStream(file.toUri().toURL())) {
                assertArrayEquals(expected, sound.readAllBytes(), name);
            }
            try (InputStream stream = new BufferedInputStream(new FileInputStream(file.toFile()));
                 AudioInputStream sound = AudioSystem.getAudioInputStream(stream)) {
                assertEquals(expected.length / 4, sound.getFrameLength(), name);
                assertArrayEquals(expected, sound.readAllBytes(), name);
            }
        }
    }

    @Test
    void readsFromOtherPlaces() throws Exception {
        var server =
            com.sun.net.httpserver.HttpServer.create(new java.net.InetSocketAddress("127.0.0.1", 0), 0);
        server.createContext("/", exchange -> {
            byte[] file = Files.readAllBytes(TestMedia.TONE);
            exchange.sendResponseHeaders(200, file.length);
            exchange.getResponseBody().write(file);
            exchange.close();
        });
        server.start();
        try {
            var url = new java.net.URL("http://127.0.0.1:" + server.getAddress().getPort() + "/song");
            try (AudioInputStream sound = AudioSystem.getAudioInputStream(url)) {
                assertArrayEquals(soundOf(TestMedia.TONE), sound.readAllBytes());
            }
            assertEquals("MPEG-4", AudioSystem.getAudioFileFormat(url).getType().toString());
        } finally {
            server.stop(0);
        }
    }

    @Test
    void spoolIsGoneAtOnce() throws Exception {
        Path temporary = Path.of(System.getProperty("java.io.tmpdir"));
        try (InputStream stream = new BufferedInputStream(new FileInputStream(TestMedia.TONE.toFile()));
             AudioInputStream sound = AudioSystem.getAudioInputStream(stream)) {
            try (var left = Files.newDirectoryStream(temporary, "mirtal-*.spool")) {
                assertTrue(!left.iterator().hasNext(), "no spool in " + temporary);
            }
            assertEquals(44100, sound.getFrameLength());
        }
    }

    @Test
    void describesFiles() throws Exception {
        AudioFileFormat format = AudioSystem.getAudioFileFormat(TestMedia.TONE.toFile());
        assertEquals("MPEG-4", format.getType().toString());
        assertEquals("m4a", format.getType().getExtension());
        assertEquals(44100, format.getFrameLength());
        assertEquals(Files.size(TestMedia.TONE), format.getByteLength());
        assertEquals(1_000_000L, format.properties().get("duration"));
        assertTrue(format.getFormat().matches(new AudioFormat(44100, 16, 2, true, false)));
        assertEquals(format.getFrameLength(),
            AudioSystem.getAudioFileFormat(TestMedia.TONE.toUri().toURL()).getFrameLength());
        assertEquals("AAC",
            AudioSystem.getAudioFileFormat(TestMedia.file("tone-8000-stereo.aac").toFile())
                .getType()
                .toString());
    }

    @Test
    void describesAStreamAndLeavesItWhereItWas() throws Exception {
        byte[] file = Files.readAllBytes(TestMedia.TONE);
        InputStream stream = new ByteArrayInputStream(file);
        AudioFileFormat format = AudioSystem.getAudioFileFormat(stream);
        assertEquals("MPEG-4", format.getType().toString());
        assertEquals(AudioSystem.NOT_SPECIFIED, format.getFrameLength());
        assertArrayEquals(file, stream.readAllBytes());
    }

    @Test
    void soundConvertsFurther() throws Exception {
        AudioFormat mono = new AudioFormat(44100, 16, 1, true, false);
        try (AudioInputStream sound = AudioSystem.getAudioInputStream(TestMedia.TONE.toFile());
             AudioInputStream converted = AudioSystem.getAudioInputStream(mono, sound)) {
            assertEquals(44100 * 2, converted.readAllBytes().length);
        }
    }

    /** Java's own reader gives the WAV's own format: eight bits stay eight. */
    @Test
    void whatJavaReadsIsStillReadByJava() throws Exception {
        try (
            AudioInputStream sound = AudioSystem.getAudioInputStream(TestMedia.file("tone-8.wav").toFile())) {
            assertEquals(8, sound.getFormat().getSampleSizeInBits());
        }
        try (AudioInputStream sound = AudioSystem.getAudioInputStream(TestMedia.file("tone.aiff").toFile())) {
            assertTrue(sound.getFormat().isBigEndian());
        }
        try (InputStream stream =
                 new BufferedInputStream(new FileInputStream(TestMedia.file("tone-8.wav").toFile()));
             AudioInputStream sound = AudioSystem.getAudioInputStream(stream)) {
            assertEquals(8, sound.getFormat().getSampleSizeInBits());
        }
    }

    @Test
    void noMatchResetsTheStreamAndSaysOnlyThat() throws Exception {
        AACAudioFileReader reader = new AACAudioFileReader();
        for (String name :
            new String[] {"tone-16.wav", "tone.aiff", "tone.flac", "tone.mp3", "words.m4a", "empty.m4a"}) {
            Path file = TestMedia.file(name);
            byte[] content = Files.readAllBytes(file);
            InputStream stream = new BufferedInputStream(new ByteArrayInputStream(content), 16);
            assertThrows(UnsupportedAudioFileException.class, () -> reader.getAudioInputStream(stream), name);
            assertThrows(UnsupportedAudioFileException.class, () -> reader.getAudioFileFormat(stream), name);
            assertArrayEquals(content, stream.readAllBytes(), name);
            assertThrows(
                UnsupportedAudioFileException.class, () -> reader.getAudioInputStream(file.toFile()), name);
            assertThrows(
                UnsupportedAudioFileException.class, () -> reader.getAudioFileFormat(file.toFile()), name);
            assertThrows(UnsupportedAudioFileException.class,
                () -> reader.getAudioInputStream(file.toUri().toURL()), name);
        }
    }

    @Test
    void soundThatCannotBeDecodedIsUnsupported() {
        for (String name : new String[] {"encrypted.mp4", "video-only.mp4", "no-tables.m4a"}) {
            File file = TestMedia.file(name).toFile();
            assertThrows(
                UnsupportedAudioFileException.class, () -> AudioSystem.getAudioInputStream(file), name);
            assertThrows(
                UnsupportedAudioFileException.class, () -> AudioSystem.getAudioFileFormat(file), name);
        }
    }

    /** Its bytes are used up, so no other reader may try: the reason is told as it is. */
    @Test
    void streamThatCannotBeDecodedTellsWhy() throws Exception {
        try (InputStream stream =
                 new BufferedInputStream(new FileInputStream(TestMedia.file("encrypted.mp4").toFile()))) {
            AudioException refused =
                assertThrows(AudioException.class, () -> AudioSystem.getAudioInputStream(stream));
            assertEquals(-206, refused.platformCode());
        }
    }

    @Test
    void streamWithoutMarkIsNotTouched() throws Exception {
        AACAudioFileReader reader = new AACAudioFileReader();
        try (InputStream stream = new FileInputStream(TestMedia.TONE.toFile())) {
            assertThrows(UnsupportedAudioFileException.class, () -> reader.getAudioInputStream(stream));
            assertArrayEquals(Files.readAllBytes(TestMedia.TONE), stream.readAllBytes());
        }
    }

    @Test
    void missingFileIsNoUnsupportedOne() {
        File missing = folder.resolve("missing.m4a").toFile();
        assertThrows(IOException.class, () -> AudioSystem.getAudioInputStream(missing));
    }

    @Test
    void closingTheSoundClosesTheFile() throws Exception {
        AudioInputStream sound = AudioSystem.getAudioInputStream(TestMedia.TONE.toFile());
        assertNotEquals(-1, sound.read(new byte[4]));
        sound.close();
        assertThrows(IOException.class, () -> sound.read(new byte[4]));
    }
}

package com.mirtal;

import static org.junit.jupiter.api.Assertions.assertArrayEquals;
import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertFalse;
import static org.junit.jupiter.api.Assertions.assertInstanceOf;
import static org.junit.jupiter.api.Assertions.assertThrows;
import static org.junit.jupiter.api.Assertions.assertTrue;

import java.io.ByteArrayOutputStream;
import java.io.IOException;
import java.io.InterruptedIOException;
import java.io.OutputStream;
import java.nio.ByteBuffer;
import java.nio.ByteOrder;
import java.nio.file.Files;
import java.nio.file.Path;
import java.util.ArrayList;
import java.util.Arrays;
import java.util.List;
import java.util.concurrent.CountDownLatch;
import java.util.concurrent.atomic.AtomicReference;
import javax.sound.sampled.AudioFormat;
import javax.sound.sampled.AudioInputStream;
import org.junit.jupiter.api.Test;
import org.junit.jupiter.api.io.TempDir;

class WavSourceTest {
    @TempDir Path folder;

    @Test
    void describesTheFile() throws Exception {
        try (WavSource source = WavSource.open(TestMedia.TONE)) {
            assertEquals(176444, source.length());
            assertEquals(44100, source.frameCount());
            assertEquals(44, source.headerLength());
            assertEquals(new SoundFormat("AAC LC", source.format().container(), 44100, 2), source.format());
            assertFalse(source.format().container().isEmpty());
            assertTrue(source.format().hasSound());
            assertTrue(source.audioFormat().matches(new AudioFormat(44100, 16, 2, true, false)));
        }
    }

    @Test
    void streamIsThatOfTheCommandLine() throws Exception {
        for (Path file : TestMedia.all()) {
            try (WavSource source = WavSource.open(file.toString())) {
                byte[] stream = source.openStream().readAllBytes();
                assertEquals(source.length(), stream.length, file.toString());
                assertEquals(
                    source.headerLength() + 4 * source.frameCount(), source.length(), file.toString());
                assertArrayEquals(TestMedia.convertedByCommandLine(file), stream, file.toString());
            }
        }
    }

    @Test
    void fileWithoutSoundIsSilence() throws Exception {
        try (WavSource source = WavSource.open(TestMedia.file("video-only.mp4"))) {
            assertFalse(source.format().hasSound());
            assertEquals(0, source.format().channelCount());
            byte[] sound = source.openStream(44, source.length() - 1).readAllBytes();
            assertArrayEquals(new byte[44100 * 4], sound);
        }
    }

    @Test
    void streamOverFourGigabytesHasTheLongHeader() throws Exception {
        try (WavSource source = WavSource.open(TestMedia.file("huge-8000-mono.aac"))) {
            assertEquals(1090519040L, source.frameCount());
            assertEquals(80, source.headerLength());
            assertEquals(80 + 1090519040L * 4, source.length());
            byte[] header = source.openStream(0, 79).readAllBytes();
            assertEquals("RF64", new String(header, 0, 4));
            assertEquals(1090519040L * 4, ByteBuffer.wrap(header).order(ByteOrder.LITTLE_ENDIAN).getLong(28));
            WavInputStream stream = source.openStream();
            assertEquals(Integer.MAX_VALUE, stream.available());
            assertEquals(source.length() - 8, stream.skip(source.length() - 8));
            assertArrayEquals(new byte[8], stream.readAllBytes());
        }
    }

    @Test
    void skipsAndMarksAnywhere() throws Exception {
        try (WavSource source = WavSource.open(TestMedia.TONE)) {
            byte[] whole = source.openStream().readAllBytes();
            WavInputStream stream = source.openStream(10, 100_009);
            assertEquals(100_000, stream.available());
            assertEquals(0, stream.skip(-5));
            assertEquals(50_000, stream.skip(50_000));
            assertEquals(whole[50_010] & 0xFF, stream.read());
            stream.mark(1);
            assertEquals(49_999, stream.skip(Long.MAX_VALUE));
            assertEquals(0, stream.available());
            assertEquals(0, stream.skip(1));
            assertEquals(-1, stream.read());
            assertEquals(-1, stream.read(new byte[10]));
            assertEquals(0, stream.read(new byte[10], 5, 0));
            stream.reset();
            assertArrayEquals(Arrays.copyOfRange(whole, 50_011, 100_010), stream.readAllBytes());
            WavInputStream unmarked = source.openStream(7, 9);
            unmarked.skip(2);
            unmarked.reset();
            assertArrayEquals(Arrays.copyOfRange(whole, 7, 10), unmarked.readAllBytes());
        }
    }

    @Test
    void readsIntoAPartOfAnArray() throws Exception {
        try (WavSource source = WavSource.open(TestMedia.TONE)) {
            byte[] whole = source.openStream().readAllBytes();
            byte[] bytes = new byte[300_000];
            Arrays.fill(bytes, (byte) 0x55);
            assertEquals(176444, source.openStream().read(bytes, 100, 200_000));
            assertArrayEquals(whole, Arrays.copyOfRange(bytes, 100, 100 + 176444));
            assertEquals(0x55, bytes[99]);
            assertEquals(0x55, bytes[100 + 176444]);
            WavInputStream stream = source.openStream();
            assertThrows(IndexOutOfBoundsException.class, () -> stream.read(bytes, -1, 5));
            assertThrows(IndexOutOfBoundsException.class, () -> stream.read(bytes, 0, -1));
            assertThrows(IndexOutOfBoundsException.class, () -> stream.read(bytes, 299_999, 2));
            assertThrows(NullPointerException.class, () -> stream.read(null, 0, 1));
        }
    }

    @Test
    void streamsOnOneSourceAreIndependent() throws Exception {
        try (WavSource source = WavSource.open(TestMedia.file("sweep-44100-stereo.m4a"))) {
            byte[] whole = source.openStream().readAllBytes();
            WavInputStream left = source.openStream();
            WavInputStream right = source.openStream(300_000, source.length() - 1);
            for (int i = 0; i < 20; i++) {
                assertArrayEquals(
                    Arrays.copyOfRange(whole, i * 1000, i * 1000 + 1000), left.readNBytes(1000));
                assertArrayEquals(Arrays.copyOfRange(whole, 300_000 + i * 1000, 301_000 + i * 1000),
                    right.readNBytes(1000));
            }
            left.close();
            assertThrows(IOException.class, left::read);
            assertTrue(right.read() >= 0);
        }
    }

    @Test
    void rangesOutsideAreRefused() throws Exception {
        try (WavSource source = WavSource.open(TestMedia.TONE)) {
            long length = source.length();
            assertThrows(IndexOutOfBoundsException.class, () -> source.openStream(-1, 5));
            assertThrows(IndexOutOfBoundsException.class, () -> source.openStream(0, length));
            assertThrows(IndexOutOfBoundsException.class, () -> source.openStream(0, Long.MAX_VALUE));
            assertThrows(IndexOutOfBoundsException.class, () -> source.openStream(5, 3));
            assertThrows(IndexOutOfBoundsException.class, () -> source.openStream(length + 1, length));
            assertThrows(
                IndexOutOfBoundsException.class, () -> source.openStream(Long.MIN_VALUE, Long.MIN_VALUE));
            assertEquals(-1, source.openStream(5, 4).read());
            assertEquals(-1, source.openStream(0, -1).read());
            assertEquals(-1, source.openStream(length, length - 1).read());
            assertEquals(length, source.openStream(0, length - 1).available());
        }
    }

    @Test
    void audioStreamHasTheExactLength() throws Exception {
        try (WavSource source = WavSource.open(TestMedia.file("odd-44100-stereo.m4a"));
             AudioInputStream sound = source.openAudioStream()) {
            assertEquals(54321, sound.getFrameLength());
            byte[] whole = source.openStream().readAllBytes();
            assertArrayEquals(Arrays.copyOfRange(whole, 44, whole.length), sound.readAllBytes());
        }
    }

    @Test
    void writesAndTellsOfIt() throws Exception {
        try (WavSource source = WavSource.open(TestMedia.file("sweep-44100-stereo.m4a"))) {
            ByteArrayOutputStream out = new ByteArrayOutputStream();
            List<Long> heard = new ArrayList<>();
            assertEquals(source.length(), source.writeTo(out, (written, total) -> {
                assertEquals(source.length(), total);
                assertEquals(out.size(), written);
                heard.add(written);
            }));
            assertArrayEquals(source.openStream().readAllBytes(), out.toByteArray());
            assertEquals(source.length(), heard.get(heard.size() - 1));
            assertTrue(heard.size() > 3, "several parts: " + heard);
            assertEquals(source.length(), source.writeTo(OutputStream.nullOutputStream(), null));
        }
    }

    @Test
    void failureOfTheReceiverSurfaces() throws Exception {
        IOException full = new IOException("disk full");
        try (WavSource source = WavSource.open(TestMedia.TONE)) {
            OutputStream out = new OutputStream() {
                @Override
                public void write(int value) throws IOException {
                    throw full;
                }
            };
            assertEquals(full, assertThrows(IOException.class, () -> source.writeTo(out, null)));
        }
    }

    @Test
    void cancelEndsWritingOnAnotherThread() throws Exception {
        try (WavSource source = WavSource.open(TestMedia.LONG)) {
            CountDownLatch writing = new CountDownLatch(1);
            AtomicReference<Throwable> thrown = new AtomicReference<>();
            Thread writer = new Thread(() -> {
                try {
                    source.writeTo(OutputStream.nullOutputStream(), (written, total) -> writing.countDown());
                } catch (Throwable failure) {
                    thrown.set(failure);
                }
            });
            writer.start();
            writing.await();
            source.cancel();
            writer.join();
            InterruptedIOException stopped = assertInstanceOf(InterruptedIOException.class, thrown.get());
            assertEquals("cancelled", stopped.getMessage());
            assertTrue(stopped.bytesTransferred > 0 && stopped.bytesTransferred < source.length());
            assertThrows(InterruptedIOException.class, () -> source.openStream().read());
        }
    }

    @Test
    void interruptEndsReadingAndStaysSet() throws Exception {
        try (WavSource source = WavSource.open(TestMedia.LONG)) {
            AtomicReference<Throwable> thrown = new AtomicReference<>();
            boolean[] isSet = {false};
            CountDownLatch writing = new CountDownLatch(1);
            Thread writer = new Thread(() -> {
                try {
                    source.writeTo(OutputStream.nullOutputStream(), (written, total) -> writing.countDown());
                } catch (Throwable failure) {
                    thrown.set(failure);
                }
                isSet[0] = Thread.currentThread().isInterrupted();
            });
            writer.start();
            writing.await();
            writer.interrupt();
            writer.join();
            assertEquals(
                "interrupted", assertInstanceOf(InterruptedIOException.class, thrown.get()).getMessage());
            assertTrue(isSet[0]);
            assertTrue(source.openStream().read() >= 0, "other threads read on");
        }
    }

    @Test
    void closedIsClosed() throws Exception {
        WavSource source = WavSource.open(TestMedia.TONE);
        WavInputStream stream = source.openStream();
        Damage damage = source.damage();
        source.close();
        source.close();
        assertEquals("closed", assertThrows(IOException.class, stream::read).getMessage());
        assertEquals("closed", assertThrows(IOException.class, source::openStream).getMessage());
        assertEquals("closed", assertThrows(IOException.class, () -> source.openStream(0, 1)).getMessage());
        assertEquals("closed", assertThrows(IOException.class, source::openAudioStream).getMessage());
        assertThrows(IOException.class, () -> source.writeTo(OutputStream.nullOutputStream(), null));
        assertEquals(176444, source.length());
        assertEquals("AAC LC", source.format().codec());
        assertEquals(damage, source.damage());
    }

    @Test
    void closeIsSafeAgainstReaders() throws Exception {
        for (int round = 0; round < 50; round++) {
            WavSource source = WavSource.open(TestMedia.LONG);
            List<Thread> readers = new ArrayList<>();
            List<String> ends = java.util.Collections.synchronizedList(new ArrayList<>());
            CountDownLatch reading = new CountDownLatch(4);
            for (int i = 0; i < 4; i++) {
                long first = i * 40_000_000L;
                Thread reader = new Thread(() -> {
                    try {
                        byte[] bytes = new byte[5000];
                        WavInputStream stream = source.openStream(first, source.length() - 1);
                        for (boolean isFirst = true;; isFirst = false) {
                            stream.read(bytes);
                            if (isFirst) {
                                reading.countDown();
                            }
                        }
                    } catch (IOException end) {
                        ends.add(end.getMessage());
                    }
                });
                readers.add(reader);
                reader.start();
            }
            reading.await();
            Thread closer = new Thread(source::close);
            closer.start();
            source.close();
            closer.join();
            for (Thread reader : readers) {
                reader.join();
            }
            assertEquals(List.of("closed", "closed", "closed", "closed"), ends);
        }
    }

    @Test
    void forgottenSourcesAreCleaned() throws Exception {
        long before = openDescriptors();
        for (int i = 0; i < 100; i++) {
            WavSource.open(TestMedia.TONE).openStream().read();
        }
        for (int i = 0; i < 3000 && openDescriptors() > before; i++) {
            System.gc();
            Thread.sleep(20);
        }
        assertTrue(openDescriptors() <= before, "descriptors: " + before + ", then " + openDescriptors());
    }

    private static long openDescriptors() throws IOException {
        try (var descriptors = Files.list(Path.of("/proc/self/fd"))) {
            return descriptors
                .filter(file -> {
                    try {
                        return Files.readSymbolicLink(file).toString().endsWith(".m4a");
                    } catch (IOException gone) {
                        return false;
                    }
                })
                .count();
        }
    }

    @Test
    void damageIsTold() throws Exception {
        try (WavSource source = WavSource.open(TestMedia.TONE)) {
            source.writeTo(OutputStream.nullOutputStream(), null);
            assertFalse(source.damage().isAny());
            assertEquals(45, source.damage().packetCount());
        }
        try (WavSource source = WavSource.open(TestMedia.file("damaged.m4a"))) {
            byte[] stream = source.openStream().readAllBytes();
            assertEquals(176444, stream.length);
            assertTrue(source.damage().isAny());
            assertEquals(1, source.damage().damagedPacketCount());
            assertEquals(1024, source.damage().silencedFrameCount());
            byte[] lost = Arrays.copyOfRange(stream, 44 + 19456 * 4, 44 + 20480 * 4);
            assertArrayEquals(new byte[4096], lost);
        }
    }

    @Test
    void refusalsHaveTypesAndCodes() throws Exception {
        Path missing = folder.resolve("missing.m4a");
        AudioFileNotFoundException gone =
            assertThrows(AudioFileNotFoundException.class, () -> WavSource.open(missing));
        assertEquals(-43, gone.platformCode());
        assertEquals(missing.toString(), gone.path());
        assertEquals(missing + ": no such file or folder (platform status -43)", gone.getMessage());
        assertEquals(-120,
            assertThrows(
                AudioFileNotFoundException.class, () -> WavSource.open(folder.resolve("none/song.m4a")))
                .platformCode());
        assertThrows(AudioFileNotFoundException.class, () -> WavSource.open(""));
        assertThrows(AudioFileNotFoundException.class, () -> WavSource.open(TestMedia.TONE + "\0.txt"));
        assertThrows(AudioFileNotFoundException.class, () -> WavSource.open("\uD800.m4a"));
        AudioException noFile = assertThrows(AudioException.class, () -> WavSource.open(folder));
        assertEquals(folder + ": is a folder (platform status -1302)", noFile.getMessage());
        AudioException device = assertThrows(AudioException.class, () -> WavSource.open("/dev/null"));
        assertEquals("/dev/null: is no regular file (platform status -1409)", device.getMessage());

        UnsupportedAudioException words =
            assertThrows(UnsupportedAudioException.class, () -> WavSource.open(TestMedia.file("words.m4a")));
        assertEquals(-2003, words.platformCode());
        assertThrows(UnsupportedAudioException.class, () -> WavSource.open(TestMedia.file("empty.m4a")));
        UnsupportedAudioException encrypted = assertThrows(
            UnsupportedAudioException.class, () -> WavSource.open(TestMedia.file("encrypted.mp4")));
        assertEquals(-206, encrypted.platformCode());
        DamagedAudioException headless =
            assertThrows(DamagedAudioException.class, () -> WavSource.open(TestMedia.file("no-tables.m4a")));
        assertEquals(-2010, headless.platformCode());
        assertEquals("path",
            assertThrows(NullPointerException.class, () -> WavSource.open((String) null)).getMessage());
        assertEquals("path",
            assertThrows(NullPointerException.class, () -> WavSource.open((Path) null)).getMessage());
    }

    @Test
    void pathOfAnotherFileSystemIsRefused() throws Exception {
        Path zip = folder.resolve("songs.zip");
        try (var files = java.nio.file.FileSystems.newFileSystem(zip, java.util.Map.of("create", "true"))) {
            Path inside = files.getPath("/song.m4a");
            Files.copy(TestMedia.TONE, inside);
            assertThrows(AudioFileNotFoundException.class, () -> WavSource.open(inside));
        }
    }

    @Test
    void aStatusWithoutWordsIsShownAsItsNumber() {
        assertEquals(
            "x: it cannot be read (platform status -36)", AudioException.of("x", -36, "").getMessage());
    }

    @Test
    void everyKindOfStatusHasItsException() {
        for (int code : new int[] {-43, -120, -35, -37}) {
            assertInstanceOf(AudioFileNotFoundException.class, AudioException.of("x", code, ""));
        }
        for (int code : new int[] {-54, -5000}) {
            assertInstanceOf(AudioAccessDeniedException.class, AudioException.of("x", code, ""));
        }
        for (int code : new int[] {-2003, -2030, -2062, -8961, -206}) {
            assertInstanceOf(UnsupportedAudioException.class, AudioException.of("x", code, "no decoder"));
        }
        for (int code : new int[] {-2010, -39, -50}) {
            assertInstanceOf(DamagedAudioException.class, AudioException.of("x", code, ""));
        }
        assertEquals("a/x.m4a: the tables end early (platform status -2010)",
            AudioException.of("a/x.m4a", -2010, "the tables end early").getMessage());
    }
}

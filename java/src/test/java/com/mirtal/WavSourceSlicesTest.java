package com.mirtal;

import static org.junit.jupiter.api.Assertions.assertArrayEquals;
import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertFalse;
import static org.junit.jupiter.api.Assertions.assertSame;
import static org.junit.jupiter.api.Assertions.assertThrows;
import static org.junit.jupiter.api.Assertions.assertTrue;

import java.io.IOException;
import java.io.InterruptedIOException;
import java.io.OutputStream;
import java.nio.ByteBuffer;
import java.nio.ByteOrder;
import java.nio.charset.StandardCharsets;
import java.nio.file.Path;
import java.util.Arrays;
import java.util.List;
import java.util.Random;
import javax.sound.sampled.AudioInputStream;
import org.junit.jupiter.api.Test;

class WavSourceSlicesTest {
    /** The header as the format's table has it. */
    private static byte[] header(int rateHz, int frameCount) {
        ByteBuffer bytes = ByteBuffer.allocate(44).order(ByteOrder.LITTLE_ENDIAN);
        bytes.put("RIFF".getBytes(StandardCharsets.US_ASCII)).putInt(frameCount * 4 + 36);
        bytes.put("WAVEfmt ".getBytes(StandardCharsets.US_ASCII)).putInt(16);
        bytes.putShort((short) 1).putShort((short) 2).putInt(rateHz).putInt(rateHz * 4);
        bytes.putShort((short) 4).putShort((short) 16);
        bytes.put("data".getBytes(StandardCharsets.US_ASCII)).putInt(frameCount * 4);
        return bytes.array();
    }

    private static byte[] expected(byte[] whole, int rateHz, int firstFrame, int endFrame) {
        byte[] slice = Arrays.copyOf(header(rateHz, endFrame - firstFrame), 44 + (endFrame - firstFrame) * 4);
        System.arraycopy(whole, 44 + firstFrame * 4, slice, 44, slice.length - 44);
        return slice;
    }

    @Test
    void aSliceIsAStreamOfItsOwn() throws Exception {
        for (String name : List.of("sweep-44100-stereo.m4a", "tone-8000-mono.m4a", "tone.mp3", "tone.ts")) {
            Path file = TestMedia.file(name);
            byte[] whole = TestMedia.convertedByCommandLine(file);
            int frames = (whole.length - 44) / 4;
            Random random = new Random(name.hashCode());
            try (WavSource source = WavSource.open(file)) {
                int rate = (int) source.audioFormat().getFrameRate();
                for (int i = 0; i < 30; i++) {
                    int first = random.nextInt(frames + 1);
                    int end = first + random.nextInt(frames - first + 1);
                    WavSource slice = source.slice(first, end);
                    byte[] bytes = expected(whole, rate, first, end);
                    assertEquals(bytes.length, slice.length());
                    assertEquals(end - first, slice.frameCount());
                    assertEquals(44, slice.headerLength());
                    assertArrayEquals(bytes, slice.openStream().readAllBytes(), name + first + " to " + end);
                    int from = random.nextInt(bytes.length);
                    int to = from + random.nextInt(bytes.length - from);
                    assertArrayEquals(Arrays.copyOfRange(bytes, from, to + 1),
                        slice.openStream(from, to).readAllBytes(), name + first + " to " + end);
                }
            }
        }
    }

    @Test
    void allAndNothing() throws Exception {
        try (WavSource source = WavSource.open(TestMedia.TONE)) {
            byte[] whole = source.openStream().readAllBytes();
            assertArrayEquals(whole, source.slice(0, 44100).openStream().readAllBytes());
            for (int frame : new int[] {0, 1, 44099, 44100}) {
                assertArrayEquals(
                    header(44100, 0), source.slice(frame, frame).openStream().readAllBytes(), "at " + frame);
            }
            assertEquals(source.format(), source.slice(5, 6).format());
            assertTrue(source.audioFormat().matches(source.slice(5, 6).audioFormat()));
        }
    }

    @Test
    void slicesOfSlices() throws Exception {
        try (WavSource source = WavSource.open(TestMedia.TONE)) {
            byte[] whole = source.openStream().readAllBytes();
            WavSource slice = source.slice(1000, 5000).slice(10, 3000);
            assertArrayEquals(expected(whole, 44100, 1010, 4000), slice.openStream().readAllBytes());
            assertThrows(IndexOutOfBoundsException.class, () -> slice.slice(0, 2991));
            WavSource inner = slice.slice(0, 2990);
            slice.close();
            assertThrows(IOException.class, inner::openStream);
        }
    }

    @Test
    void framesOutsideAreRefused() throws Exception {
        try (WavSource source = WavSource.open(TestMedia.TONE)) {
            assertThrows(IndexOutOfBoundsException.class, () -> source.slice(-1, 5));
            assertThrows(IndexOutOfBoundsException.class, () -> source.slice(5, 4));
            assertThrows(IndexOutOfBoundsException.class, () -> source.slice(0, 44101));
            assertThrows(IndexOutOfBoundsException.class, () -> source.slice(44101, 44101));
            assertThrows(IndexOutOfBoundsException.class, () -> source.slice(0, Long.MAX_VALUE));
            assertThrows(IndexOutOfBoundsException.class, () -> source.slice(Long.MIN_VALUE, 0));
        }
    }

    @Test
    void audioStreamAndWriting() throws Exception {
        try (WavSource source = WavSource.open(TestMedia.TONE)) {
            byte[] whole = source.openStream().readAllBytes();
            WavSource slice = source.slice(100, 40_100);
            try (AudioInputStream sound = slice.openAudioStream()) {
                assertEquals(40_000, sound.getFrameLength());
                assertArrayEquals(Arrays.copyOfRange(whole, 444, 160_444), sound.readAllBytes());
            }
            assertEquals(160_044, slice.writeTo(OutputStream.nullOutputStream(),
                                      (written, total) -> assertEquals(160_044, total)));
        }
    }

    @Test
    void closingASliceLeavesTheSource() throws Exception {
        try (WavSource source = WavSource.open(TestMedia.TONE)) {
            WavSource slice = source.slice(0, 100);
            WavSource other = source.slice(0, 100);
            WavInputStream stream = slice.openStream();
            slice.close();
            slice.close();
            assertEquals("closed", assertThrows(IOException.class, stream::read).getMessage());
            assertEquals("closed", assertThrows(IOException.class, slice::openStream).getMessage());
            assertEquals("closed", assertThrows(IOException.class, () -> slice.slice(0, 1)).getMessage());
            assertEquals(444, slice.length());
            assertEquals(444, other.openStream().readAllBytes().length);
            assertEquals(176_444, source.openStream().readAllBytes().length);
        }
    }

    @Test
    void closingTheSourceEndsItsSlices() throws Exception {
        WavSource source = WavSource.open(TestMedia.TONE);
        WavSource slice = source.slice(0, 100);
        WavInputStream stream = slice.openStream();
        assertEquals('R', stream.read());
        source.close();
        assertEquals("closed", assertThrows(IOException.class, stream::read).getMessage());
        assertEquals("closed", assertThrows(IOException.class, slice::openStream).getMessage());
        assertEquals("closed", assertThrows(IOException.class, () -> source.slice(0, 1)).getMessage());
        slice.close();
    }

    @Test
    void cancellingASliceLeavesTheSource() throws Exception {
        try (WavSource source = WavSource.open(TestMedia.TONE)) {
            WavSource slice = source.slice(0, 100);
            slice.cancel();
            assertEquals("cancelled",
                assertThrows(InterruptedIOException.class, slice.openStream()::read).getMessage());
            assertEquals(176_444, source.openStream().readAllBytes().length);
            WavSource another = source.slice(0, 100);
            WavInputStream stream = another.openStream(60, 100);
            source.cancel();
            assertEquals("cancelled", assertThrows(InterruptedIOException.class, stream::read).getMessage());
        }
    }

    @Test
    void damageIsThatOfTheFile() throws Exception {
        try (WavSource source = WavSource.open(TestMedia.file("damaged.m4a"))) {
            WavSource before = source.slice(0, 1000);
            WavSource damaged = source.slice(19456, 20480);
            assertFalse(before.damage().isAny());
            assertArrayEquals(new byte[4096], damaged.openStream(44, 4139).readAllBytes());
            assertEquals(1, before.damage().damagedPacketCount());
            assertEquals(source.damage(), damaged.damage());
            source.close();
            assertEquals(1, damaged.damage().damagedPacketCount());
        }
    }

    @Test
    void aCutIsMetAtTheEnd() throws Exception {
        try (WavSource source = WavSource.open(TestMedia.file("truncated.wav"))) {
            assertFalse(source.damage().isAny());
            source.slice(22049, 22050).openStream().readAllBytes();
            assertEquals(1, source.damage().damagedPacketCount());
        }
    }

    @Test
    void theHeaderIsAsLongAsTheSliceNeeds() throws Exception {
        try (WavSource source = WavSource.open(TestMedia.file("huge-8000-mono.aac"))) {
            long frames = source.frameCount();
            assertEquals(80, source.headerLength());
            assertEquals(44, source.slice(frames - 1000, frames).headerLength());
            // 0xFFFFFFFF is the most that the size field behind "RIFF" can tell; it does not count itself.
            long most = (0xFFFFFFFFL + 8 - 44) / 4;
            assertEquals(44, source.slice(7, 7 + most).headerLength());
            WavSource longer = source.slice(7, 8 + most);
            assertEquals(80, longer.headerLength());
            assertEquals(80 + (most + 1) * 4, longer.length());
            ByteBuffer header = ByteBuffer.wrap(longer.openStream(0, 79).readAllBytes());
            header.order(ByteOrder.LITTLE_ENDIAN);
            assertEquals(most + 1, header.getLong(36));
            assertArrayEquals(new byte[8],
                longer.openStream(longer.length() - 8, longer.length() - 1).readAllBytes());
        }
    }

    private static WavSource sliceOfAForgottenSource() throws IOException {
        return WavSource.open(TestMedia.TONE).slice(10, 1000);
    }

    @Test
    void aSliceKeepsItsSourceOpen() throws Exception {
        WavSource slice = sliceOfAForgottenSource();
        NativeReader reader = slice.reader;
        for (int i = 0; i < 20; i++) {
            System.gc();
            Thread.sleep(10);
            assertTrue(TestMedia.openDescriptors(TestMedia.TONE) > 0);
        }
        assertEquals(44 + 990 * 4, slice.openStream().readAllBytes().length);
        assertSame(reader, slice.slice(0, 1).reader);
    }
}

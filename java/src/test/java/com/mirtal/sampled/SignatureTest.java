package com.mirtal.sampled;

import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertNull;

import java.nio.charset.StandardCharsets;
import java.util.Arrays;
import org.junit.jupiter.api.Test;

class SignatureTest {
    /** A frame of 16 bytes at 44100 Hz, without a checksum. */
    private static final byte[] FRAME = {
        (byte) 0xFF, (byte) 0xF1, 0x50, (byte) 0x80, 0x02, 0x1F, (byte) 0xFC, 0, 0, 0, 0, 0, 0, 0, 0, 0};

    @Test
    void atomsOfTheFamily() {
        for (String kind : new String[] {"ftyp", "moov", "mdat", "wide", "free", "skip", "pnot"}) {
            assertEquals(Signature.MPEG4, Signature.recognise(atom(24, kind)), kind);
        }
        assertEquals(Signature.MPEG4, Signature.recognise(atom(8, "wide")));
        assertEquals(Signature.MPEG4, Signature.recognise(atom(1, "mdat")));
        assertEquals(Signature.MPEG4, Signature.recognise(atom(0, "mdat")));
        assertEquals(Signature.MPEG4, Signature.recognise(atom(-1, "mdat")));
        assertNull(Signature.recognise(atom(7, "ftyp")));
        assertNull(Signature.recognise(atom(24, "jP  ")));
    }

    @Test
    void whatJavaReadsIsLeftToIt() {
        assertNull(Signature.recognise(text("RIFF\0\0\0\0WAVEfmt ")));
        assertNull(Signature.recognise(text("RF64\0\0\0\0WAVEds64")));
        assertNull(Signature.recognise(text("FORM\0\0\0\0AIFFCOMM")));
        assertNull(Signature.recognise(text("FORM\0\0\0\0AIFCFVER")));
        assertNull(Signature.recognise(text(".snd\0\0\0\30\0\0\0\0")));
        assertNull(Signature.recognise(text("MThd\0\0\0\6\0\0\0\0")));
        assertNull(Signature.recognise(text("fLaC\0\0\0\42")));
        assertNull(Signature.recognise(text("OggS\0\0\0\0\0\0\0\0")));
    }

    @Test
    void twoFramesInARow() {
        assertEquals(Signature.AAC, Signature.recognise(times(FRAME, 2)));
        assertEquals(Signature.AAC, Signature.recognise(times(FRAME, 100)));
        assertEquals(Signature.AAC, Signature.recognise(FRAME), "one frame, and nothing else");
        assertNull(Signature.recognise(Arrays.copyOf(FRAME, 15)), "less than one");
        assertNull(Signature.recognise(Arrays.copyOf(FRAME, 30)), "and something else");
        assertEquals(Signature.AAC, Signature.recognise(Arrays.copyOf(times(FRAME, 2), 23)),
            "the second header is enough");
        assertNull(Signature.recognise(Arrays.copyOf(times(FRAME, 2), 22)));
    }

    @Test
    void brokenHeaders() {
        for (int[] change : new int[][] {{0, 0xFE}, {1, 0xF3}, {1, 0xE1}, {2, 0x74}, {4, 0x00}}) {
            byte[] frames = times(FRAME, 2);
            frames[change[0]] = (byte) change[1];
            assertNull(Signature.recognise(frames), "byte " + change[0]);
        }
    }

    @Test
    void tagBeforeTheFrames() {
        byte[] tag = text("ID3\4\0\0\0\0\1\2"
            + "x".repeat(130));
        assertEquals(Signature.AAC, Signature.recognise(joined(tag, times(FRAME, 2))));
        tag[5] = 0x10;
        assertEquals(Signature.AAC, Signature.recognise(joined(tag, new byte[10], times(FRAME, 2))));
        byte[] mp3 = {(byte) 0xFF, (byte) 0xFB, (byte) 0x90, 0x64, 0, 0, 0, 0};
        assertNull(Signature.recognise(joined(tag, new byte[10], mp3)));
        byte[] beyond = text("ID3\4\0\0\177\177\177\177");
        assertNull(Signature.recognise(joined(beyond, times(FRAME, 2))));
    }

    @Test
    void tooLittle() {
        assertNull(Signature.recognise(new byte[0]));
        assertNull(Signature.recognise(text("ftyp")));
        assertNull(Signature.recognise(Arrays.copyOf(atom(24, "ftyp"), 7)));
        assertNull(Signature.recognise(text("ID3\4\0\0\0\0\0")));
    }

    private static byte[] atom(int size, String kind) {
        return joined(new byte[] {(byte) (size >> 24), (byte) (size >> 16), (byte) (size >> 8), (byte) size},
            text(kind), new byte[16]);
    }

    private static byte[] text(String text) { return text.getBytes(StandardCharsets.ISO_8859_1); }

    private static byte[] times(byte[] bytes, int count) {
        byte[][] all = new byte[count][];
        Arrays.fill(all, bytes);
        return joined(all);
    }

    private static byte[] joined(byte[]... parts) {
        var all = new java.io.ByteArrayOutputStream();
        for (byte[] part : parts) {
            all.writeBytes(part);
        }
        return all.toByteArray();
    }
}

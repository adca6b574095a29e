package com.mirtal.sampled;

import java.nio.charset.StandardCharsets;
import java.util.Set;
import javax.sound.sampled.AudioFileFormat;

/**
 * Tells by the first bytes whether a file is of the MPEG-4 family or raw AAC. Nothing else is claimed: what
 * Java reads itself, and what other readers are installed for, is left to them.
 */
final class Signature {
    /**
     * As many bytes of a file as are looked at: room for a tag with a small picture and two of the largest
     * frames.
     */
    static final int LOOK_BYTE_COUNT = 64 * 1024;

    static final AudioFileFormat.Type MPEG4 = new AudioFileFormat.Type("MPEG-4", "m4a");
    static final AudioFileFormat.Type AAC = new AudioFileFormat.Type("AAC", "aac");

    private static final Set<String> FIRST_ATOMS =
        Set.of("ftyp", "moov", "mdat", "wide", "free", "skip", "pnot");
    private static final int TAG_HEADER_BYTE_COUNT = 10;
    private static final int FRAME_HEADER_BYTE_COUNT = 7;
    private static final int RATE_COUNT = 13;

    private Signature() {}

    /**
     * The type of a file that starts with these bytes, which may be all it has; null when it is of neither
     * kind.
     */
    static AudioFileFormat.Type recognise(byte[] start) {
        if (isMPEG4(start)) {
            return MPEG4;
        }
        return isAAC(start, byteCountOfTag(start)) ? AAC : null;
    }

    private static boolean isMPEG4(byte[] start) {
        if (start.length < 8) {
            return false;
        }
        long size =
            (start[0] & 0xFFL) << 24 | (start[1] & 0xFF) << 16 | (start[2] & 0xFF) << 8 | start[3] & 0xFF;
        // 0: to the end of the file; 1: a 64-bit size follows.
        boolean isSize = size >= 8 || size <= 1;
        return isSize && FIRST_ATOMS.contains(new String(start, 4, 4, StandardCharsets.ISO_8859_1));
    }

    /** The bytes of an ID3 tag at the start, of version 2; 0 when there is none. */
    private static int byteCountOfTag(byte[] start) {
        if (start.length < TAG_HEADER_BYTE_COUNT || start[0] != 'I' || start[1] != 'D' || start[2] != '3') {
            return 0;
        }
        // Seven bits in each byte of the size.
        int content =
            (start[6] & 0x7F) << 21 | (start[7] & 0x7F) << 14 | (start[8] & 0x7F) << 7 | start[9] & 0x7F;
        int footer = (start[5] & 0x10) != 0 ? TAG_HEADER_BYTE_COUNT : 0;
        return TAG_HEADER_BYTE_COUNT + content + footer;
    }

    /**
     * Two frame headers in a row, or one frame that is the whole file: twelve set bits alone are found in
     * anything.
     */
    private static boolean isAAC(byte[] start, int at) {
        int frame = frameByteCount(start, at);
        if (frame == 0) {
            return false;
        }
        return start.length - at == frame || frameByteCount(start, at + frame) != 0;
    }

    /** What the frame header at a place says of the frame's length; 0 when there is no such header. */
    private static int frameByteCount(byte[] bytes, int at) {
        if (bytes.length - at < FRAME_HEADER_BYTE_COUNT) {
            return 0;
        }
        boolean isSync = (bytes[at] & 0xFF) == 0xFF && (bytes[at + 1] & 0xF6) == 0xF0;
        int rate = bytes[at + 2] >> 2 & 0xF;
        int length = (bytes[at + 3] & 3) << 11 | (bytes[at + 4] & 0xFF) << 3 | (bytes[at + 5] & 0xFF) >> 5;
        return isSync && rate < RATE_COUNT && length >= FRAME_HEADER_BYTE_COUNT ? length : 0;
    }
}

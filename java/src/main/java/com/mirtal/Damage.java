package com.mirtal;

/**
 * What was found damaged in a file so far. Opening finds some; decoding finds the rest, so the report is complete when
 * the whole stream has been read. A part that is read twice may count twice.
 *
 * @param packetCount        packets in the file
 * @param damagedPacketCount packets that were missing or could not be decoded, and became silence
 * @param silencedFrameCount frames of that silence
 * @param skippedByteCount   bytes of the file between packets that were no packets
 */
public record Damage(long packetCount, long damagedPacketCount, long silencedFrameCount, long skippedByteCount) {

    /**
     * Whether anything was found.
     *
     * @return false for a file with nothing wrong so far
     */
    public boolean isAny() {
        return damagedPacketCount != 0 || silencedFrameCount != 0 || skippedByteCount != 0;
    }
}

package com.mirtal;

import static org.junit.jupiter.api.Assertions.assertArrayEquals;
import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertFalse;
import static org.junit.jupiter.api.Assertions.assertSame;
import static org.junit.jupiter.api.Assertions.assertThrows;
import static org.junit.jupiter.api.Assertions.assertTrue;

import java.io.InterruptedIOException;
import java.nio.file.Path;
import org.junit.jupiter.api.Test;

class WavOpeningTest {
    private static final Path TWO_SOUNDS = TestMedia.file("two-sounds.m4a");

    @Test
    void theUsualWay() throws Exception {
        try (WavSource plain = WavSource.open(TestMedia.TONE);
             WavSource byPath = WavSource.opening(TestMedia.TONE).open();
             WavSource byText = WavSource.opening(TestMedia.TONE.toString()).open()) {
            byte[] stream = plain.openStream().readAllBytes();
            assertArrayEquals(stream, byPath.openStream().readAllBytes());
            assertArrayEquals(stream, byText.openStream().readAllBytes());
        }
    }

    @Test
    void anotherSoundTrack() throws Exception {
        WavOpening opening = WavSource.opening(TWO_SOUNDS);
        try (WavSource usual = opening.open();
             WavSource first = opening.soundTrack(1).open();
             WavSource second = opening.soundTrack(2).open()) {
            assertEquals(44100, usual.frameCount());
            assertEquals(2, usual.format().channelCount());
            assertArrayEquals(usual.openStream().readAllBytes(), first.openStream().readAllBytes());
            // Mono, and twice as long.
            assertEquals(88200, second.frameCount());
            assertEquals(1, second.format().channelCount());
            byte[] sound = second.openStream(44, second.length() - 1).readAllBytes();
            boolean isSilent = true;
            for (int at = 0; at < sound.length; at += 4) {
                assertEquals(sound[at], sound[at + 2]);
                assertEquals(sound[at + 1], sound[at + 3]);
                isSilent &= sound[at] == 0;
            }
            assertFalse(isSilent);
        }
    }

    @Test
    void soundTracksThatAreNotThere() throws Exception {
        UnsupportedAudioException beyond = assertThrows(
            UnsupportedAudioException.class, () -> WavSource.opening(TWO_SOUNDS).soundTrack(3).open());
        assertEquals(-2030, beyond.platformCode());
        assertEquals(TWO_SOUNDS + ": there is no sound track 3, the file has 2 (platform status -2030)",
            beyond.getMessage());
        for (String name : new String[] {"tone-44100-stereo.aac", "tone.mp3"}) {
            Path file = TestMedia.file(name);
            assertThrows(
                UnsupportedAudioException.class, () -> WavSource.opening(file).soundTrack(2).open());
            WavSource.opening(file).soundTrack(1).open().close();
        }
        assertThrows(IllegalArgumentException.class, () -> WavSource.opening(TWO_SOUNDS).soundTrack(0));
        assertThrows(IllegalArgumentException.class, () -> WavSource.opening(TWO_SOUNDS).soundTrack(-1));
        assertThrows(AudioFileNotFoundException.class, () -> WavSource.opening("nowhere.m4a").open());
        assertThrows(NullPointerException.class, () -> WavSource.opening((Path) null));
        assertThrows(NullPointerException.class, () -> WavSource.opening((String) null));
    }

    @Test
    void cancelledForGood() throws Exception {
        WavOpening opening = WavSource.opening(TestMedia.TONE);
        try (WavSource before = opening.open()) {
            opening.cancel();
            for (int i = 0; i < 2; i++) {
                assertEquals("cancelled",
                    assertThrows(InterruptedIOException.class, opening::open).getMessage());
            }
            assertEquals(176_444, before.openStream().readAllBytes().length);
        }
    }

    @Test
    void interruptedThreadOpensNothing() throws Exception {
        Thread.currentThread().interrupt();
        InterruptedIOException stopped =
            assertThrows(InterruptedIOException.class, () -> WavSource.open(TestMedia.TONE));
        assertTrue(Thread.interrupted(), "the status stays set");
        assertEquals("interrupted", stopped.getMessage());
    }

    /** However far it has come, an opening ends with the first answer that says so, and leaves nothing. */
    @Test
    void openingStopsAtEveryPoint() throws Exception {
        for (String name : new String[] {"tone-44100-stereo.m4a", "tone-44100-stereo.aac", "tone.mp3",
                 "tone.flac", "tone-24000-mono.m4a", "with-video.mov"}) {
            Path file = TestMedia.file(name);
            byte[] path = FilePaths.bytesOf(file);
            NativeLibrary.load();
            boolean isOpen = false;
            for (int points = 0; !isOpen; points++) {
                int[] asked = {0};
                int last = points;
                try {
                    new NativeReader(name, path, 0, () -> ++asked[0] > last).run();
                    isOpen = true;
                    // A small MPEG-4 file is one read; MP3 and FLAC are looked at packet by packet.
                    assertTrue(points > (name.endsWith("3") || name.endsWith("flac") ? 10 : 0), name);
                    assertEquals(points, asked[0], name);
                } catch (PlatformFailure stopped) {
                    assertEquals(PlatformStatus.CANCELLED, stopped.code, name + " at " + points);
                    assertEquals(points + 1, asked[0], name);
                }
                assertEquals(0, TestMedia.openDescriptors(file), name + " at " + points);
            }
        }
    }

    @Test
    void whatTheQuestionThrowsIsThrown() throws Exception {
        NativeLibrary.load();
        IllegalStateException thrown = new IllegalStateException("asked");
        byte[] path = FilePaths.bytesOf(TestMedia.TONE);
        assertSame(thrown, assertThrows(IllegalStateException.class, () -> new NativeReader("x", path, 0, () -> {
            throw thrown;
        })));
        assertEquals(0, TestMedia.openDescriptors(TestMedia.TONE));
    }
}

package com.mirtal.examples;

import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertTrue;

import java.nio.file.Files;
import java.nio.file.Path;
import org.junit.jupiter.api.Test;
import org.junit.jupiter.api.io.TempDir;

/** The page of the media server in a real browser: it plays, and a seek lands where it should. */
class BrowserTest {
    private static final Path FIXTURES = Path.of(System.getProperty("mirtal.fixtures"));

    @TempDir
    Path folder;

    @Test
    void playsAndSeeks() throws Exception {
        Files.createSymbolicLink(folder.resolve("a sweep.m4a"), FIXTURES.resolve("sweep-44100-stereo.m4a"));
        Files.createSymbolicLink(folder.resolve("long.m4a"), FIXTURES.resolve("long.m4a"));
        Path profile = Files.createTempDirectory("browser");
        try (MediaServer server = new MediaServer(folder, 0); DevTools page = new DevTools(server.address(), profile)) {
            waitForPage(page);
            assertEquals("2", page.run("String(document.querySelectorAll('audio').length)"));
            assertPlays(page);
            assertSeeksInAFileTooLongToHold(page);
            assertSeekIsHeard(page);
        }
    }

    private static void waitForPage(DevTools page) throws Exception {
        String isThere = "String(document.readyState == 'complete' && document.querySelector('audio') != null)";
        for (;; Thread.sleep(50)) {
            try {
                if (page.run(isThere).equals("true")) {
                    return;
                }
            } catch (IllegalStateException navigating) {
                // The question was put to the empty page that the browser starts with, and went with it.
            }
        }
    }

    /** The first on the page: three seconds, by the length in the header. */
    private static void assertPlays(DevTools page) throws Exception {
        String[] played = page.run("""
                (async () => {
                    const audio = document.querySelectorAll('audio')[0];
                    await audio.play();
                    await new Promise(done => audio.addEventListener('timeupdate', () => {
                        if (audio.currentTime > 0.3) done();
                    }));
                    audio.pause();
                    return audio.duration + ' ' + audio.currentTime + ' ' + (audio.error ? audio.error.message : 'fine');
                })()""").split(" ");
        assertEquals(3.0, Double.parseDouble(played[0]), 0.001);
        assertTrue(Double.parseDouble(played[1]) > 0.3);
        assertEquals("fine", played[2]);
    }

    /** Half an hour is over 300 MB of WAV: the middle is asked for as a range, and not waited for. */
    private static void assertSeeksInAFileTooLongToHold(DevTools page) throws Exception {
        String[] sought = page.run("""
                (async () => {
                    const audio = document.querySelectorAll('audio')[1];
                    audio.preload = 'metadata';
                    audio.load();
                    await new Promise(done => audio.addEventListener('loadedmetadata', done));
                    const middle = audio.duration / 2;
                    audio.currentTime = middle;
                    await new Promise(done => audio.addEventListener('seeked', done));
                    await audio.play();
                    await new Promise(done => audio.addEventListener('timeupdate', () => {
                        if (audio.currentTime > middle + 0.2) done();
                    }));
                    audio.pause();
                    let start = -1;
                    for (let i = 0; i < audio.buffered.length; i++) start = Math.max(start, audio.buffered.start(i));
                    return audio.duration + ' ' + audio.currentTime + ' ' + start;
                })()""").split(" ");
        double duration = 86130688 / 48000.0;
        assertEquals(duration, Double.parseDouble(sought[0]), 0.001);
        assertEquals(duration / 2, Double.parseDouble(sought[1]), 5);
        assertTrue(Double.parseDouble(sought[2]) > duration / 4, "what is held begins near the middle: " + sought[2]);
    }

    /**
     * The sweep rises by 5000 Hz in each second from 50 Hz on: what is heard tells where it is. The browser decodes the
     * stream from the middle on, and the analyser looks at what comes out.
     */
    private static void assertSeekIsHeard(DevTools page) throws Exception {
        String[] heard = page.run("""
                (async () => {
                    const audio = document.querySelectorAll('audio')[0];
                    const context = new AudioContext();
                    const analyser = context.createAnalyser();
                    analyser.fftSize = 8192;
                    analyser.smoothingTimeConstant = 0;
                    context.createMediaElementSource(audio).connect(analyser);
                    analyser.connect(context.destination);
                    await context.resume();
                    audio.currentTime = 1.5;
                    await new Promise(done => audio.addEventListener('seeked', done, {once: true}));
                    const at = audio.currentTime;
                    await audio.play();
                    const levels = new Float32Array(analyser.frequencyBinCount);
                    for (let i = 0; i < 200; i++) {
                        await new Promise(done => setTimeout(done, 10));
                        analyser.getFloatFrequencyData(levels);
                        const peak = levels.indexOf(Math.max(...levels));
                        if (levels[peak] > -40) {
                            const now = audio.currentTime;
                            audio.pause();
                            return at + ' ' + now + ' ' + peak * context.sampleRate / analyser.fftSize;
                        }
                    }
                    return 'nothing heard';
                })()""").split(" ");
        assertEquals(3, heard.length, String.join(" ", heard));
        assertEquals(1.5, Double.parseDouble(heard[0]), 0.001);
        double now = Double.parseDouble(heard[1]);
        // The analyser lags by its window and the browser's buffers: up to 0.3 s of the sweep.
        assertEquals(50 + 5000 * now, Double.parseDouble(heard[2]), 1500, String.join(" ", heard));
    }
}

package com.mirtal;

import static org.junit.jupiter.api.Assertions.assertArrayEquals;
import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertFalse;
import static org.junit.jupiter.api.Assertions.assertNotEquals;
import static org.junit.jupiter.api.Assertions.assertNotSame;
import static org.junit.jupiter.api.Assertions.assertSame;
import static org.junit.jupiter.api.Assertions.assertTrue;

import java.nio.ByteBuffer;
import java.nio.ByteOrder;
import java.nio.file.Path;
import java.util.Arrays;
import java.util.Collections;
import java.util.IdentityHashMap;
import java.util.List;
import java.util.Set;
import org.junit.jupiter.api.Test;
import org.junit.jupiter.api.io.TempDir;

/** The entries with callbacks, as their callers know them. */
class CallbackEntriesTest {
    private static final int HEADER = 44;
    private static final int SECOND = 44100 * 4;

    @TempDir Path folder;

    @Test
    void lengthOfASecondIsKnown() {
        assertEquals(176444, new TestMedia.Collector().get_StreamLength(TestMedia.TONE.toString()));
    }

    @Test
    void lengthIsThatOfTheStream() throws Exception {
        for (Path file : TestMedia.all()) {
            byte[] stream = new TestMedia.WholeCollector().convert(file);
            assertEquals(
                stream.length, new TestMedia.Collector().get_StreamLength(file.toString()), file.toString());
        }
    }

    @Test
    void lengthWrapsAboveFourGigabytes() {
        long length = 1090519040L * 4 + HEADER;
        Path huge = TestMedia.file("huge-8000-mono.aac");
        assertEquals(length & 0xFFFF_FFFFL, new TestMedia.Collector().get_StreamLength(huge.toString()));
    }

    @Test
    void streamIsThatOfTheCommandLine() throws Exception {
        for (Path file : TestMedia.all()) {
            byte[] expected = TestMedia.convertedByCommandLine(file);
            assertArrayEquals(expected, new TestMedia.WholeCollector().convert(file), file.toString());
            assertArrayEquals(expected, new TestMedia.Collector().convert(file, 0, 0), file.toString());
        }
    }

    @Test
    void windowIsThatOfTheCommandLine() throws Exception {
        long[][] windows = {{10, 20}, {46, 0}, {0, 5}, {11, 11}, {44, 0}, {47, 1000}, {100_000, 200_000},
            {176_443, 0}, {176_444, 0}, {9_000_000, 0}, {25, 30}, {0, 4096}};
        for (long[] window : windows) {
            byte[] expected = TestMedia.convertedByCommandLine(
                TestMedia.TONE, "--start=" + window[0], "--duration=" + window[1]);
            byte[] stream = new TestMedia.Collector().convert(TestMedia.TONE, window[0], window[1]);
            assertArrayEquals(expected, stream, Arrays.toString(window));
        }
    }

    @Test
    void startBelowZeroIsZero() {
        byte[] whole = new TestMedia.Collector().convert(TestMedia.TONE, 0, 0);
        assertArrayEquals(whole, new TestMedia.Collector().convert(TestMedia.TONE, -1, 0));
        assertArrayEquals(whole, new TestMedia.Collector().convert(TestMedia.TONE, Long.MIN_VALUE, 0));
        assertArrayEquals(new TestMedia.Collector().convert(TestMedia.TONE, 0, 1000),
            new TestMedia.Collector().convert(TestMedia.TONE, -1000, 1000));
    }

    @Test
    void durationOfZeroOrLessIsToTheEnd() {
        TestMedia.Collector collector = new TestMedia.Collector();
        byte[] whole = collector.convert(TestMedia.TONE, 0, 0);
        assertEquals(List.of(HEADER, SECOND), collector.chunkLengths);
        assertEquals(176444, whole.length);
        assertEquals("RIFF", new String(whole, 0, 4));
        assertEquals(44100, ByteBuffer.wrap(whole).order(ByteOrder.LITTLE_ENDIAN).getInt(24));
        assertArrayEquals(whole, new TestMedia.Collector().convert(TestMedia.TONE, 0, -7));
    }

    /** The header's bytes 10 to 19, nine frames, padding to the announced 80 bytes. */
    @Test
    void windowInTheHeader() {
        TestMedia.Collector collector = new TestMedia.Collector();
        byte[] window = collector.convert(TestMedia.TONE, 10, 20);
        assertEquals(List.of(10, 36, 24), collector.chunkLengths);
        byte[] whole = new TestMedia.Collector().convert(TestMedia.TONE, 0, 0);
        assertArrayEquals(Arrays.copyOfRange(whole, 10, 20), Arrays.copyOf(window, 10));
        assertArrayEquals(Arrays.copyOfRange(whole, HEADER, HEADER + 36), Arrays.copyOfRange(window, 10, 46));
        assertArrayEquals(new byte[24], Arrays.copyOfRange(window, 46, 70));
    }

    @Test
    void startInsideAFrameGivesThatFrameFromItsStart() {
        byte[] whole = new TestMedia.Collector().convert(TestMedia.TONE, 0, 0);
        byte[] window = new TestMedia.Collector().convert(TestMedia.TONE, HEADER + 4 * 1000 + 2, 0);
        assertEquals(whole.length - HEADER - 4 * 1000 - 2, window.length);
        assertArrayEquals(
            Arrays.copyOfRange(whole, HEADER + 4 * 1000, HEADER + 4 * 1000 + window.length), window);
    }

    @Test
    void startBehindTheEndGivesNothing() {
        TestMedia.Collector collector = new TestMedia.Collector();
        assertEquals(0, collector.convert_AAC2WAV(TestMedia.TONE.toString(), 176_444, 0));
        assertEquals(0, collector.convert_AAC2WAV(TestMedia.TONE.toString(), Long.MAX_VALUE, 0));
        assertEquals(List.of(), collector.chunkLengths);
    }

    @Test
    void whatCannotBeOpenedGivesNothing() {
        for (String name : List.of("missing.m4a", "words.m4a", "empty.m4a", "no-tables.m4a")) {
            String path = TestMedia.file(name).toString();
            TestMedia.Collector collector = new TestMedia.Collector();
            assertEquals(0, collector.get_StreamLength(path), name);
            assertEquals(0, collector.convert_AAC2WAV(path, 0, 0), name);
            assertEquals(List.of(), collector.chunkLengths, name);
            TestMedia.WholeCollector whole = new TestMedia.WholeCollector();
            assertEquals(0, whole.convert_AAC2WAV(path), name);
            assertEquals(0, whole.stream.size(), name);
        }
        assertEquals(0, new TestMedia.Collector().get_StreamLength(""));
        assertEquals(0, new TestMedia.Collector().get_StreamLength(folder.toString()));
    }

    @Test
    void arrayIsOneForAConversionAndAnotherForTheNext() {
        Set<byte[]> arrays = Collections.newSetFromMap(new IdentityHashMap<>());
        Thread caller = Thread.currentThread();
        AAC2WAV converter = new AAC2WAV() {
            @Override
            protected void sendBuffer(byte[] data, int length) {
                assertEquals(262144, data.length);
                assertSame(caller, Thread.currentThread());
                arrays.add(data);
            }
        };
        converter.convert_AAC2WAV(TestMedia.file("sweep-44100-stereo.m4a").toString(), 0, 0);
        assertEquals(1, arrays.size());
        converter.convert_AAC2WAV(TestMedia.file("sweep-44100-stereo.m4a").toString(), 0, 0);
        assertEquals(2, arrays.size());
    }

    /** A converter may convert again from within its callback. */
    @Test
    void callbackMayConvert() {
        byte[] expected = new TestMedia.WholeCollector().convert(TestMedia.TONE);
        byte[][] inner = new byte[1][];
        new AAC2WAV_Converter() {
            @Override
            protected void writeBuffer(byte[] data, int length) {
                byte[] before = data.clone();
                inner[0] = new TestMedia.WholeCollector().convert(TestMedia.TONE);
                assertNotSame(before, data);
                assertArrayEquals(before, data);
            }
        }.convert_AAC2WAV(TestMedia.TONE.toString());
        assertArrayEquals(expected, inner[0]);
    }

    /** The callback is found on the class of the object, also when a class between overrides it. */
    @Test
    void callbackOfTheMostDerivedClassIsCalled() {
        class Derived extends CallCounter {
            int own;

            @Override
            protected void sendBuffer(byte[] data, int length) {
                own++;
            }
        }
        Derived derived = new Derived();
        derived.convert_AAC2WAV(TestMedia.TONE.toString(), 0, 0);
        assertEquals(2, derived.own);
        assertEquals(0, derived.calls);
    }

    private static class CallCounter extends AAC2WAV {
        int calls;

        @Override
        protected void sendBuffer(byte[] data, int length) {
            calls++;
        }
    }

    /** In a runtime of its own, whose every word is read: it would warn of natives that go on with one pending. */
    @Test
    void exceptionsOfTheCallbackSurface() throws Exception {
        ChildJava child = ChildJava.withJar().option("-Xcheck:jni");
        ChildJava.Result result = child.environment(java.util.Map.of("XDG_CACHE_HOME", folder.toString()))
                                      .run("com.mirtal.ThrowingCallbacks");
        assertEquals("all as expected\n", result.output());
        assertEquals(0, result.exitCode());
    }

    /**
     * The Java runtime fails as it does on a null method id: nothing of ours stands in its way, and nothing
     * returns.
     */
    @Test
    void classWithoutTheCallbackFailsInTheRuntime() throws Exception {
        Path classes = Path.of(System.getProperty("mirtal.callbackless.classes"));
        for (String which : List.of("windowed", "whole")) {
            ChildJava child =
                ChildJava.withClassPath(classes.toString())
                    .option("-Djava.library.path=" + TestMedia.property("com.mirtal.library.path"))
                    .option("-XX:ErrorFile=" + folder.resolve("error.log"));
            ChildJava.Result result = child.run("com.mirtal.Callbackless", which, TestMedia.TONE.toString());
            assertNotEquals(0, result.exitCode(), result.output());
            assertFalse(result.output().contains("returned"), result.output());
            boolean isNoSuchMethod = result.output().contains("NoSuchMethodError");
            boolean isFatal =
                result.output().contains("A fatal error has been detected by the Java Runtime Environment");
            assertTrue(isNoSuchMethod || isFatal, result.output());
        }
    }

    /**
     * Such a class, and no other of the jar, is all that a program with classes of its own has: a length is
     * told.
     */
    @Test
    void classesOfAnotherMakerAreServed() throws Exception {
        ChildJava child = ChildJava.withClassPath(System.getProperty("mirtal.callbackless.classes"))
                              .option("-Djava.library.path=" + TestMedia.property("com.mirtal.library.path"))
                              .option("-Xcheck:jni");
        ChildJava.Result result = child.run("com.mirtal.Callbackless", "length", TestMedia.TONE.toString());
        assertEquals("176444\n", result.output());
        assertEquals(0, result.exitCode());
    }
}

package com.mirtal;

import static org.junit.jupiter.api.Assertions.assertArrayEquals;
import static org.junit.jupiter.api.Assertions.assertEquals;

import java.nio.file.Path;
import java.util.Arrays;
import java.util.Random;
import org.junit.jupiter.api.DynamicTest;
import org.junit.jupiter.api.TestFactory;

/** Any byte range of a stream is that part of the whole, however the ranges follow each other. */
class WavSourceWindowsTest {
    private static final int RANGES = 500;

    @TestFactory
    Iterable<DynamicTest> everyRangeIsASliceOfTheWhole() throws Exception {
        return TestMedia.all()
            .stream()
            .map(file -> DynamicTest.dynamicTest(file.getFileName().toString(), () -> compareRanges(file)))
            .toList();
    }

    private static void compareRanges(Path file) throws Exception {
        byte[] whole = TestMedia.convertedByCommandLine(file);
        Random random = new Random(file.getFileName().toString().hashCode());
        try (WavSource source = WavSource.open(file)) {
            assertEquals(whole.length, source.length());
            for (int i = 0; i < RANGES; i++) {
                int first = random.nextInt(whole.length);
                // Short ones mostly, some to anywhere.
                int most = i % 10 == 0 ? whole.length - first : Math.min(5000, whole.length - first);
                int end = first + random.nextInt(most + 1);
                byte[] range = source.openStream(first, end - 1).readAllBytes();
                assertArrayEquals(Arrays.copyOfRange(whole, first, end), range, () -> first + " to " + end);
            }
        }
    }
}

package com.mirtal;

import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertTrue;

import java.util.Arrays;
import java.util.List;
import org.junit.jupiter.api.Test;

/**
 * Nothing grows. The runtime's own tables add some ten kilobytes a round, and the bounds are a few times that: two
 * hundred bytes left behind by each conversion in a row would pass theirs.
 */
class EnduranceTest {
    private record Holdings(long nativeBytes, long descriptors, long references) {
        static Holdings of(String line) {
            String[] numbers = line.split(" ");
            return new Holdings(Long.parseLong(numbers[0]), Long.parseLong(numbers[1]), Long.parseLong(numbers[2]));
        }
    }

    private static List<Holdings> run(String... arguments) throws Exception {
        ChildJava child = ChildJava.withJar()
                .option("-Dcom.mirtal.library.path=" + System.getProperty("com.mirtal.library.path"))
                .option("-Xmx128m").option("-XX:+UseSerialGC").option("-XX:TieredStopAtLevel=1");
        ChildJava.Result result = child.run("com.mirtal.EnduranceProgram", arguments);
        assertEquals(0, result.exitCode(), result.output());
        return Arrays.stream(result.output().split("\n")).map(Holdings::of).toList();
    }

    private static long leastDescriptors(List<Holdings> rounds) {
        return rounds.stream().mapToLong(Holdings::descriptors).min().orElseThrow();
    }

    private static void assertFlat(List<Holdings> rounds, int from, long bytes) {
        Holdings first = rounds.get(from);
        Holdings last = rounds.get(rounds.size() - 1);
        // The runtime opens files of its own for a moment, so one round alone tells nothing.
        int middle = (from + rounds.size()) / 2;
        assertTrue(leastDescriptors(rounds.subList(middle, rounds.size()))
                <= leastDescriptors(rounds.subList(from, middle)), rounds.toString());
        assertTrue(last.references <= first.references, rounds.toString());
        assertTrue(last.nativeBytes - first.nativeBytes < bytes, rounds.toString());
    }

    @Test
    void thirtyTwoAtOnceOnEightThreads() throws Exception {
        List<Holdings> rounds = run("together", "8", "32");
        assertEquals(8, rounds.size());
        assertFlat(rounds, 1, 512 << 10);
    }

    /** Ten rounds of 200, each conversion with a window, a length, a source and two refusals beside it. */
    @Test
    void twoThousandInARow() throws Exception {
        List<Holdings> rounds = run("row", "10", "200");
        assertEquals(10, rounds.size());
        assertFlat(rounds, 2, 256 << 10);
    }
}

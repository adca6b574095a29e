package com.mirtal;

import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertTrue;

import java.util.Arrays;
import java.util.List;
import java.util.Map;
import org.junit.jupiter.api.Test;

/** Nothing grows. Measured in a runtime whose own heap is all there from the start. */
class EnduranceTest {
    private record Holdings(long residentKilobytes, long descriptors, long references) {
        static Holdings of(String line) {
            String[] numbers = line.split(" ");
            return new Holdings(Long.parseLong(numbers[0]), Long.parseLong(numbers[1]), Long.parseLong(numbers[2]));
        }
    }

    private static List<Holdings> run(String... arguments) throws Exception {
        ChildJava child = ChildJava.withJar()
                .option("-Dcom.mirtal.library.path=" + System.getProperty("com.mirtal.library.path"))
                .option("-Xms128m").option("-Xmx128m").option("-XX:+AlwaysPreTouch").option("-XX:+UseSerialGC")
                .option("-XX:TieredStopAtLevel=1").environment(Map.of("MALLOC_ARENA_MAX", "2"));
        ChildJava.Result result = child.run("com.mirtal.EnduranceProgram", arguments);
        assertEquals(0, result.exitCode(), result.output());
        return Arrays.stream(result.output().split("\n")).map(Holdings::of).toList();
    }

    private static void assertFlat(List<Holdings> rounds, int from, long kilobytes) {
        Holdings first = rounds.get(from);
        Holdings last = rounds.get(rounds.size() - 1);
        assertEquals(first.descriptors, last.descriptors, rounds.toString());
        assertTrue(last.references <= first.references, rounds.toString());
        assertTrue(last.residentKilobytes - first.residentKilobytes < kilobytes, rounds.toString());
    }

    @Test
    void thirtyTwoAtOnceOnEightThreads() throws Exception {
        List<Holdings> rounds = run("together", "8", "32");
        assertEquals(8, rounds.size());
        assertFlat(rounds, 1, 4096);
    }

    /** Ten rounds of 200, each conversion with a window, a length, a source and two refusals beside it. */
    @Test
    void twoThousandInARow() throws Exception {
        List<Holdings> rounds = run("row", "10", "200");
        assertEquals(10, rounds.size());
        assertFlat(rounds, 2, 2048);
    }
}

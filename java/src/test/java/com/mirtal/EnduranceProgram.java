package com.mirtal;

import java.io.IOException;
import java.io.OutputStream;
import java.lang.management.ManagementFactory;
import java.nio.file.Files;
import java.nio.file.Path;
import java.util.ArrayList;
import java.util.Arrays;
import java.util.List;
import java.util.concurrent.Callable;
import java.util.concurrent.ExecutorService;
import java.util.concurrent.Executors;
import java.util.concurrent.Future;
import java.util.regex.Matcher;
import java.util.regex.Pattern;
import javax.management.ObjectName;

/**
 * Run by itself: converts again and again, and prints after each round what the process holds: bytes of native
 * memory, file descriptors, global references of natives.
 */
public final class EnduranceProgram {
    private EnduranceProgram() {}

    /** What malloc has handed out and not taken back, over all its arenas. */
    private static native long heapBytesInUse();

    public static void main(String[] arguments) throws Exception {
        System.load(System.getProperty("mirtal.heap.in.use"));
        int rounds = Integer.parseInt(arguments[1]);
        int conversions = Integer.parseInt(arguments[2]);
        if (arguments[0].equals("together")) {
            together(rounds, conversions);
        } else {
            inARow(rounds, conversions);
        }
    }

    /** All at once on eight threads, each stream compared. */
    private static void together(int rounds, int conversions) throws Exception {
        List<Path> files =
            List.of(TestMedia.file("sweep-44100-stereo.m4a"), TestMedia.file("tone-48000-stereo.aac"),
                TestMedia.file("tone-48000-5_1.m4a"), TestMedia.file("noise-44100-stereo.m4a"));
        List<byte[]> expected = new ArrayList<>();
        for (Path file : files) {
            expected.add(TestMedia.convertedByCommandLine(file));
        }
        ExecutorService threads = Executors.newFixedThreadPool(8);
        for (int round = 0; round < rounds; round++) {
            List<Callable<Boolean>> work = new ArrayList<>();
            for (int i = 0; i < conversions; i++) {
                Path file = files.get(i % files.size());
                byte[] whole = expected.get(i % files.size());
                boolean isModern = i % 3 == 0;
                work.add(()
                             -> Arrays.equals(whole,
                                 isModern ? modern(file) : new TestMedia.WholeCollector().convert(file)));
            }
            for (Future<Boolean> isRight : threads.invokeAll(work)) {
                if (!isRight.get()) {
                    System.out.println("a stream differs");
                    System.exit(1);
                }
            }
            printHoldings();
        }
        threads.shutdown();
    }

    private static byte[] modern(Path file) throws IOException {
        try (WavSource source = WavSource.open(file)) {
            return source.openStream().readAllBytes();
        }
    }

    /** Of every kind: whole, a window, a length, a source, and what cannot be opened. */
    private static void inARow(int rounds, int conversions) throws Exception {
        String path = TestMedia.file("tone-16000-stereo.m4a").toString();
        String words = TestMedia.file("words.m4a").toString();
        byte[] first = null;
        for (int round = 0; round < rounds; round++) {
            for (int i = 0; i < conversions; i++) {
                byte[] stream = new TestMedia.WholeCollector().convert(Path.of(path));
                first = first == null ? stream : first;
                if (!Arrays.equals(first, stream)) {
                    System.out.println("a stream differs");
                    System.exit(1);
                }
                new TestMedia.Collector().convert(Path.of(path), 1000, 3000);
                new TestMedia.Collector().get_StreamLength(path);
                new TestMedia.WholeCollector().convert_AAC2WAV(words);
                try (WavSource source = WavSource.open(path)) {
                    source.writeTo(OutputStream.nullOutputStream(), null);
                }
                try {
                    WavSource.open(words).close();
                } catch (UnsupportedAudioException expected) {
                    continue;
                }
            }
            printHoldings();
        }
    }

    private static void printHoldings() throws Exception {
        System.gc();
        String threads = (String) ManagementFactory.getPlatformMBeanServer().invoke(
            new ObjectName("com.sun.management:type=DiagnosticCommand"), "threadPrint",
            new Object[] {new String[0]}, new String[] {String[].class.getName()});
        Matcher references = Pattern.compile("JNI global refs: (\\d+)").matcher(threads);
        references.find();
        try (var descriptors = Files.list(Path.of("/proc/self/fd"))) {
            System.out.println(heapBytesInUse() + " " + descriptors.count() + " " + references.group(1));
        }
    }
}

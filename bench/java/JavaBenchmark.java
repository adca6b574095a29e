package com.mirtal.bench;

import com.mirtal.AAC2WAV;
import com.mirtal.AAC2WAV_Converter;
import com.mirtal.WavSource;
import java.io.IOException;
import java.io.InputStream;
import java.io.OutputStream;
import java.lang.management.ManagementFactory;
import java.nio.file.Files;
import java.nio.file.Path;
import java.util.ArrayList;
import java.util.Arrays;
import java.util.List;
import java.util.Locale;
import java.util.Random;
import java.util.concurrent.Callable;
import java.util.regex.Matcher;
import java.util.regex.Pattern;

/**
 * What Java costs: whole conversions against the command line and the ffmpeg command, the first byte of a range, and
 * lengths against ffprobe. bench/java/run makes the media and starts it.
 *
 * <p>CPU is user plus system time, of the whole Java process with its compiler and collector threads, or of the child
 * process. The runs take turns, so that a noisy machine is noisy for all; each figure is the median, and the limits are
 * on ratios. Exits with 1 when a limit is not kept.
 */
public final class JavaBenchmark {
    private static final int ROUNDS = 5;
    private static boolean isKept = true;

    private JavaBenchmark() {}

    public static void main(String[] arguments) throws Exception {
        Path media = Path.of(arguments[0]);
        String tool = arguments[1];
        System.out.printf("%-10s %10s %10s %10s %8s %10s %10s %8s%n", "file", "Java CPU", "callbacks", "tool CPU", "ratio",
                "Java wall", "ffmpeg", "ratio");
        for (String name : List.of("1s.m4a", "5min.m4a", "60min.m4a")) {
            compareConversions(media.resolve(name), tool);
        }
        measureFirstBytes(media.resolve("60min.m4a"));
        compareLengths(media.resolve("folder"));
        System.exit(isKept ? 0 : 1);
    }

    private record Cost(double wall, double cpu) {}

    private static Cost measured(Callable<?> action) throws Exception {
        var system = (com.sun.management.OperatingSystemMXBean) ManagementFactory.getOperatingSystemMXBean();
        long cpu = system.getProcessCpuTime();
        long start = System.nanoTime();
        action.call();
        return new Cost((System.nanoTime() - start) / 1e6, (system.getProcessCpuTime() - cpu) / 1e6);
    }

    private static double median(List<Double> values) {
        double[] sorted = values.stream().mapToDouble(Double::doubleValue).sorted().toArray();
        return sorted[sorted.length / 2];
    }

    private static void limit(String what, boolean keeps) {
        if (!keeps) {
            System.out.println("NOT KEPT: " + what);
            isKept = false;
        }
    }

    // ---- whole conversions

    private static void compareConversions(Path file, String tool) throws Exception {
        // The clock of a process ticks in hundredths of a second: short conversions are measured many at a time.
        int repeats = (int) Math.max(1, 400_000_000L / lengthOf(file));
        List<Double> modernCPU = new ArrayList<>();
        List<Double> modernWall = new ArrayList<>();
        List<Double> callbackCPU = new ArrayList<>();
        List<Double> toolCPU = new ArrayList<>();
        List<Double> ffmpegWall = new ArrayList<>();
        convertModern(file);
        convertByCallbacks(file);
        for (int round = 0; round < ROUNDS; round++) {
            Cost modern = measured(() -> repeated(repeats, () -> convertModern(file)));
            modernCPU.add(modern.cpu / repeats);
            modernWall.add(modern.wall / repeats);
            callbackCPU.add(measured(() -> repeated(repeats, () -> convertByCallbacks(file))).cpu / repeats);
            int runs = Math.min(repeats, 20);
            toolCPU.add(childCPU(runs, "'" + tool + "' -q '" + file + "' - >/dev/null") / runs);
            ffmpegWall.add(measured(() -> convertByFFmpeg(file)).wall);
        }
        double ratio = Math.max(median(modernCPU), median(callbackCPU)) / median(toolCPU);
        double wallRatio = median(modernWall) / median(ffmpegWall);
        System.out.printf(Locale.ROOT, "%-10s %7.1f ms %7.1f ms %7.1f ms %8.3f %7.1f ms %7.1f ms %8.3f%n",
                file.getFileName(), median(modernCPU), median(callbackCPU), median(toolCPU), ratio, median(modernWall),
                median(ffmpegWall), wallRatio);
        limit("at most 1.10 times the CPU of the command line", ratio <= 1.10);
        limit("less wall time than the ffmpeg command", wallRatio < 1);
    }

    private static long lengthOf(Path file) throws IOException {
        try (WavSource source = WavSource.open(file)) {
            return source.length();
        }
    }

    private static Object repeated(int repeats, Callable<?> action) throws Exception {
        for (int i = 0; i < repeats; i++) {
            action.call();
        }
        return null;
    }

    private static Object convertModern(Path file) throws IOException {
        try (WavSource source = WavSource.open(file)) {
            return source.writeTo(OutputStream.nullOutputStream(), null);
        }
    }

    private static Object convertByCallbacks(Path file) {
        return new AAC2WAV_Converter() {
            @Override
            protected void writeBuffer(byte[] data, int length) {}
        }.convert_AAC2WAV(file.toString());
    }

    private static Object convertByFFmpeg(Path file) throws Exception {
        Process process = new ProcessBuilder("ffmpeg", "-v", "error", "-nostdin", "-i", file.toString(), "-ac", "2", "-c:a",
                "pcm_s16le", "-f", "wav", "-").redirectError(ProcessBuilder.Redirect.INHERIT).start();
        byte[] bytes = new byte[65536];
        try (InputStream output = process.getInputStream()) {
            while (output.read(bytes) >= 0) {
                continue;
            }
        }
        return process.waitFor();
    }

    /** User and system milliseconds of so many runs of a command, as the shell tells them. */
    private static double childCPU(int runs, String command) throws Exception {
        String script = "for i in $(seq " + runs + "); do " + command + " || exit 1; done; times";
        Process shell = new ProcessBuilder("bash", "-c", script).redirectError(ProcessBuilder.Redirect.INHERIT).start();
        String[] lines = new String(shell.getInputStream().readAllBytes()).split("\n");
        if (shell.waitFor() != 0) {
            throw new IOException(command + " fails");
        }
        double milliseconds = 0;
        Matcher time = Pattern.compile("(\\d+)m([\\d.]+)s").matcher(lines[1]);
        while (time.find()) {
            milliseconds += Integer.parseInt(time.group(1)) * 60_000 + Double.parseDouble(time.group(2)) * 1000;
        }
        return milliseconds;
    }

    // ---- ranges

    private static void measureFirstBytes(Path file) throws Exception {
        Random random = new Random(1);
        List<Double> times = new ArrayList<>();
        List<Double> work = new ArrayList<>();
        var threads = ManagementFactory.getThreadMXBean();
        for (int i = 0; i < 200; i++) {
            long start = System.nanoTime();
            long cpu = threads.getCurrentThreadCpuTime();
            try (WavSource source = WavSource.open(file)) {
                // Around the middle, at every place of a decoding grid.
                long first = source.length() / 2 + random.nextInt(60_000_000) - 30_000_000;
                source.openStream(first, first + 999).read();
            }
            times.add((System.nanoTime() - start) / 1e6);
            work.add((threads.getCurrentThreadCpuTime() - cpu) / 1e6);
        }
        double worst = times.stream().mapToDouble(Double::doubleValue).max().orElseThrow();
        double mostWork = work.stream().mapToDouble(Double::doubleValue).max().orElseThrow();
        System.out.printf(Locale.ROOT, "first byte of a range in the middle of 60 minutes, opening included: median %.1f ms, "
                + "worst of 200 %.1f ms (CPU of the thread: %.1f ms, %.1f ms)%n", median(times), worst, median(work), mostWork);
        limit("within 50 ms", worst <= 50);
    }

    // ---- lengths

    private static void compareLengths(Path folder) throws Exception {
        List<Path> files;
        try (var found = Files.list(folder)) {
            files = found.sorted().toList();
        }
        AAC2WAV lengths = new AAC2WAV() {
            @Override
            protected void sendBuffer(byte[] data, int length) {}
        };
        long[] sum = {0};
        Callable<?> all = () -> {
            for (Path file : files) {
                sum[0] += lengths.get_StreamLength(file.toString());
            }
            return null;
        };
        Cost cold = measured(all);
        double warm = measured(all).wall;
        // A twentieth of them is enough to know what one takes.
        List<Path> probed = files.subList(0, files.size() / 20);
        Cost ffprobe = measured(() -> {
            for (Path file : probed) {
                new ProcessBuilder("ffprobe", "-v", "error", "-show_entries", "format=duration", file.toString())
                        .redirectOutput(ProcessBuilder.Redirect.DISCARD).start().waitFor();
            }
            return null;
        });
        double perFile = cold.wall / files.size();
        double perProbe = ffprobe.wall / probed.size();
        System.out.printf(Locale.ROOT, "lengths of %d files: %.1f ms the first time, %.1f ms again; ffprobe %.1f ms each, "
                + "%.0f times as long%n", files.size(), cold.wall, warm, perProbe, perProbe / perFile);
        limit("lengths at least 50 times faster than ffprobe", perProbe / perFile >= 50);
        if (sum[0] == 0 || files.size() < 1000) {
            throw new IllegalStateException("not the files that this is about: " + Arrays.toString(sum));
        }
    }
}

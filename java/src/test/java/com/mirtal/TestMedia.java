package com.mirtal;

import java.io.ByteArrayOutputStream;
import java.io.IOException;
import java.nio.file.Files;
import java.nio.file.Path;
import java.util.ArrayList;
import java.util.Arrays;
import java.util.List;
import java.util.stream.Stream;

/** The media files of the tests, and what the command line makes of them. */
final class TestMedia {
    /** A second of AAC in stereo. */
    static final Path TONE = file("tone-44100-stereo.m4a");

    /** Half an hour. */
    static final Path LONG = file("long.m4a");

    /** Files that are no sound, or not to be opened. */
    private static final List<String> REFUSED =
        List.of("words.m4a", "empty.m4a", "no-tables.m4a", "encrypted.mp4", "encrypted-with-video.mp4", "README.md");

    /** Too long to be converted as a whole in a test of many files. */
    private static final List<String> LARGE = List.of("long.m4a", "huge-8000-mono.aac");

    private TestMedia() {}

    static Path property(String name) {
        String value = System.getProperty(name);
        if (value == null) {
            throw new IllegalStateException("the tests are started with -D" + name + "=...");
        }
        return Path.of(value);
    }

    static Path file(String name) { return property("mirtal.fixtures").resolve(name); }

    /** Every file that can be converted and is not large. */
    static List<Path> all() throws IOException {
        try (Stream<Path> files = Files.list(property("mirtal.fixtures"))) {
            List<Path> media = files.filter(Files::isRegularFile)
                                   .filter(file -> !file.getFileName().toString().startsWith("."))
                                   .filter(file -> !REFUSED.contains(file.getFileName().toString()))
                                   .filter(file -> !LARGE.contains(file.getFileName().toString()))
                                   .sorted()
                                   .toList();
            if (media.size() < 60) {
                throw new IllegalStateException(
                    "only " + media.size() + " media files: they are not all made");
            }
            return media;
        }
    }

    /** How many descriptors of this process are open on a file. */
    static long openDescriptors(Path file) throws IOException {
        Path real = file.toRealPath();
        try (Stream<Path> descriptors = Files.list(Path.of("/proc/self/fd"))) {
            return descriptors.filter(descriptor -> isLinkTo(descriptor, real)).count();
        }
    }

    private static boolean isLinkTo(Path descriptor, Path real) {
        try {
            return Files.readSymbolicLink(descriptor).equals(real);
        } catch (IOException gone) {
            return false;
        }
    }

    /** The whole stream, as the command line makes it. */
    static byte[] convertedByCommandLine(Path file, String... options) throws Exception {
        List<String> command =
            new ArrayList<>(List.of(property("mirtal.aac2wav").toString(), "--quiet", "--keep-going"));
        command.addAll(Arrays.asList(options));
        command.addAll(List.of(file.toString(), "-"));
        Process process = new ProcessBuilder(command).redirectError(ProcessBuilder.Redirect.INHERIT).start();
        byte[] stream = process.getInputStream().readAllBytes();
        if (process.waitFor() != 0) {
            throw new IOException(command + " exits with " + process.exitValue());
        }
        return stream;
    }

    /** A converter that keeps the stream. */
    static final class Collector extends AAC2WAV {
        final ByteArrayOutputStream stream = new ByteArrayOutputStream();
        final List<Integer> chunkLengths = new ArrayList<>();

        @Override
        protected void sendBuffer(byte[] data, int length) {
            chunkLengths.add(length);
            stream.write(data, 0, length);
        }

        byte[] convert(Path file, long start, long duration) {
            convert_AAC2WAV(file.toString(), start, duration);
            return stream.toByteArray();
        }
    }

    /** A whole-file converter that keeps the stream. */
    static final class WholeCollector extends AAC2WAV_Converter {
        final ByteArrayOutputStream stream = new ByteArrayOutputStream();

        @Override
        protected void writeBuffer(byte[] data, int length) {
            stream.write(data, 0, length);
        }

        byte[] convert(Path file) {
            convert_AAC2WAV(file.toString());
            return stream.toByteArray();
        }
    }
}

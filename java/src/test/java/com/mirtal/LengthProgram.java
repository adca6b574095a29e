package com.mirtal;

import java.nio.file.DirectoryStream;
import java.nio.file.Files;
import java.nio.file.Path;
import java.util.regex.Matcher;
import java.util.regex.Pattern;

/** Run by itself: the lengths of the files given, or of all files of a folder. */
public final class LengthProgram {
    private LengthProgram() {}

    public static void main(String[] arguments) throws Exception {
        if (arguments[0].equals("--folder")) {
            try (DirectoryStream<Path> files = Files.newDirectoryStream(Path.of(arguments[1]))) {
                for (Path file : files) {
                    try (WavSource source = WavSource.open(file)) {
                        System.out.println(source.openStream().readAllBytes().length);
                    }
                }
            }
            return;
        }
        for (String argument : arguments) {
            String path = unescaped(argument);
            try (WavSource source = WavSource.open(path)) {
                System.out.println(source.length() + " " + new TestMedia.Collector().get_StreamLength(path)
                    + " " + new TestMedia.WholeCollector().convert_AAC2WAV(path));
            } catch (AudioException refused) {
                System.out.println(refused.platformCode());
            }
        }
    }

    /** Code units as {@code \}{@code u1234}: in some locales, arguments themselves cannot carry them. */
    private static String unescaped(String text) {
        return Pattern.compile("\\\\u([0-9a-f]{4})")
            .matcher(text)
            .replaceAll(
                unit -> Matcher.quoteReplacement(String.valueOf((char) Integer.parseInt(unit.group(1), 16))));
    }
}

package com.mirtal;

import static org.junit.jupiter.api.Assertions.assertEquals;

import java.nio.file.Path;
import java.util.List;
import java.util.Map;
import java.util.stream.Collectors;
import org.junit.jupiter.api.Test;
import org.junit.jupiter.api.io.TempDir;

/** Names of all sorts, in whatever locale the Java runtime was started. */
class PathNamesTest {
    private static final String LENGTHS = "176444 176444 0\n";

    /**
     * Spaces; an umlaut in both normal forms; a character beyond 16 bits; two writings from right to left.
     */
    private static final List<String> NAMES = List.of("a song.m4a", "f\u00fcr.m4a", "fu\u0308r Elise.m4a",
        "\ud83c\udfb5 tune.m4a", "\u97f3\u697d.m4a", "\u05e9\u05d9\u05e8-\u0623\u063a\u0646\u064a\u0629.m4a",
        "percent%20and+plus.m4a", "quote'\"back\\slash.m4a", "a:colon.m4a", "line\nbreak.m4a");

    @TempDir Path folder;

    private List<String> make() throws Exception {
        for (String name : NAMES) {
            // The shell takes the bytes as they are; this runtime's own locale may not have them.
            Process copy = new ProcessBuilder("sh", "-c", "cp \"$0\" \"$1/$(printf \"$2\")\"",
                TestMedia.TONE.toString(), folder.toString(), octal(name))
                               .inheritIO()
                               .start();
            assertEquals(0, copy.waitFor(), name);
        }
        return NAMES.stream().map(name -> folder + "/" + escaped(name)).toList();
    }

    private static String octal(String name) {
        StringBuilder text = new StringBuilder();
        for (byte value : name.getBytes(java.nio.charset.StandardCharsets.UTF_8)) {
            text.append(String.format("\\%03o", value & 0xFF));
        }
        return text.toString();
    }

    private static String escaped(String name) {
        return name.chars().mapToObj(unit -> String.format("\\u%04x", unit)).collect(Collectors.joining());
    }

    private ChildJava child(String locale) {
        return ChildJava.withJar()
            .option("-Dcom.mirtal.library.path=" + System.getProperty("com.mirtal.library.path"))
            .environment(Map.of("LC_ALL", locale));
    }

    @Test
    void stringsNameFilesInEveryLocale() throws Exception {
        String[] paths = make().toArray(String[] ::new);
        for (String locale : List.of("C.UTF-8", "C", "POSIX")) {
            ChildJava.Result result = child(locale).run("com.mirtal.LengthProgram", paths);
            assertEquals(LENGTHS.repeat(paths.length), result.output(), locale);
        }
    }

    @Test
    void listedPathsNameFilesInEveryLocale() throws Exception {
        make();
        // No valid UTF-8: only its bytes are its name.
        Process copy = new ProcessBuilder("sh", "-c", "cp \"$0\" \"$1/$(printf 'latin \\374.m4a')\"",
            TestMedia.TONE.toString(), folder.toString())
                           .inheritIO()
                           .start();
        assertEquals(0, copy.waitFor());
        for (String locale : List.of("C.UTF-8", "C")) {
            ChildJava.Result result =
                child(locale).run("com.mirtal.LengthProgram", "--folder", folder.toString());
            assertEquals("176444\n".repeat(NAMES.size() + 1), result.output(), locale);
        }
    }

    @Test
    void missingNamesAreMissing() throws Exception {
        ChildJava.Result result =
            child("C").run("com.mirtal.LengthProgram", folder + "/" + escaped("\ud83c\udfb5"));
        assertEquals("-43\n", result.output());
    }
}

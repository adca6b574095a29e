package com.mirtal;

import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertNotEquals;
import static org.junit.jupiter.api.Assertions.assertTrue;
import static org.junit.jupiter.api.Assumptions.assumeTrue;

import java.nio.file.Files;
import java.nio.file.Path;
import java.nio.file.StandardCopyOption;
import java.nio.file.attribute.PosixFilePermissions;
import java.util.ArrayList;
import java.util.List;
import java.util.Map;
import java.util.stream.Stream;
import org.junit.jupiter.api.BeforeEach;
import org.junit.jupiter.api.Test;
import org.junit.jupiter.api.io.TempDir;

/** Each load is one in a Java runtime of its own. */
class NativeLibraryTest {
    private static final String LIBRARY = "libcom_mirtal_AAC2WAV.so";
    private static final String TOOLBOX = "libmirtal_toolbox.so.1";
    private static final String LENGTHS = "176444 176444 0\n";

    @TempDir Path folder;

    private Path cache;
    private Path temporary;

    @BeforeEach
    void makeFolders() throws Exception {
        cache = folder.resolve("cache");
        temporary = Files.createDirectory(folder.resolve("temporary"));
    }

    private ChildJava child() {
        return ChildJava.withJar()
            .environment(Map.of("XDG_CACHE_HOME", cache.toString()))
            .option("-Djava.io.tmpdir=" + temporary);
    }

    private static ChildJava.Result length(ChildJava child) throws Exception {
        return child.run("com.mirtal.LengthProgram", TestMedia.TONE.toString());
    }

    private void assertLoads(ChildJava child) throws Exception {
        ChildJava.Result result = length(child);
        assertEquals(LENGTHS, result.output());
        assertEquals(0, result.exitCode());
    }

    /** After the runtime's own words about a file that is no library. */
    private static void assertLoadsInTheEnd(ChildJava child) throws Exception {
        ChildJava.Result result = length(child);
        assertTrue(result.output().endsWith(LENGTHS), result.output());
        assertEquals(0, result.exitCode());
    }

    private Path unpacked() throws Exception {
        try (Stream<Path> folders = Files.list(cache.resolve("mirtal"))) {
            List<Path> found = folders.toList();
            assertEquals(1, found.size(), found.toString());
            return found.get(0);
        }
    }

    private static Path copyOfTheLibraries(Path into) throws Exception {
        Files.createDirectories(into);
        Path from = TestMedia.property("com.mirtal.library.path");
        for (String name : List.of(LIBRARY, TOOLBOX)) {
            Files.copy(from.resolve(name), into.resolve(name), StandardCopyOption.REPLACE_EXISTING);
        }
        return into;
    }

    @Test
    void jarUnpacksOnceAndLeavesNothingElse() throws Exception {
        assertLoads(child());
        Path first = unpacked();
        var made = Files.getLastModifiedTime(first.resolve(LIBRARY));
        assertLoads(child());
        assertEquals(first, unpacked());
        assertEquals(made, Files.getLastModifiedTime(first.resolve(LIBRARY)));
        assertEquals("rwx------",
            PosixFilePermissions.toString(Files.getPosixFilePermissions(cache.resolve("mirtal"))));
        try (Stream<Path> left = Files.list(temporary)) {
            assertEquals(
                List.of(), left.filter(path -> !path.getFileName().toString().startsWith("hsperf")).toList());
        }
    }

    /** The general importer is found beside the unpacked toolbox. */
    @Test
    void jarBringsTheGeneralImporter() throws Exception {
        ChildJava.Result result =
            child().run("com.mirtal.LengthProgram", TestMedia.file("tone.flac").toString());
        assertEquals(LENGTHS, result.output());
    }

    @Test
    void homeIsTheCacheWithoutAVariable() throws Exception {
        Path home = Files.createDirectory(folder.resolve("home with spaces"));
        ChildJava child = child().option("-Duser.home=" + home);
        child.builder.environment().remove("XDG_CACHE_HOME");
        assertLoads(child);
        assertTrue(Files.isDirectory(home.resolve(".cache/mirtal")));
        ChildJava relative =
            child().environment(Map.of("XDG_CACHE_HOME", "not/absolute")).option("-Duser.home=" + home);
        assertLoads(relative);
    }

    @Test
    void damagedCopyIsMadeAnew() throws Exception {
        assertLoads(child());
        Path copy = unpacked();
        Files.write(copy.resolve(TOOLBOX), new byte[] {1, 2, 3});
        assertLoads(child());
        assertEquals(copy, unpacked());
        Files.delete(copy.resolve(LIBRARY));
        assertLoads(child());
        assertTrue(Files.size(unpacked().resolve(TOOLBOX)) > 3);
    }

    @Test
    void propertyNamesAFolderOrAFile() throws Exception {
        Path own = copyOfTheLibraries(folder.resolve("own folder with spaces"));
        assertLoads(child().option("-Dcom.mirtal.library.path=" + own));
        assertLoads(child().option("-Dcom.mirtal.library.path=" + own.resolve(LIBRARY)));
        assertTrue(Files.notExists(cache), "the jar's copy was not needed");
    }

    @Test
    void libraryPathIsSearched() throws Exception {
        Path own = copyOfTheLibraries(folder.resolve("own folder with spaces"));
        assertLoads(child().option("-Djava.library.path=/nowhere:" + own));
        assertTrue(Files.notExists(cache), "the jar's copy was not needed");
    }

    @Test
    void brokenOverrideFallsBack() throws Exception {
        Path broken = Files.createDirectory(folder.resolve("broken"));
        Files.write(broken.resolve(LIBRARY), "no library".getBytes());
        for (String override :
            List.of("/nowhere", broken.toString(), broken.resolve(LIBRARY).toString(), "")) {
            assertLoadsInTheEnd(child().option("-Dcom.mirtal.library.path=" + override));
        }
        assertLoadsInTheEnd(child().option("-Djava.library.path=" + broken));
    }

    @Test
    void unwritableCacheFallsBackToTemporary() throws Exception {
        Files.write(cache, "a file where the folder should be".getBytes());
        assertLoads(child());
        try (Stream<Path> left = Files.list(temporary)) {
            assertEquals(
                List.of(), left.filter(path -> path.getFileName().toString().startsWith("mirtal")).toList());
        }
        // A folder that nobody may write into, for whoever runs the tests.
        assertLoads(child().environment(Map.of("XDG_CACHE_HOME", "/proc/self")));
    }

    @Test
    void errorTellsEveryPlaceAndTheCause() throws Exception {
        Path broken = Files.createDirectory(folder.resolve("broken"));
        Files.write(broken.resolve(LIBRARY), "no library".getBytes());
        Files.write(cache, new byte[0]);
        ChildJava.Result result = length(child()
                                             .option("-Dcom.mirtal.library.path=" + broken)
                                             .option("-Djava.library.path=/nowhere")
                                             .option("-Djava.io.tmpdir=/proc/self"));
        assertNotEquals(0, result.exitCode());
        for (String part :
            List.of("UnsatisfiedLinkError: The native library com_mirtal_AAC2WAV cannot be loaded",
                "system property com.mirtal.library.path=" + broken, "java.library.path: ",
                "the copy in the jar, unpacked to " + cache, "the copy in the jar, unpacked to /proc/self",
                "Likely cause: " + broken.resolve(LIBRARY) + " is not a library, or only a part of one")) {
            assertTrue(result.output().contains(part), part + " in " + result.output());
        }
    }

    @Test
    void jarWithoutACopySaysSo() throws Exception {
        ChildJava child = ChildJava.withClassPath(System.getProperty("mirtal.classes")
            + java.io.File.pathSeparator + System.getProperty("mirtal.test.classes"));
        ChildJava.Result result = length(child);
        assertTrue(result.output().contains("the copy in the jar: it has none for linux-"), result.output());
        assertTrue(
            result.output().contains("Likely cause: the library was never installed here."), result.output());
    }

    @Test
    void missingToolboxIsTheCause() throws Exception {
        Path own = copyOfTheLibraries(folder.resolve("alone"));
        Files.delete(own.resolve(TOOLBOX));
        ChildJava child = ChildJava
                              .withClassPath(System.getProperty("mirtal.classes") + java.io.File.pathSeparator
                                  + System.getProperty("mirtal.test.classes"))
                              .option("-Dcom.mirtal.library.path=" + own);
        ChildJava.Result result = length(child);
        assertTrue(
            result.output().contains("Likely cause: the toolbox library has to lie beside the library"),
            result.output());
    }

    /** In a mount namespace of its own, where both places that the jar unpacks to are mounted noexec. */
    @Test
    void noexecIsDetected() throws Exception {
        assumeTrue(new ProcessBuilder("unshare", "--map-root-user", "--mount", "true").start().waitFor() == 0,
            "this process may not have mounts of its own, as in a changed root");
        Files.createDirectory(cache);
        ChildJava both = child();
        both.before.addAll(List.of("unshare", "--map-root-user", "--mount", "sh", "-c",
            "mount -t tmpfs -o noexec none " + cache + " && mount -t tmpfs -o noexec none " + temporary
                + " && exec \"$@\"",
            "sh"));
        ChildJava.Result result = length(both);
        assertTrue(result.output().contains("is mounted noexec; name another folder by the system property"),
            result.output());
        assertNotEquals(0, result.exitCode());

        ChildJava one = child();
        one.before.addAll(List.of("unshare", "--map-root-user", "--mount", "sh", "-c",
            "mount -t tmpfs -o noexec none " + cache + " && exec \"$@\"", "sh"));
        assertLoads(one);
    }

    @Test
    void fourClassLoadersAndThirtyTwoThreads() throws Exception {
        String[] arguments = {"4", "8", TestMedia.TONE.toString()};
        String expected = 32L * 176444 + "\nno temporary files\n";
        assertEquals(expected,
            child().option("-XX:-UsePerfData").run("com.mirtal.LoadingProgram", arguments).output());
        Path own = copyOfTheLibraries(folder.resolve("own"));
        for (String place : List.of("-Djava.library.path=" + own, "-Dcom.mirtal.library.path=" + own)) {
            ChildJava child = child().option("-XX:-UsePerfData").option(place);
            assertEquals(expected, child.run("com.mirtal.LoadingProgram", arguments).output(), place);
        }
    }

    @Test
    void everyClassLoaderMayLoadAgain() throws Exception {
        ChildJava.Result result =
            child()
                .option("-XX:-UsePerfData")
                .option("-Xcheck:jni")
                .run("com.mirtal.LoadingProgram", "3", "2", TestMedia.TONE.toString(), "reload");
        assertEquals(
            "3 loaders gone\nreloaded 176444\n" + 6L * 176444 + "\nno temporary files\n", result.output());
    }

    @Test
    void manyProcessesMayUnpackAtOnce() throws Exception {
        List<Process> processes = new ArrayList<>();
        for (int i = 0; i < 8; i++) {
            processes.add(child().start("com.mirtal.LengthProgram", TestMedia.TONE.toString()));
        }
        for (Process process : processes) {
            assertEquals(LENGTHS, new String(process.getInputStream().readAllBytes()));
            assertEquals(0, process.waitFor());
        }
        unpacked();
    }

    @Test
    void moduleWorksAsOne() throws Exception {
        ChildJava child = child();
        child.options.clear();
        child.option("-p")
            .option(TestMedia.property("mirtal.jar").toString())
            .option("--patch-module")
            .option("com.mirtal=" + System.getProperty("mirtal.test.classes"))
            .option("-Djava.io.tmpdir=" + temporary)
            .option("-m");
        ChildJava.Result result = child.run("com.mirtal/com.mirtal.LengthProgram", TestMedia.TONE.toString());
        assertEquals(LENGTHS, result.output());
    }
}

package com.mirtal;

import java.io.IOException;
import java.nio.charset.StandardCharsets;
import java.nio.file.Files;
import java.nio.file.Path;
import java.util.ArrayList;
import java.util.List;

/** The places where the native library was looked for, and what was wrong with each. */
final class LoadReport {
    private final String library;
    private final List<String> lines = new ArrayList<>();
    private String likelyCause = "the library was never installed here";

    LoadReport(String library) { this.library = library; }

    void add(String place, String problem) { lines.add(place + ": " + problem); }

    void add(String place, IOException failure) { lines.add(place + ": " + failure); }

    void add(String place, UnsatisfiedLinkError error) { add(place, error, null); }

    /**
     * Notes a file that is there and would not load; such a file says more about the cause than one that is
     * not.
     */
    void add(String place, UnsatisfiedLinkError error, Path file) {
        String message = String.valueOf(error.getMessage());
        add(place, message);
        String cause = causeOf(message, file);
        if (cause != null) {
            likelyCause = cause;
        }
    }

    UnsatisfiedLinkError toError() {
        return new UnsatisfiedLinkError("The native library " + library + " cannot be loaded. Tried:\n  - "
            + String.join("\n  - ", lines) + "\nLikely cause: " + likelyCause + ".");
    }

    private static String causeOf(String message, Path file) {
        if (file != null && isOnNoexecMount(file)) {
            return "the file system that holds " + file
                + " is mounted noexec; name another folder by the system property "
                + NativeLibrary.PATH_PROPERTY + " or the environment variable XDG_CACHE_HOME";
        }
        if (message.contains("undefined symbol")) {
            return "the library and the libraries that it was loaded with are not of one build";
        }
        if (message.contains("libmirtal_toolbox") && message.contains("cannot open shared object file")) {
            return "the toolbox library has to lie beside the library, and does not";
        }
        if (message.contains("wrong ELF class")
            || message.contains("cannot open shared object file: Exec format")
            || message.contains("Possible cause: can't load")) {
            return "the library was built for another kind of processor";
        }
        if (message.contains("cannot open shared object file")) {
            return "a library of the system is missing, the one named above; install its package (FFmpeg's libavcodec and"
                + " libavformat, or ICU)";
        }
        if (message.contains("GLIBC") || message.contains("version `")) {
            return "the library was built for a newer system than this";
        }
        if (message.contains("invalid ELF header") || message.contains("file too short")) {
            return file + " is not a library, or only a part of one";
        }
        return null;
    }

    /** Whether the mount that holds a file forbids to run what lies there. */
    private static boolean isOnNoexecMount(Path file) {
        try {
            Path real = file.toRealPath();
            String options = "";
            int deepest = -1;
            for (String line :
                Files.readAllLines(Path.of("/proc/self/mountinfo"), StandardCharsets.ISO_8859_1)) {
                String[] fields = line.split(" ");
                Path mount = Path.of(fields[4].replace("\\040", " "));
                // Of two mounts on one place, the later hides the earlier.
                if (real.startsWith(mount) && mount.getNameCount() >= deepest) {
                    deepest = mount.getNameCount();
                    options = fields[5];
                }
            }
            return List.of(options.split(",")).contains("noexec");
        } catch (IOException | RuntimeException unreadable) {
            return false;
        }
    }
}

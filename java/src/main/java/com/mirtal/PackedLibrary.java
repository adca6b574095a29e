package com.mirtal;

import java.io.IOException;
import java.io.InputStream;
import java.nio.charset.StandardCharsets;
import java.nio.file.Files;
import java.nio.file.Path;
import java.nio.file.StandardCopyOption;
import java.nio.file.attribute.PosixFilePermissions;
import java.security.MessageDigest;
import java.security.NoSuchAlgorithmException;
import java.util.ArrayList;
import java.util.Comparator;
import java.util.HexFormat;
import java.util.LinkedHashMap;
import java.util.List;
import java.util.Map;
import java.util.stream.Stream;

/**
 * The library files in the jar, and their unpacked copy.
 *
 * <p>A list in the jar names them with their SHA-256; the copy's folder is named by the digest of the list. A copy is
 * made in a folder of its own and renamed when complete, so that many processes may make it at the same time; one that
 * is there is used when every file has its digest, and made anew otherwise.
 */
final class PackedLibrary {
    /** Where a copy may go. A lasting one is found again by the next process; another goes when this process ends. */
    record Folder(Path root, boolean isLasting) {}

    private static final String LIST = "files.sha256";
    private static final int ATTEMPTS = 5;

    private final String resources;
    private final Map<String, String> digests = new LinkedHashMap<>();
    private final String folderName;

    private PackedLibrary(String resources, byte[] list) {
        this.resources = resources;
        this.folderName = hex(sha256().digest(list)).substring(0, 32);
        // As sha256sum writes it: the digest, two characters, the name.
        for (String line : new String(list, StandardCharsets.UTF_8).split("\n")) {
            digests.put(line.substring(66), line.substring(0, 64));
        }
    }

    /** The files for this system; null, with a line in the report, when the jar has none. */
    static PackedLibrary find(LoadReport report) {
        String resources = "/native/" + platform() + "/";
        try (InputStream list = PackedLibrary.class.getResourceAsStream(resources + LIST)) {
            if (list == null) {
                report.add("the copy in the jar", "it has none for " + platform());
                return null;
            }
            return new PackedLibrary(resources, list.readAllBytes());
        } catch (IOException unreadable) {
            report.add("the copy in the jar", unreadable);
            return null;
        }
    }

    private static String platform() {
        String machine = System.getProperty("os.arch");
        return System.getProperty("os.name").toLowerCase(java.util.Locale.ROOT) + "-"
                + (machine.equals("amd64") ? "x86_64" : machine);
    }

    /** Best first. */
    List<Folder> folders() {
        List<Folder> folders = new ArrayList<>();
        String cache = System.getenv("XDG_CACHE_HOME");
        if (cache != null && cache.startsWith("/")) {
            folders.add(new Folder(Path.of(cache, "mirtal"), true));
        } else {
            folders.add(new Folder(Path.of(System.getProperty("user.home"), ".cache", "mirtal"), true));
        }
        folders.add(new Folder(Path.of(System.getProperty("java.io.tmpdir")), false));
        return folders;
    }

    /** A complete copy of the files in a folder. */
    Path unpackInto(Folder folder) throws IOException {
        if (!folder.isLasting()) {
            Path own = Files.createTempDirectory(folder.root(), "mirtal-");
            Runtime.getRuntime().addShutdownHook(new Thread(() -> deleteQuietly(own)));
            writeFiles(own);
            return own;
        }
        Path target = folder.root().resolve(folderName);
        if (isComplete(target)) {
            return target;
        }
        Files.createDirectories(folder.root(),
                PosixFilePermissions.asFileAttribute(PosixFilePermissions.fromString("rwx------")));
        Path work = Files.createTempDirectory(folder.root(), ".unpacking-");
        try {
            writeFiles(work);
            moveIntoPlace(work, target);
        } finally {
            deleteQuietly(work);
        }
        return target;
    }

    /** Renaming never replaces a folder with something in it: when another process was first, its copy is taken. */
    private void moveIntoPlace(Path work, Path target) throws IOException {
        for (int attempt = 1;; attempt++) {
            try {
                Files.move(work, target, StandardCopyOption.ATOMIC_MOVE);
                return;
            } catch (IOException occupied) {
                if (isComplete(target)) {
                    return;
                }
                if (attempt == ATTEMPTS) {
                    throw occupied;
                }
                moveAside(target);
            }
        }
    }

    /** A damaged copy. Whoever has loaded it keeps what is loaded. */
    private static void moveAside(Path target) throws IOException {
        Path aside = Files.createTempDirectory(target.getParent(), ".damaged-");
        try {
            Files.move(target, aside.resolve("copy"), StandardCopyOption.ATOMIC_MOVE);
        } catch (java.nio.file.NoSuchFileException alreadyMoved) {
            return;
        } finally {
            deleteQuietly(aside);
        }
    }

    private void writeFiles(Path folder) throws IOException {
        for (String name : digests.keySet()) {
            Path file = folder.resolve(name);
            Files.createDirectories(file.getParent());
            try (InputStream packed = PackedLibrary.class.getResourceAsStream(resources + name)) {
                if (packed == null) {
                    throw new IOException("the jar lacks " + resources + name);
                }
                Files.copy(packed, file);
            }
        }
        if (!isComplete(folder)) {
            throw new IOException("the files in the jar do not have the digests of its list");
        }
    }

    private boolean isComplete(Path folder) {
        try {
            for (Map.Entry<String, String> file : digests.entrySet()) {
                byte[] content = Files.readAllBytes(folder.resolve(file.getKey()));
                if (!hex(sha256().digest(content)).equals(file.getValue())) {
                    return false;
                }
            }
            return true;
        } catch (IOException missing) {
            return false;
        }
    }

    /** Deletes a folder and all in it, as far as it can; null is nothing to delete. */
    static void deleteQuietly(Path folder) {
        if (folder == null) {
            return;
        }
        try (Stream<Path> found = Files.walk(folder)) {
            for (Path path : found.sorted(Comparator.reverseOrder()).toList()) {
                Files.deleteIfExists(path);
            }
        } catch (IOException | java.io.UncheckedIOException leftBehind) {
            return;
        }
    }

    private static MessageDigest sha256() {
        try {
            return MessageDigest.getInstance("SHA-256");
        } catch (NoSuchAlgorithmException impossible) {
            throw new AssertionError("every Java runtime has SHA-256", impossible);
        }
    }

    private static String hex(byte[] bytes) {
        return HexFormat.of().formatHex(bytes);
    }
}

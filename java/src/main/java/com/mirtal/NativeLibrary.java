package com.mirtal;

import java.io.File;
import java.io.IOException;
import java.nio.file.Files;
import java.nio.file.InvalidPathException;
import java.nio.file.Path;
import java.util.List;

/**
 * Finds and loads the native library, once for each class loader that has these classes.
 *
 * <p>Places, in order: the file or folder that {@value #PATH_PROPERTY} names, {@code java.library.path}, the
 * copy in the jar. One that fails is noted and the next is tried.
 */
final class NativeLibrary {
    static final String PATH_PROPERTY = "com.mirtal.library.path";

    private static final String NAME = "com_mirtal_AAC2WAV";
    private static final String FILE_NAME = System.mapLibraryName(NAME);

    private static volatile boolean loaded;

    private final LoadReport report = new LoadReport(NAME);

    private NativeLibrary() {}

    /**
     * Loads the library, unless it is loaded.
     *
     * @throws UnsatisfiedLinkError telling every place tried; a later call tries again
     */
    static void load() {
        if (loaded) {
            return;
        }
        synchronized (NativeLibrary.class) {
            if (loaded) {
                return;
            }
            NativeLibrary library = new NativeLibrary();
            if (!library.loadFromProperty() && !library.loadFromLibraryPath() && !library.loadFromJar()) {
                throw library.report.toError();
            }
            loaded = true;
        }
    }

    private boolean loadFromProperty() {
        String value = System.getProperty(PATH_PROPERTY);
        if (value == null || value.isEmpty()) {
            report.add("system property " + PATH_PROPERTY, "not set");
            return false;
        }
        String place = "system property " + PATH_PROPERTY + "=" + value;
        try {
            Path named = Path.of(value);
            return loadFile(place, Files.isDirectory(named) ? named.resolve(FILE_NAME) : named);
        } catch (InvalidPathException notAPath) {
            report.add(place, notAPath.getMessage());
            return false;
        }
    }

    private boolean loadFromLibraryPath() {
        String place = "java.library.path";
        try {
            System.loadLibrary(NAME);
            return true;
        } catch (UnsatisfiedLinkError error) {
            Path file = isTakenByAnotherLoader(error) ? findInLibraryPath() : null;
            if (file != null) {
                return loadCopy(place, file);
            }
            report.add(place, error);
            return false;
        }
    }

    private static Path findInLibraryPath() {
        for (String folder : System.getProperty("java.library.path").split(File.pathSeparator)) {
            File file = new File(folder, FILE_NAME);
            if (file.isFile()) {
                return file.toPath();
            }
        }
        return null;
    }

    private boolean loadFromJar() {
        PackedLibrary packed = PackedLibrary.find(report);
        if (packed == null) {
            return false;
        }
        for (PackedLibrary.Folder folder : packed.folders()) {
            String place = "the copy in the jar, unpacked to " + folder.root();
            try {
                Path unpacked = packed.unpackInto(folder);
                if (loadFile(place, unpacked.resolve(FILE_NAME))) {
                    return true;
                }
            } catch (IOException failure) {
                report.add(place, failure);
            }
        }
        return false;
    }

    private boolean loadFile(String place, Path file) {
        Path absolute = file.toAbsolutePath();
        if (!Files.isRegularFile(absolute)) {
            report.add(place, "no file " + absolute);
            return false;
        }
        try {
            System.load(absolute.toString());
            return true;
        } catch (UnsatisfiedLinkError error) {
            if (isTakenByAnotherLoader(error)) {
                return loadCopy(place, absolute);
            }
            report.add(place, error, absolute);
            return false;
        }
    }

    /**
     * The Java runtime lets one class loader have a library file. Another one gets a copy: not a link, which
     * the dynamic linker would know as the same file, and hand out the same library with the first loader's
     * classes bound. The toolbox library beneath is found by its name, loaded already, and shared.
     */
    private boolean loadCopy(String place, Path file) {
        for (Path parent : List.of(Path.of(System.getProperty("java.io.tmpdir")), file.getParent())) {
            Path folder = null;
            try {
                folder = Files.createTempDirectory(parent, "mirtal-loader-");
                Path copy = Files.copy(file, folder.resolve(FILE_NAME));
                System.load(copy.toString());
                return true;
            } catch (IOException failure) {
                report.add(place + ", copied for a second class loader", failure);
            } catch (UnsatisfiedLinkError error) {
                report.add(place + ", copied for a second class loader", error, folder);
            } finally {
                // What is loaded stays loaded; its name is needed no more.
                PackedLibrary.deleteQuietly(folder);
            }
        }
        return false;
    }

    private static boolean isTakenByAnotherLoader(UnsatisfiedLinkError error) {
        return String.valueOf(error.getMessage()).contains("already loaded in another classloader");
    }
}

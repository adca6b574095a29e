package com.mirtal;

import java.io.File;
import java.lang.ref.WeakReference;
import java.net.URL;
import java.net.URLClassLoader;
import java.nio.file.Path;
import java.util.ArrayList;
import java.util.List;
import java.util.concurrent.Callable;
import java.util.concurrent.CountDownLatch;
import java.util.concurrent.ExecutorService;
import java.util.concurrent.Executors;
import java.util.concurrent.Future;

/** Run by itself: uses the library from so many class loaders, each with so many threads, all at once. */
public final class LoadingProgram {
    private LoadingProgram() {}

    public static void main(String[] arguments) throws Exception {
        int loaderCount = Integer.parseInt(arguments[0]);
        int threadCount = Integer.parseInt(arguments[1]);
        ExecutorService threads = Executors.newFixedThreadPool(loaderCount * threadCount);
        CountDownLatch start = new CountDownLatch(1);
        List<Future<Long>> lengths = new ArrayList<>();
        List<URLClassLoader> loaders = new ArrayList<>();
        for (int loader = 0; loader < loaderCount; loader++) {
            URL[] jar = {Path.of(System.getProperty("mirtal.jar")).toUri().toURL()};
            loaders.add(new URLClassLoader(jar, ClassLoader.getPlatformClassLoader()));
            Class<?> source = loaders.get(loader).loadClass("com.mirtal.WavSource");
            for (int thread = 0; thread < threadCount; thread++) {
                Callable<Long> use = () -> {
                    start.await();
                    try (AutoCloseable opened = (AutoCloseable) source.getMethod("open", String.class)
                                                    .invoke(null, arguments[2])) {
                        var stream = (java.io.InputStream) source.getMethod("openStream").invoke(opened);
                        return (long) stream.readAllBytes().length;
                    }
                };
                lengths.add(threads.submit(use));
            }
        }
        start.countDown();
        long sum = 0;
        for (Future<Long> length : lengths) {
            sum += length.get();
        }
        threads.shutdown();
        if (arguments.length > 3) {
            reload(loaders, arguments[2]);
        }
        System.out.println(sum);
        String leftBehind = new File(System.getProperty("java.io.tmpdir")).list().length == 0 ? "no" : "some";
        System.out.println(leftBehind + " temporary files");
    }

    /** After the first class loaders are gone, and the library with them, another one loads it anew. */
    private static void reload(List<URLClassLoader> loaders, String path) throws Exception {
        List<WeakReference<URLClassLoader>> gone = new ArrayList<>();
        for (URLClassLoader loader : loaders) {
            loader.close();
            gone.add(new WeakReference<>(loader));
        }
        loaders.clear();
        for (int i = 0; i < 3000 && !gone.stream().allMatch(loader -> loader.refersTo(null)); i++) {
            System.gc();
            Thread.sleep(20);
        }
        System.out.println(gone.stream().filter(loader -> loader.refersTo(null)).count() + " loaders gone");
        URL[] jar = {Path.of(System.getProperty("mirtal.jar")).toUri().toURL()};
        try (URLClassLoader loader = new URLClassLoader(jar, ClassLoader.getPlatformClassLoader());
             AutoCloseable source = (AutoCloseable) loader.loadClass("com.mirtal.WavSource")
                                        .getMethod("open", String.class)
                                        .invoke(null, path)) {
            System.out.println("reloaded " + source.getClass().getMethod("length").invoke(source));
        }
    }
}

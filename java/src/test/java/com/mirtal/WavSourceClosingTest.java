package com.mirtal;

import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertTrue;

import java.io.IOException;
import java.lang.management.LockInfo;
import java.lang.management.ManagementFactory;
import java.lang.management.ThreadInfo;
import java.util.ArrayList;
import java.util.Collections;
import java.util.List;
import java.util.concurrent.atomic.AtomicInteger;
import org.junit.jupiter.api.Test;

/**
 * Who reads how often when a source is closed or cancelled. The test's own thread has the reader's lock, as a
 * read in progress has it, so that the order in which the others come is the test's to choose.
 */
class WavSourceClosingTest {
    private static final int READERS = 8;

    private final AtomicInteger reads = new AtomicInteger();
    private final List<String> ends = Collections.synchronizedList(new ArrayList<>());

    private Thread startReading(WavSource source) {
        Thread reader = new Thread(() -> {
            byte[] bytes = new byte[5000];
            try {
                WavInputStream stream = source.openStream(source.headerLength(), source.length() - 1);
                while (stream.read(bytes) > 0) {
                    reads.incrementAndGet();
                }
                ends.add("the end");
            } catch (IOException end) {
                ends.add(end.getMessage());
            }
        });
        reader.start();
        return reader;
    }

    private List<Thread> startReaders(WavSource source) {
        List<Thread> readers = new ArrayList<>();
        for (int i = 0; i < READERS; i++) {
            readers.add(startReading(source));
        }
        return readers;
    }

    private static void awaitWaiting(Thread thread, NativeReader reader) throws InterruptedException {
        while (!isWaiting(thread, reader)) {
            assertTrue(thread.isAlive(), "it is to wait for the reader");
            Thread.sleep(1);
        }
    }

    private static boolean isWaiting(Thread thread, NativeReader reader) {
        ThreadInfo info = ManagementFactory.getThreadMXBean().getThreadInfo(thread.getId());
        LockInfo lock = info == null ? null : info.getLockInfo();
        return thread.getState() == Thread.State.BLOCKED && lock != null
            && lock.getIdentityHashCode() == System.identityHashCode(reader);
    }

    private static void awaitWaiting(List<Thread> threads, NativeReader reader) throws InterruptedException {
        for (Thread thread : threads) {
            awaitWaiting(thread, reader);
        }
    }

    private static void join(List<Thread> threads) throws InterruptedException {
        for (Thread thread : threads) {
            thread.join();
        }
    }

    @Test
    void closeIsNextAfterTheReadInProgress() throws Exception {
        WavSource source = WavSource.open(TestMedia.LONG);
        List<Thread> before;
        Thread closer = new Thread(source::close);
        synchronized (source.reader) {
            before = startReaders(source);
            awaitWaiting(before, source.reader);
            closer.start();
            awaitWaiting(closer, source.reader);
            // Who comes behind the close does not even wait for what is in progress.
            join(startReaders(source));
        }
        closer.join();
        join(before);
        assertEquals(0, reads.get());
        assertEquals(Collections.nCopies(2 * READERS, "closed"), ends);
    }

    @Test
    void cancelIsNextAfterTheReadInProgress() throws Exception {
        try (WavSource source = WavSource.open(TestMedia.LONG)) {
            List<Thread> readers;
            synchronized (source.reader) {
                readers = startReaders(source);
                awaitWaiting(readers, source.reader);
                source.cancel();
            }
            join(readers);
            join(startReaders(source));
            assertEquals(0, reads.get());
            assertEquals(Collections.nCopies(2 * READERS, "cancelled"), ends);
        }
    }

    @Test
    void interruptIsNextAfterTheReadInProgress() throws Exception {
        try (WavSource source = WavSource.open(TestMedia.LONG)) {
            List<Thread> readers;
            synchronized (source.reader) {
                readers = startReaders(source);
                awaitWaiting(readers, source.reader);
                readers.forEach(Thread::interrupt);
            }
            join(readers);
            assertEquals(0, reads.get());
            assertEquals(Collections.nCopies(READERS, "interrupted"), ends);
        }
    }

    @Test
    void slicesEndAlike() throws Exception {
        try (WavSource source = WavSource.open(TestMedia.LONG)) {
            List<Thread> readers = new ArrayList<>();
            synchronized (source.reader) {
                WavSource closed = source.slice(0, 100_000);
                WavSource cancelled = source.slice(0, 100_000);
                readers.add(startReading(closed));
                readers.add(startReading(cancelled));
                awaitWaiting(readers, source.reader);
                closed.close();
                cancelled.cancel();
            }
            join(readers);
            assertEquals(0, reads.get());
            assertEquals(List.of("cancelled", "closed"), ends.stream().sorted().toList());
        }
    }

    @Test
    void everyCloseReturnsWhenAllIsReleased() throws Exception {
        WavSource source = WavSource.open(TestMedia.TONE);
        List<Thread> closers = List.of(new Thread(source::close), new Thread(source::close));
        synchronized (source.reader) {
            closers.forEach(Thread::start);
            awaitWaiting(closers, source.reader);
        }
        join(closers);
        assertEquals(0, TestMedia.openDescriptors(TestMedia.TONE));
    }
}

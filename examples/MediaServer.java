package com.mirtal.examples;

import com.mirtal.AudioAccessDeniedException;
import com.mirtal.AudioFileNotFoundException;
import com.mirtal.WavInputStream;
import com.mirtal.WavSource;
import com.sun.net.httpserver.Headers;
import com.sun.net.httpserver.HttpExchange;
import com.sun.net.httpserver.HttpServer;
import java.io.IOException;
import java.io.OutputStream;
import java.net.InetAddress;
import java.net.InetSocketAddress;
import java.nio.charset.StandardCharsets;
import java.nio.file.DirectoryStream;
import java.nio.file.Files;
import java.nio.file.Path;
import java.nio.file.attribute.BasicFileAttributes;
import java.time.Instant;
import java.time.ZoneOffset;
import java.time.format.DateTimeFormatter;
import java.time.format.DateTimeParseException;
import java.time.temporal.ChronoUnit;
import java.util.List;
import java.util.Locale;
import java.util.Set;
import java.util.TreeMap;
import java.util.concurrent.ConcurrentHashMap;
import java.util.concurrent.ExecutorService;
import java.util.concurrent.Executors;
import java.util.regex.Matcher;
import java.util.regex.Pattern;

/**
 * Serves a folder of AAC files as WAV to any player, with true lengths and working seeks. No file is converted before it
 * is played: a request decodes what it asks for, and stops when the player goes away.
 *
 * <p>{@code java -cp mirtal-aac2wav.jar examples/MediaServer.java FOLDER [PORT]} and open the address it prints.
 */
public final class MediaServer implements AutoCloseable {
    private static final Set<String> SUFFIXES = Set.of(".m4a", ".m4b", ".mp4", ".mov", ".3gp", ".aac");
    private static final String AUDIO = "/audio/";
    private static final Pattern ONE_RANGE = Pattern.compile("bytes=\\s*(\\d*)-(\\d*)\\s*");

    private final Path folder;
    private final HttpServer server;
    private final ExecutorService threads = Executors.newCachedThreadPool();
    private final Set<WavSource> transfers = ConcurrentHashMap.newKeySet();

    /** Starts to serve a folder to this machine. Port 0 means any that is free. */
    public MediaServer(Path folder, int port) throws IOException {
        this.folder = folder;
        server = HttpServer.create(new InetSocketAddress(InetAddress.getLoopbackAddress(), port), 0);
        server.createContext("/", this::handle);
        server.setExecutor(threads);
        server.start();
    }

    public static void main(String[] arguments) throws IOException {
        if (arguments.length < 1 || arguments.length > 2) {
            System.err.println("usage: MediaServer FOLDER [PORT]");
            System.exit(2);
        }
        int port = arguments.length == 2 ? Integer.parseInt(arguments[1]) : 8080;
        MediaServer server = new MediaServer(Path.of(arguments[0]), port);
        System.out.println(server.address());
    }

    /** The address of the page. */
    public String address() {
        return "http://" + server.getAddress().getAddress().getHostAddress() + ":" + server.getAddress().getPort() + "/";
    }

    /** How many files are being sent now. */
    public int transferCount() {
        return transfers.size();
    }

    /** Stops, and ends the transfers under way. */
    @Override
    public void close() {
        transfers.forEach(WavSource::cancel);
        server.stop(0);
        threads.shutdownNow();
    }

    private void handle(HttpExchange exchange) throws IOException {
        try (exchange) {
            String method = exchange.getRequestMethod();
            String path = exchange.getRequestURI().getRawPath();
            if (!method.equals("GET") && !method.equals("HEAD")) {
                exchange.getResponseHeaders().set("Allow", "GET, HEAD");
                answerText(exchange, 405, "text/plain", "Only GET and HEAD.\n");
            } else if (path.equals("/")) {
                answerText(exchange, 200, "text/html", page());
            } else {
                answerAudio(exchange, fileOf(path));
            }
        }
    }

    // ---- the page

    private String page() throws IOException {
        StringBuilder page = new StringBuilder("""
                <!DOCTYPE html>
                <html lang="en"><meta charset="utf-8"><meta name="viewport" content="width=device-width">
                <title>Music</title>
                <style>body { font: 1em sans-serif; max-width: 40em; margin: auto; padding: 1em }
                audio { display: block; width: 100% }</style>
                <h1>Music</h1>
                """);
        files().forEach((address, file) -> page.append("<p>").append(escaped(file.getFileName().toString()))
                .append("<audio controls preload=none src=\"").append(escaped(address)).append("\"></audio></p>\n"));
        return page.toString();
    }

    private static String escaped(String text) {
        return text.replace("&", "&amp;").replace("<", "&lt;").replace("\"", "&quot;");
    }

    /**
     * The files by the path of their address. Nothing but what is listed here is ever opened, so no address leads out of
     * the folder. The address is made of the bytes of the name, which the text may have lost.
     */
    private TreeMap<String, Path> files() throws IOException {
        TreeMap<String, Path> files = new TreeMap<>();
        try (DirectoryStream<Path> entries = Files.newDirectoryStream(folder)) {
            for (Path entry : entries) {
                String name = entry.getFileName().toString();
                int dot = Math.max(name.lastIndexOf('.'), 0);
                if (SUFFIXES.contains(name.substring(dot).toLowerCase(Locale.ROOT)) && Files.isRegularFile(entry)) {
                    String rawPath = entry.toUri().getRawPath();
                    files.put(AUDIO + rawPath.substring(rawPath.lastIndexOf('/') + 1) + ".wav", entry);
                }
            }
        }
        return files;
    }

    /** Null when the folder has no such file. */
    private Path fileOf(String rawPath) throws IOException {
        // Which characters are percent-encoded is up to the client.
        for (var entry : files().entrySet()) {
            if (decoded(entry.getKey()).equals(decoded(rawPath))) {
                return entry.getValue();
            }
        }
        return null;
    }

    /** Percent-encoding undone, each byte as one character. */
    private static String decoded(String text) {
        Matcher escape = Pattern.compile("%([0-9a-fA-F]{2})").matcher(text);
        return escape.replaceAll(
                found -> Matcher.quoteReplacement(String.valueOf((char) Integer.parseInt(found.group(1), 16))));
    }

    // ---- the sound

    private void answerAudio(HttpExchange exchange, Path file) throws IOException {
        if (file == null) {
            answerText(exchange, 404, "text/plain", "No such file.\n");
            return;
        }
        try (WavSource source = WavSource.open(file)) {
            BasicFileAttributes attributes = Files.readAttributes(file, BasicFileAttributes.class);
            Instant modified = attributes.lastModifiedTime().toInstant();
            String tag = "\"" + Long.toHexString(modified.getEpochSecond()) + "." + modified.getNano() + "-"
                    + Long.toHexString(attributes.size()) + "-" + Long.toHexString(source.length()) + "\"";
            Headers headers = exchange.getResponseHeaders();
            headers.set("ETag", tag);
            headers.set("Last-Modified", httpDate(modified));
            headers.set("Accept-Ranges", "bytes");
            headers.set("Cache-Control", "no-cache");
            if (isUnchanged(exchange.getRequestHeaders(), tag, modified)) {
                exchange.sendResponseHeaders(304, -1);
                return;
            }
            headers.set("Content-Type", "audio/wav");
            answerRange(exchange, source, tag, modified);
        } catch (AudioFileNotFoundException gone) {
            answerText(exchange, 404, "text/plain", "No such file.\n");
        } catch (AudioAccessDeniedException denied) {
            answerText(exchange, 403, "text/plain", "Reading it is not allowed.\n");
        } catch (com.mirtal.AudioException unreadable) {
            answerText(exchange, 500, "text/plain", "This file cannot be played.\n");
        }
    }

    private void answerRange(HttpExchange exchange, WavSource source, String tag, Instant modified)
            throws IOException {
        long length = source.length();
        long first = 0;
        long last = length - 1;
        int status = 200;
        Headers request = exchange.getRequestHeaders();
        if (exchange.getRequestMethod().equals("GET") && mayUseRange(request, tag, modified)) {
            Matcher range = ONE_RANGE.matcher(String.valueOf(request.getFirst("Range")));
            // Several ranges, other units and what makes no sense: the whole, as a server is free to answer.
            if (range.matches() && isSensible(range)) {
                if (range.group(1).isEmpty()) {
                    first = length - Math.min(number(range.group(2)), length);
                } else {
                    first = number(range.group(1));
                    last = range.group(2).isEmpty() ? last : Math.min(number(range.group(2)), last);
                }
                if (first >= length) {
                    exchange.getResponseHeaders().set("Content-Range", "bytes */" + length);
                    answerText(exchange, 416, "text/plain", "It has " + length + " bytes.\n");
                    return;
                }
                exchange.getResponseHeaders().set("Content-Range", "bytes " + first + "-" + last + "/" + length);
                status = 206;
            }
        }
        if (!beginBody(exchange, status, last - first + 1)) {
            return;
        }
        transfers.add(source);
        try (WavInputStream sound = source.openStream(first, last); OutputStream body = exchange.getResponseBody()) {
            sound.transferTo(body);
        } catch (IOException disconnected) {
            // The player has gone, or has seeked: nobody waits for the rest. The server lets go of the connection
            // only when it hears of it.
            throw new IOException("the transfer ended early", disconnected);
        } finally {
            transfers.remove(source);
        }
    }

    /** Not "-" alone, and not the end before the start. */
    private static boolean isSensible(Matcher range) {
        if (range.group(1).isEmpty() || range.group(2).isEmpty()) {
            return !range.group(1).equals(range.group(2));
        }
        return number(range.group(1)) <= number(range.group(2));
    }

    /** More digits than a long has are more bytes than there are. */
    private static long number(String digits) {
        try {
            return Long.parseLong(digits);
        } catch (NumberFormatException tooLarge) {
            return Long.MAX_VALUE;
        }
    }

    // ---- conditions

    private static boolean isUnchanged(Headers request, String tag, Instant modified) {
        String tags = request.getFirst("If-None-Match");
        if (tags != null) {
            return tags.trim().equals("*") || List.of(tags.replace("W/", "").trim().split("\\s*,\\s*")).contains(tag);
        }
        Instant known = parsedDate(request.getFirst("If-Modified-Since"));
        return known != null && !modified.truncatedTo(ChronoUnit.SECONDS).isAfter(known);
    }

    /** If-Range: the part is of use only with the rest that the client already has. */
    private static boolean mayUseRange(Headers request, String tag, Instant modified) {
        String condition = request.getFirst("If-Range");
        if (condition == null || condition.equals(tag)) {
            return request.containsKey("Range");
        }
        return modified.truncatedTo(ChronoUnit.SECONDS).equals(parsedDate(condition));
    }

    private static String httpDate(Instant instant) {
        return DateTimeFormatter.ofPattern("EEE, dd MMM yyyy HH:mm:ss 'GMT'", Locale.US)
                .format(instant.atZone(ZoneOffset.UTC));
    }

    /** Null for what is no date. */
    private static Instant parsedDate(String text) {
        try {
            return text == null ? null : DateTimeFormatter.RFC_1123_DATE_TIME.parse(text, Instant::from);
        } catch (DateTimeParseException noDate) {
            return null;
        }
    }

    // ---- answers

    private static void answerText(HttpExchange exchange, int status, String type, String text) throws IOException {
        byte[] bytes = text.getBytes(StandardCharsets.UTF_8);
        exchange.getResponseHeaders().set("Content-Type", type + "; charset=utf-8");
        if (beginBody(exchange, status, bytes.length)) {
            exchange.getResponseBody().write(bytes);
        }
    }

    /** Whether the body is to follow: to HEAD, its length is told all the same. */
    private static boolean beginBody(HttpExchange exchange, int status, long byteCount) throws IOException {
        if (exchange.getRequestMethod().equals("HEAD")) {
            exchange.getResponseHeaders().set("Content-Length", Long.toString(byteCount));
            exchange.sendResponseHeaders(status, -1);
            return false;
        }
        exchange.sendResponseHeaders(status, byteCount);
        return true;
    }
}

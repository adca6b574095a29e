package com.mirtal.examples;

import static org.junit.jupiter.api.Assertions.assertArrayEquals;
import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertFalse;
import static org.junit.jupiter.api.Assertions.assertTrue;

import com.mirtal.WavSource;
import java.io.InputStream;
import java.net.Socket;
import java.net.URI;
import java.net.http.HttpClient;
import java.net.http.HttpRequest;
import java.net.http.HttpResponse;
import java.nio.charset.StandardCharsets;
import java.nio.file.Files;
import java.nio.file.NoSuchFileException;
import java.nio.file.Path;
import java.nio.file.attribute.FileTime;
import java.time.Instant;
import java.util.Arrays;
import java.util.List;
import org.junit.jupiter.api.AfterEach;
import org.junit.jupiter.api.BeforeEach;
import org.junit.jupiter.api.Test;
import org.junit.jupiter.api.io.TempDir;

class MediaServerTest {
    private static final String SONG = "audio/song.m4a.wav";
    private static final int LENGTH = 176444;

    @TempDir Path folder;

    private final HttpClient client = HttpClient.newBuilder().version(HttpClient.Version.HTTP_1_1).build();
    private MediaServer server;
    private byte[] whole;

    @BeforeEach
    void serve() throws Exception {
        Path fixtures = Path.of(System.getProperty("mirtal.fixtures"));
        Files.copy(fixtures.resolve("tone-44100-stereo.m4a"), folder.resolve("song.m4a"));
        Files.copy(
            fixtures.resolve("tone-44100-stereo.m4a"), folder.resolve("f\u00fcr <Elise> & \"co\".M4A"));
        Files.copy(fixtures.resolve("words.m4a"), folder.resolve("words.m4a"));
        Files.createSymbolicLink(folder.resolve("long.m4a"), fixtures.resolve("long.m4a"));
        Files.writeString(folder.resolve("secret.txt"), "secret");
        Files.createDirectory(folder.resolve("album.m4a"));
        try (WavSource source = WavSource.open(folder.resolve("song.m4a"))) {
            whole = source.openStream().readAllBytes();
        }
        server = new MediaServer(folder, 0);
    }

    @AfterEach
    void stop() {
        server.close();
    }

    private HttpResponse<byte[]> send(String method, String path, String... headers) throws Exception {
        HttpRequest.Builder request = HttpRequest.newBuilder(URI.create(server.address() + path))
                                          .method(method, HttpRequest.BodyPublishers.noBody());
        if (headers.length > 0) {
            request.headers(headers);
        }
        return client.send(request.build(), HttpResponse.BodyHandlers.ofByteArray());
    }

    private static String header(HttpResponse<?> response, String name) {
        return response.headers().firstValue(name).orElse(null);
    }

    private void assertPart(HttpResponse<byte[]> response, int first, int end) {
        assertEquals(206, response.statusCode());
        assertEquals("bytes " + first + "-" + (end - 1) + "/" + LENGTH, header(response, "Content-Range"));
        assertEquals(Integer.toString(end - first), header(response, "Content-Length"));
        assertEquals("audio/wav", header(response, "Content-Type"));
        assertArrayEquals(Arrays.copyOfRange(whole, first, end), response.body());
    }

    private void assertWhole(HttpResponse<byte[]> response) {
        assertEquals(200, response.statusCode());
        assertEquals(Integer.toString(LENGTH), header(response, "Content-Length"));
        assertEquals("bytes", header(response, "Accept-Ranges"));
        assertArrayEquals(whole, response.body());
    }

    @Test
    void pageListsTheFiles() throws Exception {
        HttpResponse<byte[]> page = send("GET", "");
        assertEquals(200, page.statusCode());
        String text = new String(page.body(), StandardCharsets.UTF_8);
        assertTrue(text.contains("<audio controls preload=none src=\"/audio/song.m4a.wav\">"), text);
        assertTrue(text.contains("f\u00fcr &lt;Elise> &amp; &quot;co&quot;.M4A"), text);
        assertFalse(text.contains("secret"), text);
        assertFalse(text.contains("album"), text);
    }

    @Test
    void addressesOnThePageAreServed() throws Exception {
        String page = new String(send("GET", "").body(), StandardCharsets.UTF_8);
        var sources = java.util.regex.Pattern.compile("src=\"/([^\"]*f%C3%BCr[^\"]*)\"").matcher(page);
        assertTrue(sources.find(), page);
        assertWhole(send("GET", sources.group(1).replace("&amp;", "&").replace("&quot;", "%22")));
    }

    @Test
    void wholeFile() throws Exception {
        HttpResponse<byte[]> response = send("GET", SONG);
        assertWhole(response);
        assertEquals("audio/wav", header(response, "Content-Type"));
    }

    @Test
    void headTellsTheLength() throws Exception {
        for (String[] headers : new String[][] {{}, {"Range", "bytes=0-9"}}) {
            HttpResponse<byte[]> response = send("HEAD", SONG, headers);
            assertEquals(200, response.statusCode());
            assertEquals(Integer.toString(LENGTH), header(response, "Content-Length"));
            assertEquals("bytes", header(response, "Accept-Ranges"));
            assertEquals(0, response.body().length);
        }
    }

    @Test
    void oneRange() throws Exception {
        assertPart(send("GET", SONG, "Range", "bytes=0-0"), 0, 1);
        assertPart(send("GET", SONG, "Range", "bytes=0-43"), 0, 44);
        assertPart(send("GET", SONG, "Range", "bytes=100001-150000"), 100_001, 150_001);
        assertPart(send("GET", SONG, "Range", "bytes=100000-"), 100_000, LENGTH);
        assertPart(send("GET", SONG, "Range", "bytes=-10"), LENGTH - 10, LENGTH);
        assertPart(send("GET", SONG, "Range", "bytes=-999999999"), 0, LENGTH);
        assertPart(send("GET", SONG, "Range", "bytes=176443-99999999999999999999"), LENGTH - 1, LENGTH);
    }

    @Test
    void rangeBehindTheEnd() throws Exception {
        for (String range :
            List.of("bytes=176444-", "bytes=176444-200000", "bytes=-0", "bytes=99999999999999999999-")) {
            HttpResponse<byte[]> response = send("GET", SONG, "Range", range);
            assertEquals(416, response.statusCode(), range);
            assertEquals("bytes */" + LENGTH, header(response, "Content-Range"), range);
        }
    }

    /** A server may leave any range out of account, and must where it makes no sense. */
    @Test
    void otherRangesGiveTheWhole() throws Exception {
        for (String range :
            List.of("bytes=0-9,20-29", "bytes=5-3", "bytes=-", "bytes=a-b", "frames=0-9", "bytes 0-9")) {
            assertWhole(send("GET", SONG, "Range", range));
        }
    }

    @Test
    void conditions() throws Exception {
        HttpResponse<byte[]> first = send("GET", SONG);
        String tag = header(first, "ETag");
        String date = header(first, "Last-Modified");
        for (String tags : List.of(tag, "\"other\", " + tag, "W/" + tag, "*", tag + "," + tag)) {
            HttpResponse<byte[]> response = send("GET", SONG, "If-None-Match", tags);
            assertEquals(304, response.statusCode(), tags);
            assertEquals(tag, header(response, "ETag"));
            assertEquals(0, response.body().length);
        }
        assertWhole(send("GET", SONG, "If-None-Match", "\"other\""));
        assertEquals(304, send("GET", SONG, "If-Modified-Since", date).statusCode());
        assertWhole(send("GET", SONG, "If-Modified-Since", "Sat, 01 Jan 2000 00:00:00 GMT"));
        assertWhole(send("GET", SONG, "If-Modified-Since", "yesterday"));

        assertPart(send("GET", SONG, "Range", "bytes=5-9", "If-Range", tag), 5, 10);
        assertPart(send("GET", SONG, "Range", "bytes=5-9", "If-Range", date), 5, 10);
        assertWhole(send("GET", SONG, "Range", "bytes=5-9", "If-Range", "\"other\""));
        assertWhole(send("GET", SONG, "Range", "bytes=5-9", "If-Range", "W/" + tag));
        assertWhole(send("GET", SONG, "Range", "bytes=5-9", "If-Range", "Sat, 01 Jan 2000 00:00:00 GMT"));

        Files.setLastModifiedTime(
            folder.resolve("song.m4a"), FileTime.from(Instant.parse("2001-02-03T04:05:06Z")));
        assertWhole(send("GET", SONG, "If-None-Match", tag));
        assertEquals("Sat, 03 Feb 2001 04:05:06 GMT", header(send("HEAD", SONG), "Last-Modified"));
    }

    @Test
    void whatIsNotThere() throws Exception {
        for (String path : List.of("audio/none.m4a.wav", "audio/secret.txt.wav", "audio/secret.txt", "audio/",
                 "audio", "audio/../secret.txt.wav", "audio/%2e%2e%2fsecret.txt.wav", "audio/album.m4a.wav",
                 "favicon.ico")) {
            assertEquals(404, send("GET", path).statusCode(), path);
        }
        assertEquals(500, send("GET", "audio/words.m4a.wav").statusCode());
        HttpResponse<byte[]> post = send("POST", SONG);
        assertEquals(405, post.statusCode());
        assertEquals("GET, HEAD", header(post, "Allow"));
    }

    @Test
    void disconnectEndsTheTransfer() throws Exception {
        HttpResponse<InputStream> response =
            client.send(HttpRequest.newBuilder(URI.create(server.address() + "audio/long.m4a.wav")).build(),
                HttpResponse.BodyHandlers.ofInputStream());
        response.body().readNBytes(100_000);
        assertEquals(1, server.transferCount());
        response.body().close();
        waitForTransfers(0);

        URI address = URI.create(server.address());
        try (Socket socket = new Socket(address.getHost(), address.getPort())) {
            socket.getOutputStream().write("GET /audio/long.m4a.wav HTTP/1.1\r\nHost: x\r\n\r\n".getBytes());
            socket.getInputStream().read();
            waitForTransfers(1);
        }
        waitForTransfers(0);
        assertWhole(send("GET", SONG));
    }

    /** In this process, of the server and of the tests. */
    private static long socketCount() throws Exception {
        long count = 0;
        try (var descriptors = Files.newDirectoryStream(Path.of("/proc/self/fd"))) {
            for (Path descriptor : descriptors) {
                try {
                    count += Files.readSymbolicLink(descriptor).toString().startsWith("socket:") ? 1 : 0;
                } catch (NoSuchFileException closedMeanwhile) {
                    continue;
                }
            }
        }
        return count;
    }

    @Test
    void disconnectingLeavesNoSocketOpen() throws Exception {
        URI address = URI.create(server.address());
        long before = socketCount();
        for (int round = 0; round < 20; round++) {
            try (Socket socket = new Socket(address.getHost(), address.getPort())) {
                socket.getOutputStream().write("GET /audio/long.m4a.wav HTTP/1.1\r\nHost: x\r\n\r\n".getBytes());
                socket.getInputStream().readNBytes(1000);
            }
        }
        for (int i = 0; i < 6000 && socketCount() > before; i++) {
            Thread.sleep(10);
        }
        assertEquals(before, socketCount());
    }

    private void waitForTransfers(int count) throws Exception {
        while (server.transferCount() != count) {
            Thread.sleep(10);
        }
    }

    @Test
    void closingEndsTransfers() throws Exception {
        HttpResponse<InputStream> response =
            client.send(HttpRequest.newBuilder(URI.create(server.address() + "audio/long.m4a.wav")).build(),
                HttpResponse.BodyHandlers.ofInputStream());
        response.body().read();
        server.close();
        waitForTransfers(0);
        response.body().close();
    }

    private String curl(String... arguments) throws Exception {
        var command =
            new java.util.ArrayList<>(List.of("curl", "--silent", "--show-error", "--max-time", "30"));
        command.addAll(Arrays.asList(arguments));
        ProcessBuilder builder = new ProcessBuilder(command).redirectErrorStream(true);
        // A sanitizer that this runtime was started under is none of curl's.
        builder.environment().remove("LD_PRELOAD");
        Process process = builder.start();
        String output = new String(process.getInputStream().readAllBytes(), StandardCharsets.ISO_8859_1);
        assertEquals(0, process.waitFor(), output);
        return output;
    }

    @Test
    void curlGetsWholeAndParts() throws Exception {
        String song = server.address() + SONG;
        Path out = folder.resolve("out.wav");
        curl("--output", out.toString(), song);
        assertArrayEquals(whole, Files.readAllBytes(out));

        // Half a download, then the rest: the way a broken one is resumed.
        Files.write(out, Arrays.copyOf(whole, 100_000));
        curl("--continue-at", "-", "--output", out.toString(), song);
        assertArrayEquals(whole, Files.readAllBytes(out));

        assertEquals("206 5",
            curl("--range", "0-4", "--output", out.toString(), "--write-out", "%{http_code} %{size_download}",
                song));
        assertEquals("416",
            curl("--range", "999999999-", "--output", out.toString(), "--write-out", "%{http_code}", song));
        String head = curl("--head", song);
        assertTrue(head.contains("Content-length: 176444") || head.contains("Content-Length: 176444"), head);
    }

    @Test
    void middleOfALongFileComesAtOnce() throws Exception {
        HttpResponse<byte[]> part = send("GET", "audio/long.m4a.wav", "Range", "bytes=172000000-172000999");
        assertEquals(206, part.statusCode());
        try (WavSource source = WavSource.open(folder.resolve("long.m4a"))) {
            assertArrayEquals(source.openStream(172_000_000, 172_000_999).readAllBytes(), part.body());
        }
    }
}

package com.mirtal.examples;

import java.net.URI;
import java.net.http.HttpClient;
import java.net.http.HttpRequest;
import java.net.http.HttpResponse;
import java.net.http.WebSocket;
import java.nio.file.Files;
import java.nio.file.Path;
import java.util.List;
import java.util.concurrent.BlockingQueue;
import java.util.concurrent.CompletionStage;
import java.util.concurrent.LinkedBlockingQueue;
import java.util.concurrent.TimeUnit;
import java.util.regex.Matcher;
import java.util.regex.Pattern;

/** A headless Chromium with one page, and scripts run in it. */
final class DevTools implements AutoCloseable {
    private final Process browser;
    private final WebSocket socket;
    private final BlockingQueue<String> messages = new LinkedBlockingQueue<>();
    private int lastId;

    DevTools(String address, Path profile) throws Exception {
        browser = new ProcessBuilder(
            List.of("chromium", "--headless=new", "--no-sandbox", "--disable-gpu", "--mute-audio",
                "--disable-dev-shm-usage", "--autoplay-policy=no-user-gesture-required",
                "--remote-debugging-port=0", "--user-data-dir=" + profile, address))
                      .redirectErrorStream(true)
                      .redirectOutput(profile.resolve("log").toFile())
                      .start();
        HttpClient client = HttpClient.newHttpClient();
        socket = client.newWebSocketBuilder()
                     .buildAsync(URI.create(pageSocket(client, profile)), new Listener())
                     .join();
    }

    /** The browser writes its port to a file when it is up. */
    private String pageSocket(HttpClient client, Path profile) throws Exception {
        Path portFile = profile.resolve("DevToolsActivePort");
        for (int i = 0; i < 1200; i++) {
            if (Files.exists(portFile) && !Files.readString(portFile).isEmpty()) {
                String port = Files.readAllLines(portFile).get(0);
                String pages =
                    client
                        .send(
                            HttpRequest.newBuilder(URI.create("http://127.0.0.1:" + port + "/json")).build(),
                            HttpResponse.BodyHandlers.ofString())
                        .body();
                Matcher page = Pattern
                                   .compile("\"type\": \"page\".*?\"webSocketDebuggerUrl\": \"([^\"]+)\"",
                                       Pattern.DOTALL)
                                   .matcher(pages);
                if (page.find()) {
                    return page.group(1);
                }
            }
            Thread.sleep(100);
        }
        close();
        throw new IllegalStateException(
            "the browser does not start: " + Files.readString(profile.resolve("log")));
    }

    /**
     * Runs a script, waits for its promise, and gives its value, which is to be text without quotes in it.
     */
    String run(String script) throws Exception {
        int id = ++lastId;
        String quoted = script.replace("\\", "\\\\").replace("\"", "\\\"").replace("\n", "\\n");
        socket
            .sendText("{\"id\":" + id + ",\"method\":\"Runtime.evaluate\",\"params\":{\"expression\":\""
                    + quoted + "\",\"awaitPromise\":true,\"returnByValue\":true}}",
                true)
            .join();
        while (true) {
            String message = messages.poll(40, TimeUnit.SECONDS);
            if (message == null) {
                throw new IllegalStateException("no answer to: " + script);
            }
            if (message.contains("\"id\":" + id + ",")) {
                Matcher value =
                    Pattern.compile("\"type\":\"string\",\"value\":\"([^\"]*)\"").matcher(message);
                if (message.contains("exceptionDetails") || !value.find()) {
                    throw new IllegalStateException(message);
                }
                return value.group(1);
            }
        }
    }

    @Override
    public void close() throws InterruptedException {
        if (socket != null) {
            socket.abort();
        }
        browser.descendants().forEach(ProcessHandle::destroy);
        browser.destroy();
        if (!browser.waitFor(10, TimeUnit.SECONDS)) {
            browser.destroyForcibly().waitFor();
        }
    }

    private final class Listener implements WebSocket.Listener {
        private final StringBuilder text = new StringBuilder();

        @Override
        public CompletionStage<?> onText(WebSocket from, CharSequence part, boolean isLast) {
            text.append(part);
            if (isLast) {
                messages.add(text.toString());
                text.setLength(0);
            }
            from.request(1);
            return null;
        }
    }
}

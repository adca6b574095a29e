package com.mirtal;

import java.io.File;
import java.nio.charset.StandardCharsets;
import java.nio.file.Path;
import java.util.ArrayList;
import java.util.Arrays;
import java.util.List;
import java.util.Map;

/** Another Java runtime, for what needs one of its own: other properties, another locale, or an end by force. */
final class ChildJava {
    final List<String> options = new ArrayList<>();
    final List<String> before = new ArrayList<>();
    final ProcessBuilder builder = new ProcessBuilder();

    /** What a child did. Standard error is in the output. */
    record Result(int exitCode, String output) {}

    /** With the test classes and the jar, as a user has it: nothing tells where the library is. */
    static ChildJava withJar() {
        String tests = System.getProperty("mirtal.test.classes");
        return withClassPath(TestMedia.property("mirtal.jar") + File.pathSeparator + tests);
    }

    static ChildJava withClassPath(String classPath) {
        ChildJava child = new ChildJava();
        child.options.addAll(List.of("-XX:-CreateCoredumpOnCrash", "-Xshare:auto", "-cp", classPath));
        for (String name : List.of("mirtal.fixtures", "mirtal.aac2wav", "mirtal.heap.in.use", "mirtal.jar",
                 "mirtal.test.classes")) {
            child.options.add("-D" + name + "=" + System.getProperty(name));
        }
        return child;
    }

    ChildJava option(String option) {
        options.add(option);
        return this;
    }

    ChildJava environment(Map<String, String> variables) {
        builder.environment().putAll(variables);
        return this;
    }

    Process start(String mainClass, String... arguments) throws Exception {
        List<String> command = new ArrayList<>(before);
        command.add(Path.of(System.getProperty("java.home"), "bin", "java").toString());
        command.addAll(options);
        command.add(mainClass);
        command.addAll(Arrays.asList(arguments));
        return builder.command(command).redirectErrorStream(true).start();
    }

    Result run(String mainClass, String... arguments) throws Exception {
        Process process = start(mainClass, arguments);
        process.getOutputStream().close();
        String output = new String(process.getInputStream().readAllBytes(), StandardCharsets.UTF_8);
        return new Result(process.waitFor(), output);
    }
}

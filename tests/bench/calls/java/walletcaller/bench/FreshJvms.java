package walletcaller.bench;

import java.io.BufferedReader;
import java.io.IOException;
import java.io.InputStreamReader;
import java.nio.charset.StandardCharsets;
import java.nio.file.Paths;
import java.util.ArrayList;
import java.util.Arrays;
import java.util.List;

/** Runs a program in JVMs of its own, one after the other. */
final class FreshJvms {
    private FreshJvms() {}

    /** The program prints figures, one line of them; the result has each one's values. */
    static double[][] figures(int processes, Class<?> program, String... arguments)
            throws IOException, InterruptedException {
        double[][] figures = null;
        for (int process = 0; process < processes; ++process) {
            double[] printed = run(program, arguments);
            figures = figures == null ? new double[printed.length][processes] : figures;
            for (int i = 0; i < printed.length; ++i) {
                figures[i][process] = printed[i];
            }
        }
        return figures;
    }

    private static double[] run(Class<?> program, String... arguments)
            throws IOException, InterruptedException {
        List<String> command = new ArrayList<>(Arrays.asList(
                Paths.get(System.getProperty("java.home"), "bin", "java").toString(),
                "-cp", System.getProperty("java.class.path"), program.getName()));
        command.addAll(Arrays.asList(arguments));
        Process process = new ProcessBuilder(command)
                .redirectError(ProcessBuilder.Redirect.INHERIT).start();
        String line;
        try (BufferedReader output = new BufferedReader(
                new InputStreamReader(process.getInputStream(), StandardCharsets.UTF_8))) {
            line = output.readLine();
        }
        if (process.waitFor() != 0 || line == null) {
            throw new IllegalStateException("a JVM failed");
        }
        return Arrays.stream(line.split(" ")).mapToDouble(Double::parseDouble).toArray();
    }
}

package com.orvanta.connector.demo;

import java.io.IOException;
import java.io.UncheckedIOException;
import java.nio.file.Files;
import java.nio.file.Paths;

/** How much of this process's memory is locked against paging. */
final class LockedMemory {
    private LockedMemory() {}

    /** In units of 1024 bytes. */
    static long now() {
        try {
            return Files.readAllLines(Paths.get("/proc/self/status")).stream()
                    .filter(line -> line.startsWith("VmLck:"))
                    .mapToLong(line -> Long.parseLong(line.replaceAll("[^0-9]", "")))
                    .findFirst().orElse(0);
        } catch (IOException failure) {
            throw new UncheckedIOException(failure);
        }
    }
}

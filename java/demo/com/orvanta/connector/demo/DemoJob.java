package com.orvanta.connector.demo;

import com.orvanta.connector.orvanta.utils.OrvantaPlugInConfiguration;
import java.nio.charset.StandardCharsets;
import java.util.ArrayList;
import java.util.List;
import org.apache.hadoop.conf.Configuration;
import org.apache.hadoop.mapreduce.JobContext;
import org.apache.hadoop.security.Credentials;

/**
 * A job that reads from one database and writes to another. While native code works on it, each
 * access to its credentials takes note of how much memory is locked.
 */
final class DemoJob implements JobContext {
    private final Configuration configuration = new Configuration();
    private final Credentials credentials = new Credentials();
    private long peakLockedMemory;

    @Override
    public Configuration getConfiguration() {
        return configuration;
    }

    @Override
    public Credentials getCredentials() {
        peakLockedMemory = Math.max(peakLockedMemory, LockedMemory.now());
        return credentials;
    }

    /** The most that was seen so far, in units of 1024 bytes. */
    long peakLockedMemory() {
        return peakLockedMemory;
    }

    void setInput(String url, String userName, String password) {
        OrvantaPlugInConfiguration.setInputJdbcUrl(configuration, url);
        OrvantaPlugInConfiguration.setInputOrvantaUserName(this, bytes(userName));
        OrvantaPlugInConfiguration.setInputOrvantaPassword(this, bytes(password));
    }

    void setOutput(String url, String userName, String password) {
        OrvantaPlugInConfiguration.setOutputJdbcUrl(configuration, url);
        OrvantaPlugInConfiguration.setOutputOrvantaUserName(this, bytes(userName));
        OrvantaPlugInConfiguration.setOutputOrvantaPassword(this, bytes(password));
    }

    /** URL, user name and password of the input side, then of the output side. */
    List<String> properties() {
        List<String> texts = new ArrayList<>();
        texts.add(OrvantaPlugInConfiguration.getInputJdbcUrl(configuration));
        texts.add(text(OrvantaPlugInConfiguration.getInputOrvantaUserName(this)));
        texts.add(text(OrvantaPlugInConfiguration.getInputOrvantaPassword(this)));
        texts.add(OrvantaPlugInConfiguration.getOutputJdbcUrl(configuration));
        texts.add(text(OrvantaPlugInConfiguration.getOutputOrvantaUserName(this)));
        texts.add(text(OrvantaPlugInConfiguration.getOutputOrvantaPassword(this)));
        return texts;
    }

    private static byte[] bytes(String text) {
        return text.getBytes(StandardCharsets.UTF_8);
    }

    private static String text(byte[] bytes) {
        return new String(bytes, StandardCharsets.UTF_8);
    }
}

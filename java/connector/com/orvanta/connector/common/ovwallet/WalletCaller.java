package com.orvanta.connector.common.ovwallet;

import com.orvanta.connector.common.exception.ConnectorException;
import java.nio.file.Path;
import org.apache.hadoop.mapreduce.JobContext;

/**
 * The way to the native library, which replaces the wallet references in a job's credential
 * properties by the strings that they name.
 *
 * <p>Nothing is loaded by mentioning this class. The library finds the wallet through a link that
 * it makes beside its own file, so the file has to be copied into the private temporary directory
 * and loaded from there, once per process, before the first call.
 */
public final class WalletCaller {
    /** The library's file name, in the connector's archive and in the private directory. */
    public static final String LIBRARY_NAME = "libWalletCaller-redhatlinux-x8664.so";

    private WalletCaller() {}

    /** Loads the library from the directory that holds it. */
    public static void load(Path privateTempDir) {
        System.load(privateTempDir.resolve(LIBRARY_NAME).toAbsolutePath().toString());
    }

    /**
     * Replaces the references in user name and password of the input side, then of the output side.
     * A property that fails keeps its value, and none after it is touched.
     *
     * @param jobContext the job whose properties are read and written
     * @param privateTempDir pathname of the directory that holds the library's file; it must end in
     *     "/", since names are appended to it as it stands
     * @throws ConnectorException if a reference cannot be replaced; the message says why
     */
    public static native void performSubstitutions(JobContext jobContext, String privateTempDir)
            throws ConnectorException;
}

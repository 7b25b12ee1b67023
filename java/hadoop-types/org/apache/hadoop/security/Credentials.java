package org.apache.hadoop.security;

import java.util.HashMap;
import java.util.Map;
import org.apache.hadoop.io.Text;

/** Stands in for Hadoop's class of this name: as much of it as the connector's classes use. */
public class Credentials {
    private final Map<Text, byte[]> secretKeys = new HashMap<>();

    public byte[] getSecretKey(Text alias) {
        return secretKeys.get(alias);
    }

    public void addSecretKey(Text alias, byte[] key) {
        secretKeys.put(alias, key);
    }

    public void removeSecretKey(Text alias) {
        secretKeys.remove(alias);
    }
}

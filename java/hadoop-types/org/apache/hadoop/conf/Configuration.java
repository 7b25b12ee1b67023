package org.apache.hadoop.conf;

import java.util.Map;
import java.util.concurrent.ConcurrentHashMap;

/** Stands in for Hadoop's class of this name: as much of it as the connector's classes use. */
public class Configuration {
    private final Map<String, String> properties = new ConcurrentHashMap<>();

    public String get(String name) {
        return properties.get(name);
    }

    public void set(String name, String value) {
        properties.put(name, value);
    }

    public void unset(String name) {
        properties.remove(name);
    }
}

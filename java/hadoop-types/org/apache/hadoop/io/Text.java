package org.apache.hadoop.io;

/** Stands in for Hadoop's class of this name: as much of it as the connector's classes use. */
public class Text {
    private final String text;

    public Text(String text) {
        this.text = text;
    }

    @Override
    public boolean equals(Object other) {
        return other instanceof Text && ((Text) other).text.equals(text);
    }

    @Override
    public int hashCode() {
        return text.hashCode();
    }

    @Override
    public String toString() {
        return text;
    }
}

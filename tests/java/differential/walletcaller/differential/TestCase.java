package walletcaller.differential;

import java.util.EnumMap;
import java.util.Map;
import java.util.SortedMap;
import java.util.TreeMap;

/**
 * One job and the wallet of the user who set it up.
 *
 * @param urls the JDBC URL of each side, an ordinary String; no entry for a null URL
 * @param texts the bytes of each property, one char per byte; no entry for a null property
 * @param wallet names and values of the user's strings, one char per byte
 */
record TestCase(
        Map<Side, String> urls, Map<Property, String> texts, SortedMap<String, String> wallet) {
    static TestCase empty() {
        return new TestCase(
                new EnumMap<>(Side.class), new EnumMap<>(Property.class), new TreeMap<>());
    }
}

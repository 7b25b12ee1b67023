package walletcaller.differential;

import java.util.ArrayList;
import java.util.List;
import java.util.Map;
import java.util.regex.Matcher;
import java.util.regex.Pattern;

/**
 * A case as one line of ASCII, the form in which failing cases are printed and kept.
 *
 * <p>{@code InputJdbcUrl="..." InputOrvantaUserName="..." ... "entry name"="value"}: what is absent
 * is null. Within the quotes, {@code \xHH} is a byte and {@code \}{@code uHHHH} a char of a URL;
 * {@code "..."*N} repeats a text N times.
 */
final class CaseText {
    private static final String QUOTED = "\"((?:[^\"\\\\]|\\\\.)*+)\"";
    private static final Pattern FIELD =
            Pattern.compile("\\G(?:(\\w+)|" + QUOTED + ")=" + QUOTED + "(?:\\*(\\d+))?(?: +|$)");
    private static final Pattern ESCAPE =
            Pattern.compile("\\\\(?:x([0-9A-F]{2})|u([0-9A-F]{4})|([\"\\\\]))");
    private static final String URL_SUFFIX = "JdbcUrl";
    private static final int LONGEST_PERIOD = 64;

    private CaseText() {}

    static String format(TestCase testCase) {
        List<String> fields = new ArrayList<>();
        for (Side side : Side.values()) {
            addField(fields, side.label + URL_SUFFIX, testCase.urls().get(side));
        }
        for (Property property : Property.values()) {
            addField(fields, property.label, testCase.texts().get(property));
        }
        testCase.wallet().forEach((name, value) -> addField(fields, quote(name), value));
        return String.join(" ", fields);
    }

    static TestCase parse(String line) {
        TestCase result = TestCase.empty();
        Matcher field = FIELD.matcher(line);
        int end = 0;
        while (field.find()) {
            int times = field.group(4) == null ? 1 : Integer.parseInt(field.group(4));
            String value = unescape(field.group(3)).repeat(times);
            if (field.group(1) == null) {
                result.wallet().put(unescape(field.group(2)), value);
            } else {
                putLabelled(result, field.group(1), value);
            }
            end = field.end();
        }
        if (end != line.length()) {
            throw new IllegalArgumentException(
                    "not a case, from column " + (end + 1) + ": " + line);
        }
        return result;
    }

    static String format(Outcome outcome) {
        List<String> parts = new ArrayList<>();
        for (Map.Entry<Property, String> text : outcome.texts().entrySet()) {
            addField(parts, text.getKey().label, text.getValue());
        }
        parts.add("written=" + outcome.written());
        parts.add("fetched=" + summary(outcome.fetched()));
        parts.add("message=" + (outcome.message() == null ? "none" : quote(outcome.message())));
        return String.join(" ", parts);
    }

    private static String summary(List<String> names) {
        int shown = Math.min(names.size(), 40);
        String list =
                String.join(", ", names.subList(0, shown).stream().map(CaseText::quote).toList());
        return shown == names.size()
                ? "[" + list + "]" : "[" + list + ", and " + (names.size() - shown) + " more]";
    }

    private static void putLabelled(TestCase testCase, String label, String value) {
        for (Side side : Side.values()) {
            if (label.equals(side.label + URL_SUFFIX)) {
                testCase.urls().put(side, value);
                return;
            }
        }
        for (Property property : Property.values()) {
            if (label.equals(property.label)) {
                testCase.texts().put(property, value);
                return;
            }
        }
        throw new IllegalArgumentException("no such field: " + label);
    }

    private static void addField(List<String> fields, String label, String value) {
        if (value != null) {
            fields.add(label + "=" + quoteRepeated(value));
        }
    }

    private static String quoteRepeated(String text) {
        for (int period = 1; period <= LONGEST_PERIOD && period * 8 <= text.length(); period++) {
            if (text.length() % period == 0
                    && text.regionMatches(period, text, 0, text.length() - period)) {
                return quote(text.substring(0, period)) + "*" + text.length() / period;
            }
        }
        return quote(text);
    }

    private static String quote(String text) {
        StringBuilder quoted = new StringBuilder("\"");
        for (char c : text.toCharArray()) {
            if (c == '"' || c == '\\') {
                quoted.append('\\').append(c);
            } else if (c >= 0x20 && c < 0x7F) {
                quoted.append(c);
            } else if (c <= 0xFF) {
                quoted.append(String.format("\\x%02X", (int) c));
            } else {
                quoted.append(String.format("\\u%04X", (int) c));
            }
        }
        return quoted.append('"').toString();
    }

    private static String unescape(String quoted) {
        return ESCAPE.matcher(quoted).replaceAll(escape -> Matcher.quoteReplacement(
                escape.group(3) != null ? escape.group(3)
                : Character.toString(Integer.parseInt(
                        escape.group(1) != null ? escape.group(1) : escape.group(2), 16))));
    }
}

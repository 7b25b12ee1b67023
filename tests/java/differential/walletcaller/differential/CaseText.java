package walletcaller.differential;

import java.util.List;
import java.util.Map;
import java.util.TreeMap;
import java.util.stream.Collectors;

/** Cases and outcomes as a line of ASCII each, to show one that differs. */
final class CaseText {
    private static final int MOST_CHARS = 2000;
    private static final int MOST_NAMES = 40;

    private CaseText() {}

    static String format(TestCase testCase) {
        return "URLs " + quote(testCase.urls()) + " texts " + quote(testCase.texts())
                + " wallet " + quote(testCase.wallet());
    }

    static String format(Outcome outcome) {
        List<String> fetched = outcome.fetched();
        return "texts " + quote(outcome.texts()) + " written " + outcome.written() + " fetched "
                + fetched.stream().limit(MOST_NAMES).map(CaseText::quote).toList()
                + " of " + fetched.size() + " message " + quote(outcome.message());
    }

    private static String quote(Map<?, String> texts) {
        return new TreeMap<>(texts).entrySet().stream()
                .map(entry -> quote(entry.getKey().toString()) + "=" + quote(entry.getValue()))
                .collect(Collectors.joining(" ", "{", "}"));
    }

    /** What is no printable ASCII as an escape of Java. */
    private static String quote(String text) {
        if (text == null) {
            return "null";
        }
        return text.chars().limit(MOST_CHARS)
                .mapToObj(c -> c == '"' || c == '\\' ? "\\" + (char) c
                        : c >= 0x20 && c < 0x7F ? Character.toString(c)
                        : String.format("\\u%04X", c))
                .collect(Collectors.joining("", "\"", text.length() > MOST_CHARS ? "\"..." : "\""));
    }
}

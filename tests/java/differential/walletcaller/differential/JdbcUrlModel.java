package walletcaller.differential;

import java.util.Set;
import java.util.regex.Matcher;
import java.util.regex.Pattern;

/**
 * What a JDBC URL says about the wallet: the database id and the logon mechanism.
 *
 * <p>A blank is any byte up to 0x20 and any byte from 0x80. A parameter key starts at a blank, so
 * no key can be LOGMECH and the mechanism of every URL is the default one; and the byte after a
 * database id is a slash or the end, so the rule that shifts an id in brackets never applies. Both
 * rules are therefore modelled by their outcome; the parameter scan is followed only to tell which
 * of its branches a URL visits.
 *
 * @param databaseId the database id, one char per byte
 * @param logonMechanism the logon mechanism, one char per byte
 */
record JdbcUrlModel(String databaseId, String logonMechanism) {
    private static final String PREFIX = "jdbc:orvanta://";
    private static final String BLANK = "[\\x00-\\x20\\x80-\\xff]";
    private static final String DEFAULT_MECHANISM = "OV2";

    private static final Pattern HOST_BEFORE_SLASH =
            Pattern.compile("\\Q" + PREFIX + "\\E([^/]*)/(.*)", Pattern.DOTALL);
    private static final Pattern FROM_FIRST_TO_LAST_BLANK =
            Pattern.compile(BLANK + "(?:.*" + BLANK + ")?", Pattern.DOTALL);
    private static final Pattern PARAMETER =
            Pattern.compile("(" + BLANK + "[^=]*)=(.*)", Pattern.DOTALL);
    private static final Pattern LOGMECH_KEY =
            Pattern.compile(BLANK + "+LOGMECH.*",
                    Pattern.DOTALL | Pattern.CASE_INSENSITIVE);

    /** Reads a URL given as its UTF-8 bytes; a null URL counts as an empty one. */
    static JdbcUrlModel parse(String url, Set<Branch> seen) {
        return new JdbcUrlModel(databaseIdOf(url, seen), DEFAULT_MECHANISM);
    }

    private static String databaseIdOf(String url, Set<Branch> seen) {
        if (url == null || url.isEmpty()) {
            seen.add(url == null ? Branch.URL_NULL : Branch.URL_EMPTY);
            return "";
        }
        if (!url.startsWith(PREFIX)) {
            seen.add(url.regionMatches(true, 0, PREFIX, 0, PREFIX.length())
                    ? Branch.URL_PREFIX_OTHER_CASE : Branch.URL_OTHER_PREFIX);
            return "";
        }
        if (url.equals(PREFIX)) {
            seen.add(Branch.URL_PREFIX_ONLY);
            return "";
        }
        Matcher withSlash = HOST_BEFORE_SLASH.matcher(url);
        String id = withSlash.matches()
                ? idBeforeSlash(withSlash.group(1), seen)
                : idOfBlanks(url.substring(PREFIX.length()), seen);
        if (withSlash.matches()) {
            noteParameters(withSlash.group(2), seen);
        }
        if (id.indexOf('\0') >= 0) {
            seen.add(Branch.URL_ID_WITH_NUL);
        }
        if (id.chars().anyMatch(b -> b >= 0x80)) {
            seen.add(Branch.URL_ID_NON_ASCII);
        }
        return id;
    }

    private static String idBeforeSlash(String id, Set<Branch> seen) {
        seen.add(id.isEmpty() ? Branch.URL_SLASH_EMPTY_ID : Branch.URL_SLASH);
        if (id.startsWith("[")) {
            seen.add(id.endsWith("]") ? Branch.URL_ID_IN_BRACKETS : Branch.URL_ID_OPENS_BRACKET);
        }
        return id;
    }

    private static String idOfBlanks(String rest, Set<Branch> seen) {
        Matcher blanks = FROM_FIRST_TO_LAST_BLANK.matcher(rest);
        if (!blanks.find()) {
            seen.add(Branch.URL_NO_SLASH_NO_BLANK);
            return "";
        }
        seen.add(blanks.end() == rest.length()
                ? Branch.URL_NO_SLASH_BLANK_AT_END : Branch.URL_NO_SLASH_BLANKS);
        return blanks.group();
    }

    /** Walks the parameters, always on the text that is left to scan. */
    private static void noteParameters(String parameters, Set<Branch> seen) {
        if (parameters.isEmpty()) {
            seen.add(Branch.URL_NO_PARAMETERS);
        }
        String left = parameters;
        for (int scanned = 0; !left.isEmpty(); scanned++) {
            Matcher blanks = FROM_FIRST_TO_LAST_BLANK.matcher(left);
            if (!blanks.find()) {
                seen.add(Branch.URL_SCAN_NO_BLANK);
                return;
            }
            Matcher parameter = PARAMETER.matcher(blanks.group());
            if (!parameter.matches()) {
                seen.add(Branch.URL_SCAN_NO_EQUALS);
                return;
            }
            String value = fromFirstBlank(parameter.group(2));
            if (LOGMECH_KEY.matcher(parameter.group(1)).matches()) {
                seen.add(Branch.URL_SCAN_BLANK_BEFORE_LOGMECH);
            }
            if (scanned > 0) {
                seen.add(Branch.URL_SCAN_SECOND_PARAMETER);
            }
            int end = valueEnd(value, seen);
            left = value.substring(Math.min(end + 1, value.length()));
        }
    }

    /** The rest from the first blank on; the text of a parameter ends with one. */
    private static String fromFirstBlank(String text) {
        Matcher blanks = FROM_FIRST_TO_LAST_BLANK.matcher(text);
        if (!blanks.find()) {
            throw new IllegalStateException("no blank in a text that ends with one");
        }
        return text.substring(blanks.start());
    }

    /** Where a value ends: at its first comma or space outside the quoted span. */
    private static int valueEnd(String value, Set<Branch> seen) {
        int open = value.indexOf('\'');
        int close = open < 0 ? value.length() : closingQuote(value, open, seen);
        seen.add(open < 0 ? Branch.URL_SCAN_UNQUOTED
                : close < value.length() ? Branch.URL_SCAN_QUOTED : Branch.URL_SCAN_QUOTE_OPEN);
        int comma = outside(value, ',', open, close, seen);
        int space = outside(value, ' ', open, close, seen);
        int end = Math.min(comma, space);
        seen.add(end == value.length() ? Branch.URL_SCAN_VALUE_TO_END
                : end == space ? Branch.URL_SCAN_VALUE_TO_SPACE : Branch.URL_SCAN_VALUE_TO_COMMA);
        return end;
    }

    private static int outside(String value, char wanted, int open, int close, Set<Branch> seen) {
        int found = positionOf(value, wanted, 0);
        if (open >= 0 && found > open && found < close) {
            seen.add(Branch.URL_SCAN_DELIMITER_IN_QUOTES);
            return positionOf(value, wanted, close + 1);
        }
        return found;
    }

    /** The quote that ends a span; the byte right after a doubled quote is not looked at. */
    private static int closingQuote(String value, int open, Set<Branch> seen) {
        int quote = positionOf(value, '\'', open + 1);
        while (value.startsWith("''", quote)) {
            seen.add(Branch.URL_SCAN_DOUBLED_QUOTE);
            quote = positionOf(value, '\'', quote + 3);
        }
        return quote;
    }

    private static int positionOf(String text, char wanted, int from) {
        int found = text.indexOf(wanted, from);
        return found < 0 ? text.length() : found;
    }
}

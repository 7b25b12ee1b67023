package walletcaller.differential;

import java.util.Set;
import java.util.regex.Matcher;
import java.util.regex.Pattern;

/**
 * What a JDBC URL says about the wallet: the database id. Texts have one char per byte.
 *
 * <p>A blank is any byte up to 0x20 and any byte from 0x80. A parameter key starts at a blank, so
 * no key can be LOGMECH and the mechanism of every URL is the default one; and the byte after a
 * database id is a slash or the end, so the rule that shifts an id in brackets never applies. Both
 * rules are therefore modelled by their outcome.
 */
final class JdbcUrlModel {
    static final String DEFAULT_ENTRY = "com.orvanta.OV2";

    private static final String PREFIX = "jdbc:orvanta://";
    private static final String BLANK = "[\\x00-\\x20\\x80-\\xff]";
    private static final Pattern FROM_FIRST_TO_LAST_BLANK =
            Pattern.compile(BLANK + "(?:.*" + BLANK + ")?", Pattern.DOTALL);

    private JdbcUrlModel() {}

    /** Of a URL given as its UTF-8 bytes; a null URL counts as an empty one. */
    static String databaseId(String url, Set<Branch> seen) {
        if (url == null || !url.startsWith(PREFIX)) {
            seen.add(url == null ? Branch.URL_NULL : Branch.URL_OTHER_PREFIX);
            return "";
        }
        String rest = url.substring(PREFIX.length());
        if (rest.isEmpty()) {
            seen.add(Branch.URL_PREFIX_ONLY);
            return "";
        }
        int slash = rest.indexOf('/');
        if (slash >= 0) {
            seen.add(Branch.URL_SLASH);
            return rest.substring(0, slash);
        }
        Matcher blanks = FROM_FIRST_TO_LAST_BLANK.matcher(rest);
        boolean found = blanks.find();
        seen.add(found ? Branch.URL_NO_SLASH_BLANKS : Branch.URL_NO_SLASH_NO_BLANK);
        return found ? blanks.group() : "";
    }
}

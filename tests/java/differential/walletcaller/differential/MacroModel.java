package walletcaller.differential;

import java.util.BitSet;
import java.util.Set;
import java.util.function.UnaryOperator;
import java.util.regex.Matcher;
import java.util.regex.Pattern;

/**
 * What a property's text becomes when its wallet macros are expanded.
 *
 * <p>A pass maps a text to a new text: each macro, found by its grammar, becomes its value, and
 * what was inserted is not looked at again before the next pass. Passes follow until a text holds
 * no keyword. The first pass expands what the user wrote and is not bounded; all later passes
 * together may replace only so many macros.
 */
final class MacroModel {
    static final int BOUND = 10_000;
    /** How many bytes the texts and names of what later passes replace may have, added up. */
    static final long WORK_BOUND = 4L << 30;

    static final String ENDLESS =
            "Orvanta Wallet references in credential information lead back to themselves.";

    private static final String KEYWORD = "$ovwallet";
    private static final String SUB_MACRO = "\\$\\([^)]*\\)";
    private static final String PIECE = "(?:\\\\[)$\\\\]" // escaped: the second byte alone
            + "|" + SUB_MACRO
            + "|\\\\" // a backslash for itself
            + "|\\$(?!\\()" // a dollar for itself
            + "|[^)\\\\$])";
    /** The keyword, looking ahead at the parenthesis, the pieces of a name, and its end. */
    private static final Pattern MACRO = Pattern.compile(
            "\\Q" + KEYWORD + "\\E(?=(?:\\((?<name>" + PIECE + "*+)(?<end>\\))?+)?+)");
    private static final Pattern NEXT_PIECE = Pattern.compile("\\G" + PIECE, Pattern.DOTALL);

    private final JdbcUrlModel url;
    private final UnaryOperator<String> wallet;
    private final int bound;
    private final Set<Branch> seen;

    private int pass;
    private int firstReplacements;
    private int laterReplacements;
    private long laterWork;
    /** Where values begin and end in the text of the present pass. */
    private BitSet seams = new BitSet();
    /** Where values of no bytes were inserted into the text of the present pass. */
    private BitSet emptySeams = new BitSet();

    /**
     * Makes the model of one property's expansion.
     *
     * @param wallet gives the value of the named entry, or throws {@link ModelFailure}
     */
    MacroModel(JdbcUrlModel url, UnaryOperator<String> wallet, int bound, Set<Branch> seen) {
        this.url = url;
        this.wallet = wallet;
        this.bound = bound;
        this.seen = seen;
    }

    String expand(String text) {
        String expanded = text;
        while (expanded.contains(KEYWORD)) {
            pass++;
            expanded = expandOnce(expanded);
        }
        notePasses();
        return expanded;
    }

    private void notePasses() {
        if (pass >= 2) {
            seen.add(Branch.SECOND_PASS);
        }
        if (pass >= 3) {
            seen.add(Branch.THIRD_PASS);
        }
        if (laterReplacements == bound) {
            seen.add(Branch.BOUND_REACHED_EXACTLY);
        }
        if (firstReplacements > bound) {
            seen.add(Branch.WRITTEN_MACROS_BEYOND_BOUND);
        }
    }

    private String expandOnce(String text) {
        StringBuilder result = new StringBuilder();
        BitSet nextSeams = new BitSet();
        BitSet nextEmptySeams = new BitSet();
        Matcher macro = MACRO.matcher(text);
        int kept = 0;
        while (kept <= text.length() && macro.find(kept)) {
            result.append(text, kept, macro.start());
            noteJoins(macro);
            countReplacement(result.length() + text.length() - macro.start());
            boolean named = macro.group("end") != null;
            String name = macro.group("name") == null ? null : resolve(macro.group("name"), named);
            if (named) {
                countWork(name.length());
            } else {
                noteBare(macro, text);
            }
            String value = replacement(named ? name : "com.orvanta." + url.logonMechanism());
            nextSeams.set(result.length());
            nextEmptySeams.set(result.length(), value.isEmpty());
            result.append(value);
            nextSeams.set(result.length());
            kept = named ? macro.end("end") : macro.end();
        }
        seams = nextSeams;
        emptySeams = nextEmptySeams;
        return result.append(text, kept, text.length()).toString();
    }

    private String replacement(String name) {
        if (name.isEmpty()) {
            seen.add(Branch.NAME_EMPTY);
        }
        String value = wallet.apply(name);
        noteValue(value);
        return value;
    }

    private void countReplacement(int textLength) {
        if (pass == 1) {
            firstReplacements++;
        } else {
            laterReplacements++;
        }
        countWork(textLength);
    }

    private void countWork(int length) {
        laterWork += pass == 1 ? 0 : length;
        if (laterReplacements > bound || laterWork > WORK_BOUND) {
            seen.add(Branch.BOUND_EXCEEDED);
            throw new ModelFailure(ENDLESS);
        }
    }

    /** The entry name that the pieces between the parentheses stand for. */
    private String resolve(String pieces, boolean named) {
        StringBuilder name = new StringBuilder();
        Matcher piece = NEXT_PIECE.matcher(pieces);
        while (piece.find()) {
            name.append(resolvePiece(piece.group(), named));
        }
        if (named) {
            noteName(pieces);
        }
        return name.toString();
    }

    private String resolvePiece(String piece, boolean named) {
        if (piece.startsWith("$(")) {
            return resolveSubMacro(piece, named);
        }
        switch (piece) {
            case "\\)" -> seen.add(Branch.ESCAPED_PARENTHESIS);
            case "\\$" -> seen.add(Branch.ESCAPED_DOLLAR);
            case "\\\\" -> seen.add(Branch.ESCAPED_BACKSLASH);
            case "\\" -> seen.add(Branch.BACKSLASH_FOR_ITSELF);
            case "$" -> seen.add(Branch.DOLLAR_FOR_ITSELF);
            default -> { }
        }
        return piece.substring(piece.length() - 1);
    }

    private String resolveSubMacro(String subMacro, boolean named) {
        if (!subMacro.equals("$(ovpid)")) {
            seen.add(named ? Branch.SUB_MACRO_UNSUPPORTED
                    : Branch.SUB_MACRO_UNSUPPORTED_IN_UNTERMINATED);
            throw MessageModel.failure("Unsupported replacement macro, \"", subMacro,
                    "\", found in credential information.", seen);
        }
        seen.add(url.databaseId().isEmpty() ? Branch.DATABASE_ID_EMPTY : Branch.DATABASE_ID);
        return url.databaseId();
    }

    private void noteJoins(Matcher macro) {
        int seam = seams.nextSetBit(macro.start() + 1);
        if (seam >= 0 && seam < macro.end()) {
            seen.add(Branch.KEYWORD_JOINED);
            if (emptySeams.get(seam)) {
                seen.add(Branch.KEYWORD_JOINED_BY_NOTHING);
            }
        } else if (macro.group("end") != null && seam >= 0 && seam < macro.end("end")) {
            seen.add(Branch.NAME_JOINED);
        }
    }

    private void noteBare(Matcher macro, String text) {
        String pieces = macro.group("name");
        if (pieces == null) {
            seen.add(macro.end() == text.length() ? Branch.BARE_AT_END : Branch.BARE);
            return;
        }
        seen.add(macro.end("name") < text.length() ? Branch.UNTERMINATED_IN_SUB_MACRO
                : endsWithUnpaired(pieces, '\\') ? Branch.UNTERMINATED_AT_BACKSLASH
                : endsWithUnpaired(pieces, '$') ? Branch.UNTERMINATED_AT_DOLLAR
                : Branch.UNTERMINATED);
    }

    /** Whether the last piece is this byte alone. */
    private static boolean endsWithUnpaired(String pieces, char last) {
        Matcher piece = NEXT_PIECE.matcher(pieces);
        String group = "";
        while (piece.find()) {
            group = piece.group();
        }
        return group.equals(String.valueOf(last));
    }

    private void noteName(String pieces) {
        seen.add(Branch.NAMED);
        if (pieces.contains(KEYWORD)) {
            seen.add(Branch.NAME_WITH_KEYWORD);
        }
        if (pieces.replaceAll(SUB_MACRO, "").contains("(")) {
            seen.add(Branch.NAME_WITH_OPEN_PARENTHESIS);
        }
        if (pieces.contains(" ")) {
            seen.add(Branch.NAME_WITH_BLANK);
        }
        if (pieces.chars().anyMatch(b -> b >= 0x80)) {
            seen.add(Branch.NAME_NON_ASCII);
        }
    }

    private void noteValue(String value) {
        if (value.isEmpty()) {
            seen.add(Branch.VALUE_EMPTY);
        }
        if (value.indexOf('\0') >= 0) {
            seen.add(Branch.VALUE_WITH_NUL);
        }
        if (value.chars().anyMatch(b -> b >= 0x80)) {
            seen.add(Branch.VALUE_NON_ASCII);
        }
        if (value.length() > 4096) {
            seen.add(Branch.VALUE_LONG);
        }
    }
}

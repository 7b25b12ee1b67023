package walletcaller.differential;

import java.util.Set;
import java.util.function.UnaryOperator;
import java.util.regex.Matcher;
import java.util.regex.Pattern;

/**
 * What a property's text becomes when its references are expanded.
 *
 * <p>A pass maps a text to a new text: each reference, found by its grammar, becomes its value, and
 * what was inserted is not looked at again before the next pass. Passes follow until a text holds
 * no keyword. The first pass expands what the user wrote and is not bounded; all later passes
 * together may make only so many replacements.
 */
final class ReferenceModel {
    static final int BOUND = 10_000;
    /** How many bytes the texts and names of what later passes replace may have, added up. */
    private static final long WORK_BOUND = 4L << 30;

    private static final String ENDLESS =
            "Orvanta Wallet references in credential information lead back to themselves.";

    private static final String KEYWORD = "$ovwallet";
    private static final String PIECE = "(?:\\\\[)$\\\\]" // escaped: the second byte alone
            + "|\\$\\([^)]*\\)"
            + "|\\\\" // a backslash for itself
            + "|\\$(?!\\()" // a dollar for itself
            + "|[^)\\\\$])";
    /** The keyword, looking ahead at the parenthesis, the pieces of a name, and its end. */
    private static final Pattern REFERENCE = Pattern.compile(
            "\\Q" + KEYWORD + "\\E(?=(?:\\((?<name>" + PIECE + "*+)(?<end>\\))?+)?+)");
    private static final Pattern NEXT_PIECE = Pattern.compile("\\G" + PIECE, Pattern.DOTALL);

    private final String databaseId;
    private final UnaryOperator<String> wallet;
    private final int bound;
    private final Set<Branch> seen;

    private int pass;
    private int replacements;
    private long work;

    /**
     * Makes the model of one property's expansion.
     *
     * @param wallet gives the value of the named entry, or throws {@link ModelFailure}
     */
    ReferenceModel(String databaseId, UnaryOperator<String> wallet, int bound, Set<Branch> seen) {
        this.databaseId = databaseId;
        this.wallet = wallet;
        this.bound = bound;
        this.seen = seen;
    }

    String expand(String text) {
        String expanded = text;
        while (expanded.contains(KEYWORD)) {
            pass++;
            replacements = pass == 2 ? 0 : replacements;
            if (pass == 2 || pass == 3) {
                seen.add(pass == 2 ? Branch.SECOND_PASS : Branch.THIRD_PASS);
            }
            expanded = expandOnce(expanded);
            if (pass > 1 && replacements == bound) {
                seen.add(Branch.BOUND_REACHED_EXACTLY);
            } else if (replacements > bound) {
                seen.add(Branch.WRITTEN_REFERENCES_BEYOND_BOUND);
            }
        }
        return expanded;
    }

    private String expandOnce(String text) {
        StringBuilder result = new StringBuilder();
        Matcher reference = REFERENCE.matcher(text);
        int kept = 0;
        while (kept <= text.length() && reference.find(kept)) {
            result.append(text, kept, reference.start());
            replacements++;
            countWork(result.length() + text.length() - reference.start());
            boolean named = reference.group("end") != null;
            String pieces = reference.group("name");
            String name = pieces == null ? null : resolve(pieces, named);
            if (named) {
                countWork(name.length());
            }
            seen.add(named ? name.isEmpty() ? Branch.NAME_EMPTY : Branch.NAMED
                    : pieces == null ? Branch.BARE : Branch.UNTERMINATED);
            String value = wallet.apply(named ? name : JdbcUrlModel.DEFAULT_ENTRY);
            if (value.isEmpty()) {
                seen.add(Branch.VALUE_EMPTY);
            }
            result.append(value);
            kept = named ? reference.end("end") : reference.end();
        }
        return result.append(text, kept, text.length()).toString();
    }

    private void countWork(int length) {
        work += pass == 1 ? 0 : length;
        if (pass > 1 && replacements > bound || work > WORK_BOUND) {
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
        return name.toString();
    }

    private String resolvePiece(String piece, boolean named) {
        if (piece.startsWith("$(")) {
            return resolveMacro(piece, named);
        }
        if (piece.length() == 2) {
            seen.add(Branch.ESCAPE);
        } else if (piece.equals("\\")) {
            seen.add(Branch.BACKSLASH_FOR_ITSELF);
        } else if (piece.equals("$")) {
            seen.add(Branch.DOLLAR_FOR_ITSELF);
        }
        return piece.substring(piece.length() - 1);
    }

    private String resolveMacro(String macro, boolean named) {
        if (macro.equals("$(ovpid)")) {
            seen.add(Branch.DATABASE_ID);
            return databaseId;
        }
        seen.add(named ? Branch.UNSUPPORTED_MACRO
                : Branch.UNSUPPORTED_MACRO_IN_UNTERMINATED);
        throw MessageModel.failure("Unsupported replacement macro, \"", macro,
                "\", found in credential information.", seen);
    }
}

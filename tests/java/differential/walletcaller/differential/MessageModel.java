package walletcaller.differential;

import java.util.Set;

/**
 * How the text of a failure comes about: an inserted text ends at its first NUL and must be valid
 * UTF-8, and the JVM reads the finished message as modified UTF-8.
 */
final class MessageModel {
    private static final String INVALID = "Invalid UTF-8";
    private static final String CUT_SHORT = "Not enough space";
    private static final String NO_CODE_POINT = "Invalid code point";

    private MessageModel() {}

    /**
     * The failure whose message is prefix, argument and suffix; or, when the argument is not valid
     * UTF-8, the failure to format that message.
     */
    static ModelFailure failure(String prefix, String argument, String suffix, Set<Branch> seen) {
        String inserted = ByteText.upToNul(argument);
        if (inserted.length() < argument.length()) {
            seen.add(Branch.MESSAGE_CUT_BY_NUL);
        }
        String defect = firstDefect(inserted);
        if (defect == null) {
            return new ModelFailure(prefix + inserted + suffix);
        }
        seen.add(switch (defect) {
            case CUT_SHORT -> Branch.MESSAGE_CUT_SHORT;
            case NO_CODE_POINT -> Branch.MESSAGE_NO_CODE_POINT;
            default -> Branch.MESSAGE_INVALID_UTF8;
        });
        return new ModelFailure(defect);
    }

    /** What is wrong with the first malformed sequence of a text, or null for valid UTF-8. */
    static String firstDefect(String text) {
        int next = 0;
        while (next < text.length()) {
            int length = sequenceLength(text.charAt(next));
            if (length == 0) {
                return INVALID;
            }
            int codePoint = length == 1 ? text.charAt(next) : text.charAt(next) & (0x7F >> length);
            for (int i = next + 1; i < next + length; i++) {
                if (i == text.length()) {
                    return CUT_SHORT;
                }
                if (!isContinuation(text.charAt(i))) {
                    return INVALID;
                }
                codePoint = codePoint << 6 | text.charAt(i) & 0x3F;
            }
            if (codePoint > 0x10FFFF || codePoint >= 0xD800 && codePoint <= 0xDFFF) {
                return NO_CODE_POINT;
            }
            if (ByteText.ofUtf8(Character.toString(codePoint)).length() != length) {
                return INVALID;
            }
            next += length;
        }
        return null;
    }

    /**
     * The Java String that the JVM makes of a message given to JNI's ThrowNew. Modified UTF-8 has
     * sequences of one to three bytes only; the JVM takes a byte that starts none of them for a
     * char of its own, so a character outside the basic plane arrives as four chars. Of such a
     * message the end is lost: the JVM makes only as many chars as bytes that continue nothing.
     */
    static String asJavaSees(String messageBytes) {
        StringBuilder result = new StringBuilder();
        int next = 0;
        while (next < messageBytes.length()) {
            char lead = messageBytes.charAt(next);
            int length = sequenceLength(lead);
            if (length == 2 || length == 3) {
                int codeUnit = lead & (0x7F >> length);
                for (int i = next + 1; i < next + length; i++) {
                    codeUnit = codeUnit << 6 | messageBytes.charAt(i) & 0x3F;
                }
                result.append((char) codeUnit);
                next += length;
            } else {
                result.append(lead);
                next++;
            }
        }
        int chars = (int) messageBytes.chars().filter(b -> !isContinuation((char) b)).count();
        return result.substring(0, chars);
    }

    /** The length that a lead byte announces; 0 for a byte that cannot lead. */
    private static int sequenceLength(char lead) {
        if (lead < 0x80) {
            return 1;
        }
        if (lead < 0xC0 || lead >= 0xF8) {
            return 0;
        }
        return lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
    }

    private static boolean isContinuation(char b) {
        return (b & 0xC0) == 0x80;
    }
}

package walletcaller.differential;

import static java.nio.charset.StandardCharsets.ISO_8859_1;
import static java.nio.charset.StandardCharsets.UTF_8;

/**
 * Bytes written as a String of one char (0 to 255) per byte.
 *
 * <p>The model works on such texts throughout: regular expressions and string functions apply to
 * them, and every byte, also one that is no valid UTF-8, keeps its own position.
 */
final class ByteText {
    private ByteText() {}

    static String of(byte[] bytes) {
        return new String(bytes, ISO_8859_1);
    }

    static byte[] bytes(String text) {
        return text.getBytes(ISO_8859_1);
    }

    /** The UTF-8 bytes of an ordinary String; a lone surrogate becomes a question mark. */
    static String ofUtf8(String ordinary) {
        return of(ordinary.getBytes(UTF_8));
    }

    /** The text as it arrives where a NUL ends a text. */
    static String upToNul(String text) {
        int nul = text.indexOf('\0');
        return nul < 0 ? text : text.substring(0, nul);
    }
}

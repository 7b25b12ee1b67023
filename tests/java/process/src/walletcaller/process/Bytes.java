package walletcaller.process;

import java.nio.charset.StandardCharsets;
import java.util.HexFormat;

/** Bytes as the process under test takes and gives them; see its class {@code Hex}. */
final class Bytes {
    private Bytes() {}

    static byte[] utf8(String text) {
        return text == null ? null : text.getBytes(StandardCharsets.UTF_8);
    }

    static String hex(byte[] bytes) {
        return bytes == null ? "-" : "x" + HexFormat.of().formatHex(bytes);
    }

    static String hex(String text) {
        return hex(utf8(text));
    }

    static byte[] fromHex(String text) {
        return text.equals("-") ? null : HexFormat.of().parseHex(text.substring(1));
    }

    static String textFromHex(String text) {
        byte[] bytes = fromHex(text);
        return bytes == null ? null : new String(bytes, StandardCharsets.UTF_8);
    }
}

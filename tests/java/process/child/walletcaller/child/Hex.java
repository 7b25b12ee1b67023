package walletcaller.child;

import java.nio.charset.StandardCharsets;

/** Bytes in the form in which they travel between the test and the process under test. */
final class Hex {
    /** What stands for null. */
    private static final String NULL = "-";

    private Hex() {}

    static String encode(byte[] bytes) {
        if (bytes == null) {
            return NULL;
        }
        StringBuilder text = new StringBuilder("x");
        for (byte value : bytes) {
            text.append(String.format("%02x", value & 0xff));
        }
        return text.toString();
    }

    static String encode(String text) {
        return encode(text == null ? null : text.getBytes(StandardCharsets.UTF_8));
    }

    static byte[] decode(String text) {
        if (text.equals(NULL)) {
            return null;
        }
        byte[] bytes = new byte[text.length() / 2];
        for (int index = 0; index < bytes.length; ++index) {
            String digits = text.substring(1 + 2 * index, 3 + 2 * index);
            bytes[index] = (byte) Integer.parseInt(digits, 16);
        }
        return bytes;
    }

    static String decodeText(String text) {
        byte[] bytes = decode(text);
        return bytes == null ? null : new String(bytes, StandardCharsets.UTF_8);
    }
}

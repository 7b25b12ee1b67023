package walletcaller.differential;

import walletcaller.differential.Dice.Way;

/** Random JDBC URLs of all shapes, well formed and not. */
final class UrlGenerator {
    private static final String PREFIX = "jdbc:orvanta://";

    private final Dice dice;

    UrlGenerator(Dice dice) {
        this.dice = dice;
    }

    /** An ordinary String, or null. */
    String next() {
        return dice.weighted(
                Way.of(4, () -> null),
                Way.of(3, () -> ""),
                Way.of(2, () -> PREFIX),
                Way.of(3, () -> dice.oneOf("jdbc:ORVANTA://", "JDBC:orvanta://") + host() + "/"),
                Way.of(3, () -> dice.oneOf("jdbc:", "jdbc:orvanta:/", " jdbc:orvanta://", "x",
                        "jdbc:orvanta;//dbhost/", "\u00e9jdbc:orvanta://dbhost/")),
                Way.of(10, () -> PREFIX + host()),
                Way.of(12, () -> PREFIX + dice.several(1, 5, this::hostPiece)),
                Way.of(20, () -> PREFIX + host() + "/"),
                Way.of(4, () -> PREFIX + "/" + parameters()),
                Way.of(8, () -> PREFIX + dice.several(1, 5, this::hostPiece) + "/" + parameters()),
                Way.of(30, () -> PREFIX + host() + "/" + parameters()));
    }

    private String host() {
        return dice.oneOf("dbhost", "h", "127.0.0.1", "[::1]", "[x", "db host", "d)b", "h\\",
                "$(ovpid)", "$ovwallet(a)", "b\u00fccher", "\u6570\u636e", "\ud83d\ude00",
                "db\0host", "a$", "a(");
    }

    private String hostPiece() {
        return dice.oneOf("a", "b", "[", "]", " ", "\t", "\0", "\u00e9", "\u20ac", "\ud83d\ude00",
                "\ud83d", "=", ",", "'", "\\", ")", "$", "db", "\n", "\u007f", "\u0080");
    }

    private String parameters() {
        return dice.weighted(
                Way.of(2, () -> "DATABASE=sales,LOGMECH=LDAP"),
                Way.of(2, () -> dice.several(0, 6, this::parameterPiece)),
                Way.of(5, () -> dice.several(1, 4, this::parameter)),
                Way.of(2, () -> dice.several(1, 16, this::parameterPiece)));
    }

    private String parameter() {
        return blank()
                + dice.oneOf("LOGMECH", "logmech", "LOGMECHX", "DATABASE", "CHARSET", "x", "")
                + dice.oneOf("=", " =", "= ", " = ", "=") + value()
                + dice.oneOf(",", " ", " ,", ", ", "");
    }

    private String value() {
        return blank()
                + dice.oneOf("LDAP", "'LDAP'", "'a b'", "'a,b'", "'a''b'", "'a'',b' ", "'a''' ",
                        "'a'''b' , ", "'open", "'a b, c d", "x y", "''", "'", "\u00e9\u00e9",
                        "a\tb,c ")
                + blank();
    }

    private String blank() {
        return dice.oneOf(" ", " ", "\t", "\u00e9", "", "  ", "\0");
    }

    private String parameterPiece() {
        return dice.oneOf("=", ",", "'", "''", " ", "\t", "\u00e9", "\0", "LOGMECH", "logmech",
                "a", "/", "x", "]", "[", " LOGMECH = LDAP ");
    }
}

package walletcaller.differential;

import walletcaller.differential.Dice.Way;

/** Random property texts and values: references, halves of them, and what stands around them. */
final class TextGenerator {
    private static final String KEYWORD = "$ovwallet";

    private final Dice dice;

    TextGenerator(Dice dice) {
        this.dice = dice;
    }

    /** A text as a user might write it, or might not. */
    String text() {
        return dice.weighted(
                Way.of(4, () -> ""),
                Way.of(10, () -> dice.several(1, 4, this::plainPiece)),
                Way.of(20, this::reference),
                Way.of(50, () -> dice.several(1, 5, this::textPiece)),
                Way.of(8, () -> dice.several(1, 12, this::fragment)),
                Way.of(8, this::openReference));
    }

    /** A value that holds no reference, but perhaps a part of one. */
    String plainValue() {
        return dice.weighted(
                Way.of(10, () -> ""),
                Way.of(50, () -> dice.several(1, 4, this::plainPiece)),
                Way.of(15, () -> dice.oneOf("$ov", "wallet", "$", "ovwallet", "(b)", "(", ")", "\\",
                        "t(c)", "$ovwalle", "t", "$(ovpid)", "$(", "$(x)")),
                Way.of(1, () -> dice.several(4097, 9000,
                        () -> dice.oneOf("x", "\0", "\u00e2\u0082\u00ac"))));
    }

    /** A value that holds references and so asks for a further pass. */
    String valueWithReference() {
        return dice.several(0, 2, this::plainPiece) + dice.weighted(
                Way.of(8, this::reference),
                Way.of(1, this::openReference)) + dice.several(0, 2, this::plainPiece);
    }

    String reference() {
        return dice.weighted(
                Way.of(25, () -> KEYWORD + dice.oneOf("", "x", " ", ")", "\0", "\\", "$", "[")),
                Way.of(75, () -> KEYWORD + "(" + name() + ")"));
    }

    String name() {
        return dice.weighted(
                Way.of(40, () -> dice.oneOf("a", "b", "c", "db.pw", "pw_$(ovpid)")),
                Way.of(50, () -> dice.several(1, 5, this::namePiece)),
                Way.of(2, () -> ""),
                Way.of(3, () -> dice.several(0, 2, this::namePiece) + unsupportedMacro()));
    }

    /** A reference without its end, to be closed by nothing or by whatever follows. */
    private String openReference() {
        return KEYWORD + "(" + dice.several(0, 3, this::namePiece) + dice.weighted(
                Way.of(10, () -> ""),
                Way.of(3, () -> "\\"),
                Way.of(3, () -> "$"),
                Way.of(3, () -> "$(ovpid"),
                Way.of(1, () -> unsupportedMacro() + "x"));
    }

    private String unsupportedMacro() {
        return "$(" + dice.weighted(
                Way.of(3, () -> dice.oneOf(
                        "user", "", "x", "OVPID", "ovpid ", "ovpi", "\\", "$(ovpid")),
                Way.of(3, () -> dice.several(1, 3, this::bytes)),
                Way.of(2, () -> dice.oneOf(
                        "a\0b", "\u00e2\u0082\0", "\u00c3\0x", "\u00e9\0", "\0"))) + ")";
    }

    private String textPiece() {
        return dice.weighted(
                Way.of(40, this::reference),
                Way.of(40, this::plainPiece),
                Way.of(10, this::fragment));
    }

    private String plainPiece() {
        return dice.weighted(
                Way.of(12, () -> dice.oneOf("a", "b", "x", "pw", "secret", "0", "-", "%", "%s")),
                Way.of(8, () -> dice.oneOf(
                        "(", ")", "\\", ",", "'", "\"", "[", "]", " ", "=", "/", "\n")),
                Way.of(5, this::bytes));
    }

    private String namePiece() {
        return dice.weighted(
                Way.of(30, () -> dice.oneOf("a", "b", "c", "pw_", ".", "x1")),
                Way.of(10, () -> "$(ovpid)"),
                Way.of(10, () -> dice.oneOf("\\)", "\\$", "\\\\")),
                Way.of(6, () -> dice.oneOf("\\q", "\\(", "\\\0", "\\ ")),
                Way.of(8, () -> dice.oneOf("$b", "$ ", "$$", "$\\)", "$\u0080")),
                Way.of(8, () -> dice.oneOf("(", " ", ",", "'", "[", "]", "\t", "((", "%s", "\"")),
                Way.of(3, () -> KEYWORD),
                Way.of(5, this::bytes));
    }

    private String fragment() {
        return dice.weighted(
                Way.of(6, () -> dice.oneOf(
                        "$", "(", ")", "\\", "$(", "$(ovpid)", "$(x", "pid)", "\\)")),
                Way.of(5, () -> KEYWORD.substring(0, dice.between(1, 8))),
                Way.of(5, () -> KEYWORD.substring(dice.between(1, 8))),
                Way.of(6, () -> dice.oneOf(
                        KEYWORD, KEYWORD + "(", "$OVWALLET(a)", "$$ovwallet(b)")),
                Way.of(4, this::plainPiece));
    }

    /** Bytes that are NUL, a character beyond ASCII, or no valid UTF-8. */
    private String bytes() {
        return dice.weighted(
                Way.of(4, () -> "\0"),
                Way.of(5, () -> ByteText.ofUtf8(
                        dice.oneOf("\u00e9", "\u20ac", "\ud83d\ude00", "\u0080"))),
                Way.of(3, () -> dice.oneOf("\u0080", "\u00c3", "\u00e2\u0082", "\u00ff",
                        "\u00c0\u0080", "\u00f0\u009f\u0098", "\u00e0\u0080\u0080")),
                Way.of(2, () -> dice.oneOf("\u00ed\u00a0\u0080", "\u00f4\u0090\u0080\u0080")));
    }
}

package walletcaller.differential;

import java.util.SortedMap;

/**
 * Texts around the bound on replacements: values that lead back to themselves, and values and texts
 * that hold about as many references as the bound allows.
 */
final class LoopGenerator {
    private final Dice dice;
    private final SortedMap<String, String> wallet;

    LoopGenerator(Dice dice, SortedMap<String, String> wallet) {
        this.dice = dice;
        this.wallet = wallet;
    }

    /** A text that leads to a loop, or nearly; the entries that make it are put into the wallet. */
    String text() {
        switch (dice.between(0, 10)) {
            case 0:
                wallet.put("loop", dice.oneOf("", "x") + "$ovwallet(loop)" + dice.oneOf("", "x"));
                return "$ovwallet(loop)";
            case 1:
                wallet.put("one", "$ovwallet(two)");
                wallet.put("two", "$ovwallet(three)");
                wallet.put("three", "$ovwallet(one)");
                return "a$ovwallet(one)b";
            case 2:
                wallet.put("com.orvanta.OV2", dice.oneOf("$ovwallet", "$ovwallet ", "-$ovwallet"));
                return dice.oneOf("$ovwallet", "$ovwallet(open", "$ovwallet(a\\", "$ovwallet\0");
            case 3:
                wallet.put("twice", "$ovwallet(twice)$ovwallet(twice)");
                return "$ovwallet(twice)";
            case 4:
                // The two halves of the keyword meet only in the text.
                wallet.put("half", "$ovwalle$ovwallet(rest)");
                wallet.put("rest", "t(half)");
                return dice.oneOf("", "x") + "$ovwallet(half)";
            case 5:
                wallet.put("drop", "$ovwallet(drop)");
                wallet.put("nothing", "");
                return "$ovwall$ovwallet(nothing)et(drop)";
            case 6:
                // The last reference of the value decides whether the bound is passed.
                wallet.put("many", "$ovwallet(e)".repeat(dice.between(9_999, 10_001)));
                wallet.put("e", dice.oneOf("", "x"));
                return "$ovwallet(many)";
            case 7:
                wallet.put("many", "$ovwallet(e)".repeat(5_000));
                wallet.put("e", dice.oneOf("", "$ovwallet(f)"));
                wallet.put("f", "");
                return "$ovwallet(many)" + dice.oneOf("", "$ovwallet(f)");
            case 8:
                wallet.put("e", dice.oneOf("", "xy"));
                return "$ovwallet(e)".repeat(dice.between(10_001, 10_050));
            case 9:
                wallet.put("many", "$ovwallet(e)".repeat(10_000));
                wallet.put("e", "");
                return "$ovwallet(many)"
                        + dice.oneOf("$ovw$ovwallet(e)allet(e)", "$ovwallet(e)", "");
            default:
                wallet.put("com.orvanta.OV2", "$ovwallet(back)");
                wallet.put("back", "$ovwallet");
                return "$ovwallet";
        }
    }
}

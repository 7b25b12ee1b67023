package walletcaller.differential;

import java.util.EnumSet;
import java.util.HashSet;
import java.util.Set;

/**
 * Random cases, each repeatable from seed and number.
 *
 * <p>The texts come first; the model then expands them, and whichever entry it asks for is made up
 * at that moment, or left missing. So most references lead somewhere, however odd their names are.
 */
final class CaseGenerator {
    /** One case in so many is about the bound; those take far longer than all others. */
    private static final int LOOP_EVERY = 300;
    /** A case that takes more replacements than this without being meant to is not worth it. */
    private static final int UNINTENDED_LOOP = 60;

    private CaseGenerator() {}

    /** The case of this number in the series that belongs to the seed. */
    static TestCase generate(long seed, int number) {
        Dice dice = new Dice(seed * 1_000_003 + number);
        if (dice.between(1, LOOP_EVERY) == 1) {
            return aboutTheBound(dice);
        }
        while (true) {
            TestCase result = ordinary(dice);
            Set<Branch> seen = EnumSet.noneOf(Branch.class);
            CallModel.predict(result, new MadeUpWallet(result, dice), UNINTENDED_LOOP, seen);
            if (!seen.contains(Branch.BOUND_EXCEEDED)) {
                return result;
            }
        }
    }

    private static TestCase ordinary(Dice dice) {
        TestCase result = TestCase.empty();
        UrlGenerator urls = new UrlGenerator(dice);
        TextGenerator texts = new TextGenerator(dice);
        for (Side side : Side.values()) {
            String url = urls.next();
            if (url != null) {
                result.urls().put(side, url);
            }
        }
        for (Property property : Property.values()) {
            if (!dice.percent(8)) {
                result.texts().put(property,
                        dice.percent(12) ? joined(dice, texts, result) : texts.text());
            }
        }
        return result;
    }

    /** A text in which a value completes a keyword that its surroundings begin or end. */
    private static String joined(Dice dice, TextGenerator texts, TestCase testCase) {
        int half = dice.between(1, 8);
        String left = "$ovwallet".substring(0, half);
        String right = "$ovwallet".substring(half) + dice.oneOf("", "(a)", "(b", "(", "x");
        String entry = "join" + dice.between(1, 9);
        String reference = "$ovwallet(" + entry + ")";
        switch (dice.between(0, 3)) {
            case 0:
                testCase.wallet().put(entry, right);
                return texts.text() + left + reference;
            case 1:
                testCase.wallet().put(entry, left);
                return reference + right + texts.text();
            case 2:
                testCase.wallet().put(entry, "");
                return left + reference + right;
            default:
                testCase.wallet().put(entry, dice.oneOf("$ovwallet", "$ovwallet(", "$ovwallet(a"));
                return reference + dice.oneOf("(a)", ")", "b)", "", "\\)c)");
        }
    }

    private static TestCase aboutTheBound(Dice dice) {
        TestCase result = TestCase.empty();
        result.urls().put(Side.INPUT, "jdbc:orvanta://dbhost/");
        Property property = Property.values()[dice.between(0, 3)];
        result.texts().put(property, new LoopGenerator(dice, result.wallet()).text());
        for (Property other : Property.values()) {
            result.texts().putIfAbsent(other, dice.oneOf("plain", "$ovwallet(e)", ""));
        }
        return result;
    }

    /** A wallet that decides about an entry when it is first asked for it. */
    private static final class MadeUpWallet implements Wallet {
        private static final int MOST_WITH_REFERENCES = 6;

        private final TestCase testCase;
        private final Dice dice;
        private final TextGenerator texts;
        private final Set<String> missing = new HashSet<>();
        private int withReferences;

        MadeUpWallet(TestCase testCase, Dice dice) {
            this.testCase = testCase;
            this.dice = dice;
            texts = new TextGenerator(dice);
        }

        @Override
        public String value(String name) {
            if (!testCase.wallet().containsKey(name) && !missing.contains(name)) {
                makeUp(name);
            }
            return testCase.wallet().get(name);
        }

        private void makeUp(String name) {
            if (name.isEmpty() || dice.percent(3)) {
                missing.add(name);
            } else if (withReferences < MOST_WITH_REFERENCES && dice.percent(25)) {
                withReferences++;
                testCase.wallet().put(name, texts.valueWithReference());
            } else {
                testCase.wallet().put(name, texts.plainValue());
            }
        }
    }
}

package walletcaller.differential;

import java.util.Random;
import java.util.function.Supplier;
import java.util.stream.Collectors;
import java.util.stream.Stream;

/** Random choices, repeatable from a seed. */
final class Dice {
    private final Random random;

    Dice(long seed) {
        random = new Random(seed);
    }

    /** A number from the first to the last, both included. */
    int between(int first, int last) {
        return first + random.nextInt(last - first + 1);
    }

    boolean percent(int chance) {
        return random.nextInt(100) < chance;
    }

    String oneOf(String... choices) {
        return choices[random.nextInt(choices.length)];
    }

    String several(int fewest, int most, Supplier<String> piece) {
        return Stream.generate(piece).limit(between(fewest, most)).collect(Collectors.joining());
    }

    /** One of several ways, each as likely as its share of all weights. */
    String weighted(Way... ways) {
        int left = random.nextInt(Stream.of(ways).mapToInt(Way::weight).sum());
        for (Way way : ways) {
            left -= way.weight();
            if (left < 0) {
                return way.text().get();
            }
        }
        throw new AssertionError("weights do not add up");
    }

    /** A way to make a text, and how likely it is beside others. */
    record Way(int weight, Supplier<String> text) {
        static Way of(int weight, Supplier<String> text) {
            return new Way(weight, text);
        }
    }
}

package walletcaller.bench;

import java.util.Arrays;

/**
 * Two contestants timed in turns, so that whatever else the machine does meets both alike.
 *
 * <p>A round gives each contestant the median of its calls. The ratio is taken within each round;
 * the figure is the median over the rounds.
 */
final class Rounds {
    private final Runnable[] before;
    private final Runnable[] contestants;
    private double[] ratios;
    private double[] times;

    /** What comes before a call is not counted. */
    Rounds(Runnable beforeOne, Runnable one, Runnable beforeOther, Runnable other) {
        before = new Runnable[] {beforeOne, beforeOther};
        contestants = new Runnable[] {one, other};
    }

    /** Every other time the other one begins, so that each follows itself as often as the other. */
    void run(int rounds, int calls) {
        ratios = new double[rounds];
        times = new double[rounds];
        double[][] taken = new double[2][calls];
        for (int round = 0; round < rounds; ++round) {
            for (int call = 0; call < calls; ++call) {
                time(call % 2, call, taken);
                time(1 - call % 2, call, taken);
            }
            times[round] = middle(taken[0]);
            ratios[round] = times[round] / middle(taken[1]);
        }
    }

    /** How many times the other's time the one took. */
    double ratio() {
        return middle(ratios);
    }

    /** What the one took. */
    double microseconds() {
        return middle(times) / 1000;
    }

    /** The median (the smallest to the largest). */
    static String spread(double[] figures) {
        double[] sorted = figures.clone();
        Arrays.sort(sorted);
        return String.format("%.4g (%.4g to %.4g)",
                sorted[sorted.length / 2], sorted[0], sorted[sorted.length - 1]);
    }

    private void time(int turn, int call, double[][] taken) {
        before[turn].run();
        long start = System.nanoTime();
        contestants[turn].run();
        taken[turn][call] = System.nanoTime() - start;
    }

    private static double middle(double[] figures) {
        double[] sorted = figures.clone();
        Arrays.sort(sorted);
        return sorted[sorted.length / 2];
    }
}

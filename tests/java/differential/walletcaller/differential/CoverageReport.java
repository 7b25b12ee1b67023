package walletcaller.differential;

import java.util.EnumMap;
import java.util.List;
import java.util.Map;
import java.util.Set;
import java.util.stream.Collectors;
import java.util.stream.Stream;

/** How many cases visited each branch of the model. */
final class CoverageReport {
    private final Map<Branch, Integer> cases = new EnumMap<>(Branch.class);

    void add(Set<Branch> seen) {
        seen.forEach(branch -> cases.merge(branch, 1, Integer::sum));
    }

    List<Branch> neverVisited() {
        return Stream.of(Branch.values()).filter(branch -> !cases.containsKey(branch)).toList();
    }

    @Override
    public String toString() {
        return Stream.of(Branch.values())
                .map(branch -> String.format("  %-40s %6d", branch, cases.getOrDefault(branch, 0)))
                .collect(Collectors.joining("\n", "cases by branch:\n", ""));
    }
}

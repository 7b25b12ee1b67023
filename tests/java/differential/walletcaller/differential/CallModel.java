package walletcaller.differential;

import java.util.ArrayList;
import java.util.EnumMap;
import java.util.List;
import java.util.Map;
import java.util.Set;

/** What one call does: side by side, the user name before the password, up to the first failure. */
final class CallModel {
    private final TestCase testCase;
    private final Wallet wallet;
    private final int bound;
    private final Set<Branch> seen;
    private final Map<Property, String> texts;
    private final List<Property> written = new ArrayList<>();
    private final List<String> fetched = new ArrayList<>();

    private CallModel(TestCase testCase, Wallet wallet, int bound, Set<Branch> seen) {
        this.testCase = testCase;
        this.wallet = wallet;
        this.bound = bound;
        this.seen = seen;
        this.texts = new EnumMap<>(testCase.texts());
    }

    /** Predicts a call; what it meets on its way is added to {@code seen}. */
    static Outcome predict(TestCase testCase, Set<Branch> seen) {
        return predict(testCase, testCase.wallet()::get, ReferenceModel.BOUND, seen);
    }

    static Outcome predict(TestCase testCase, Wallet wallet, int bound, Set<Branch> seen) {
        return new CallModel(testCase, wallet, bound, seen).run();
    }

    private Outcome run() {
        String message = null;
        try {
            for (Side side : Side.values()) {
                String url = testCase.urls().get(side);
                String databaseId = JdbcUrlModel.databaseId(
                        url == null ? null : ByteText.ofUtf8(url), seen);
                for (Property property : Property.of(side)) {
                    expand(property, databaseId);
                }
            }
            seen.add(Branch.CALL_SUCCEEDED);
        } catch (ModelFailure failure) {
            message = MessageModel.asJavaSees(failure.messageBytes);
        }
        return new Outcome(texts, written, fetched, message);
    }

    private void expand(Property property, String databaseId) {
        String text = texts.get(property);
        if (text == null || text.isEmpty()) {
            seen.add(text == null ? Branch.TEXT_NULL : Branch.TEXT_EMPTY);
        }
        if (text == null) {
            return;
        }
        try {
            texts.put(property, new ReferenceModel(databaseId, this::fetch, bound, seen).expand(text));
            written.add(property);
        } catch (ModelFailure failure) {
            seen.add(Branch.valueOf("FAILED_IN_" + property.name()));
            throw failure;
        }
    }

    /** Asks the wallet, which sees a name only up to its first NUL. */
    private String fetch(String name) {
        String passed = ByteText.upToNul(name);
        if (passed.length() < name.length()) {
            seen.add(Branch.NAME_CUT_BY_NUL);
        }
        fetched.add(passed);
        String value = wallet.value(passed);
        if (value != null) {
            return value;
        }
        seen.add(Branch.ENTRY_MISSING);
        throw MessageModel.failure("Attempt to get value from Orvanta Wallet failed because: ",
                "There is no string named \"" + passed + "\" in the wallet.", "", seen);
    }
}

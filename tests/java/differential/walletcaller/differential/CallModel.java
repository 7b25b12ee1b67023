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

    /** Predicts a call; the branches that it takes are added to {@code seen}. */
    static Outcome predict(TestCase testCase, Set<Branch> seen) {
        return predict(testCase, testCase.wallet()::get, MacroModel.BOUND, seen);
    }

    static Outcome predict(TestCase testCase, Wallet wallet, int bound, Set<Branch> seen) {
        return new CallModel(testCase, wallet, bound, seen).run();
    }

    private Outcome run() {
        String message = null;
        try {
            for (Side side : Side.values()) {
                expandSide(side);
            }
            seen.add(Branch.CALL_SUCCEEDED);
        } catch (ModelFailure failure) {
            noteMessage(failure.messageBytes);
            message = MessageModel.asJavaSees(failure.messageBytes);
        }
        return new Outcome(texts, written, fetched, message);
    }

    private void expandSide(Side side) {
        String ordinaryUrl = testCase.urls().get(side);
        JdbcUrlModel url = JdbcUrlModel.parse(
                ordinaryUrl == null ? null : ByteText.ofUtf8(ordinaryUrl), seen);
        for (Property property : Property.of(side)) {
            String text = texts.get(property);
            noteText(text);
            if (text == null) {
                continue;
            }
            try {
                String expanded = new MacroModel(url, this::fetch, bound, seen).expand(text);
                texts.put(property, expanded);
                written.add(property);
                if (expanded.isEmpty() && !text.isEmpty()) {
                    seen.add(Branch.EXPANDED_TO_NOTHING);
                }
            } catch (ModelFailure failure) {
                seen.add(Branch.valueOf("FAILED_IN_" + property.name()));
                throw failure;
            }
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

    private void noteText(String text) {
        if (text == null) {
            seen.add(Branch.TEXT_NULL);
        } else if (text.isEmpty()) {
            seen.add(Branch.TEXT_EMPTY);
        } else {
            if (!text.contains("$ovwallet")) {
                seen.add(Branch.TEXT_WITHOUT_MACRO);
            }
            if (text.indexOf('\0') >= 0) {
                seen.add(Branch.TEXT_WITH_NUL);
            }
            if (text.chars().anyMatch(b -> b >= 0x80)) {
                seen.add(Branch.TEXT_NON_ASCII);
            }
        }
    }

    private void noteMessage(String messageBytes) {
        if (messageBytes.chars().anyMatch(b -> b >= 0x80)) {
            seen.add(Branch.MESSAGE_NON_ASCII);
        }
        if (messageBytes.chars().anyMatch(b -> b >= 0xF0)) {
            seen.add(Branch.MESSAGE_BEYOND_BASIC_PLANE);
        }
    }
}

package walletcaller.differential;

import java.util.List;
import java.util.Map;

/**
 * What one call did, as the model has it or as it was observed.
 *
 * @param texts the four properties after the call, one char per byte; no entry for a null one
 * @param written the properties that were written back, in order
 * @param fetched the entry names that reached the wallet, in order
 * @param message the exception's message; null when the call returned
 */
record Outcome(
        Map<Property, String> texts,
        List<Property> written,
        List<String> fetched,
        String message) {}

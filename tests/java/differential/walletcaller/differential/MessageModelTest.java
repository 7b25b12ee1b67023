package walletcaller.differential;

import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertNull;

import java.util.EnumSet;
import org.junit.jupiter.api.Test;

class MessageModelTest {
    private static String message(String argument) {
        return MessageModel.failure("<", argument, ">", EnumSet.noneOf(Branch.class)).messageBytes;
    }

    @Test
    void argumentIsInsertedVerbatim() {
        assertEquals("<50%s%%>", message("50%s%%"));
    }

    @Test
    void argumentEndsAtItsFirstNul() {
        assertEquals("<a>", message("a\0b\0c"));
        assertEquals("<>", message("\0\u00ff"));
    }

    @Test
    void byteThatCannotLeadIsInvalid() {
        assertEquals("Invalid UTF-8", message("a\u0080"));
        assertEquals("Invalid UTF-8", message("\u00ff"));
        assertEquals("Invalid UTF-8", message("\u00f8\u0088\u0080\u0080\u0080"));
    }

    @Test
    void missingContinuationIsInvalid() {
        assertEquals("Invalid UTF-8", message("\u00c3)"));
        assertEquals("Invalid UTF-8", message("\u00e2\u0082)"));
    }

    @Test
    void overlongFormIsInvalid() {
        assertEquals("Invalid UTF-8", message("\u00c0\u0080"));
        assertEquals("Invalid UTF-8", message("\u00e0\u0080\u0080"));
    }

    @Test
    void sequenceCutByTheEndHasNotEnoughSpace() {
        assertEquals("Not enough space", message("\u00c3"));
        assertEquals("Not enough space", message("\u00e2\u0082\0\u00ac"));
        assertEquals("Not enough space", message("\u00f0\u009f\u0098"));
    }

    @Test
    void surrogatesAndTooHighValuesAreNoCodePoints() {
        assertEquals("Invalid code point", message("\u00ed\u00a0\u0080"));
        assertEquals("Invalid code point", message("\u00f4\u0090\u0080\u0080"));
    }

    @Test
    void firstDefectIsTheOneReported() {
        assertEquals("Invalid code point", message("\u00ed\u00bf\u00bf\u00ff\u00c3"));
    }

    @Test
    void charactersOfEveryLengthAreValid() {
        String ordinary = "a\u007f\u0080\u07ff\u0800\ud7ff\ue000\uffff\ud800\udc00\udbff\udfff";
        assertNull(MessageModel.firstDefect(ByteText.ofUtf8(ordinary)));
    }

    @Test
    void javaSeesCharactersOfTheBasicPlane() {
        assertEquals("a\u00e9\u20ac", MessageModel.asJavaSees(ByteText.ofUtf8("a\u00e9\u20ac")));
    }

    @Test
    void javaSeesFourCharsForACharacterBeyondItAndLosesThreeAtTheEnd() {
        assertEquals("x\u00f0\u009f\u0098\u0080 and",
                MessageModel.asJavaSees(ByteText.ofUtf8("x\ud83d\ude00 and so")));
    }
}

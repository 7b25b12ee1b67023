package walletcaller.differential;

import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertNotEquals;
import static org.junit.jupiter.api.Assertions.assertThrows;

import org.junit.jupiter.api.Test;

class CaseTextTest {
    @Test
    void everyByteAndEveryCharSurvives() {
        TestCase testCase = TestCase.empty();
        StringBuilder bytes = new StringBuilder();
        for (char b = 0; b <= 0xFF; b++) {
            bytes.append(b);
        }
        testCase.urls().put(Side.OUTPUT, bytes + "\u0100\ud83d\uffff");
        testCase.texts().put(Property.INPUT_PASSWORD, bytes.toString());
        testCase.wallet().put(bytes.substring(1), bytes.toString());
        assertEquals(testCase, CaseText.parse(CaseText.format(testCase)));
    }

    @Test
    void textIsWrittenAsDocumented() {
        TestCase testCase = TestCase.empty();
        testCase.urls().put(Side.INPUT, "jdbc\u20ac");
        testCase.texts().put(Property.OUTPUT_USER_NAME, "\"\\x\u00e9");
        testCase.wallet().put("a=\"", "ab".repeat(8));
        assertEquals("InputJdbcUrl=\"jdbc\\u20AC\""
                        + " OutputOrvantaUserName=\"\\\"\\\\x\\xE9\" \"a=\\\"\"=\"ab\"*8",
                CaseText.format(testCase));
    }

    @Test
    void generatedCasesSurvive() {
        for (int i = 0; i < 500; i++) {
            TestCase testCase = CaseGenerator.generate(7, i);
            assertEquals(testCase, CaseText.parse(CaseText.format(testCase)));
        }
    }

    @Test
    void whatIsNoCaseIsRefused() {
        assertThrows(IllegalArgumentException.class, () -> CaseText.parse("InputJdbcUrl=\"x"));
        assertThrows(IllegalArgumentException.class, () -> CaseText.parse("InputJdbcURL=\"x\""));
        assertThrows(IllegalArgumentException.class, () -> CaseText.parse("\"a\"=\"x\" b"));
    }

    @Test
    void seedAndNumberRepeatACase() {
        assertEquals(CaseGenerator.generate(7, 3), CaseGenerator.generate(7, 3));
        assertNotEquals(CaseGenerator.generate(7, 3), CaseGenerator.generate(8, 3));
        assertNotEquals(CaseGenerator.generate(7, 3), CaseGenerator.generate(7, 4));
    }
}

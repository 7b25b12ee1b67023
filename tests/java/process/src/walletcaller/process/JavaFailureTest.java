package walletcaller.process;

import static org.junit.jupiter.api.Assertions.assertEquals;
import static walletcaller.process.ConnectorJvm.INPUT;
import static walletcaller.process.ConnectorJvm.OUTPUT;

import java.io.IOException;
import java.nio.file.Files;
import java.nio.file.Path;
import java.util.List;
import java.util.stream.Stream;
import org.junit.jupiter.api.BeforeEach;
import org.junit.jupiter.api.Test;
import org.junit.jupiter.params.ParameterizedTest;
import org.junit.jupiter.params.provider.CsvSource;
import org.junit.jupiter.params.provider.ValueSource;

/**
 * Failures on the Java side of a call: the Java exception itself arrives, the wallet is released,
 * and the process goes on.
 */
class JavaFailureTest extends ProcessTest {
    private static final String PLUG_IN =
            "com/orvanta/connector/orvanta/utils/OrvantaPlugInConfiguration";
    private static final String CHARSETS = "com/orvanta/connector/common/utils/StandardCharsets";
    private static final String CONNECTOR_EXCEPTION =
            "com/orvanta/connector/common/exception/ConnectorException";

    @BeforeEach
    void install() {
        scene.install(Build.BASE);
        scene.wallet().add("known", "value");
    }

    private static void setBothSides(ConnectorJvm jvm) {
        jvm.set(INPUT, "jdbc:orvanta://in/", "$ovwallet(known)1", "$ovwallet(known)2");
        jvm.set(OUTPUT, "jdbc:orvanta://out/", "$ovwallet(known)3", "$ovwallet(known)4");
    }

    private void assertGoodCall(ConnectorJvm jvm) {
        scene.wallet().assertAtRest();
        setBothSides(jvm);
        assertEquals(Outcome.RETURNED, jvm.call());
        assertEquals("value1", jvm.userName(INPUT));
        assertEquals("value2", jvm.password(INPUT));
        assertEquals("value3", jvm.userName(OUTPUT));
        assertEquals("value4", jvm.password(OUTPUT));
    }

    @ParameterizedTest
    @CsvSource({
        "getConfiguration, 0",
        "getInputJdbcUrl, 0",
        "getInputOrvantaUserName, 0",
        "setInputOrvantaUserName, 0",
        "getInputOrvantaPassword, 1",
        "setInputOrvantaPassword, 1",
        "getOutputJdbcUrl, 2",
        "getOutputOrvantaUserName, 2",
        "setOutputOrvantaUserName, 2",
        "getOutputOrvantaPassword, 3",
        "setOutputOrvantaPassword, 3",
    })
    void exceptionOutOfAJavaMethodArrivesItself(String method, int propertiesDone) {
        ConnectorJvm jvm = scene.start();
        setBothSides(jvm);
        jvm.throwIn(method);

        assertEquals(
                Outcome.sameObject("IllegalStateException", "thrown by " + method), jvm.call());

        List<String> done = List.of("value1", "value2", "value3", "value4");
        List<String> untouched = List.of("$ovwallet(known)1", "$ovwallet(known)2",
                "$ovwallet(known)3", "$ovwallet(known)4");
        assertEquals(
                Stream.concat(done.stream().limit(propertiesDone),
                        untouched.stream().skip(propertiesDone)).toList(),
                List.of(jvm.userName(INPUT), jvm.password(INPUT),
                        jvm.userName(OUTPUT), jvm.password(OUTPUT)));
        jvm.throwIn(null);
        assertGoodCall(jvm);
    }

    @ParameterizedTest
    @ValueSource(strings = {"getInputJdbcUrl", "getInputOrvantaUserName",
        "setInputOrvantaUserName", "getInputOrvantaPassword", "setInputOrvantaPassword"})
    void missingMethodIsNamed(String method) {
        ConnectorJvm jvm = scene.start(Build.classPathWith("without-" + method));
        setBothSides(jvm);

        Outcome missing = Outcome.javaLang("NoSuchMethodError", method);
        assertEquals(missing, jvm.call());
        scene.wallet().assertAtRest();
        assertEquals(missing, jvm.call());
    }

    @Test
    void missingSetterIsNotMissedWhereNothingIsSet() {
        ConnectorJvm jvm = scene.start(Build.classPathWith("without-setInputOrvantaUserName"));
        setBothSides(jvm);
        assertEquals(Outcome.javaLang("NoSuchMethodError", "setInputOrvantaUserName"), jvm.call());

        jvm.setUserName(INPUT, null);
        assertEquals(Outcome.RETURNED, jvm.call());
        assertEquals("value2", jvm.password(INPUT));
        assertEquals("value4", jvm.password(OUTPUT));
    }

    @Test
    void missingCharacterSetIsNamed() {
        ConnectorJvm jvm = scene.start(Build.classPathWith("without-UTF_8"));
        setBothSides(jvm);

        assertEquals(Outcome.javaLang("NoSuchFieldError", "UTF_8"), jvm.call());
        assertEquals(Outcome.javaLang("NoSuchFieldError", "UTF_8"), jvm.call());
    }

    @ParameterizedTest
    @ValueSource(strings = {PLUG_IN, CHARSETS})
    void missingClassIsNamedAndMayAppearLater(String name) throws IOException {
        Path connector = copyOfConnectorWithout(name);
        ConnectorJvm jvm = scene.start(Build.classPathWithConnector(connector));
        setBothSides(jvm);

        assertEquals(Outcome.javaLang("NoClassDefFoundError", name), jvm.call());

        restore(connector, name);
        assertGoodCall(jvm);
    }

    @Test
    void withoutConnectorExceptionTheFailedLookUpArrives() throws IOException {
        Path connector = copyOfConnectorWithout(CONNECTOR_EXCEPTION);
        ConnectorJvm jvm = scene.start(Build.classPathWithConnector(connector));
        jvm.set(INPUT, "", "$ovwallet(unknown)", null);

        assertEquals(Outcome.javaLang("NoClassDefFoundError", CONNECTOR_EXCEPTION), jvm.call());

        restore(connector, CONNECTOR_EXCEPTION);
        assertEquals(Outcome.connectorException("Attempt to get value from Orvanta Wallet failed"
                + " because: There is no string named \"unknown\" in the wallet."), jvm.call());
        assertGoodCall(jvm);
    }

    @Test
    void hadoopThatTheConnectorDoesNotSeeIsNamed() {
        assertEquals(
                List.of("java.lang.NoClassDefFoundError: org/apache/hadoop/mapreduce/JobContext"),
                scene.run(0, List.of(), "HiddenHadoop", Build.CONNECTOR.toString(),
                        Build.HADOOP_TYPES.toString(), Build.CHILD.toString()));
    }

    private Path copyOfConnectorWithout(String name) throws IOException {
        Path copy = scene.path("connector");
        try (Stream<Path> files = Files.walk(Build.CONNECTOR)) {
            for (Path file : files.toList()) {
                Files.copy(file, copy.resolve(Build.CONNECTOR.relativize(file).toString()));
            }
        }
        Files.delete(copy.resolve(name + ".class"));
        return copy;
    }

    private static void restore(Path connector, String name) throws IOException {
        Files.copy(Build.CONNECTOR.resolve(name + ".class"), connector.resolve(name + ".class"));
    }
}

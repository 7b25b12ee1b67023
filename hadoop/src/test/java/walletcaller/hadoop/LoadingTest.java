package walletcaller.hadoop;

import static org.junit.jupiter.api.Assertions.assertEquals;

import java.io.IOException;
import java.io.UncheckedIOException;
import java.nio.file.Files;
import java.nio.file.Path;
import java.util.List;
import java.util.stream.Stream;
import org.junit.jupiter.api.AfterEach;
import org.junit.jupiter.api.BeforeEach;
import org.junit.jupiter.api.Test;
import org.junit.jupiter.api.io.TempDir;
import walletcaller.hadoop.Privilege.Needs;

/** The library loaded as a job does it, and in ways that a job should not. */
class LoadingTest {
    private static final String FILE = "libWalletCaller-redhatlinux-x8664.so";
    private static final String OUR_EXCEPTION =
            "com.orvanta.connector.common.exception.ConnectorException: ";

    @TempDir Path directory;

    private Scene scene;

    @BeforeEach
    void makeWallet() {
        scene = new Scene(directory);
        scene.wallet().add("name", "value");
    }

    @AfterEach
    void everythingIsTakenBack() {
        scene.close();
    }

    @Test
    void theJobUnpacksItIntoADirectoryOfItsOwnAndRemovesThatAtTheEnd() {
        assertEquals(List.of("first call: well", "directory: rwx------",
                "files: [" + FILE + ", ovwalletdir]", "second call: well"), run("fromTheJar"));
        assertEquals(List.of(), temporaryFiles());
    }

    @Test
    void aDirectoryWithBlanksInItsNameDoesNoHarm() {
        scene.renameTemporaryDirectory("two blanks here");
        assertEquals(List.of("first call: well", "directory: rwx------",
                "files: [" + FILE + ", ovwalletdir]", "second call: well"), run("fromTheJar"));
    }

    /** Where a job is submitted anybody's file may lie. */
    @Test
    void aFileInTheWorkingDirectoryOfASubmitterIsNotLookedAt() {
        assertEquals(List.of("first call: well", "directory: rwx------",
                "files: [" + FILE + ", ovwalletdir]", "second call: well"), runBeside("other", ""));
    }

    @Test
    void aFileInTheWorkingDirectoryOfAContainerHasToBeTheJars() {
        String refused = OUR_EXCEPTION + "The distributed cache has another " + FILE
                + " than the job's jar";
        assertEquals(List.of("first call: " + refused, "second call: " + refused),
                runBeside("other", "CONTAINER_ID=container_1"));
        assertEquals(List.of(), temporaryFiles());
    }

    /** The library looks for its own file each time that it opens the wallet. */
    @Test
    void deletingTheFileMakesCallsFailUntilItIsBack() {
        List<String> lines = run("fileDeleted");
        String file = unpacked() + "/" + FILE;
        assertEquals(List.of("first call: well", "mapped: [" + file + " (deleted)]",
                "call without the file: " + OUR_EXCEPTION + "Attempt to use Orvanta Wallet failed"
                        + " because: \"" + file + "\" does not name an existing file.",
                "call with the file: well"), lines);
    }

    @Test
    void twoClassLoadersWorkSideBySideEachWithItsCopy() {
        assertEquals(List.of("call: well", "call: well", "call: well", "one class: false",
                "mapped: 2"), run("twoClassLoaders"));
        assertEquals(List.of(), temporaryFiles());
    }

    @Test
    void theJvmRefusesOneFileToASecondClassLoader() {
        List<String> lines = run("oneFileForTwoClassLoaders");
        assertEquals(List.of("first class loader: well",
                "second class loader: java.lang.UnsatisfiedLinkError: Native Library "
                        + unpacked() + "/" + FILE + " already loaded in another classloader"),
                lines);
    }

    @Test
    void aDirectoryThatHasALinkAlreadyIsRefusedAndTheLinkStays() {
        List<String> lines = run("directoryOfAnother");
        assertEquals(List.of("call: " + OUR_EXCEPTION
                        + "An attempt to create a symbolic link named " + unpacked()
                        + "/ovwalletdir failed (errno = File exists)",
                "link: /nowhere", "call without the link: well"), lines);
    }

    @Test
    void withoutASlashAtTheEndOfTheDirectoryTheLinkIsMadeBesideIt() {
        List<String> lines = run("withoutSlash");
        assertEquals(List.of("call: " + OUR_EXCEPTION + "Attempt to use Orvanta Wallet failed"
                        + " because: The ovwalletdir symbolic link is not present in \""
                        + unpacked() + "\".",
                "link beside the directory: true"), lines);
    }

    @Test
    void aFileSystemMountedNoexecIsSaidByTheLinkerAndNothingIsLeftThere() {
        Privilege.require(Needs.MOUNT);
        Path mounted = scene.path("tmp");
        List<String> command = List.of("unshare", "--mount", "sh", "-c",
                "mount -t tmpfs -o noexec,mode=0700 tmpfs '" + mounted + "' && \"$@\""
                        + " && ls '" + mounted + "' | sed 's/^/= left /'", "sh");
        List<String> lines = scene.run(
                Jdk.current(), command, List.of(), Build.classPath(), "LoadProgram", "fromTheJar")
                .lines();
        assertEquals(2, lines.size(), lines::toString);
        for (String line : lines) {
            assertEquals("call: " + OUR_EXCEPTION
                            + "DIRECTORY/libWalletCaller-redhatlinux-x8664.so: "
                            + "DIRECTORY/" + FILE + ": failed to map segment from shared object",
                    line.replaceAll("^(first|second) ", "")
                            .replaceAll("/\\S*/orvanta-wallet-\\d+", "DIRECTORY"));
        }
    }

    /** What a container may lock: 64 KiB is the usual limit. */
    @Test
    void aSmallLimitOfLockedMemoryIsEnoughForOrdinaryCredentials() {
        Privilege.require(Needs.DROP_PRIVILEGES);
        assertEquals(List.of("call: well", "locked during the call: true", "user name: value"),
                runWithLockedMemory(64 * 1024));
    }

    @Test
    void whereNoMemoryMayBeLockedCallsWorkWithoutIt() {
        Privilege.require(Needs.DROP_PRIVILEGES);
        assertEquals(List.of("call: well", "locked during the call: false", "user name: value"),
                runWithLockedMemory(0));
    }

    private List<String> run(String way) {
        return scene.run("LoadProgram", way).lines();
    }

    /** With a file of the library's name in the working directory. */
    private List<String> runBeside(String content, String variable) {
        List<String> command = List.of("sh", "-c",
                "echo " + content + " > " + FILE + " && exec env " + variable + " \"$@\"", "sh");
        return scene.run(Jdk.current(), command, List.of(), Build.classPath(), "LoadProgram",
                "fromTheJar").lines();
    }

    private List<String> runWithLockedMemory(int bytes) {
        List<String> command = List.of("prlimit", "--memlock=" + bytes + ":" + bytes, "setpriv",
                "--bounding-set=-ipc_lock,-sys_resource", "--inh-caps=-ipc_lock,-sys_resource");
        return scene.run(Jdk.current(), command, List.of(), Build.classPath(), "LoadProgram",
                "lockedMemory").lines();
    }

    /** The one directory that the program made and left. */
    private Path unpacked() {
        return temporaryFiles().stream()
                .filter(file -> Files.isDirectory(file) && !Files.isSymbolicLink(file))
                .reduce((one, other) -> {
                    throw new AssertionError(one + " and " + other);
                }).orElseThrow();
    }

    private List<Path> temporaryFiles() {
        try (Stream<Path> files = Files.list(scene.path("tmp"))) {
            return files.sorted().toList();
        } catch (IOException failure) {
            throw new UncheckedIOException(failure);
        }
    }
}

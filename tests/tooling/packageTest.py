#!/usr/bin/env python3
"""What is in each package, and that the file in it is the one that was built: packageTest.py BUILD_TREE"""

import hashlib
import io
import json
import os
import re
import subprocess
import sys
import tarfile
import tempfile
import unittest
import xml.etree.ElementTree
import zipfile

import jsonschema

TOP = os.path.realpath(os.path.join(os.path.dirname(__file__), "..", ".."))
NAME = "libWalletCaller-redhatlinux-x8664.so"
LIBRARY = "lib64/walletcaller/" + NAME
DOCUMENTS = "share/doc/walletcaller/"
PAGES = ["LICENSE", "README.md", "ARCHITECTURE.md", "SECURITY.md", "CHANGELOG.md",
         "docs/errors.md", "docs/integration.md", "docs/operations.md", "docs/performance.md",
         "docs/support.md"]
LICENSES = ["LICENSE.CLI11", "LICENSE.nlohmann-json"]
TEXTS = ["SHA256SUMS", "VERSION", "walletcaller.spdx.json"]
COMMAND = ["bin/walletcaller", "share/bash-completion/completions/walletcaller", "share/man/man1/walletcaller.1.gz"]
MAVEN = "META-INF/maven/com.orvanta.connector/walletcaller/"


def output(*command):
    return subprocess.run(command, check=True, capture_output=True).stdout


def read(*path):
    with open(os.path.join(*path), "rb") as file:
        return file.read()


def files_of_tar(data):
    """Contents by name, without the first directory and a leading "/usr"."""
    with tarfile.open(fileobj=io.BytesIO(data)) as archive:
        return {re.sub(r"^[^/]+/", "", member.name.removeprefix("./")): archive.extractfile(member).read()
                for member in archive if member.isfile()}


class PackageTest(unittest.TestCase):
    tree = ""

    @classmethod
    def setUpClass(cls):
        cls.scratch = tempfile.TemporaryDirectory()
        cls.directory = cls.scratch.name
        cls.make_packages(cls.directory)
        cls.version = read(cls.tree, "package-texts", "VERSION").split()[1].decode()
        cls.rpm = os.path.join(cls.directory, f"walletcaller-{cls.version}-1.x86_64.rpm")
        cls.built = read(cls.tree, NAME)
        cls.build_id = re.search(rb"Build ID: (\w+)",
                                 output("readelf", "-n", os.path.join(cls.tree, NAME)))[1].decode()
        cls.installed = sorted([LIBRARY] + [DOCUMENTS + text for text in PAGES + LICENSES + TEXTS] + COMMAND)

    @classmethod
    def make_packages(cls, directory, *before, **options):
        subprocess.run([*before, os.path.join(TOP, "scripts", "make-packages"), cls.tree, directory],
                       check=True, **options)

    @classmethod
    def tearDownClass(cls):
        cls.scratch.cleanup()

    def check(self, files, library, documents):
        """`files` have the library, exactly as built, and texts that fit it."""
        self.assertEqual(files[library], self.built)
        self.assertEqual(files[documents + "LICENSE"], read(TOP, "LICENSE"))
        self.assertEqual(files[documents + "VERSION"].decode(),
                         f"walletcaller {self.version}\nbuild id {self.build_id}\n")
        self.assertEqual(files[documents + "walletcaller.spdx.json"],
                         read(self.directory, f"walletcaller-{self.version}.spdx.json"))

    def check_installed(self, files):
        self.assertEqual(sorted(files), self.installed)
        self.check(files, LIBRARY, DOCUMENTS)
        self.check_sums(files, DOCUMENTS + "SHA256SUMS", DOCUMENTS)
        for page in PAGES:
            self.assertEqual(files[DOCUMENTS + page], read(TOP, page))
        self.check_links(files)

    def check_links(self, files):
        """What a page links to is in the same package."""
        broken = []
        for page in [name for name in files if name.endswith(".md")]:
            for target in re.findall(r"\]\((?!\w+:)([^)#]+)", files[page].decode()):
                if os.path.normpath(os.path.join(os.path.dirname(page), target)) not in files:
                    broken.append(f"{page}: {target}")
        self.assertEqual(broken, [])

    def check_sums(self, files, sums, base):
        """Every other file stands in the checksums `sums`, by its pathname from the directory `base`."""
        listed = dict(reversed(line.split("  ")) for line in files[sums].decode().splitlines())
        found = {os.path.normpath(os.path.join(base, name)): digest for name, digest in listed.items()}
        self.assertEqual(found, {name: hashlib.sha256(data).hexdigest()
                                 for name, data in files.items() if name != sums})

    def test_install(self):
        with tempfile.TemporaryDirectory() as prefix:
            output("cmake", "--install", self.tree, "--prefix", prefix)
            self.check_installed({os.path.relpath(os.path.join(directory, name), prefix): read(directory, name)
                                  for directory, _, found in os.walk(prefix) for name in found})

    def test_tar_archive(self):
        name = f"walletcaller-{self.version}-redhatlinux-x8664"
        data = read(self.directory, name + ".tar.gz")
        with tarfile.open(fileobj=io.BytesIO(data)) as archive:
            for member in archive:
                self.assertEqual(member.name.split("/")[0], name)
                may_run = member.isdir() or member.name.endswith((".so", "/bin/walletcaller"))
                self.assertEqual(member.mode, 0o755 if may_run else 0o644, member.name)
        self.check_installed(files_of_tar(data))

    def test_rpm_contents(self):
        listed = output("rpm", "-qlp", self.rpm).decode().split()
        files = ["/usr/" + name for name in self.installed]
        self.assertEqual([name for name in listed if name in files], files)
        self.assertEqual(set(listed) - set(files),
                         {"/usr/lib64/walletcaller", "/usr/share/doc/walletcaller",
                          "/usr/share/doc/walletcaller/docs"})
        self.assertEqual(output("rpm", "-qp", "--licensefiles", self.rpm).decode(),
                         "".join(f"/usr/share/doc/walletcaller/{name}\n" for name in ["LICENSE"] + LICENSES))
        self.check_installed(files_of_tar(self.rpm_as_tar()))

    def rpm_as_tar(self):
        with open(self.rpm, "rb") as package:
            return subprocess.run(["rpm2archive", "-"], stdin=package, check=True,
                                  capture_output=True).stdout

    def test_rpm_requires_nothing_newer_than_the_oldest_system_has(self):
        required = output("rpm", "-qp", "--requires", self.rpm).decode().split("\n")
        self.assertIn("libdl.so.2(GLIBC_2.2.5)(64bit)", required)
        self.assertIn("libgcc_s.so.1()(64bit)", required)
        versions = re.findall(r"GLIBC_(\d+)\.(\d+)", "\n".join(required))
        self.assertLessEqual(max((int(major), int(minor)) for major, minor in versions), (2, 17))
        files = {name for name in required if ".so" in name}
        self.assertEqual({name.split("(")[0] for name in files},
                         {"ld-linux-x86-64.so.2", "libc.so.6", "libdl.so.2", "libgcc_s.so.1", "libpthread.so.0"})
        # rpm itself: features that its versions since 4.6 have.
        self.assertLessEqual({name.split()[0] for name in required if name and name not in files},
                             {"rpmlib(CompressedFileNames)", "rpmlib(FileDigests)",
                              "rpmlib(PayloadFilesHavePrefix)", "rtld(GNU_HASH)"})

    def test_rpm_says_what_it_is(self):
        told = output("rpm", "-qp", "--queryformat",
                      "%{NAME} %{VERSION} %{ARCH} %{LICENSE} %{URL}\n%{PREFIXES} %{BUILDHOST}\n"
                      "%{CHANGELOGNAME}: %{CHANGELOGTEXT}", self.rpm)
        self.assertEqual(told.decode(),
                         f"walletcaller {self.version} x86_64 Apache-2.0 AND BSD-3-Clause AND BSL-1.0 AND MIT "
                         "AND GPL-3.0-or-later WITH GCC-exception-3.1 "
                         "https://orvanta.example/walletcaller\n(none) walletcaller.invalid\n"
                         f"Orvanta - {self.version}-1: - Release {self.version}, "
                         "see /usr/share/doc/walletcaller/CHANGELOG.md")
        self.assertNotIn(b".so", output("rpm", "-qp", "--provides", self.rpm))

    def test_rpm_is_read_by_the_rpm_of_the_oldest_system(self):
        # rpm 4.11: gzip, MD5 and SHA-1 over all, SHA-256 (8) for each file.
        told = output("rpm", "-qp", "--queryformat",
                      "%{PAYLOADFORMAT} %{PAYLOADCOMPRESSOR} %{FILEDIGESTALGO} %{SIGMD5} %{SHA1HEADER}",
                      self.rpm)
        self.assertRegex(told.decode(), r"^cpio gzip 8 [0-9a-f]{32} [0-9a-f]{40}$")

    def test_rpmlint_finds_no_error(self):
        subprocess.run(["rpmlint", "-c", os.path.join(TOP, "cmake", "package", "rpmlint.toml"), self.rpm],
                       check=True, stdout=subprocess.DEVNULL)

    def test_bill_of_materials(self):
        bill = json.loads(read(self.directory, f"walletcaller-{self.version}.spdx.json"))
        # The schema is that of SPDX 2.3, as org.spdx:tools-java 1.1.8 has it, without descriptions and one
        # kind of relationship.
        schema = json.loads(read(TOP, "tests", "tooling", "spdx-schema-2.3.json"))
        validator = jsonschema.validators.validator_for(schema)(schema)
        self.assertEqual([error.message for error in validator.iter_errors(bill)], [])
        self.assertEqual(bill["spdxVersion"], "SPDX-2.3")
        parts = [(part["name"], part["licenseDeclared"]) for part in bill["packages"]]
        self.assertEqual(parts, [("walletcaller", "Apache-2.0"),
                                 ("libstdc++", "GPL-3.0-or-later WITH GCC-exception-3.1"),
                                 ("utfcpp", "BSL-1.0"), ("CLI11", "BSD-3-Clause"), ("nlohmann-json", "MIT")])
        for part in bill["packages"]:
            self.assertRegex(part["versionInfo"], r"^\d+(\.\d+)+$")
            self.assertRegex(part["supplier"], "^(Organization|Person): .")
            for reference in part["externalRefs"]:
                self.assertRegex(reference["referenceLocator"],
                                 rf"^pkg:[a-z]+/.+@v?{re.escape(part['versionInfo'])}\b")
        built = {"./" + NAME: self.built, "./walletcaller": read(self.tree, "walletcaller")}
        self.assertEqual({file["fileName"]: file["checksums"] for file in bill["files"]},
                         {name: [{"algorithm": "SHA1", "checksumValue": hashlib.sha1(data).hexdigest()},
                                 {"algorithm": "SHA256", "checksumValue": hashlib.sha256(data).hexdigest()}]
                          for name, data in built.items()})

    def test_jar(self):
        with zipfile.ZipFile(os.path.join(self.directory, f"walletcaller-{self.version}.jar")) as jar:
            files = {name: jar.read(name) for name in jar.namelist() if not name.endswith("/")}
        manifest = files.pop("META-INF/MANIFEST.MF").decode()
        self.assertIn("Automatic-Module-Name: com.orvanta.walletcaller\r\n", manifest)
        self.assertIn(f"Implementation-Version: {self.version}\r\n", manifest)
        self.assertEqual(sorted(files), sorted([NAME, "META-INF/LICENSE", MAVEN + "pom.xml", MAVEN + "pom.properties"] +
                                               ["META-INF/" + text for text in TEXTS]))
        self.check(files, NAME, "META-INF/")
        self.check_sums(files, "META-INF/SHA256SUMS", ".")
        pom = read(self.directory, f"walletcaller-{self.version}.pom")
        self.assertEqual(files[MAVEN + "pom.xml"], pom)
        values = {child.tag.split("}")[1]: child.text for child in xml.etree.ElementTree.fromstring(pom)}
        self.assertEqual((values["groupId"], values["artifactId"], values["version"], values["packaging"]),
                         ("com.orvanta.connector", "walletcaller", self.version, "jar"))
        self.assertIn("/" + NAME, values["description"])

    def test_debug_symbols_lie_where_debuggers_look(self):
        data = read(self.directory, f"walletcaller-debug-{self.version}-redhatlinux-x8664.tar.gz")
        files = files_of_tar(data)
        self.assertEqual(len(files), 2)
        for name in NAME, "walletcaller":
            file = os.path.join(self.tree, name)
            build_id = re.search(rb"Build ID: (\w+)", output("readelf", "-n", file))[1].decode()
            self.assertEqual(files[f"lib/debug/.build-id/{build_id[:2]}/{build_id[2:]}.debug"],
                             read(file + ".debug"))
            self.assertIn(b".debug_info", output("readelf", "-SW", file + ".debug"))

    def test_sandbox_needs_nothing_but_itself(self):
        with tempfile.TemporaryDirectory() as scratch:
            name = f"walletcaller-sandbox-{self.version}-redhatlinux-x8664"
            with tarfile.open(os.path.join(self.directory, name + ".tar.gz")) as archive:
                archive.extractall(scratch)
            base = os.path.join(scratch, name)
            self.assertEqual(sorted(os.listdir(base)), ["LICENSE", "LICENSE.CLI11", "OvWalletSandbox.h", "README.md", "orvanta"])
            self.check_links({file: read(base, file) for file in os.listdir(base) if file != "orvanta"})
            self.assertEqual(os.listdir(os.path.join(base, "orvanta", "client", "ovwallet")), [])
            client = os.path.join(base, "orvanta", "client", "14.10", "ovwallet", "redhatlinux-x8664")
            self.assertEqual(sorted(os.listdir(client)), ["libovwallet.so", "ovwallet", "ovwhelper.exe"])
            command = os.path.join(client, "ovwallet")
            home = {"OVWALLET_SANDBOX_HOME": os.path.join(scratch, "wallet")}
            subprocess.run([command, "add", "name", "value"], check=True, env=home)
            shown = subprocess.run([command, "show", "name"], check=True, env=home, capture_output=True)
            self.assertEqual(shown.stdout, b"value\n")
            for program in "ovwallet", "ovwhelper.exe":
                self.assertNotIn(b"INTERP", output("readelf", "-lW", os.path.join(client, program)))
            versions = re.findall(rb"GLIBC_(\d+)\.(\d+)",
                                  output("readelf", "-VW", os.path.join(client, "libovwallet.so")))
            self.assertLessEqual(max((int(major), int(minor)) for major, minor in versions), (2, 17))

    def test_checksums_are_those_of_all_packages(self):
        subprocess.run(["sha256sum", "--quiet", "-c", "SHA256SUMS"], check=True, cwd=self.directory)
        listed = [line.split("  ")[1] for line in read(self.directory, "SHA256SUMS").decode().splitlines()]
        self.assertEqual(sorted(listed + ["SHA256SUMS"]), sorted(os.listdir(self.directory)))
        self.assertEqual(len(listed), 7)

    def test_packed_at_another_time_in_another_zone_by_another_user_they_are_the_same(self):
        with tempfile.TemporaryDirectory() as again:
            # The clock alone is another; the times that files have are real.
            self.make_packages(again, "faketime", "+400 days", umask=0o077,
                               env=dict(os.environ, TZ="Pacific/Kiritimati", NO_FAKE_STAT="1"))
            self.assertEqual(sorted(os.listdir(again)), sorted(os.listdir(self.directory)))
            for name in os.listdir(again):
                self.assertEqual(hashlib.sha256(read(again, name)).hexdigest(),
                                 hashlib.sha256(read(self.directory, name)).hexdigest(), name)


if __name__ == "__main__":
    PackageTest.tree = os.path.realpath(sys.argv.pop(1))
    unittest.main()

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
import zipfile

TOP = os.path.realpath(os.path.join(os.path.dirname(__file__), "..", ".."))
NAME = "libWalletCaller-redhatlinux-x8664.so"
LIBRARY = "lib64/walletcaller/" + NAME
DOCUMENTS = "share/doc/walletcaller/"
TEXTS = ["LICENSE", "SHA256SUMS", "VERSION", "walletcaller.spdx.json"]
INSTALLED = sorted([LIBRARY] + [DOCUMENTS + text for text in TEXTS])


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
        subprocess.run([os.path.join(TOP, "scripts", "make-packages"), cls.tree, cls.directory],
                       check=True)
        cls.version = read(cls.tree, "package-texts", "VERSION").split()[1].decode()
        cls.rpm = os.path.join(cls.directory, f"walletcaller-{cls.version}-1.x86_64.rpm")
        cls.built = read(cls.tree, NAME)

    @classmethod
    def tearDownClass(cls):
        cls.scratch.cleanup()

    def check(self, files, library, documents):
        """`files` are the library, exactly as built, and texts that fit it."""
        self.assertEqual(sorted(files), sorted([library] + [documents + text for text in TEXTS]))
        self.assertEqual(files[library], self.built)
        self.assertEqual(files[documents + "LICENSE"], read(TOP, "LICENSE"))

        build_id = re.search(rb"Build ID: (\w+)", output("readelf", "-n", os.path.join(self.tree, NAME)))
        self.assertEqual(files[documents + "VERSION"],
                         b"walletcaller " + self.version.encode() + b"\nbuild id " + build_id[1] + b"\n")

        bill = json.loads(files[documents + "walletcaller.spdx.json"])
        self.assertEqual(bill["spdxVersion"], "SPDX-2.3")
        self.assertEqual([(part["name"], part["licenseDeclared"]) for part in bill["packages"]],
                         [("walletcaller", "Apache-2.0"),
                          ("libstdc++", "GPL-3.0-or-later WITH GCC-exception-3.1"),
                          ("utfcpp", "BSL-1.0")])
        for part in bill["packages"]:
            self.assertRegex(part["versionInfo"], r"^\d+(\.\d+)+$")
        self.assertEqual(bill["files"][0]["checksums"],
                         [{"algorithm": "SHA1", "checksumValue": hashlib.sha1(self.built).hexdigest()},
                          {"algorithm": "SHA256",
                           "checksumValue": hashlib.sha256(self.built).hexdigest()}])

    def check_sums(self, files, sums, base):
        """Every other file stands in the checksums `sums`, by its pathname from the directory `base`."""
        listed = dict(reversed(line.split("  ")) for line in files[sums].decode().splitlines())
        found = {os.path.normpath(os.path.join(base, name)): digest for name, digest in listed.items()}
        self.assertEqual(found, {name: hashlib.sha256(data).hexdigest()
                                 for name, data in files.items() if name != sums})

    def test_install(self):
        with tempfile.TemporaryDirectory() as prefix:
            output("cmake", "--install", self.tree, "--prefix", prefix)
            names = [os.path.relpath(os.path.join(directory, name), prefix)
                     for directory, _, found in os.walk(prefix) for name in found]
            files = {name: read(prefix, name) for name in names}
            self.check(files, LIBRARY, DOCUMENTS)
            subprocess.run(["sha256sum", "--quiet", "-c", "SHA256SUMS"], check=True,
                           cwd=os.path.join(prefix, DOCUMENTS))

    def test_tar_archive(self):
        name = f"walletcaller-{self.version}-redhatlinux-x8664"
        data = read(self.directory, name + ".tar.gz")
        with tarfile.open(fileobj=io.BytesIO(data)) as archive:
            self.assertEqual({member.name.split("/")[0] for member in archive}, {name})
        files = files_of_tar(data)
        self.check(files, LIBRARY, DOCUMENTS)
        self.check_sums(files, DOCUMENTS + "SHA256SUMS", DOCUMENTS)

    def test_rpm_contents(self):
        listed = output("rpm", "-qlp", self.rpm).decode().split()
        self.assertEqual([name for name in listed if name.removeprefix("/usr/") in INSTALLED],
                         ["/usr/" + name for name in INSTALLED])
        self.assertEqual(set(listed) - {"/usr/" + name for name in INSTALLED},
                         {"/usr/lib64/walletcaller", "/usr/share/doc/walletcaller"})
        files = files_of_tar(self.rpm_as_tar())
        self.check(files, LIBRARY, DOCUMENTS)
        self.check_sums(files, DOCUMENTS + "SHA256SUMS", DOCUMENTS)

    def rpm_as_tar(self):
        with open(self.rpm, "rb") as package:
            return subprocess.run(["rpm2archive", "-"], stdin=package, check=True,
                                  capture_output=True).stdout

    def test_rpm_requires_nothing_newer_than_the_oldest_system_has(self):
        required = output("rpm", "-qp", "--requires", self.rpm).decode().split("\n")
        self.assertIn("libdl.so.2(GLIBC_2.2.5)(64bit)", required)
        self.assertIn("libpthread.so.0(GLIBC_2.2.5)(64bit)", required)
        self.assertIn("libgcc_s.so.1()(64bit)", required)
        versions = re.findall(r"GLIBC_(\d+)\.(\d+)", "\n".join(required))
        self.assertLessEqual(max((int(major), int(minor)) for major, minor in versions), (2, 17))
        files = {name for name in required if ".so" in name}
        self.assertEqual({name.split("(")[0] for name in files},
                         {"libc.so.6", "libdl.so.2", "libgcc_s.so.1", "libpthread.so.0"})
        # rpm itself: features that its versions since 4.6 have.
        self.assertLessEqual({name.split()[0] for name in required if name and name not in files},
                             {"rpmlib(CompressedFileNames)", "rpmlib(FileDigests)",
                              "rpmlib(PayloadFilesHavePrefix)", "rtld(GNU_HASH)"})

    def test_rpm_says_what_it_is(self):
        told = output("rpm", "-qp", "--queryformat",
                      "%{NAME} %{VERSION} %{ARCH} %{LICENSE} %{PAYLOADCOMPRESSOR}", self.rpm)
        self.assertEqual(told.decode(), f"walletcaller {self.version} x86_64 Apache-2.0 gzip")
        self.assertNotIn(b".so", output("rpm", "-qp", "--provides", self.rpm))

    def test_jar(self):
        with zipfile.ZipFile(os.path.join(self.directory, f"walletcaller-{self.version}.jar")) as jar:
            files = {name: jar.read(name) for name in jar.namelist() if not name.endswith("/")}
        manifest = files.pop("META-INF/MANIFEST.MF").decode()
        self.assertIn(f"Implementation-Version: {self.version}\r\n", manifest)
        self.check(files, NAME, "META-INF/")
        self.check_sums(files, "META-INF/SHA256SUMS", ".")


if __name__ == "__main__":
    PackageTest.tree = os.path.realpath(sys.argv.pop(1))
    unittest.main()

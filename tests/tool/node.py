"""A node as the command meets it: a directory that stands for what it looks at on the machine, and the command
run there. Where things are is told by environment variables, see CMakeLists.txt."""

import json
import os
import shutil
import subprocess
import tempfile
import unittest

COMMAND = os.environ["WALLETCALLER_COMMAND"]
LIBRARY = os.environ["WALLETCALLER_LIBRARY"]
SANDBOX = os.environ["WALLETCALLER_SANDBOX"]
REDIRECT = os.environ["WALLETCALLER_REDIRECT"]
CLASSES = os.environ["WALLETCALLER_CLASSES"]
TOP = os.path.realpath(os.path.join(os.path.dirname(__file__), "..", ".."))

BASE = os.path.join(SANDBOX, "base")
CLIENT_FILES = "orvanta/client/14.10/ovwallet/redhatlinux-x8664"
LIBRARY_NAME = "libWalletCaller-redhatlinux-x8664.so"
CONNECTOR_EXCEPTION = "com.orvanta.connector.common.exception.ConnectorException"
NOBODY = 65534
HUNG_AFTER_SECONDS = 120  # no test depends on the value


def variant(name):
    return os.path.join(SANDBOX, "variants", name)


class Node:
    def __init__(self):
        self.root = tempfile.mkdtemp(prefix="walletcaller-node-")
        os.chmod(self.root, 0o755)
        self.command = self.path("bin", "ovwallet")
        self.packages = self.path("rpm")
        self.home = self.path("wallet")
        for name in ("bin", "tmp"):
            os.mkdir(self.path(name))
        os.chmod(self.path("tmp"), 0o1777)
        self.environment = {
            "PATH": "/usr/bin:/bin", "LC_ALL": "C.UTF-8", "LD_PRELOAD": REDIRECT,
            "SHIM_COMMAND": self.command, "SHIM_RPM": self.packages, "OVWALLET_SANDBOX_HOME": self.home}

    def path(self, *names):
        return os.path.join(self.root, *names)

    def remove(self):
        for directory, _, _ in os.walk(self.root):
            os.chmod(directory, 0o700)
        shutil.rmtree(self.root)

    def install(self, base=BASE):
        os.symlink(os.path.join(base, CLIENT_FILES, "ovwallet"), self.command)

    def record(self, name, content):
        os.makedirs(os.path.join(self.packages, name), exist_ok=True)
        with open(os.path.join(self.packages, name, "inst.dir"), "w", encoding="utf-8") as file:
            file.write(content)

    def wallet(self, *arguments, text=None):
        """Runs the sandbox's own command on the wallet of this node."""
        command = os.path.join(BASE, CLIENT_FILES, "ovwallet")
        return subprocess.run([command, *arguments], env={"OVWALLET_SANDBOX_HOME": self.home}, input=text,
                              text=True, check=True, capture_output=True).stdout

    def private(self, name="private/"):
        """A directory as a job makes it, with the library in it."""
        directory = self.path(name)
        os.mkdir(directory, 0o700)
        shutil.copy(LIBRARY, directory)
        return directory

    @staticmethod
    def give(directory):
        """To the user that jobs run as, when the tests run as root."""
        if os.geteuid() == 0:
            for path in (directory, *(os.path.join(directory, name) for name in os.listdir(directory))):
                os.chown(path, NOBODY, NOBODY)

    def start(self, *arguments, before=(), environment=None, cwd=None, **options):
        return subprocess.Popen([*before, COMMAND, *arguments], cwd=cwd or self.root,
                                env={**self.environment, **(environment or {})}, **options)

    def run(self, *arguments, text=None, before=(), environment=None, cwd=None):
        process = self.start(*arguments, before=before, environment=environment, cwd=cwd,
                             stdin=subprocess.PIPE, stdout=subprocess.PIPE, stderr=subprocess.PIPE)
        data = text if isinstance(text, bytes) else (text or "").encode()
        out, err = process.communicate(data, timeout=HUNG_AFTER_SECONDS)
        return Result(process.returncode, out.decode(errors="backslashreplace"),
                      err.decode(errors="backslashreplace"))

    def doctor(self, *arguments, **options):
        result = self.run("doctor", "--json", *arguments, **options)
        report = json.loads(result.out)
        report["exit status"] = result.status
        return report


class Result:
    def __init__(self, status, out, err):
        self.status, self.out, self.err = status, out, err

    def __repr__(self):
        return f"{self.status}\n{self.out}\n{self.err}"


class NodeTest(unittest.TestCase):
    maxDiff = None

    def setUp(self):
        self.node = Node()
        self.addCleanup(self.node.remove)
        self.run_command = self.node.run

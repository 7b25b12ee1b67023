"""Real jobs in a real JVM, beside which the command is held."""

import base64
import os
import subprocess

import node as nodes
from node import CLASSES, NOBODY

as_root = os.geteuid() == 0
as_user = ["setpriv", f"--reuid={NOBODY}", f"--regid={NOBODY}", "--clear-groups"] if as_root else []


def encoded(text):
    return base64.b64encode(text.encode()).decode()


class Jobs:
    """A JVM that sets up jobs."""

    def __init__(self, node, before=as_user):
        self.node, self.before = node, before
        self.start()

    def start(self):
        source = os.path.join(nodes.TOP, "tests", "tool", "NodeServer.java")
        java = os.path.join(os.environ["JAVA_HOME"], "bin", "java") if "JAVA_HOME" in os.environ else "java"
        self.process = subprocess.Popen(
            [*self.before, java, "-Xmx256m", "-XX:-CreateCoredumpOnCrash", "-XX:ErrorFile=/dev/null",
             "-XX:TieredStopAtLevel=1", "-XX:+UseSerialGC", source,
             CLASSES + "/java-connector/", CLASSES + "/java-hadoop-types/"],
            env=self.node.environment, cwd=self.node.path("tmp"), stdin=subprocess.PIPE,
            stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, text=True)

    def ask(self, *words):
        self.process.stdin.write(" ".join(encoded(word) for word in words) + "\n")
        self.process.stdin.flush()
        for line in self.process.stdout:
            if line.startswith("= "):
                return line[2:].split()
        self.end()
        self.start()
        return None

    def set_up(self, library_directory, directory):
        """Class and message of what a job is told, "" if it is told nothing; None if the JVM ended."""
        words = self.ask(library_directory, directory)
        if words is None:
            return None
        return (words[0], base64.b64decode(words[1]).decode()) if len(words) > 2 else ("", "")

    def locked(self, directory, text):
        """The most kilobytes that were locked while a job with that password was set up."""
        outcome, kilobytes = self.ask(directory, directory, text)
        assert outcome == "returned", outcome
        return int(kilobytes)

    def end(self):
        self.process.stdin.close()
        self.process.stdout.close()
        self.process.wait()

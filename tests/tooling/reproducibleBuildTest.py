#!/usr/bin/env python3
"""The same sources give the same bytes in another directory: reproducibleBuildTest.py FILE DIRECTORY

Compared are the shipped files and all packages. FILE is the shipped file as it was built; the packages of
its build tree are put into the directory "packages" there. DIRECTORY gets a copy of the sources and a build tree beside it,
which stays, so that the next run builds only what has changed.
"""

import filecmp
import os
import shutil
import subprocess
import sys

TOP = os.path.realpath(os.path.join(os.path.dirname(__file__), "..", ".."))
NOT_COPIED = shutil.ignore_patterns(".git", "build", "target")


def main():
    built, directory = os.path.realpath(sys.argv[1]), os.path.realpath(sys.argv[2])
    copy, tree = os.path.join(directory, "sources elsewhere"), os.path.join(directory, "tree")
    shutil.rmtree(copy, ignore_errors=True)
    # Times are copied, too: what has not changed is not built again.
    shutil.copytree(TOP, copy, symlinks=True, ignore=NOT_COPIED)
    # There is no history to take the time from.
    with open(os.path.join(os.path.dirname(built), "package-texts", "SOURCE_DATE_EPOCH"), encoding="ascii") as file:
        os.environ["SOURCE_DATE_EPOCH"] = file.read().strip()
    subprocess.run(["cmake", "--preset", "release", "-B", tree], cwd=copy, check=True)
    subprocess.run(["cmake", "--build", tree, "-j2", "--target", "WalletCaller", "walletcaller",
                    "package_texts", "sandbox"], check=True)

    library = os.path.basename(built)
    for name in library, library + ".debug", "walletcaller", "walletcaller.debug":
        first, second = os.path.join(os.path.dirname(built), name), os.path.join(tree, name)
        if not filecmp.cmp(first, second, shallow=False):
            sys.exit(f"{first} and {second} differ; compare them with objdump -s and readelf --debug-dump. "
                     "Usual causes: __DATE__, a directory that -ffile-prefix-map does not cover, or "
                     f"{os.path.dirname(built)} built with other options")
        with open(second, "rb") as file:
            contents = file.read()
        for place in TOP, copy, tree:
            if os.fsencode(place) in contents:
                sys.exit(f"{name} holds the name of the directory {place}")

    packages = []
    for top, build in (TOP, os.path.dirname(built)), (copy, tree):
        packages.append(os.path.join(build, "packages"))
        subprocess.run([os.path.join(top, "scripts", "make-packages"), build, packages[-1]], check=True)
    names = sorted(os.listdir(packages[0]))
    _, differing, missing = filecmp.cmpfiles(*packages, names, shallow=False)
    if differing or missing or sorted(os.listdir(packages[1])) != names:
        sys.exit(f"the packages in {packages} differ: {differing or missing}")


if __name__ == "__main__":
    main()

"""The program `study`, which lies in this package."""

import os
import subprocess
import sys

from ._library import COMMAND


def main() -> int:
    command = COMMAND + sys.argv[1:]
    if sys.platform == "win32":
        return subprocess.call(command)
    os.execv(command[0], command)

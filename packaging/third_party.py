"""What packages contain that others have made: its licences as a text, and a bill of materials in SPDX 2.3.

third_party.py notices KIND          prints the licences of all that a kind of package contains
third_party.py copyright             prints debian/copyright
third_party.py materials FOLDER FILE writes the bill of materials of the packages in FOLDER

The versions are those that are installed here, which the packages are built from. Environment: VERSION, COMMIT and
SOURCE_DATE_EPOCH.
"""

import datetime
import hashlib
import json
import os
import pathlib
import re
import subprocess
import sys
import uuid

HERE = pathlib.Path(__file__).resolve().parent
CHART = HERE.parent / "host/chart/package-lock.json"
KINDS = {"libsarvane1": "library", "libsarvane-dev": "headers", "sarvane_": "program", ".tar.gz": "archive",
         ".zip": "windows", ".exe": "windows installer", ".whl": "wheel"}
EVERYWHERE = {"library", "program", "archive", "windows", "windows installer", "wheel"}
WITH_STUDY = EVERYWHERE - {"library"}
WINDOWS = {"windows", "windows installer"}


class Part:
    """A part of some kinds of packages. `debian` names the Debian package it is built from; others come from npm."""

    def __init__(self, name, licence, inside, debian=None, npm=None, copyright_of=None):
        self.name, self.licence, self.inside, self.debian, self.npm = name, licence, inside, debian, npm
        self.copyright_of = copyright_of or debian

    @property
    def version(self):
        if self.npm:
            return json.loads(CHART.read_text())["packages"]["node_modules/" + self.npm]["version"]
        command = ["dpkg-query", "-W", "-f=${Version}", self.debian]
        return subprocess.run(command, check=True, capture_output=True, text=True).stdout

    @property
    def source(self):
        if self.npm:
            return f"pkg:npm/{self.npm}@{self.version}"
        return f"pkg:deb/debian/{self.debian}@{self.version}"

    @property
    def notice(self):
        own = HERE / "licences" / (self.name + ".txt")
        return own.read_text() if own.exists() else pathlib.Path(f"/usr/share/doc/{self.copyright_of}/copyright").read_text()


PARTS = [
    Part("Boost", "BSL-1.0", EVERYWHERE, debian="libboost1.74-dev"),
    Part("IANA time zone database", "public-domain", WITH_STUDY, debian="tzdata"),
    Part("CLI11", "BSD-3-Clause", WITH_STUDY, debian="libcli11-dev"),
    Part("fmt", "MIT", WITH_STUDY, debian="libfmt-dev"),
    Part("JSON for Modern C++", "MIT", WITH_STUDY, debian="nlohmann-json3-dev"),
    Part("Lightweight Charts", "Apache-2.0", WITH_STUDY, npm="lightweight-charts"),
    Part("fancy-canvas", "MIT", WITH_STUDY, npm="fancy-canvas"),
    Part("GNU C++ library", "GPL-3.0-or-later WITH GCC-exception-3.1", EVERYWHERE - WINDOWS, debian="libstdc++-12-dev"),
    Part("GNU C++ library for MinGW", "GPL-3.0-or-later WITH GCC-exception-3.1", WINDOWS,
         debian="g++-mingw-w64-x86-64-posix", copyright_of="libstdc++-12-dev"),
    Part("zlib", "Zlib", {"archive", "wheel"}, debian="zlib1g-dev"),
    Part("Zstandard", "BSD-3-Clause", {"archive", "wheel"}, debian="libzstd-dev"),
    Part("MinGW-w64", "ZPL-2.1 AND MIT AND BSD-3-Clause", WINDOWS, debian="mingw-w64-x86-64-dev"),
    Part("NSIS", "Zlib", {"windows installer"}, debian="nsis"),
]


def parts_of(kind):
    return [part for part in PARTS if kind in part.inside]


def kind_of(file):
    return next((kind for ending, kind in KINDS.items() if ending in file.name), None)


def notices(kind):
    line = "=" * 80
    print("This package contains parts that others have made:")
    for part in parts_of(kind):
        print(f"\n{line}\n{part.name} {part.version} ({part.licence})\n{line}\n\n{part.notice.strip()}")


def debian_copyright():
    own = (HERE.parent / "LICENSE").read_text().split("\n\n", 2)
    text = own[2].strip()
    indented = "\n".join(" " + (row or ".") for row in text.splitlines())
    print("Format: https://www.debian.org/doc/packaging-manuals/copyright-format/1.0/\nUpstream-Name: Sarvane\n\n"
          f"Files: *\nCopyright: {own[1].removeprefix('Copyright (c) ')}\nLicense: Expat\n{indented}\n\n"
          "Comment: The programs and libraries contain parts that others have made.\n"
          " /usr/share/doc/libsarvane1/NOTICES.gz and /usr/share/doc/sarvane/NOTICES.gz\n hold their licences.")


def identifier(text):
    return "SPDXRef-" + re.sub(r"[^A-Za-z0-9.-]+", "-", text)


def package(name, version, licence, **more):
    return {"SPDXID": identifier(f"{name}-{version}"), "name": name, "versionInfo": version, "licenseDeclared": licence,
            "licenseConcluded": licence, "copyrightText": "NOASSERTION", "downloadLocation": "NOASSERTION",
            "filesAnalyzed": False} | more


def materials(folder, output):
    version, commit = os.environ["VERSION"], os.environ["COMMIT"]
    made = datetime.datetime.fromtimestamp(int(os.environ["SOURCE_DATE_EPOCH"]), datetime.timezone.utc)
    files = sorted(file for file in folder.iterdir() if kind_of(file))
    used = [part for part in PARTS if any(kind_of(file) in part.inside for file in files)]
    packages = [package(part.name, part.version, part.licence, externalRefs=[
        {"referenceCategory": "PACKAGE-MANAGER", "referenceType": "purl", "referenceLocator": part.source}])
        for part in used]
    identifiers = {part.name: made_of["SPDXID"] for part, made_of in zip(used, packages)}
    relations = []
    for file in files:
        content = hashlib.sha256(file.read_bytes()).hexdigest()
        entry = package(file.name, version, "MIT", packageFileName=file.name, SPDXID=identifier(file.name),
                        sourceInfo=f"built from commit {commit}",
                        checksums=[{"algorithm": "SHA256", "checksumValue": content}])
        packages.append(entry)
        relations.append(("SPDXRef-DOCUMENT", "DESCRIBES", entry["SPDXID"]))
        relations += [(entry["SPDXID"], "CONTAINS", identifiers[part.name]) for part in parts_of(kind_of(file))]
    document = {
        "spdxVersion": "SPDX-2.3", "dataLicense": "CC0-1.0", "SPDXID": "SPDXRef-DOCUMENT", "name": f"sarvane-{version}",
        "documentNamespace": f"urn:uuid:{uuid.uuid5(uuid.NAMESPACE_URL, f'sarvane/{version}/{commit}')}",
        "creationInfo": {"created": made.strftime("%Y-%m-%dT%H:%M:%SZ"), "creators": ["Tool: sarvane-package"]},
        "packages": packages,
        "relationships": [dict(zip(("spdxElementId", "relationshipType", "relatedSpdxElement"), relation))
                          for relation in relations]}
    output.write_text(json.dumps(document, indent=1) + "\n")


if __name__ == "__main__":
    command, arguments = sys.argv[1], sys.argv[2:]
    {"notices": notices, "copyright": debian_copyright,
     "materials": lambda folder, file: materials(pathlib.Path(folder), pathlib.Path(file))}[command](*arguments)

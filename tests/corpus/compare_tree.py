#!/usr/bin/env python3
"""Compares `ststg tree --json` and `ststg cat` with the oracle reading of every
corpus file.

The oracle gives full names; the library keeps only the low byte of each stored
UTF-16 unit and ends a name at the first zero byte, so the expected tree is built
from the oracle under the library's rules:

  * children of a storage come in ascending directory index (the oracle's "sid");
  * a lookup by name finds the first child of that kind by directory index, so a
    later namesake is listed but what its name reaches is the first one;
  * a storage whose stored name is empty cannot be opened: it is listed and its
    children are not;
  * a storage is gone into once: a name that reaches a storage already walked adds
    nothing below it.

Files whose header the library refuses (the same five tests the image load makes)
must make ststg fail with exit code 1 and a message naming the file.

Exit codes: 0 all agree, 1 a difference, 77 the corpus is not there (skipped).
"""

import hashlib
import json
import os
import sys
import time

from corpus_common import SKIP, cat_argument, corpus_arguments, header_accepted, library_name, load_oracle, report, run

TYPE_NUMBERS = {"storage": 1, "stream": 2, "root": 5}


class OracleTree:
    """The oracle's entries as a tree, parents found by path prefix."""

    def __init__(self, oracle):
        self.entries = oracle["entries"]
        self.children = {}
        storages = {}
        for entry in self.entries:
            if entry["type"] in ("root", "storage"):
                # The root's path is "/", and so is that of a storage with an empty name.
                storages.setdefault("" if entry["type"] == "root" else entry["path"], entry)
        self.root = next(e for e in self.entries if e["type"] == "root")
        for entry in self.entries:
            if entry is self.root:
                continue
            parent, name = self._split(entry["path"], storages)
            entry["_name"] = name
            self.children.setdefault(parent["sid"], []).append(entry)
        for kids in self.children.values():
            kids.sort(key=lambda e: e["sid"])

    @staticmethod
    def _split(path, storages):
        # The longest storage path that is a proper prefix followed by "/" is the parent;
        # the rest is the name, which may itself hold "/".
        best = ""
        for prefix in storages:
            if len(prefix) > len(best) and path.startswith(prefix + "/") and len(path) > len(prefix) + 1:
                best = prefix
        return storages[best], path[len(best) + 1:]

    def expected(self):
        """(entries, streams): the listing ststg should print, and for every stream of
        non-zero size that is listed, its cat names and the SHA-256 a lookup yields."""
        listing = [{"path": [], "type": 5, "size": self.root["size"]}]
        streams = []
        walked = {self.root["sid"]}
        stack = [(self.root, [], 0)]
        while stack:
            storage, path, index = stack.pop()
            kids = self.children.get(storage["sid"], [])
            if index >= len(kids):
                continue
            stack.append((storage, path, index + 1))
            kid = kids[index]
            name = library_name(kid["_name"])
            kid_path = path + [name]
            listing.append({"path": kid_path, "type": TYPE_NUMBERS[kid["type"]], "size": kid["size"]})
            first = self._first_namesake(kids, kid, name)
            if kid["type"] == "stream" and kid["size"] > 0:
                streams.append((kid_path, first.get("sha256")))
            elif kid["type"] == "storage" and kid["_name"] != "" and first["sid"] not in walked:
                walked.add(first["sid"])
                stack.append((first, kid_path, 0))
        return listing, streams

    @staticmethod
    def _first_namesake(kids, kid, name):
        for other in kids:
            if other["type"] == kid["type"] and library_name(other["_name"]) == name:
                return other
        return kid


def check_refused(ststg, path, name):
    result = run(ststg, "--native", "tree", "--json", path)
    message = result.stderr.decode("utf-8", "replace")
    if result.returncode != 1 or name not in message or result.stdout:
        return ["refused header: want exit 1 and a message naming the file, got %d: %r"
                % (result.returncode, message)]
    return []


def check_accepted(ststg, path, oracle):
    listing, streams = OracleTree(oracle).expected()
    result = run(ststg, "--native", "tree", "--json", path)
    if result.returncode != 0:
        return ["tree exit %d: %s" % (result.returncode, result.stderr.decode("utf-8", "replace"))]
    got = json.loads(result.stdout.decode("utf-8"))
    problems = []
    if got.get("file") != path:
        problems.append("tree: file %r, want %r" % (got.get("file"), path))
    entries = got.get("entries", [])
    for i in range(max(len(entries), len(listing))):
        have = entries[i] if i < len(entries) else None
        want = listing[i] if i < len(listing) else None
        if have != want:
            problems.append("tree entry %d: got %s, want %s" % (i, have, want))
            break
    for names, sha in streams:
        result = run(ststg, "--native", "cat", path, *[cat_argument(n) for n in names])
        digest = hashlib.sha256(result.stdout).hexdigest()
        if result.returncode != 0 or digest != sha:
            problems.append("cat %s: exit %d, sha %s, want %s" % (names, result.returncode, digest, sha))
    return problems, len(listing), len(streams)


def main():
    corpus = corpus_arguments(__doc__.splitlines()[0])
    if corpus is None:
        return SKIP
    ststg, files_dir, oracle_dir = corpus
    started = time.monotonic()
    failures = 0
    totals = [0, 0, 0]
    for name in sorted(os.listdir(files_dir)):
        path = os.path.join(files_dir, name)
        if not header_accepted(path):
            problems = check_refused(ststg, path, name)
            summary = "refused as it should be"
        else:
            problems, entry_count, stream_count = check_accepted(ststg, path, load_oracle(oracle_dir, name))
            totals[0] += 1
            totals[1] += entry_count
            totals[2] += stream_count
            summary = "%d entries, %d streams read" % (entry_count, stream_count)
        failures += report(name, problems, summary)
    print("%d files compared (%d entries, %d streams), %d differ, %.1f s"
          % (totals[0], totals[1], totals[2], failures, time.monotonic() - started))
    return 1 if failures else 0


if __name__ == "__main__":
    sys.exit(main())

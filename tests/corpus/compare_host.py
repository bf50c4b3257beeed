#!/usr/bin/env python3
"""Compares `ststg --host tree/cat/props` with the readings of every corpus file.

The host commands go through the platform's structured-storage service, so the tree is
compared with platform-oracle/, the platform's own view of each file:

  * the root comes first with type 5, then every element depth first in the order the
    platform enumerates it, a storage before its children, with full 16-bit names;
  * type 1 for a storage and 2 for a stream, a size for streams only;
  * the bytes of every stream of non-zero size, through `ststg --host cat`.

Where the reference implementation of platform-oracle/ is known to fault (see
KNOWN_FAULTS), the tree is made from oracle/ in the platform's order instead: shorter
names first, names of one length by their upper-cased units.

Property values are compared with oracle/, converted as the host stack converts them:

  * the sets are the root's property-set streams in the platform's order, each with the
    properties of its first section, and then the user-defined set (the second section
    of the document summary stream) when the file has one;
  * a set's id is the one its stream's name stands for, as the platform names sets: the
    two summary streams by their well-known names, any other by its id in 26 characters
    of five bits each; a stream named otherwise is no set of the platform's;
  * the properties in the order the section's table holds them, the dictionary (id 0)
    apart, each named from its section's dictionary or not at all;
  * an empty value has type -1 and empty text, vectors, blobs, clipboard data and other
    unconverted kinds "..." and 0; 8-bit integers and currency are text; floating
    numbers "%f"; a boolean is true only when stored as 0xFFFF, so the stored word is
    read from the stream itself (through `ststg --host cat`).

The fields that ststg adds on this road are checked beside the ones above, which are
compared alone: the root's "clsid" against the platform's reading; each set's "stream"
(the well-known names, or the name its id stands for); a property's "label" for a few
well-known ids; and "display": a vector as the list of its elements, each converted as
above, a blob or clipboard value as its size and first 16 bytes in hex, the code page
as its unsigned number and EditTime as H:MM:SS.

A run on a service with known faults names the cases to leave out with --skips (checks
"host-tree", the listing and the bytes, and "host-props"); each is reported with its reason.

Exit codes: 0 all agree, 1 a difference, 77 the corpus is not there (skipped).
"""

import hashlib
import json
import os
import struct
import sys
import time

from compare_props import StreamTable, civil_date, lib_text, wrap
from corpus_common import SKIP, cat_argument, corpus_arguments, load_oracle, report, run, skip_reason

EMPTY, UNCONVERTED, TEXT, INTEGER, FLOAT, BOOLEAN, DATE = -1, 0, 1, 2, 3, 4, 5
USER_DEFINED = "{D5CDD505-2E9C-101B-9397-08002B2CF9AE}"
WELL_KNOWN_SETS = {
    "\x05SummaryInformation": "{F29F85E0-4FF9-1068-AB91-08002B27B3D9}",
    "\x05DocumentSummaryInformation": "{D5CDD502-2E9C-101B-9397-08002B2CF9AE}",
}
NAME_ALPHABET = "abcdefghijklmnopqrstuvwxyz012345"
SUMMARY, DOCUMENT_SUMMARY = WELL_KNOWN_SETS["\x05SummaryInformation"], WELL_KNOWN_SETS["\x05DocumentSummaryInformation"]
SOME_LABELS = {(SUMMARY, 2): "Title", (SUMMARY, 4): "Author", (SUMMARY, 10): "EditTime",
               (DOCUMENT_SUMMARY, 5): "LineCount", (DOCUMENT_SUMMARY, 13): "TitlesOfParts"}
CONTRACT_ENTRY_FIELDS = ("path", "type", "size")
CONTRACT_PROPERTY_FIELDS = ("id", "name", "type", "value")
KNOWN_FAULTS = {
    "gh-poi-notes.ole2": "the reference lists nothing when a storage has an empty name",
}


def host(ststg, *arguments):
    return run(ststg, "--host", *arguments)


def platform_order(name):
    return (len(name.encode("utf-16-le")), name.upper())


def tree_from_platform(platform):
    """[(names, type, size, sha256)] in the platform's order: the oracle joins names with
    '/', so each entry's names come from its parent's path, known before it."""
    listing = []
    storages = {"": []}
    for entry in platform["entries"]:
        path = entry["path"]
        parent = max((p for p in storages if p == "" or path.startswith(p + "/")), key=len)
        names = storages[parent] + [path[len(parent) + 1:] if parent else path]
        if entry["type"] == 1:
            storages[path] = names
        listing.append((names, entry["type"], entry["size"], entry.get("sha256")))
    return listing


def tree_from_oracle(oracle):
    """The same from oracle/, whose paths start with '/' and whose storages may have an
    empty name; children are put in the platform's order."""
    entries = [e for e in oracle["entries"] if e["type"] != "root"]
    children = {}
    for entry in entries:
        parent = entry["path"].rsplit("/", 1)[0]
        children.setdefault(parent, []).append(entry)
    listing = []

    def walk(path, names):
        for entry in sorted(children.get(path, []), key=lambda e: platform_order(e["path"].rsplit("/", 1)[1])):
            own = names + [entry["path"].rsplit("/", 1)[1]]
            kind = 1 if entry["type"] == "storage" else 2
            listing.append((own, kind, entry["size"], entry.get("sha256")))
            if kind == 1:
                walk(entry["path"], own)

    walk("", [])
    return listing


def contract(record, fields):
    """The fields whose content the library gives, without those the tool adds."""
    return {key: value for key, value in record.items() if key in fields}


def compare_tree(ststg, path, expected, root_clsid):
    result = host(ststg, "tree", "--json", path)
    if result.returncode != 0:
        return ["tree exit %d: %s" % (result.returncode, result.stderr.decode("utf-8", "replace"))], 0
    got = json.loads(result.stdout.decode("utf-8"))
    problems = []
    if got.get("file") != path:
        problems.append("tree: file %r, want %r" % (got.get("file"), path))
    want = [{"path": [], "type": 5}]
    want += [dict({"path": names, "type": kind}, **({"size": size} if kind == 2 else {}))
             for names, kind, size, _ in expected]
    entries = got.get("entries", [])
    want_clsid = root_clsid if root_clsid and root_clsid.strip("{}0-") else None
    if entries and entries[0].get("clsid") != want_clsid:
        problems.append("root clsid %s, want %s" % (entries[0].get("clsid"), want_clsid))
    for i in range(max(len(entries), len(want))):
        have = contract(entries[i], CONTRACT_ENTRY_FIELDS) if i < len(entries) else None
        wanted = want[i] if i < len(want) else None
        if have != wanted:
            problems.append("tree entry %d: got %s, want %s" % (i, have, wanted))
            break
    streams = 0
    for names, kind, size, sha in expected:
        if kind != 2 or size == 0:
            continue
        streams += 1
        result = host(ststg, "cat", path, *[cat_argument(n) for n in names])
        digest = hashlib.sha256(result.stdout).hexdigest()
        if result.returncode != 0 or digest != sha:
            problems.append("cat %s: exit %d, sha %s, want %s %s" % (names, result.returncode, digest, sha,
                                                                   result.stderr.decode("utf-8", "replace").strip()))
    return problems, streams


def converted(vt, value):
    """(text, type) of an oracle value as the host stack converts the platform's."""
    if vt in (0, 1):
        return "", EMPTY
    if vt & 0xF000 or vt not in (2, 3, 4, 5, 6, 8, 10, 11, 16, 17, 18, 19, 20, 21, 22, 23, 30, 31, 64, 72):
        return "...", UNCONVERTED
    if vt in (2, 3, 18, 19, 20, 21, 22, 23):
        return "%d" % int(value), INTEGER
    if vt in (4, 5):
        return "%f" % value, FLOAT
    if vt == 6:
        return "$%f" % (value / 10000.0), TEXT
    if vt == 10:
        return "0x%08X" % wrap(int(value), 32, False), INTEGER
    if vt == 11:
        return ("True" if value else "False"), BOOLEAN
    if vt in (16, 17):
        return "%d" % int(value), TEXT
    if vt == 64:
        return civil_date(int(value)), DATE
    if vt == 72:
        return lib_text(value), INTEGER
    return lib_text(value), TEXT


def set_id_of_stream(name):
    """The id the platform gives the set stored in the stream `name`, or None."""
    for known, fmtid in WELL_KNOWN_SETS.items():
        if name.upper() == known.upper():
            return fmtid
    if len(name) != 27 or name[0] != "\x05" or any(c.lower() not in NAME_ALPHABET for c in name[1:]):
        return None
    bits = 0
    for position, c in enumerate(name[1:]):
        bits |= NAME_ALPHABET.index(c.lower()) << (5 * position)
    if bits >> 128:
        return None
    stored = bits.to_bytes(16, "little")
    data1, data2, data3 = struct.unpack_from("<IHH", stored)
    return "{%08X-%04X-%04X-%s-%s}" % (data1, data2, data3, stored[8:10].hex().upper(), stored[10:].hex().upper())


def hex_bytes(data):
    shown = " ".join("%02x" % b for b in data[:16])
    return "%d byte%s%s%s" % (len(data), "" if len(data) == 1 else "s", ": " + shown if data else "",
                              " ..." if len(data) > 16 else "")


def expected_display(fmtid, prop):
    """What ststg shows beside the library's text, or None."""
    vt, value = prop["vt"], prop.get("value")
    if vt & 0x1000:
        elements = value if vt == 0x100C else [{"vt": vt & 0xFFF, "value": v} for v in value]
        return [converted(e["vt"], e.get("value"))[0] for e in elements]
    if vt == 65:
        return hex_bytes(bytes.fromhex(value))
    if vt == 71:
        return "clipboard format %d, %s" % (prop["cf_format"], hex_bytes(bytes.fromhex(value)[4:]))
    if prop["id"] == 1 and vt == 2 and value < 0:
        return "%d" % (value & 0xFFFF)
    if (fmtid, prop["id"]) == (SUMMARY, 10) and vt == 64:
        seconds = value // 10_000_000
        return "%d:%02d:%02d" % (seconds // 3600, seconds // 60 % 60, seconds % 60)
    return None


def expected_section(section, table, fmtid, stream):
    names = {int(key): lib_text(name) for key, name in section.get("dictionary", {}).items()}
    properties = []
    for prop in section["properties"]:
        if prop["id"] == 0:
            continue
        text, kind = converted(prop["vt"], prop.get("value"))
        if prop["vt"] == 11:
            stored = table.stored_boolean(section["offset"], prop["id"])
            text = "True" if stored else "False"
        properties.append({"id": prop["id"], "name": names.get(prop["id"], ""), "type": kind, "value": text,
                           "_display": expected_display(fmtid, prop)})
    return {"id": fmtid, "name": "", "stream": canonical_stream(stream), "properties": properties}


def canonical_stream(name):
    """The stream's name as the platform makes it from the set's id."""
    for known in WELL_KNOWN_SETS:
        if name.upper() == known.upper():
            return known
    return name[0] + name[1:].lower()


def expected_sets(ststg, path, oracle, platform_tree):
    by_stream = {s["stream"]: s for s in oracle["property_sets"] if s["sections"]}
    ordered = [names[0] for names, kind, _, _ in platform_tree if len(names) == 1 and kind == 2]
    sets, user_defined = [], None
    for stream in ordered:
        fmtid = set_id_of_stream(stream)
        if stream not in by_stream or fmtid is None:
            continue
        sections = by_stream[stream]["sections"]
        table = StreamTable(host(ststg, "cat", path, cat_argument(stream)).stdout)
        sets.append(expected_section(sections[0], table, fmtid, stream))
        if len(sections) == 2 and sections[1]["fmtid"] == USER_DEFINED and user_defined is None:
            user_defined = expected_section(sections[1], table, USER_DEFINED, stream)
    return sets + ([user_defined] if user_defined else [])


def compare_props(ststg, path, oracle, platform_tree):
    result = host(ststg, "props", "--json", path)
    if result.returncode != 0:
        return ["props exit %d: %s" % (result.returncode, result.stderr.decode("utf-8", "replace"))], 0
    got = json.loads(result.stdout.decode("utf-8"))
    problems = []
    if got.get("file") != path:
        problems.append("props: file %r, want %r" % (got.get("file"), path))
    want = expected_sets(ststg, path, oracle, platform_tree)
    have = got.get("property_sets", [])
    if [s.get("id") for s in have] != [s["id"] for s in want]:
        problems.append("sets %s, want %s" % ([s.get("id") for s in have], [s["id"] for s in want]))
    for got_set, want_set in zip(have, want):
        if got_set.get("name") != "":
            problems.append("%s: name %r, want empty" % (want_set["id"], got_set.get("name")))
        if got_set.get("stream") != want_set["stream"]:
            problems.append("%s: stream %r, want %r" % (want_set["id"], got_set.get("stream"), want_set["stream"]))
        listed = got_set.get("properties", [])
        if len(listed) != len(want_set["properties"]):
            problems.append("%s: %d properties, want %d" % (want_set["id"], len(listed), len(want_set["properties"])))
        for got_prop, want_prop in zip(listed, want_set["properties"]):
            wanted = contract(want_prop, CONTRACT_PROPERTY_FIELDS)
            if contract(got_prop, CONTRACT_PROPERTY_FIELDS) != wanted:
                problems.append("%s: got %s, want %s" % (want_set["id"], got_prop, wanted))
            problems += additions(want_set["id"], got_prop, want_prop)
    return problems, len(want)


def additions(fmtid, got, want):
    """Differences in the fields that ststg adds to one property."""
    problems = []
    label = SOME_LABELS.get((fmtid, want["id"]), "CodePage" if want["id"] == 1 else None)
    if label is not None and got.get("label") != label:
        problems.append("%s %d: label %r, want %r" % (fmtid, want["id"], got.get("label"), label))
    display = want["_display"]
    if display is not None and "..." not in display and got.get("display") != display:
        problems.append("%s %d: display %r, want %r" % (fmtid, want["id"], got.get("display"), display))
    return problems


def main():
    corpus = corpus_arguments(__doc__.splitlines()[0])
    if corpus is None:
        return SKIP
    ststg, files_dir, oracle_dir = corpus
    platform_dir = os.path.join(os.path.dirname(oracle_dir), "platform-oracle")
    if not os.path.isdir(platform_dir):
        print("SKIP: no platform readings at %s" % os.path.abspath(platform_dir))
        return SKIP
    started = time.monotonic()
    failures = 0
    skipped = 0
    totals = [0, 0, 0]
    for name in sorted(os.listdir(files_dir)):
        path = os.path.join(files_dir, name)
        oracle = load_oracle(oracle_dir, name)
        tree = tree_from_oracle(oracle) if name in KNOWN_FAULTS else tree_from_platform(load_oracle(platform_dir, name))
        problems, streams, set_count, notes = [], 0, 0, []
        # A service with known faults (--skips) leaves out the tree or the property sets of a file.
        if skip_reason("host-tree", name) is None:
            root_clsid = load_oracle(platform_dir, name)["root"].get("clsid")
            problems, streams = compare_tree(ststg, path, tree, root_clsid)
            totals[0] += len(tree) + 1
        else:
            notes.append("tree and cat skipped: %s" % skip_reason("host-tree", name))
        if skip_reason("host-props", name) is None:
            more, set_count = compare_props(ststg, path, oracle, tree)
            problems += more
        else:
            notes.append("property sets skipped: %s" % skip_reason("host-props", name))
        skipped += len(notes)
        totals[1] += streams
        totals[2] += set_count
        if name in KNOWN_FAULTS:
            notes.insert(0, "tree from oracle/: %s" % KNOWN_FAULTS[name])
        note = " (%s)" % "; ".join(notes) if notes else ""
        failures += report(name, problems, "%d entries, %d streams, %d property sets%s"
                           % (len(tree) + 1, streams, set_count, note))
    print("%d files compared (%d entries, %d streams read, %d property sets), %d differ, %d checks skipped, %.1f s"
          % (len(os.listdir(files_dir)), totals[0], totals[1], totals[2], failures, skipped,
             time.monotonic() - started))
    return 1 if failures else 0


if __name__ == "__main__":
    sys.exit(main())

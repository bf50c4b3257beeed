#!/usr/bin/env python3
"""Compares `ststg props --json` with the oracle's property sets of every corpus file.

The expected output is made from the oracle under the library's rules:

  * the sets are the root's streams whose name begins with \\x05, in ascending
    directory index; a set of two sections goes by its second section's format id;
  * a set's properties are one list over both sections, keyed by id in order of first
    appearance, a later section's value replacing an earlier one; an id keeps the first
    name a dictionary gives it;
  * blobs, clipboard data, vectors, empty values and other kinds the library does not
    convert give no property;
  * each value's text and kind are as the library prints them (see `expected_value`);
  * a boolean is true only when stored as 0xFFFF: the oracle calls any non-zero value
    true, so the stored word is read from the stream itself (through `ststg cat`);
  * a dictionary that stands in the property table before its section's code page is
    read under the code page in force before it, so its names are not compared then.

Files whose header the library refuses are left to compare_tree.py.
Exit codes: 0 all agree, 1 a difference, 77 the corpus is not there (skipped).
"""

import json
import os
import struct
import sys
import time

from corpus_common import SKIP, cat_argument, corpus_arguments, header_accepted, library_name, load_oracle, report, run

TEXT, INTEGER, FLOAT, BOOLEAN, DATE = 1, 2, 3, 4, 5
CP1252_UNASSIGNED = {0x81, 0x8D, 0x8F, 0x90, 0x9D}


def lib_text(text):
    """Text as the library hands it out: a lone surrogate has no UTF-8 form."""
    return text.encode("utf-16-le", "surrogatepass").decode("utf-16-le", "replace")


def narrow_decode(data):
    """Bytes decoded as the library's default: UTF-8 when valid, else Windows-1252 with
    the five unassigned bytes kept as their value."""
    try:
        return data.decode("utf-8")
    except UnicodeDecodeError:
        return "".join(chr(b) if b in CP1252_UNASSIGNED else bytes([b]).decode("cp1252") for b in data)


def narrow_read_of_wide(text):
    """Type 30 is narrow under every code page: wide data ends at its first zero byte."""
    wide = text.encode("utf-16-le", "surrogatepass")
    data = bytearray()
    for unit in struct.unpack("<%dH" % (len(wide) // 2), wide):
        if unit & 0xFF == 0:
            break
        data.append(unit & 0xFF)
        if unit >> 8 == 0:
            break
        data.append(unit >> 8)
    return narrow_decode(bytes(data))


def civil_date(ticks):
    """A FILETIME as the library prints it: YYYY-MM-DD HH:MM:SS, UTC."""
    seconds = ticks // 10_000_000
    days = seconds // 86400 - 134774  # 1601-01-01 lies 134774 days before 1970-01-01
    second_of_day = seconds % 86400
    days += 719468
    era = days // 146097
    day_of_era = days - era * 146097
    year_of_era = (day_of_era - day_of_era // 1460 + day_of_era // 36524 - day_of_era // 146096) // 365
    day_of_year = day_of_era - (365 * year_of_era + year_of_era // 4 - year_of_era // 100)
    mp = (5 * day_of_year + 2) // 153
    day = day_of_year - (153 * mp + 2) // 5 + 1
    month = mp + 3 if mp < 10 else mp - 9
    year = year_of_era + era * 400 + (1 if month <= 2 else 0)
    return "%04d-%02d-%02d %02d:%02d:%02d" % (year, month, day, second_of_day // 3600,
                                              second_of_day // 60 % 60, second_of_day % 60)


def wrap(value, bits, signed):
    value &= (1 << bits) - 1
    if signed and value >= 1 << (bits - 1):
        value -= 1 << bits
    return value


def expected_value(vt, value, code_page):
    """(text, kind) the library gives for an oracle value, or None for no property."""
    if vt == 2:
        return "%d" % wrap(int(value), 16, True), INTEGER
    if vt == 3:
        return "%d" % wrap(int(value), 32, True), INTEGER
    if vt in (4, 5):
        return "%f" % value, FLOAT
    if vt == 10:
        return "0x%08X" % wrap(int(value), 32, False), INTEGER
    if vt == 11:
        return ("True" if value else "False"), BOOLEAN
    if vt == 17:
        return "%u" % int(value), TEXT
    if vt in (18, 19, 21):
        return "%d" % int(value), INTEGER
    if vt == 20:
        return "%d" % int(value), INTEGER
    if vt in (8, 31):
        return lib_text(value), TEXT
    if vt == 30:
        return (narrow_read_of_wide(value) if code_page == 1200 else lib_text(value)), TEXT
    if vt == 72:
        return lib_text(value), INTEGER
    if vt == 64:
        return civil_date(int(value)), DATE
    return None


class StreamTable:
    """The property table of each section of a set's stream, as stored."""

    def __init__(self, data):
        self.data = data

    def entries(self, section_offset):
        data = self.data
        if section_offset + 8 > len(data):
            return []
        count = struct.unpack_from("<I", data, section_offset + 4)[0]
        table = []
        for i in range(min(count, (len(data) - section_offset - 8) // 8)):
            table.append(struct.unpack_from("<II", data, section_offset + 8 + 8 * i))
        return table

    def stored_boolean(self, section_offset, property_id):
        for pid, offset in self.entries(section_offset):
            at = section_offset + offset + 4
            if pid == property_id and at + 2 <= len(self.data):
                return struct.unpack_from("<H", self.data, at)[0] == 0xFFFF
        return None

    def dictionary_before_code_page(self, section_offset):
        ids = [pid for pid, _ in self.entries(section_offset)]
        return 0 in ids and 1 in ids and ids.index(0) < ids.index(1)


def expected_set(oracle_set, table):
    order, values, names = [], {}, {}
    unnamed = set()
    sections = oracle_set["sections"]
    for section in sections:
        code_page = section.get("codepage")
        skip_names = table.dictionary_before_code_page(section["offset"])
        for prop in section["properties"]:
            made = expected_value(prop["vt"], prop.get("value"), code_page)
            if made is None:
                continue
            if prop["vt"] == 11:
                stored = table.stored_boolean(section["offset"], prop["id"])
                made = ("True" if stored else "False", BOOLEAN) if stored is not None else made
            if prop["id"] not in values:
                order.append(prop["id"])
            values[prop["id"]] = made
        for key, name in section.get("dictionary", {}).items():
            if skip_names:
                unnamed.add(int(key))
            names.setdefault(int(key), lib_text(name))
    fmtid = sections[1 if len(sections) == 2 else 0]["fmtid"] if sections else None
    properties = [{"id": pid, "name": names.get(pid, ""), "type": values[pid][1], "value": values[pid][0]}
                  for pid in order]
    return fmtid, properties, unnamed


def compare_file(ststg, path, oracle):
    result = run(ststg, "--native", "props", "--json", path)
    if result.returncode != 0:
        return ["props exit %d: %s" % (result.returncode, result.stderr.decode("utf-8", "replace"))], 0
    got = json.loads(result.stdout.decode("utf-8"))
    problems = []
    if got.get("file") != path:
        problems.append("props: file %r, want %r" % (got.get("file"), path))
    sid_of = {e["path"]: e["sid"] for e in oracle["entries"] if e["type"] == "stream"}
    wanted = sorted(oracle["property_sets"], key=lambda s: sid_of.get("/" + s["stream"], 1 << 32))
    sets = got.get("property_sets", [])
    if len(sets) != len(wanted):
        problems.append("%d sets, want %d" % (len(sets), len(wanted)))
    for have, want in zip(sets, wanted):
        where = library_name(want["stream"])[1:]
        stream = run(ststg, "--native", "cat", path, cat_argument(library_name(want["stream"])))
        fmtid, properties, unnamed = expected_set(want, StreamTable(stream.stdout))
        if fmtid is not None and have.get("id") != fmtid:
            problems.append("%s: id %s, want %s" % (where, have.get("id"), fmtid))
        listed = have.get("properties", [])
        if len(listed) != len(properties):
            problems.append("%s: %d properties, want %d" % (where, len(listed), len(properties)))
        for got_prop, want_prop in zip(listed, properties):
            if want_prop["id"] in unnamed:
                got_prop = dict(got_prop, name=want_prop["name"])
            if got_prop != want_prop:
                problems.append("%s: got %s, want %s" % (where, got_prop, want_prop))
    return problems, len(wanted)


def main():
    corpus = corpus_arguments(__doc__.splitlines()[0])
    if corpus is None:
        return SKIP
    ststg, files_dir, oracle_dir = corpus
    started = time.monotonic()
    failures = compared_files = compared_sets = 0
    for name in sorted(os.listdir(files_dir)):
        path = os.path.join(files_dir, name)
        if not header_accepted(path):
            continue
        problems, set_count = compare_file(ststg, path, load_oracle(oracle_dir, name))
        compared_files += 1
        compared_sets += set_count
        failures += report(name, problems, "%d property sets" % set_count)
    print("%d files compared (%d property sets), %d differ, %.1f s"
          % (compared_files, compared_sets, failures, time.monotonic() - started))
    return 1 if failures else 0


if __name__ == "__main__":
    sys.exit(main())

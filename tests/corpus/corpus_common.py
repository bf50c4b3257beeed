"""What compare_tree.py and compare_props.py share: the command line, the corpus
folders, the library's reading of names and headers, and the ststg name syntax."""

import argparse
import json
import os
import struct
import subprocess
import tempfile

SKIP = 77


def corpus_arguments(description):
    """(ststg, files folder, oracle folder) from the command line, or None, after
    saying so, when the corpus is not there. ststg is the command that starts the tool:
    its path, behind the --runner program when one is given (wine for a Windows build)."""
    parser = argparse.ArgumentParser(description=description)
    parser.add_argument("--ststg", required=True)
    parser.add_argument("--corpus", required=True)
    parser.add_argument("--runner", help="program that runs ststg, e.g. wine")
    parser.add_argument("--skips", help="cases to leave out: lines of 'CHECK FILE  # reason'")
    args = parser.parse_args()
    files_dir = os.path.join(args.corpus, "files")
    oracle_dir = os.path.join(args.corpus, "oracle")
    if not os.path.isdir(files_dir) or not os.path.isdir(oracle_dir):
        print("SKIP: no corpus at %s" % os.path.abspath(args.corpus))
        return None
    if args.skips:
        SKIPPED.update(read_skips(args.skips))
    return ([args.runner] if args.runner else []) + [args.ststg], files_dir, oracle_dir


# (check, file name) -> reason, for the cases that a run leaves out (see --skips).
SKIPPED = {}


def read_skips(path):
    """The skip list: one case a line, 'CHECK NAME  # reason'; blank lines and lines that
    start with '#' say nothing."""
    skips = {}
    with open(path, encoding="utf-8") as f:
        for line in f:
            case, _, reason = line.partition("#")
            words = case.split()
            if len(words) == 2:
                skips[tuple(words)] = reason.strip()
    return skips


def skip_reason(check, name):
    """Why the case `name` of the check `check` is left out in this run; None to run it."""
    return SKIPPED.get((check, name))


def load_oracle(oracle_dir, name):
    with open(os.path.join(oracle_dir, name + ".json"), encoding="utf-8") as f:
        return json.load(f)


def report(name, problems, summary):
    """Prints one file's outcome; true when it differs."""
    if problems:
        print("FAIL %s" % name)
        for problem in problems[:10]:
            print("  " + problem)
    else:
        print("ok   %s: %s" % (name, summary))
    return bool(problems)


def run(ststg, *arguments):
    """Runs the tool and takes its output through files rather than pipes: a runner may
    leave helpers behind (wine's server and services) that would hold a pipe open."""
    command = [*ststg, *arguments]
    with tempfile.TemporaryFile() as out, tempfile.TemporaryFile() as err:
        code = subprocess.run(command, stdout=out, stderr=err).returncode
        out.seek(0)
        err.seek(0)
        return subprocess.CompletedProcess(command, code, out.read(), err.read())


def library_name(name):
    """The name as the library reads it: low bytes of the UTF-16 units, up to the first zero."""
    units = name.encode("utf-16-le")
    out = []
    for low in units[0::2]:
        if low == 0:
            break
        out.append(chr(low))
    return "".join(out)


def header_accepted(path):
    """The library's header check: reserved fields zero, at most 5 directory sectors,
    sector shift 9 or 12, mini sector shift 6. Byte order FE FF reads little-endian,
    anything else reversed."""
    with open(path, "rb") as f:
        head = f.read(76).ljust(76, b"\0")
    order = "<" if head[28:30] == b"\xfe\xff" else ">"
    sector_shift, mini_shift, reserved_short = struct.unpack_from(order + "HHH", head, 30)
    reserved_long, dir_sectors = struct.unpack_from(order + "II", head, 36)
    return (reserved_short == 0 and reserved_long == 0 and dir_sectors <= 5
            and sector_shift in (9, 12) and mini_shift == 6)


def cat_argument(name):
    """A name as ststg cat takes it: control characters as \\xHH, backslash doubled, and
    '/' as \\x2f, since one argument is a path whose names '/' separates; a name of
    two quotes alone is escaped too, since "" stands for the empty name."""
    if name == '""':
        return "\\x22\\x22"
    out = []
    for ch in name:
        if ch == "\\":
            out.append("\\\\")
        elif ch == "/":
            out.append("\\x2f")
        elif ord(ch) < 0x20 or ord(ch) == 0x7F:
            out.append("\\x%02x" % ord(ch))
        else:
            out.append(ch)
    return "".join(out)

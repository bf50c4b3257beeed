#!/usr/bin/env bash
# Times ststg, on both roads, against cat, libgsf's gsf, libolecf's olecfinfo/olecfexport and
# python3-olefile on the same files and the same jobs, side by side in one run, and prints
# every figure with its ratio to ststg's native road (below 1: faster than ststg).
#
#   bench/compare.sh [--runs N] [--timeout SECONDS] [--quick] [--work DIR] [--keep] [--only JOB]
#
#   --runs N       timed runs of each command, taken in turn (A B C A B C ...); the median is
#                  shown (default 3)
#   --timeout S    a run that takes longer is stopped and shown as "> S s"; a command that
#                  timed out is not run again in that job (default 120)
#   --quick        smaller files: 256 MiB instead of 1 GiB, 100,000 children instead of a
#                  million, 10,000 streams to extract
#   --work DIR     where the workloads go (default: $TMPDIR or /tmp, in tovx-compare);
#                  about 1.6 GB at full scale, 0.4 GB with --quick
#   --keep         keep the workloads for the next run (they are made again only when missing)
#   --only JOB     run one job: cat, cat-256m, list-1m, list-100k, extract, props, sectors-4096, deep
#
# Needs a build of the bench preset (made when missing), /usr/bin/time, and the peers from
# Debian's packages libgsf-bin, libolecf-utils and python3-olefile; a peer that is missing is
# shown as "-". Each run's wall time and peak memory come from /usr/bin/time, covering the
# command and, for jobs "to a pipe", the cat that reads the pipe.
set -euo pipefail

root=$(cd "$(dirname "$0")/.." && pwd)
runs=3
limit=120
quick=0
keep=0
only=""
work="${TMPDIR:-/tmp}/tovx-compare"
while [ $# -gt 0 ]; do
    case "$1" in
        --runs) runs=$2; shift 2 ;;
        --timeout) limit=$2; shift 2 ;;
        --quick) quick=1; shift ;;
        --work) work=$2; shift 2 ;;
        --keep) keep=1; shift ;;
        --only) only=$2; shift 2 ;;
        -h|--help) sed -n '2,21p' "$0" | sed 's/^# \{0,1\}//'; exit 0 ;;
        *) echo "compare.sh: unknown argument '$1' (try --help)" >&2; exit 2 ;;
    esac
done

# ---- tools ----------------------------------------------------------------------------

build="${TOVX_BUILD_DIR:-$root/build/bench}"
ststg="$build/tools/ststg"
make_workload="$build/bench/tovx_make_workload"
if [ ! -x "$ststg" ] || [ ! -x "$make_workload" ]; then
    echo "compare.sh: building ststg and tovx_make_workload (preset bench)" >&2
    (cd "$root" && cmake --preset bench >/dev/null && cmake --build --preset bench --target ststg tovx_make_workload >/dev/null)
fi
[ -x /usr/bin/time ] || { echo "compare.sh: needs /usr/bin/time (Debian's package time)" >&2; exit 2; }

# The native road: `ststg --native` where the tool has that option, plain `ststg` where the
# native road is the default and the option does not exist yet.
if "$ststg" --native --help >/dev/null 2>&1; then native="$ststg --native"; else native="$ststg"; fi
hostroad="$ststg --host"
have() { command -v "$1" >/dev/null 2>&1; }
python=/usr/bin/python3
have_olefile=0
[ -x "$python" ] && "$python" -c 'import olefile' 2>/dev/null && have_olefile=1

# ---- workloads ------------------------------------------------------------------------

if [ "$quick" = 1 ]; then big=256M; children=100000; extracted=10000; else big=1G; children=1000000; extracted=100000; fi
mkdir -p "$work"
workload() {  # workload NAME KIND ARGS...: makes the file unless it is there already
    local name=$1 kind=$2; shift 2
    if [ ! -s "$work/$name" ]; then
        "$make_workload" "$kind" "$work/$name.part" "$@"
        mv -f "$work/$name.part" "$work/$name"
        sync "$work/$name"  # written back before any timing, and in the page cache for every command alike
    fi
    cat "$work/$name" > /dev/null
}
corpus="$root/../shared/corpus/files"
props_file="$corpus/lo-writer-custom-props.doc"
sectors_file="$corpus/poi-v4-4096-sectors.bin"
# Extracted streams go to a memory file system where there is one.
out_dir="$work/out"
[ -d /dev/shm ] && [ -w /dev/shm ] && out_dir="/dev/shm/tovx-compare-out-$$"
cleanup() {
    rm -rf "$out_dir" "$work/time.$$"
    [ "$keep" = 1 ] || rm -rf "$work"
}
trap cleanup EXIT

# ---- timing ---------------------------------------------------------------------------

# Peer command lines per job, by column; "" where the peer has no such job.
columns=(cat ststg host gsf olecf olefile)
titles=("cat" "ststg" "ststg --host" "gsf" "libolecf" "python3-olefile")

declare -A times peaks notes
median() { sort -g | awk '{ v[NR] = $1 } END { if (NR == 0) print ""; else if (NR % 2) print v[(NR + 1) / 2]; else print (v[NR / 2] + v[NR / 2 + 1]) / 2 }'; }

# run_job NAME PREPARE CMD...: CMD[i] is the shell command of columns[i]; PREPARE runs before
# every timed run (not timed), to empty the output folder.
run_job() {
    local job=$1 prepare=$2; shift 2
    local commands=("$@")
    local -A done_with samples mem
    local i r
    for ((r = 1; r <= runs; r++)); do
        for i in "${!columns[@]}"; do
            local cmd=${commands[$i]:-}
            [ -n "$cmd" ] && [ -z "${done_with[$i]:-}" ] || continue
            eval "$prepare"
            local record="$work/time.$$"
            local status=0
            /usr/bin/time -f "%e %M" -o "$record" timeout "$limit" sh -c "$cmd" >/dev/null 2>&1 || status=$?
            if [ "$status" = 124 ]; then
                done_with[$i]=1
                samples[$i]="timeout"
                continue
            fi
            local wall kb
            read -r wall kb < <(tail -n 1 "$record")
            samples[$i]="${samples[$i]:-} $wall"
            [ "${mem[$i]:-0}" -ge "$kb" ] || mem[$i]=$kb
        done
    done
    for i in "${!columns[@]}"; do
        local key="$job/${columns[$i]}"
        if [ -z "${commands[$i]:-}" ]; then times[$key]=""; continue; fi
        if [ "${samples[$i]:-}" = "timeout" ] || [[ "${samples[$i]:-}" == *timeout* ]]; then times[$key]="timeout"; continue; fi
        times[$key]=$(echo "${samples[$i]:-}" | tr ' ' '\n' | grep -v '^$' | median)
        peaks[$key]=$(( ${mem[$i]:-0} / 1024 ))
    done
}

cell() {  # cell JOB COLUMN: "1.23 s, 45 MB (2.1x)"
    local job=$1 column=$2
    local value=${times[$job/$column]:-} reference=${times[$job/ststg]:-}
    if [ -z "$value" ]; then echo "-"; return; fi
    if [ "$value" = "timeout" ]; then echo "> $limit s"; return; fi
    local ratio=""
    if [ -n "$reference" ] && [ "$reference" != "timeout" ]; then
        ratio=$(awk -v a="$value" -v b="$reference" 'BEGIN { if (b > 0) printf " (%.2fx)", a / b; else print "" }')
    fi
    echo "$value s, ${peaks[$job/$column]} MB$ratio${notes[$job/$column]:-}"
}

wanted() { [ -z "$only" ] || [ "$only" = "$1" ]; }
jobs_run=()
titles_of=()

# ---- the jobs -------------------------------------------------------------------------

olefile_cat='import sys, olefile; o = olefile.OleFileIO(sys.argv[1]); sys.stdout.buffer.write(o.openstream(sys.argv[2]).read())'
olefile_list='import sys, olefile
o = olefile.OleFileIO(sys.argv[1])
for p in o.listdir(streams=True, storages=True): print("/".join(p), o.get_size("/".join(p)) if o.get_type(p) == olefile.STGTY_STREAM else "")'
olefile_extract='import os, sys, olefile
o = olefile.OleFileIO(sys.argv[1])
for i, p in enumerate(o.listdir()):
    with open(os.path.join(sys.argv[2], str(i)), "wb") as f: f.write(o.openstream(p).read())'
olefile_props='import sys, olefile
o = olefile.OleFileIO(sys.argv[1])
for p in o.listdir():
    if p[-1].startswith("\x05"): print(p, o.getproperties(p, convert_time=True))'
py() { [ "$have_olefile" = 1 ] && printf "%s -c '%s' %s" "$python" "$1" "$2" || echo ""; }
peer() { have "$1" && echo "$2" || echo ""; }

stream_job() {  # stream_job JOB TITLE SIZE
    local job=$1 title=$2 size=$3 file="big-$3.cfb"
    workload "$file" big "$size" 1000
    local f="$work/$file"
    local olefile_command
    olefile_command=$(py "$olefile_cat" "'$f' Big")
    run_job "$job" "rm -rf '$out_dir'; mkdir -p '$out_dir'" \
        "cat '$f' | cat" \
        "$native cat '$f' Big | cat" \
        "$hostroad cat '$f' Big | cat" \
        "$(peer gsf "gsf cat '$f' Big | cat")" \
        "$(peer olecfexport "olecfexport -t '$out_dir/x' '$f'")" \
        "${olefile_command:+$olefile_command | cat}"
    notes["$job/olecf"]=" (export of every stream)"
    notes["$job/cat"]=" (the whole file)"
    jobs_run+=("$job"); titles_of+=("$title")
}

list_job() {  # list_job JOB TITLE FILE
    local job=$1 title=$2 f=$3
    run_job "$job" ":" \
        "" \
        "$native tree '$f'" \
        "$hostroad tree '$f'" \
        "$(peer gsf "gsf list '$f'")" \
        "$(peer olecfinfo "olecfinfo '$f'")" \
        "$(py "$olefile_list" "'$f'")"
    jobs_run+=("$job"); titles_of+=("$title")
}

repeated() {  # repeated COUNT COMMAND: the command COUNT times in one timed run
    [ -n "$2" ] && echo "i=0; while [ \$i -lt $1 ]; do $2 >/dev/null; i=\$((i + 1)); done" || echo ""
}

if wanted cat; then stream_job cat "one $big stream to a pipe" "$big"; fi
if wanted cat-256m && [ "$quick" = 0 ]; then stream_job cat-256m "one 256M stream to a pipe" 256M; fi
if wanted list-1m || wanted list-100k; then workload "wide-$children.cfb" wide "$children"; fi
if wanted list-1m && [ "$quick" = 0 ]; then list_job list-1m "list a root of 1,000,000 children" "$work/wide-$children.cfb"; fi
if wanted list-100k; then
    workload wide-100000.cfb wide 100000
    list_job list-100k "list a root of 100,000 children" "$work/wide-100000.cfb"
fi
if wanted extract; then
    workload "wide-extract-$extracted.cfb" wide "$extracted" 64
    f="$work/wide-extract-$extracted.cfb"
    run_job extract "rm -rf '$out_dir'; mkdir -p '$out_dir'" \
        "" \
        "$native extract '$f' '$out_dir/x'" \
        "$hostroad extract '$f' '$out_dir/x'" \
        "" \
        "$(peer olecfexport "olecfexport -t '$out_dir/x' '$f'")" \
        "$(py "$olefile_extract" "'$f' '$out_dir'")"
    jobs_run+=(extract); titles_of+=("extract $extracted streams of 64 bytes (to $( [ "${out_dir#/dev/shm}" != "$out_dir" ] && echo tmpfs || echo disk))")
fi
if wanted props && [ -f "$props_file" ]; then
    gsf_names=$(have gsf && gsf listprops "$props_file" 2>/dev/null | tr '\n' ' ' || true)
    run_job props ":" \
        "" \
        "$(repeated 200 "$native props '$props_file'")" \
        "$(repeated 200 "$hostroad props '$props_file'")" \
        "$(have gsf && repeated 200 "gsf props '$props_file' $gsf_names" || true)" \
        "$(have olecfinfo && repeated 200 "olecfinfo '$props_file'" || true)" \
        "$(repeated 200 "$(py "$olefile_props" "'$props_file'")")"
    jobs_run+=(props); titles_of+=("property sets of a corpus file, 200 runs")
fi
if wanted sectors-4096 && [ -f "$sectors_file" ]; then
    run_job sectors-4096 ":" \
        "" \
        "$(repeated 200 "$native tree '$sectors_file'")" \
        "$(repeated 200 "$hostroad tree '$sectors_file'")" \
        "$(have gsf && repeated 200 "gsf list '$sectors_file'" || true)" \
        "$(have olecfinfo && repeated 200 "olecfinfo '$sectors_file'" || true)" \
        "$(repeated 200 "$(py "$olefile_list" "'$sectors_file'")")"
    jobs_run+=(sectors-4096); titles_of+=("list a 4096-byte-sector file, 200 runs")
fi
if wanted deep; then
    workload deep-5000.cfb deep 5000
    list_job deep "list a tree 5,000 storages deep" "$work/deep-5000.cfb"
fi

# ---- the table ------------------------------------------------------------------------

cpu=$(grep -m1 'model name' /proc/cpuinfo 2>/dev/null | sed 's/.*: //' || uname -m)
memory=$(awk '/MemTotal/ { printf "%.0f GiB", $2 / 1048576 }' /proc/meminfo 2>/dev/null || echo "?")
echo "$(date +%Y-%m-%d), $cpu, $(nproc) cores, $memory; median of $runs runs, wall time and peak memory; (ratio to ststg)"
echo
printf "| job |"; for t in "${titles[@]}"; do printf " %s |" "$t"; done; echo
printf "|---|"; for _ in "${titles[@]}"; do printf "%s" "---|"; done; echo
for k in "${!jobs_run[@]}"; do
    job=${jobs_run[$k]}
    printf "| %s |" "${titles_of[$k]}"
    for c in "${columns[@]}"; do printf " %s |" "$(cell "$job" "$c")"; done
    echo
done

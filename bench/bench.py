#!/usr/bin/python3
"""Runs every figure of the benchmark and prints one table.

Called by bench/run.sh, which builds the programs and installs the peers;
it can be run alone with the programs already built:

    /usr/bin/python3 bench/bench.py --bin BUILD/bin [--runs 5] [--sizes 10000,100000,1000000]

Each figure is run several times and its median kept. Our figures time the
whole process (start-up included); numpy and pandas are timed on their
loading call alone, and as a whole process (interpreter start and import
included); ogr2ogr as a whole process. Peak memory is the process's largest
resident size.
"""
import argparse
import json
import os
import shutil
import statistics
import subprocess
import sys
import tempfile
import time

HERE = os.path.dirname(os.path.abspath(__file__))
DATA = os.path.join(HERE, "data")
RESULTS = os.path.join(HERE, "results")
WRITER_LIMIT = 32768  # points the XYZ writer's 16-bit loop can write


def run(command, env, stdout=subprocess.DEVNULL, check=True):
    """Runs a process; returns (seconds, peak resident kilobytes, status)."""
    start = time.perf_counter()
    process = subprocess.Popen(command, env=env, stdout=stdout, stderr=subprocess.PIPE)
    _, status, usage = os.wait4(process.pid, 0)
    elapsed = time.perf_counter() - start
    errors = process.stderr.read().decode("utf-8", "replace")
    process.stderr.close()
    code = os.waitstatus_to_exitcode(status)
    if check and code != 0:
        sys.exit("failed (%d): %s\n%s" % (code, " ".join(command), errors))
    return elapsed, usage.ru_maxrss, code


def median_of(runs, measure):
    return medians_of(runs, [measure])[0]


def medians_of(runs, measures):
    """Runs the measures in turn, runs times over, so that a slow spell of the
    machine weighs on each of them alike; the medians of each."""
    values = [[] for _ in measures]
    for _ in range(runs):
        for kept, measure in zip(values, measures):
            kept.append(measure())
    return [(statistics.median(v[0] for v in kept), statistics.median(v[1] for v in kept))
            for kept in values]


def make_data(sizes, cli, env):
    """The XYZ files, the DXF files the program writes from them, and the
    CSV files the GDAL peer reads."""
    os.makedirs(DATA, exist_ok=True)
    for count in sorted(set(sizes) | {WRITER_LIMIT}):
        xyz = os.path.join(DATA, "points-%d.xyz" % count)
        if not os.path.exists(xyz):
            subprocess.run(["/usr/bin/python3", os.path.join(HERE, "make_points.py"),
                            str(count), xyz], check=True)
        if count == WRITER_LIMIT:
            continue
        dxf = os.path.join(DATA, "points-%d.dxf" % count)
        if not os.path.exists(dxf):
            run([cli, "convert", "--set", "Fich_Dim=3D", xyz, "-o", dxf], env)
        csv = os.path.join(DATA, "points-%d.csv" % count)
        if not os.path.exists(csv):
            with open(xyz, encoding="ascii") as source, open(csv, "w", encoding="ascii") as out:
                out.write("X,Y,Z\n")
                for line in source:
                    out.write(line.rstrip("\r\n").split(",", 1)[1] + "\n")


def make_pnezd(sizes):
    """The same points as the XYZ files, as another program exports them
    (header, point, northing, easting, elevation, code; LF), for the importer."""
    for count in sizes:
        pnezd = os.path.join(DATA, "points-%d.pnezd.csv" % count)
        if not os.path.exists(pnezd):
            subprocess.run(["/usr/bin/python3", os.path.join(HERE, "make_points.py"), "--pnezd",
                            str(count), pnezd], check=True)


def import_rows(sizes, runs, cli, env, scratch, with_peers):
    """The importer against the XYZ reader on the same points, and its
    conversion to DXF against ogr2ogr's CSV driver on the same file, each pair
    measured side by side."""
    rows = []
    for count in sizes:
        xyz = os.path.join(DATA, "points-%d.xyz" % count)
        pnezd = os.path.join(DATA, "points-%d.pnezd.csv" % count)
        measures = [lambda: run([cli, "list", "--from", "csv", pnezd], env),
                    lambda: run([cli, "list", xyz], env)]
        (ours, peak), (reader, reader_peak) = medians_of(runs, measures)
        rows.append(("list --from csv (PNEZD)", count, ours, peak / 1024,
                     [("list XYZ reader", reader)]))

        target = os.path.join(scratch, "import-%d.dxf" % count)
        peer_target = os.path.join(scratch, "import-ogr-%d.dxf" % count)

        def convert():
            if os.path.exists(target):
                os.remove(target)
            return run([cli, "convert", "--from", "csv", "--set", "Fich_Dim=3D", pnezd,
                        "-o", target], env)

        def ogr():
            if os.path.exists(peer_target):
                os.remove(peer_target)
            return run(["ogr2ogr", "-f", "DXF", peer_target, pnezd,
                        "-oo", "X_POSSIBLE_NAMES=Easting", "-oo", "Y_POSSIBLE_NAMES=Northing",
                        "-oo", "Z_POSSIBLE_NAMES=Elevation"], env)
        measures = [convert] + ([ogr] if with_peers and shutil.which("ogr2ogr") else [])
        medians = medians_of(runs, measures)
        peers = [("ogr2ogr", medians[1][0])] if len(medians) > 1 else []
        rows.append(("convert --from csv ->DXF", count, medians[0][0], medians[0][1] / 1024,
                     peers))
    return rows


def peer_call(imports, call):
    """Times one loading call of numpy or pandas in a fresh interpreter:
    the call alone, and the whole process (interpreter and imports too)."""
    script = "import time\n%s\nstart = time.perf_counter()\n%s\nprint(time.perf_counter() - start)\n" % (
        imports, call)
    start = time.perf_counter()
    output = subprocess.run(["/usr/bin/python3", "-c", script], check=True,
                            capture_output=True, text=True).stdout
    return float(output.split()[-1]), time.perf_counter() - start


CUPSD_CONF = """Listen {socket}
LogLevel warn
Browsing No
WebInterface No
DefaultAuthType None
<Location />
  Order allow,deny
  Allow all
</Location>
<Location /admin>
  Order allow,deny
  Allow all
</Location>
<Policy default>
  <Limit All>
    Order deny,allow
  </Limit>
</Policy>
"""
CUPS_FILES_CONF = """ServerRoot {root}
RequestRoot {root}/spool
TempDir {root}/tmp
CacheDir {root}/cache
StateDir {root}/state
ErrorLog {root}/log/error_log
AccessLog {root}/log/access_log
PageLog {root}/log/page_log
FileDevice Yes
Sandboxing Relaxed
SystemGroup root
"""
PDF_QUEUE = "Tovalin_PDF"


def start_cups():
    """A CUPS scheduler of the benchmark's own, on a socket in a temporary
    folder, with a PDF queue (CUPS-PDF's driver, writing to a file there) whose
    jobs are held when taken, so that no filter runs while a figure is timed.
    Returns (process, folder, environment additions), or a reason it cannot."""
    cupsd = shutil.which("cupsd") or ("/usr/sbin/cupsd" if os.path.exists("/usr/sbin/cupsd") else None)
    if cupsd is None or shutil.which("lpadmin") is None:
        return "cupsd or lpadmin missing (scripts/deps.sh installs them)"
    if os.geteuid() != 0:
        return "cupsd needs root"
    root = tempfile.mkdtemp(prefix="tovalin-bench-cups-")
    os.chmod(root, 0o755)
    for sub in ("spool", "cache", "state", "log", "tmp", "out"):
        os.makedirs(os.path.join(root, sub))
    os.chmod(os.path.join(root, "tmp"), 0o1777)
    socket = os.path.join(root, "cups.sock")
    with open(os.path.join(root, "cupsd.conf"), "w") as out:
        out.write(CUPSD_CONF.format(socket=socket))
    with open(os.path.join(root, "cups-files.conf"), "w") as out:
        out.write(CUPS_FILES_CONF.format(root=root))
    process = subprocess.Popen([cupsd, "-f", "-c", os.path.join(root, "cupsd.conf"),
                                "-s", os.path.join(root, "cups-files.conf")],
                               stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    env = dict(os.environ, CUPS_SERVER=socket)
    for _ in range(200):
        if process.poll() is not None:
            break
        answer = subprocess.run(["lpstat", "-r"], env=env, capture_output=True, text=True)
        if "is running" in answer.stdout:
            added = subprocess.run(
                ["lpadmin", "-p", PDF_QUEUE, "-E", "-v", "file://%s/out/listing.pdf" % root,
                 "-m", "lsb/usr/cups-pdf/CUPS-PDF_opt.ppd",
                 "-o", "job-hold-until-default=indefinite"], env=env, capture_output=True)
            if added.returncode != 0:
                break
            return process, root, {"CUPS_SERVER": socket}
        time.sleep(0.1)
    stop_cups(process, root)
    return "cupsd did not start"


def stop_cups(process, root):
    """Stops the scheduler by its process id and removes its folder."""
    if process.poll() is None:
        os.kill(process.pid, 15)
        try:
            process.wait(timeout=10)
        except subprocess.TimeoutExpired:
            os.kill(process.pid, 9)
            process.wait()
    shutil.rmtree(root, ignore_errors=True)


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--bin", required=True, help="folder of tovalin-cli and tovalin-gui-bench")
    parser.add_argument("--runs", type=int, default=5)
    parser.add_argument("--sizes", default="10000,100000,1000000")
    parser.add_argument("--no-peers", action="store_true")
    parser.add_argument("--label", default="")
    parser.add_argument("--print-only", action="store_true",
                        help="only the printing figure (it needs a scheduler of its own)")
    parser.add_argument("--import-only", action="store_true",
                        help="only the importer's figures")
    args = parser.parse_args()
    sizes = [int(s) for s in args.sizes.split(",")]
    cli = os.path.join(args.bin, "tovalin-cli")
    gui = os.path.join(args.bin, "tovalin-gui-bench")

    settings_home = tempfile.mkdtemp(prefix="tovalin-bench-")
    env = dict(os.environ, XDG_CONFIG_HOME=settings_home, LC_ALL="C.UTF-8",
               QT_QPA_PLATFORM="offscreen")
    make_data(sizes, cli, env)
    # Outputs go to memory where there is a tmpfs: a 10,000,000-point DXF is
    # 2.7 GB, and writing it back to disk would time the disk, not us.
    shm = "/dev/shm" if os.path.isdir("/dev/shm") and os.access("/dev/shm", os.W_OK) else None
    scratch = tempfile.mkdtemp(prefix="tovalin-bench-out-", dir=shm)
    rows = []  # figure, size, ours (s), ours peak (MB), peer name, peer (s)
    make_pnezd(sizes)
    rows += import_rows(sizes, args.runs, cli, env, scratch, not args.no_peers)

    def xyz(count):
        return os.path.join(DATA, "points-%d.xyz" % count)

    def dxf(count):
        return os.path.join(DATA, "points-%d.dxf" % count)

    gui_rows = {}
    if not args.print_only and not args.import_only:
        for count in sizes:
            measures = [lambda: run([cli, "list", xyz(count)], env)]
            if not args.no_peers:
                measures += [
                    lambda: peer_call("import numpy",
                                      "numpy.loadtxt(%r, usecols=(1, 2, 3), delimiter=',')" % xyz(count)),
                    lambda: peer_call("import pandas", "pandas.read_csv(%r, header=None)" % xyz(count)),
                ]
            medians = medians_of(args.runs, measures)
            seconds, peak = medians[0]
            peers = []
            if not args.no_peers:
                (numpy, numpy_process), (pandas, pandas_process) = medians[1:]
                peers = [("numpy.loadtxt", numpy), ("  its process", numpy_process),
                         ("pandas.read_csv", pandas), ("  its process", pandas_process)]
            rows.append(("list XYZ", count, seconds, peak / 1024, peers))

        for count in sizes:
            target = os.path.join(scratch, "out-%d.dxf" % count)

            def convert():
                # The last run's output goes first, untimed: replacing it would
                # time the freeing of gigabytes too.
                if os.path.exists(target):
                    os.remove(target)
                return run([cli, "convert", "--set", "Fich_Dim=3D", xyz(count), "-o", target],
                           env)
            measures = [convert]
            with_ogr = not args.no_peers and shutil.which("ogr2ogr")
            if with_ogr:
                csv = os.path.join(DATA, "points-%d.csv" % count)
                peer_target = os.path.join(scratch, "ogr-%d.dxf" % count)

                def ogr():
                    if os.path.exists(peer_target):
                        os.remove(peer_target)
                    return run(["ogr2ogr", "-f", "DXF", peer_target, csv,
                                "-oo", "X_POSSIBLE_NAMES=X", "-oo", "Y_POSSIBLE_NAMES=Y",
                                "-oo", "Z_POSSIBLE_NAMES=Z"], env)
                measures.append(ogr)
            medians = medians_of(args.runs, measures)
            seconds, peak = medians[0]
            peers = [("ogr2ogr", medians[1][0])] if with_ogr else []
            rows.append(("convert XYZ->DXF", count, seconds, peak / 1024, peers))

        for count in sizes:
            seconds, peak = median_of(args.runs, lambda: run([cli, "list", dxf(count)], env))
            rows.append(("list DXF", count, seconds, peak / 1024, []))

        # The XYZ writer at its limit: every line is written, then the 16-bit
        # loop's last step overflows and the run ends with that error (status
        # 1); the converter then leaves no output behind.
        limit_target = os.path.join(scratch, "limit.xyz")

        def writer():
            result = run([cli, "convert", "--to", "xyz", xyz(WRITER_LIMIT), "-o", limit_target],
                         env, check=False)
            if result[2] != 1 or os.path.exists(limit_target):
                sys.exit("XYZ writer at its limit: status %d, output %s" %
                         (result[2], "left" if os.path.exists(limit_target) else "absent"))
            return result
        seconds, peak = median_of(args.runs, writer)
        rows.append(("XYZ writer", WRITER_LIMIT, seconds, peak / 1024, []))

        if os.path.exists(gui):
            for count in sizes:
                samples = []
                for _ in range(args.runs):
                    output = subprocess.run([gui, xyz(count), args.bin], env=env, check=True,
                                            capture_output=True, text=True).stdout
                    samples.append(dict((k, float(v)) for k, v in
                                        (line.split("\t") for line in output.splitlines())))
                figures = {key: statistics.median(s[key] for s in samples) for key in samples[0]}
                figures["worst_gap_ms"] = max(s["open_gap_ms"] for s in samples)
                gui_rows[count] = figures
                rows.append(("program: open until shown", count, figures["shown_ms"] / 1000,
                             figures["peak_kb"] / 1024, []))
                rows.append(("program: list rebuilt", count, figures["refresh_ms"] / 1000, None, []))
                rows.append(("program: format rewrite", count, figures["format_ms"] / 1000, None, []))
                figures["worst_view_gap_ms"] = max(s["view_gap_ms"] for s in samples)
                # The view: opened (copy and first whole picture) against the
                # plain drawing loop of the same run, on the same points and
                # surface; the peak column holds what the copy adds.
                rows.append(("view: opened", count, figures["view_open_ms"] / 1000,
                             figures["view_copy_kb"] / 1024,
                             [("plain QPainter loop", figures["view_plain_ms"] / 1000)]))
                rows.append(("view: Zoom + click", count, figures["view_zoom_ms"] / 1000, None, []))
                rows.append(("view: Recentrer", count, figures["view_recentre_ms"] / 1000, None, []))

    # Printing the list to the PDF queue of a private scheduler, ours and the
    # plain QPainter loop in the same run.
    printer = os.path.join(args.bin, "tovalin-print-bench")
    print_rows = {}
    if os.path.exists(printer) and not args.import_only:
        cups = start_cups()
        if isinstance(cups, str):
            print("printing figures left out: %s" % cups, file=sys.stderr)
        else:
            process, root, added = cups
            try:
                for count in [c for c in sizes if c <= 100000]:
                    samples = []
                    for _ in range(args.runs):
                        output = subprocess.run([printer, xyz(count), args.bin, PDF_QUEUE],
                                                env=dict(env, **added), check=True,
                                                capture_output=True, text=True).stdout
                        samples.append(dict((k, float(v)) for k, v in
                                            (line.split("\t") for line in output.splitlines())))
                        subprocess.run(["cancel", "-a", PDF_QUEUE], env=dict(env, **added))
                    figures = {key: statistics.median(s[key] for s in samples) for key in samples[0]}
                    figures["worst_gap_ms"] = max(s["print_gap_ms"] for s in samples)
                    print_rows[count] = figures
                    rows.append(("program: print listing", count, figures["print_ms"] / 1000,
                                 figures["peak_kb"] / 1024,
                                 [("QPainter loop", figures["plain_ms"] / 1000)]))
            finally:
                stop_cups(process, root)

    shutil.rmtree(scratch, ignore_errors=True)
    shutil.rmtree(settings_home, ignore_errors=True)

    # The table.
    print()
    print("%-26s %9s %10s %9s  %-16s %10s %8s" %
          ("figure", "points", "ours (s)", "peak MB", "peer", "peer (s)", "ratio"))
    print("-" * 96)
    for figure, count, seconds, peak, peers in rows:
        peak_text = "%.0f" % peak if peak is not None else "-"
        if not peers:
            print("%-26s %9d %10.3f %9s  %-16s %10s %8s" %
                  (figure, count, seconds, peak_text, "-", "-", "-"))
        for i, (name, peer) in enumerate(peers):
            print("%-26s %9s %10s %9s  %-16s %10.3f %8.2f" %
                  (figure if i == 0 else "", count if i == 0 else "",
                   "%.3f" % seconds if i == 0 else "", peak_text if i == 0 else "",
                   name, peer, peer / seconds))
    print("ratio = peer time / our time (above 1: we are faster)")
    if gui_rows:
        print()
        print("program, longest stretch without processing events (worst of the runs):")
        for count, figures in gui_rows.items():
            print("  %9d points: %4.0f ms during the read, %4.0f ms until the list is shown, "
                  "%4.0f ms in the view" % (count, figures["read_gap_ms"], figures["worst_gap_ms"],
                                            figures["worst_view_gap_ms"]))

    if print_rows:
        print()
        print("printing, longest stretch without processing events (worst of the runs):")
        for count, figures in print_rows.items():
            print("  %9d points: %4.0f ms from \"Imprimer\" until handed to CUPS" %
                  (count, figures["worst_gap_ms"]))

    # Cost per point at the largest size against the size before it.
    print()
    print("cost per point, largest size against the one before it (linear: within 30 %):")
    by_figure = {}
    for figure, count, seconds, _, _ in rows:
        by_figure.setdefault(figure, {})[count] = seconds
    for figure, times in by_figure.items():
        counts = sorted(times)
        if len(counts) < 2:
            continue
        big, small = counts[-1], counts[-2]
        ratio = (times[big] / big) / (times[small] / small)
        print("  %-26s %6.2f  %s" % (figure, ratio, "ok" if ratio <= 1.3 else "ABOVE"))

    os.makedirs(RESULTS, exist_ok=True)
    name = "results%s.json" % ("-" + args.label if args.label else "")
    with open(os.path.join(RESULTS, name), "w") as out:
        json.dump({"rows": rows, "program": gui_rows, "printing": print_rows}, out, indent=1)


if __name__ == "__main__":
    main()

#!/usr/bin/python3
"""Draws the qvngen-bench report from the results.csv it writes.

  report.py [--command TEXT] RESULTS_CSV OUT_DIR

Writes, into OUT_DIR:
  summary.md              one row per family, precision and reference, with
                          for each qvngen library timed (the baseline "z3"
                          and its variants, side by side): geometric mean and
                          worst of the time ratios, lengths where the
                          reference is faster, worst error ratio; and where a
                          family was timed against both FFTW and KFR, a row
                          against the faster of the two at each length;
                          then, per family and precision, each library's
                          time over its census floor (the port cycles of
                          the kernel's own instructions, census_floor.h)
  report.md               the command, the same table, then every chart
  <family>-<bits>.png     per family and precision, against N: ns per call of
                          each qvngen library and each reference; the ratio
                          of each library to FFTW (and to the faster of FFTW
                          and KFR) with the 1.0 line; the relative RMS error
                          of each

qvngen-bench --report DIR runs it; it can be rerun on a saved CSV.
"""
import argparse
import csv
import math
import os
from collections import OrderedDict

import matplotlib

matplotlib.use("Agg")  # files only, no display
import matplotlib.pyplot as plt  # noqa: E402

# Headings for the --family names of qvngen-bench; an unknown name is shown
# as it is.
TITLES = {
    "dft-c": "complex DFT",
    "rfwd": "real DFT, R to CCS",
    "rinv": "real DFT, CCS to R",
    "hartley": "discrete Hartley",
    "wht": "Walsh-Hadamard",
    "dct4": "type-IV DCT",
}
RATIO_REFERENCE = "FFTW"
# The references whose faster one is a comparison of its own, and its name.
BEST_OF = ("FFTW", "KFR")
BEST_NAME = "the faster of FFTW/KFR"


class Group:
    """The rows of one family and precision: qvngen and its references."""

    def __init__(self, family, precision):
        self.family = family
        self.precision = precision
        self.rows = []

    @property
    def title(self):
        return f"{TITLES.get(self.family, self.family)}, {self.precision}-bit"

    @property
    def chart(self):
        return f"{self.family}-{self.precision}.png"

    def libraries(self):
        return list(OrderedDict.fromkeys(r["library"] for r in self.rows))

    def references(self):
        return list(OrderedDict.fromkeys(r["reference"] for r in self.rows))

    def directions(self):
        return list(OrderedDict.fromkeys(r["direction"] for r in self.rows))

    def ratio_reference(self):
        refs = self.references()
        return RATIO_REFERENCE if RATIO_REFERENCE in refs else refs[0]

    def best_rows(self, library, direction=None):
        """Where every reference of BEST_OF timed a case: for each such case
        of `library` (and `direction`, if given), the row of the larger time
        ratio. Each ratio comes from batches in which our entry and that
        reference took turns; the larger one is the ratio to the faster
        reference when our own time was the same in both tables."""
        cases = OrderedDict()
        for r in self.rows:
            if r["reference"] in BEST_OF and r["library"] == library and direction in (None, r["direction"]):
                cases.setdefault((r["direction"], r["n"]), {})[r["reference"]] = r
        rows = [max(refs.values(), key=lambda r: r["ratio"]) for refs in cases.values()
                if len(refs) == len(BEST_OF)]
        return sorted(rows, key=lambda r: r["n"])

    def has_best(self):
        return all(ref in self.references() for ref in BEST_OF)

    def series(self, reference, direction, library=None):
        """Rows of one reference and direction; of one library, or the first."""
        library = library or self.libraries()[0]
        rows = [r for r in self.rows if r["reference"] == reference and r["direction"] == direction
                and r["library"] == library]
        return sorted(rows, key=lambda r: r["n"])


def read_groups(path):
    groups = OrderedDict()
    with open(path, newline="") as f:
        for row in csv.DictReader(f):
            for key in ("precision", "n"):
                row[key] = int(row[key])
            for key in ("ns_qvngen", "ns_reference", "ratio", "err_qvngen", "err_reference"):
                row[key] = float(row[key])
            row["library"] = row.get("library") or "qvngen"  # results from before --lib
            floor = row.get("floor_ns") or ""  # empty where no census covers the entry
            row["floor_ns"] = float(floor) if floor else None
            key = (row["family"], row["precision"])
            groups.setdefault(key, Group(*key)).rows.append(row)
    return list(groups.values())


def error_ratio(row):
    if row["err_reference"] > 0:
        return row["err_qvngen"] / row["err_reference"]
    return 1.0 if row["err_qvngen"] == 0 else math.inf


def summary_rows(groups):
    """One row per family, precision and reference; each figure once per
    library, in the order the libraries were timed, separated by " / "."""
    libraries = list(OrderedDict.fromkeys(lib for g in groups for lib in g.libraries()))
    names = " / ".join(libraries)
    lines = [
        f"| family | cases | geometric mean ratio {names} | worst ratio {names} "
        f"| slower than the reference | worst error ratio {names} |",
        "|---|---:|---:|---|---|---|",
    ]
    for g in groups:
        comparisons = [(ref, f"vs {ref}", lambda lib, ref=ref: [r for r in g.rows if r["reference"] == ref
                                                                 and r["library"] == lib])
                       for ref in g.references()]
        if g.has_best():
            comparisons.append(("the faster one", f"vs {BEST_NAME}", g.best_rows))
        for ref, heading, rows_of in comparisons:
            gmeans, worsts, slowers, errs = [], [], [], []
            for lib in libraries:
                rows = rows_of(lib)
                if not rows:
                    gmeans.append("-"), worsts.append("-"), errs.append("-")
                    continue
                gmean = math.exp(sum(math.log(r["ratio"]) for r in rows) / len(rows))
                worst = max(rows, key=lambda r: r["ratio"])
                slower = [f"{r['n']} {r['direction']}" for r in rows if r["ratio"] > 1]
                worst_err = max(rows, key=error_ratio)
                gmeans.append(f"{gmean:.3f}")
                named = f" {worst['reference']}" if ref == "the faster one" else ""
                worsts.append(f"{worst['ratio']:.3f} (N={worst['n']} {worst['direction']}{named})")
                text = f"{len(slower)}: {', '.join(slower)}" if slower else "none"
                slowers.append(f"{lib} {text}" if len(libraries) > 1 else text)
                errs.append(f"{error_ratio(worst_err):.3g} (N={worst_err['n']} {worst_err['direction']})")
            cases = len(rows_of(g.libraries()[0]))
            lines.append(
                f"| {g.title} {heading} | {cases} | {' / '.join(gmeans)} | {' / '.join(worsts)} "
                f"| {'; '.join(slowers)} | {' / '.join(errs)} |"
            )
    return lines


def floor_rows(groups):
    """Per family and precision, each library's ns over the census floor:
    the geometric mean and the entry of N >= 16 farthest above it (below,
    the fixed cost of a call outweighs the kernel). Each entry once,
    from the rows of the ratio reference; families without a census (DCT-IV)
    are left out."""
    libraries = list(OrderedDict.fromkeys(lib for g in groups for lib in g.libraries()))
    names = " / ".join(libraries)
    lines = [f"| family | time over census floor, geometric mean {names} | farthest above it, N >= 16, {names} |",
             "|---|---:|---|"]
    for g in groups:
        gmeans, farthest = [], []
        for lib in libraries:
            rows = [r for r in g.rows if r["reference"] == g.ratio_reference() and r["library"] == lib
                    and r["floor_ns"]]
            if not rows:
                gmeans.append("-"), farthest.append("-")
                continue
            over = [(r["ns_qvngen"] / r["floor_ns"], r) for r in rows]
            gmeans.append(f"{math.exp(sum(math.log(x) for x, _ in over) / len(over)):.2f}")
            large = [item for item in over if item[1]["n"] >= 16]
            if large:
                x, r = max(large, key=lambda item: item[0])
                farthest.append(f"{x:.2f} (N={r['n']} {r['direction']})")
            else:
                farthest.append("-")
        if any(v != "-" for v in gmeans):
            lines.append(f"| {g.title} | {' / '.join(gmeans)} | {' / '.join(farthest)} |")
    return lines if len(lines) > 2 else []


def draw_chart(g, path):
    fig, (ax_ns, ax_ratio, ax_err) = plt.subplots(3, 1, figsize=(8, 10), sharex=True)
    ns_values = sorted({r["n"] for r in g.rows})
    powers_of_two = all(n & (n - 1) == 0 for n in ns_values)
    ours_from = g.ratio_reference()  # qvngen is timed once per reference table; one line suffices
    markers = "os^vD"
    libraries = g.libraries()
    # Colours: the libraries first (C0, C1, ...), then the references.
    for d_index, direction in enumerate(g.directions()):
        style = "-" if d_index == 0 else ":"
        suffix = f" {direction}" if len(g.directions()) > 1 else ""
        for l_index, lib in enumerate(libraries):
            ours = g.series(ours_from, direction, lib)
            n = [r["n"] for r in ours]
            name = f"qvngen {lib}" if len(libraries) > 1 else "qvngen"
            color = f"C{l_index}"
            ax_ns.plot(n, [r["ns_qvngen"] for r in ours], style, marker="o", ms=3, color=color,
                       label=name + suffix)
            ax_err.plot(n, [r["err_qvngen"] for r in ours], style, marker="o", ms=3, color=color,
                        label=name + suffix)
            ax_ratio.plot(n, [r["ratio"] for r in ours], style, marker="o", ms=3, color=color,
                          label=f"{name} / {ours_from}" + suffix)
            if g.has_best():
                best = g.best_rows(lib, direction)
                ax_ratio.plot([r["n"] for r in best], [r["ratio"] for r in best], style, marker="x", ms=4,
                              color=color, alpha=0.6, label=f"{name} / {BEST_NAME}" + suffix)
        for r_index, ref in enumerate(g.references(), start=len(libraries)):
            rows = g.series(ref, direction)
            n = [r["n"] for r in rows]
            marker = markers[r_index % len(markers)]
            ax_ns.plot(n, [r["ns_reference"] for r in rows], style, marker=marker, ms=3,
                       color=f"C{r_index}", label=ref + suffix)
            ax_err.plot(n, [r["err_reference"] for r in rows], style, marker=marker, ms=3,
                        color=f"C{r_index}", label=ref + suffix)
    ax_ratio.axhline(1.0, color="black", linewidth=0.8)

    ax_ns.set_ylabel("ns per call")
    best = f" and to {BEST_NAME} (x)" if g.has_best() else ""
    ax_ratio.set_ylabel(f"time ratio to {ours_from}{best}\n(below 1: qvngen faster)")
    ax_err.set_ylabel("relative RMS error")
    ax_err.set_xlabel("N")
    ax_ns.set_yscale("log")
    if any(r["err_qvngen"] > 0 or r["err_reference"] > 0 for r in g.rows):
        ax_err.set_yscale("log")  # exact results (error 0) alone stay on a linear axis
    if powers_of_two and ns_values[-1] > 64:
        ax_err.set_xscale("log", base=2)
    for ax in (ax_ns, ax_ratio, ax_err):
        ax.grid(True, which="major", alpha=0.3)
        ax.legend(fontsize="small")
    fig.suptitle(g.title)
    fig.tight_layout()
    fig.savefig(path, dpi=90)
    plt.close(fig)


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n")[0])
    parser.add_argument("--command", default="", help="command line quoted in report.md")
    parser.add_argument("results")
    parser.add_argument("out_dir")
    args = parser.parse_args()

    groups = read_groups(args.results)
    if not groups:
        raise SystemExit(f"{args.results}: no results")
    os.makedirs(args.out_dir, exist_ok=True)
    for g in groups:
        draw_chart(g, os.path.join(args.out_dir, g.chart))

    note = (
        "Ratio: qvngen's time over the reference's, median ns per call; below 1 qvngen is "
        "faster. Error ratio: qvngen's relative RMS error over the reference's, both against "
        "an exact long-double evaluation."
    )
    table = summary_rows(groups)
    floors = floor_rows(groups)
    if floors:
        table += ["", "Time over census floor: qvngen's ns over the port cycles its kernel's own "
                  "instructions need on the core that ran it (loads, stores and arithmetic, without "
                  "spills or waits), at the clock the benchmark measured.", "", *floors]
    with open(os.path.join(args.out_dir, "summary.md"), "w") as f:
        f.write("\n".join(["# qvngen-bench summary", "", note, "", *table, ""]))
    report = ["# qvngen-bench report", ""]
    if args.command:
        report += [f"`{args.command}`", ""]
    report += [note, "", *table, ""]
    for g in groups:
        report += [f"## {g.title}", "", f"![{g.title}]({g.chart})", ""]
    with open(os.path.join(args.out_dir, "report.md"), "w") as f:
        f.write("\n".join(report))


if __name__ == "__main__":
    main()

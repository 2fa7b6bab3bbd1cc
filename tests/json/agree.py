"""Checks that a run's JSON document says what its text report, its saved
files, its aids file and its HTML page print: every number of the document,
written with the edit descriptor of the place that prints it, must give the
printed field character for character (rounding to nearest on the exact
binary value with halves away from zero, no sign on a value that rounds to
zero, the zero before the point dropped when the field has no room, a field
of asterisks when the number does not fit).

  agree.py RUN_FOLDER DOCUMENT.json [PAGE.html]

RUN_FOLDER is the folder the run was started in (the report's path is
relative to it). Prints one line per part with the count of numbers
compared; exit status 1 with the disagreements listed when any differ.
Standard library only.
"""
import html
import json
import math
import os
import re
import sys
from decimal import ROUND_HALF_UP, Decimal

NUMBER = re.compile(r"^ *-?(\d+\.\d*|\.\d+)$|^\*+$|^ *[-+]?(NaN|Inf|Infinity)$")


def edit_f(value, w, d):
    """Fw.d of `value` as the report writes it (None stands for NaN)."""
    if value is None or not math.isfinite(value):
        return None
    rounded = Decimal(value).quantize(Decimal(1).scaleb(-d), rounding=ROUND_HALF_UP)
    digits = format(abs(rounded), "f")
    if d == 0:
        digits += "."
    text = ("-" if rounded < 0 else "") + digits
    if len(text) > w and digits.startswith("0."):
        text = text.replace("0.", ".", 1)
    return "*" * w if len(text) > w else text.rjust(w)


class Checks:
    def __init__(self):
        self.counts = {}
        self.failures = []

    def field(self, part, where, printed, value, w, d):
        """`printed` is a whole field of w characters."""
        self.counts[part] = self.counts.get(part, 0) + 1
        expected = edit_f(value, w, d)
        if expected is None:
            if not re.search(r"NaN|Inf|\*|--", printed):
                self.failures.append(f"{part} {where}: printed {printed!r}, document null")
        elif printed != expected:
            self.failures.append(f"{part} {where}: printed {printed!r}, document {value!r} "
                                 f"gives {expected!r}")

    def token(self, part, where, printed, value, w, d):
        """`printed` is a field without its leading blanks."""
        expected = edit_f(value, w, d)
        self.field(part, where, printed.rjust(w) if expected is not None else printed, value, w, d)

    def same(self, part, where, printed, expected):
        self.counts[part] = self.counts.get(part, 0) + 1
        if printed != expected:
            self.failures.append(f"{part} {where}: printed {printed!r}, document {expected!r}")


class Text:
    """The lines of a report, with the table reader of its one table printer:
    a title (cut into pieces of page width - 1 on narrow pages), then per
    block of columns a header line and one line per row, the values in fields
    of fixed width at the end of each line, blocks apart by a line ' '."""

    def __init__(self, path, widths):
        self.lines = open(path, encoding="latin-1").read().split("\n")
        self.pieces = sorted({(w if 1 <= w <= 132 else 80) - 1 for w in widths})

    def find(self, pattern, start=0):
        """Index of the line after the title that fully matches `pattern`."""
        regex = re.compile(pattern)
        for i in range(start, len(self.lines)):
            if regex.fullmatch(self.lines[i][1:].rstrip()):
                return i + 1
            for piece in self.pieces:
                title = ""
                for count in range(4):
                    if i + count >= len(self.lines):
                        break
                    text = self.lines[i + count][1:]
                    if count > 0 and regex.fullmatch(title + text.rstrip()):
                        return i + count + 1
                    if len(text) > piece:
                        break
                    title += text.ljust(piece)
        return None

    def table(self, i, rows, cols, w):
        """The m x n fields of the table whose first header line is line i."""
        cells = [[None] * cols for _ in range(rows)]
        col = 0
        while col < cols:
            body = self.lines[i + 1:i + 1 + rows]
            if len(body) < rows:
                raise ValueError("table cut short")
            k = 0
            while (k < cols - col and (k + 1) * w <= len(body[0])
                   and NUMBER.match(body[0][len(body[0]) - (k + 1) * w:len(body[0]) - k * w])):
                k += 1
            if k == 0:
                raise ValueError(f"no values on line {i + 2}: {body[0]!r}")
            for r, line in enumerate(body):
                end = len(line)
                for t in range(k):
                    cells[r][col + t] = line[end - (k - t) * w:end - (k - t - 1) * w]
            col += k
            i += 1 + rows
            if col < cols:
                if self.lines[i] != " ":
                    raise ValueError(f"no next block at line {i + 1}")
                i += 1
        return cells, i


def compare_table(checks, part, text, title, start, matrix, w, d, row_of=None):
    """Finds `title` from line `start`, compares its table with `matrix`
    (printed row r is document row row_of[r]); returns the line after it,
    or `start` when the title is not there."""
    at = text.find(title, start)
    if at is None or not matrix or not matrix[0]:
        return start
    rows, cols = len(matrix), len(matrix[0])
    try:
        cells, end = text.table(at, rows, cols, w)
    except (ValueError, IndexError) as error:
        checks.failures.append(f"{part}: table {title!r} unreadable: {error}")
        return at
    for r in range(rows):
        source = matrix[row_of[r] if row_of else r]
        for c in range(cols):
            checks.field(part, f"({r + 1},{c + 1})", cells[r][c], source[c], w, d)
    return end


def line_value(checks, part, text, pattern, value, w, d):
    """The field of w characters that ends the line matching `pattern`."""
    for line in text.lines:
        if re.match(pattern, line):
            checks.field(part, pattern, line.rstrip()[-w:].rjust(w), value, w, d)
            return


def check_report(checks, text, doc):
    settings = doc["settings"] or {}
    corr = doc["correlations"]
    if corr:
        w = 15 if settings.get("labels") else 8
        compare_table(checks, "correlation matrix", text, r"CORRELATION MATRIX", 0,
                      corr["matrix"], w, 3)
    ext = doc["extraction"]
    position = 0
    if ext and not ext["given_pattern"]:
        compare_table(checks, "eigenvalues", text, r"Eigenvalues of Initial Correlation Matrix",
                      0, [ext["initial_eigenvalues"]], 8, 3)
        iterations = [l for l in text.lines if l.startswith("Number of iterations during")]
        if iterations:
            checks.same("fit", "iterations", int(iterations[0][-3:]), ext["iterations"])
        fit = ext["fit"]
        if fit:
            line_value(checks, "fit", text, r"GFI = ", fit["gfi"], 6, 4)
            for pattern, key in ((r"Mean squared residual ", "mean_squared_residual"),
                                 (r"Root Mean Squared Residual", "rmsr"),
                                 (r"Mean residual = ", "mean"),
                                 (r"Standard deviation of residuals = ", "standard_deviation"),
                                 (r"Coefficient of skewness = ", "skewness"),
                                 (r"Coefficient of kurtosis = ", "kurtosis")):
                line_value(checks, "fit", text, pattern, fit[key], 8, 4)
            five = fit["five_point_summary"]
            for i, line in enumerate(text.lines):
                if five and line.strip() == "Median":
                    checks.field("fit", "median", text.lines[i + 1][20:26], five[2], 6, 4)
                    checks.field("fit", "25%", text.lines[i + 2][15:21], five[1], 6, 4)
                    checks.field("fit", "75%", text.lines[i + 2][26:32], five[3], 6, 4)
                    checks.field("fit", "MIN", text.lines[i + 3][15:21], five[0], 6, 4)
                    checks.field("fit", "MAX", text.lines[i + 3][26:32], five[4], 6, 4)
                    break
            midpoints = [l[14:] for l in text.lines if l.startswith("  Midpoints:  ")]
            counts = [l[14:] for l in text.lines if l.startswith("     Counts:  ")]
            printed = [(m[k:k + 6], c[k:k + 6]) for m, c in zip(midpoints, counts)
                       for k in range(0, len(c), 6)]
            for k, (mid, count) in enumerate(printed[:len(fit["class_counts"])]):
                checks.field("fit", f"class {k + 1} midpoint", mid, fit["class_midpoints"][k], 6, 2)
                checks.field("fit", f"class {k + 1} count", count, fit["class_counts"][k], 6, 0)
            compare_table(checks, "residuals", text, r"Residual Covariances \(1-h\^2 on diagonal\)",
                          0, fit["residuals"], 8, 3)
        position = compare_table(checks, "unrotated", text, r"Unrotated Factor Loadings", 0,
                                 ext["loadings"], 8, 3)
        position = compare_table(checks, "unrotated", text, r"Variance explained by each factor",
                                 position, [ext["factor_variance"]], 10, 3)
        position = compare_table(checks, "communalities", text, r"Final communality estimates",
                                 position, [ext["communalities"]], 8, 2)
    for number, solution in enumerate(doc["rotations"]):
        part = f"rotation {number + 1} ({solution['method']})"
        if solution["not_a_number"] or not solution["loadings"]:
            continue
        at = text.find(r".*(Sorted|Rotated) Factor Loadings.*", position)
        if at is None:
            continue
        title = text.lines[at - 1]
        order = ([k - 1 for k in solution["sort_order"]]
                 if "Sorted" in title and solution["sort_order"] else None)
        position = compare_table(checks, part, text, re.escape(title[1:].rstrip()), at - 1,
                                 solution["loadings"], 8, 3, order)
        if solution["oblique"]:
            compare_table(checks, part, text, r".*Inter-factor Correlations", position,
                          solution["factor_correlations"], 8, 3)
            compare_table(checks, part, text, r".*Factor Structure Matrix", position,
                          solution["structure"], 8, 3, order)
        else:
            compare_table(checks, part, text, r"Variance explained by each rotated factor",
                          position, [solution["variance_explained"]], 8, 3)
            for line in text.lines[position:]:
                if line.startswith("Varimax Objective function = "):
                    checks.field(part, "objective", line[-6:].rjust(6), solution["objective"], 6, 4)
                    break
                if line.startswith("Hyperplane Count"):
                    break
        p = len(solution["loadings"])
        counts = []
        for line in text.lines[position:]:
            match = re.match(r"Hyperplane Count \(%\) for Factor *(\d+) = *(\d+) \((.{3})\)", line)
            if match:
                counts.append((int(match.group(2)), match.group(3)))
                if len(counts) == len(solution["hyperplane_counts"]):
                    break
        for k, (count, share) in enumerate(counts):
            checks.same(part, f"hyperplane count {k + 1}", count, solution["hyperplane_counts"][k])
            checks.field(part, f"hyperplane share {k + 1}", share,
                         solution["hyperplane_counts"][k] / p, 3, 2)
    scores = doc["scores"]
    if scores and scores["estimated"]:
        compare_table(checks, "score weights", text,
                      r"Standardized regression weights for estimating the factors", 0,
                      scores["weights"], 8, 3)
        compare_table(checks, "score validity", text,
                      r"Correlations of Factors with Factor Score Estimates", 0,
                      [scores["validity"]], 8, 3)
    triplets = doc["triplet_test"]
    if triplets:
        percent = {}
        for line in text.lines:
            match = re.match(r"^( {0,2}\d+) {13}[ \d]{8} {23}(.{8})$", line)
            if match:
                percent[int(match.group(1))] = match.group(2)
        for item, printed in percent.items():
            if item <= len(triplets["percentages"]):
                checks.field("triplets", f"item {item} %", printed,
                             triplets["percentages"][item - 1], 8, 2)


def saved_numbers(path):
    lines = open(path, encoding="latin-1").read().split("\n")
    return [line.split() for line in lines if line.strip()]


def check_saved(checks, run_folder, doc):
    command = doc["command_line"]["command_file"]
    if not os.path.isabs(command):
        command = os.path.join(run_folder, command)
    stem = os.path.splitext(command)[0]
    inputs = {os.path.realpath(os.path.join(run_folder, e["path"])) for e in doc["inputs"]}

    def saved(extension):
        path = stem + "." + extension
        return path if os.path.isfile(path) and os.path.realpath(path) not in inputs else None

    def matrix(part, path, values, w, d, skip=0):
        rows = saved_numbers(path)
        for r, row in enumerate(values):
            for c, value in enumerate(row):
                checks.token(part, f"({r + 1},{c + 1})", rows[r][skip + c], value, w, d)

    corr = doc["correlations"]
    settings = doc["settings"] or {}
    if corr and saved("cor"):
        # The `cor` file holds the matrix before smoothing.
        before = corr["unsmoothed_matrix"] if corr["smoothed"] else corr["matrix"]
        w, d = (8, 3) if settings.get("coding") == "IP" else (12, 9)
        matrix("cor file", saved("cor"), before, w, d)
    if corr and corr["smoothed"] and saved("smo"):
        matrix("smo file", saved("smo"), corr["matrix"], 12, 9)
    ext = doc["extraction"]
    if ext and saved("eig") and ext.get("initial_eigenvalues"):
        values = sorted(ext["initial_eigenvalues"], reverse=True)
        matrix("eig file", saved("eig"), [[v] for v in values], 8, 4)
    if ext and ext["fit"] and saved("rsd"):
        matrix("rsd file", saved("rsd"), ext["fit"]["residuals"], 12, 9)
    solutions = [s for s in doc["rotations"] if not s["not_a_number"]]
    if saved("fac") and (solutions or ext):
        # The last solution written: its rows as the report printed them.
        last = solutions[-1] if solutions else None
        loadings = last["loadings"] if last else ext["loadings"]
        order = range(len(loadings))
        if last and last["sort_order"] and settings.get("sort"):
            order = [k - 1 for k in last["sort_order"]]
        matrix("fac file", saved("fac"), [loadings[k] for k in order], 8, 4, skip=1)
    oblique = [s for s in solutions if s["oblique"]]
    if oblique and saved("phi"):
        matrix("phi file", saved("phi"), oblique[-1]["factor_correlations"], 12, 9)
    items = doc["items"]
    if saved("dff") and "proportions" in items:
        matrix("dff file", saved("dff"), [[v] for v in items["proportions"]], 6, 4, skip=1)


def check_aids(checks, path, aids):
    lines = open(path, encoding="utf-8").read().split("\n")
    parallel = aids["parallel_analysis"]
    if parallel:
        start = next(i for i, l in enumerate(lines) if l.startswith("Position")) + 1
        keys = [("components", "observed"), ("components", "mean"), ("components", "percentile"),
                ("factors", "observed"), ("factors", "mean"), ("factors", "percentile")]
        for k in range(parallel["variables"]):
            fields = lines[start + k].split()
            for (lines_key, key), printed in zip(keys, fields[1:]):
                value = parallel[lines_key][key][k]
                # "%.4f" as the file has it, without the sign of a zero.
                expected = "--" if value is None else ("%.4f" % value).replace("-0.0000", "0.0000")
                checks.same("aids file", f"{lines_key} {key} {k + 1}", printed, expected)
    fit = aids["likelihood_fit"]
    if fit:
        for label, key, digits in (("Discrepancy F", "objective", 5), ("RMSEA   ", "rmsea", 4),
                                   ("Tucker-Lewis index", "tli", 4), ("BIC", "bic", 3)):
            line = next((l for l in lines if l.startswith(label)), None)
            if line:
                value = fit[key]
                checks.same("aids file", label, line.split()[-1],
                            "--" if value is None else "%.*f" % (digits, value))


def check_page(checks, path, text):
    page = open(path, encoding="utf-8").read()
    section = re.search(r'<section id="residuals".*?</section>', page, re.S)
    if not section:
        return
    cells = r'<tr><td>([^<]*)</td><td class="num">([^<]*)</td></tr>'
    figures = {html.unescape(name): value for name, value in re.findall(cells, section.group(0))}
    printed = {}
    for line in text.lines:
        for name, pattern in (("GFI", r"GFI = (.*)"),
                              ("Mean squared residual", r"Mean squared residual (.*)"),
                              ("RMSR", r"Root Mean Squared Residual \(RMSR\) = (.*)"),
                              ("Mean residual", r"Mean residual = (.*)"),
                              ("SD of residuals", r"Standard deviation of residuals = (.*)"),
                              ("Skewness", r"Coefficient of skewness = (.*)"),
                              ("Kurtosis", r"Coefficient of kurtosis = (.*)"),
                              ("Smallest residual", r" +MIN +(\S+)"),
                              ("Largest residual", r" +MIN +\S+ +(\S+)")):
            match = re.match(pattern, line)
            if match and name not in printed:
                printed[name] = match.group(1).strip()
    for name, value in printed.items():
        if name in figures:
            # Same digits: "-.0556" in a narrow report field is "-0.0556" on the page.
            checks.same("page fit", name, Decimal(figures[name]), Decimal(value))
            checks.same("page fit", name + " decimals", len(figures[name].split(".")[1]),
                        len(value.split(".")[1]))


def main():
    run_folder, document = sys.argv[1], sys.argv[2]
    doc = json.load(open(document))
    checks = Checks()
    settings = doc["settings"]
    report = os.path.join(run_folder, settings["report_file"]) if settings else None
    if not report or not os.path.isfile(report):
        print("no report to compare")
        return 0
    width = settings["page_width"]
    text = Text(report, [width, 110 if width >= 120 else width, 80])
    check_report(checks, text, doc)
    check_saved(checks, run_folder, doc)
    aids_file = os.path.splitext(report)[0] + ".aids"
    if doc.get("aids") and os.path.isfile(aids_file):
        check_aids(checks, aids_file, doc["aids"])
    if len(sys.argv) > 3 and os.path.isfile(sys.argv[3]):
        check_page(checks, sys.argv[3], text)
    for part, count in checks.counts.items():
        print(f"{part}: {count} numbers compared")
    if not checks.counts:
        print("nothing printed to compare")
    for failure in checks.failures[:40]:
        print("DIFFERS: " + failure)
    if len(checks.failures) > 40:
        print(f"... and {len(checks.failures) - 40} more")
    return 1 if checks.failures else 0


if __name__ == "__main__":
    sys.exit(main())

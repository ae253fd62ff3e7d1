"""ibeta against scipy.special.betainc over a grid that reaches every path:
the power series (plain and after the flip), both continued fractions on
both sides of the mean, the logarithmic prefactor for large a+b or large
exponents, and underflow to 0. Also the domain error and its message."""
import math
import os
import subprocess
import sys

import numpy as np
from scipy.special import betainc

TOOL = os.path.join(os.environ["ZOR_BINARY_DIR"], "tests", "ibeta_values")

MACHEP = 1.1102230246251565e-16
MAXGAM = 171.6243769563027
MAXLOG = 709.782712893384
MINLOG = -745.1332191019412

REL_TOL = 1e-13
EPS = 2.220446049250313e-16
# Values this small are denormal or nearly so; only their size can agree.
TINY = 1e-290


def series_path(a, b, x):
    u = a * math.log(x)
    if a + b < MAXGAM and abs(u) < MAXLOG:
        return "series"
    # The series sum is at least 1/a.
    log_value = math.lgamma(a + b) - math.lgamma(a) - math.lgamma(b) + u - math.log(a)
    return "series-underflow" if log_value < MINLOG - 50 else "series-log"


def path_of(a, b, x):
    """Which evaluation path ibeta takes for (a, b, x), by the same tests."""
    if x <= 0.0 or x >= 1.0:
        return "end"
    if b * x <= 1.0 and x <= 0.95:
        return series_path(a, b, x)
    w = 1.0 - x
    flipped = x > a / (a + b)
    if flipped:
        a, b, x, w = b, a, w, x
        if b * x <= 1.0 and x <= 0.95:
            return "flip-" + series_path(a, b, x)
    kind = "cf" if (a + b - 2.0) * x - (a - 1.0) < 0.0 else "bd"
    if flipped:
        kind = "flip-" + kind
    y = a * math.log(x)
    t = b * math.log(w)
    if a + b < MAXGAM and abs(y) < MAXLOG and abs(t) < MAXLOG:
        return kind
    # Rough value of the log of the prefactor; below MINLOG it underflows.
    prefactor = y + t + math.lgamma(a + b) - math.lgamma(a) - math.lgamma(b) - math.log(a)
    return kind + ("-underflow" if prefactor < MINLOG - 50 else "-log")


def tolerance(a, b, x, path):
    """Relative tolerance: 1e-13 where the prefactor comes from pow and
    tgamma. On the logarithmic paths the result inherits the rounding of
    lgamma values and logarithms that may be in the thousands, and two
    correct implementations differ by a few ulps of the largest of them."""
    if not path.endswith("-log"):
        return REL_TOL
    big = abs(math.lgamma(a + b)) + abs(math.lgamma(a)) + abs(math.lgamma(b))
    big += abs(a * math.log(x)) + abs(b * math.log1p(-x))
    return REL_TOL + 4.0 * EPS * big


def grid():
    triples = []
    shapes = [0.05, 0.3, 0.5, 1.0, 1.7, 2.5, 4.0, 7.5, 12.0, 30.0, 55.5, 100.0, 140.0,
              250.0, 800.0, 3000.0]
    xs = [1e-300, 1e-30, 1e-6, 0.001, 0.01, 0.05, 0.1, 0.2, 0.3, 0.45, 0.5, 0.6, 0.75,
          0.9, 0.95, 0.96, 0.99, 0.999, 1.0 - 1e-9]
    for a in shapes:
        for b in shapes:
            for x in xs:
                triples.append((a, b, x))
    # Large exponents with small a+b: the logarithmic path without lgamma's
    # large-argument regime.
    for a, b, x in [(80.0, 2.0, 1e-5), (150.0, 3.0, 1e-3), (2.0, 100.0, 1 - 1e-9),
                    (0.5, 120.0, 0.99999999), (160.0, 0.5, 1e-4), (300.0, 0.001, 1e-3)]:
        triples.append((a, b, x))
    # F-test shaped arguments as the statistics use them.
    rng = np.random.default_rng(7)
    for _ in range(200):
        df1 = float(rng.integers(1, 20))
        df2 = float(rng.integers(2, 400))
        f = float(rng.uniform(0.01, 30.0))
        triples.append((0.5 * df2, 0.5 * df1, df2 / (df1 * f + df2)))
    return triples


def run_tool(triples):
    text = "".join("%.17g %.17g %.17g\n" % t for t in triples)
    out = subprocess.run([TOOL], input=text, capture_output=True, text=True, check=True)
    return [float(v) for v in out.stdout.split()]


def check_values():
    triples = grid()
    ours = run_tool(triples)
    assert len(ours) == len(triples)
    seen = {}
    worst = {}
    failures = []
    for (a, b, x), got in zip(triples, ours):
        want = float(betainc(a, b, x))
        path = path_of(a, b, x)
        seen[path] = seen.get(path, 0) + 1
        if path.endswith("-underflow"):
            # Below the smallest denormal the value is exactly 0, or after
            # the flip the largest double below 1.
            expected = 1.0 - MACHEP if path.startswith("flip-") else 0.0
            if got != expected:
                failures.append((a, b, x, got, expected, abs(got - expected), path))
            continue
        if abs(want) < TINY and abs(got) < TINY:
            continue
        rel = abs(got - want) / abs(want) if want != 0 else abs(got)
        worst[path] = max(worst.get(path, 0.0), rel)
        if not rel <= tolerance(a, b, x, path):
            failures.append((a, b, x, got, want, rel, path))
    for f in failures[:20]:
        print("ibeta(%g, %g, %.17g) = %.17g, betainc %.17g, rel %.3g [%s]" % f)
    for path in sorted(seen):
        print("%-22s %5d values, largest relative difference %.3g"
              % (path, seen[path], worst.get(path, 0.0)))
    needed = {"series", "series-log", "flip-series", "flip-series-log", "cf", "bd", "flip-cf", "flip-bd",
              "cf-log", "bd-log", "flip-cf-log", "flip-bd-log", "series-underflow",
              "cf-underflow", "flip-cf-underflow"}
    missing = needed - set(seen)
    assert not missing, "grid misses paths: %s" % sorted(missing)
    assert not failures, "%d of %d values disagree" % (len(failures), len(triples))


def check_identity():
    xs = [0.0, 1e-12, 0.1, 0.25, 0.5, 0.7, 0.95, 0.999, 1.0]
    ours = run_tool([(1.0, 1.0, x) for x in xs])
    for x, got in zip(xs, ours):
        assert abs(got - x) <= 1e-15 * max(x, 1e-300), (x, got)


def check_domain_error():
    for a, b, text in [(0.0, 2.0, "ibeta: Domain error!, a = 0, b = 2\n"),
                       (3.5, -1.25, "ibeta: Domain error!, a = 3.5, b = -1.25\n")]:
        out = subprocess.run([TOOL], input=b"%r %r 0.5\n" % (a, b),
                             capture_output=True)
        assert out.returncode == 1, out.returncode
        assert out.stdout == text.encode(), out.stdout


if __name__ == "__main__":
    check_values()
    check_identity()
    check_domain_error()
    print("ok")
    sys.exit(0)

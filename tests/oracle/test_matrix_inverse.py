"""Square-matrix inversion against numpy.linalg.inv on random,
well-conditioned matrices of every order from 1 to 20, plus singular cases."""
import os
import subprocess
import sys

import numpy as np

TOOL = os.path.join(os.environ["ZOR_BINARY_DIR"], "tests", "invert_matrix")


def run(matrices):
    text = []
    for a in matrices:
        text.append(str(a.shape[0]))
        text.extend(" ".join(repr(float(v)) for v in row) for row in a)
    out = subprocess.run([TOOL], input="\n".join(text) + "\n", capture_output=True,
                         text=True, check=True).stdout.split("\n")
    results = []
    pos = 0
    for a in matrices:
        n = a.shape[0]
        code, info = (int(v) for v in out[pos].split())
        inv = np.array([[float(v) for v in out[pos + 1 + i].split()] for i in range(n)])
        results.append((code, info, inv))
        pos += 1 + n
    return results


def main():
    rng = np.random.default_rng(20261122)
    matrices = []
    for n in range(1, 21):
        for _ in range(5):
            a = rng.uniform(-1.0, 1.0, (n, n))
            # Mixed scales and a strong diagonal keep the condition number low
            # while still forcing row exchanges.
            a += np.diag(rng.uniform(0.5, 2.0, n) * n * rng.choice([-1, 1], n))
            a = a[rng.permutation(n)]
            matrices.append(a)
    failures = 0
    worst = 0.0
    for a, (code, info, inv) in zip(matrices, run(matrices)):
        expected = np.linalg.inv(a)
        error = np.max(np.abs(inv - expected)) / np.max(np.abs(expected))
        worst = max(worst, error)
        if code != 0 or info != -1 or error > 1e-12:
            print(f"order {a.shape[0]}: code {code} info {info} relative error {error:.3g}")
            failures += 1

    singular = [
        (np.array([[0.0, 1.0], [0.0, 2.0]]), 0),
        (np.array([[1.0, 0.0], [2.0, 0.0]]), 1),
        (np.array([[1.0, 2.0, 3.0], [2.0, 4.0, 6.0], [1.0, 0.0, 1.0]]), 2),
        (np.zeros((5, 5)), 0),
    ]
    for (a, expected_info), (code, info, _) in zip(singular, run([s[0] for s in singular])):
        if code != 1 or info != expected_info:
            print(f"singular {a.tolist()}: code {code} info {info}, expected 1 {expected_info}")
            failures += 1

    print(f"{len(matrices)} random matrices, worst relative error {worst:.3g}")
    return 1 if failures else 0


if __name__ == "__main__":
    sys.exit(main())

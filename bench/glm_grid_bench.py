"""Times the fit of a gamma response to a drawn range by grid search, with
alpha free and the onset varied (first the time constant alone, then two
passes over onset, time constant and the nine alphas: about 2300 models
built and fitted), on a 600-point study in two runs, against the goal of
one second.

    /usr/bin/python3 bench/glm_grid_bench.py BUILD_DIR [ROUNDS]

The program reports the best of ROUNDS (default 3) searches in elapsed and
in processor seconds.
"""
import os
import subprocess
import sys


def main():
    build = sys.argv[1] if len(sys.argv) > 1 else 'build-bench'
    rounds = sys.argv[2] if len(sys.argv) > 2 else '3'
    out = subprocess.run([os.path.join(build, 'bench', 'zor_glm_grid_timing'), rounds], capture_output=True,
                         text=True, check=True).stdout
    lines = [l for l in out.splitlines() if l.startswith(('Onset range', 'Define', 'stimulus', 'engine'))]
    print('\n'.join(lines[-6:]))
    seconds = float([l for l in lines if l.startswith('engine seconds')][0].split()[-1])
    print('goal: under 1 s: %s' % ('met' if seconds < 1.0 else 'not met'))


if __name__ == '__main__':
    main()

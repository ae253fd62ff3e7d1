"""Every NIfTI-1 (and NIfTI-2) file shipped with nibabel's and dipy's test
data, loaded by the viewer's loader and compared with what the files hold."""
import glob
import gzip
import os
import shutil
import sys
import tempfile

import nibabel as nib

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
import volume_expectations as ve  # noqa: E402

SOURCES = [
    "/usr/lib/python3/dist-packages/nibabel/tests/data",
    "/usr/lib/python3/dist-packages/dipy/data/files",
]


def candidates():
    for d in SOURCES:
        for path in sorted(glob.glob(os.path.join(d, "*.nii")) + glob.glob(os.path.join(d, "*.nii.gz"))):
            yield path
        for path in sorted(glob.glob(os.path.join(d, "*.hdr"))):
            yield path


def main():
    failures, count, loaded, refused = [], 0, 0, 0
    for path in candidates():
        work = tempfile.mkdtemp(prefix="zor_oracle_")
        try:
            base = os.path.basename(path)
            if base.endswith(".gz"):
                base = base[:-3]
                with gzip.open(path) as src, open(os.path.join(work, base), "wb") as dst:
                    shutil.copyfileobj(src, dst)
            else:
                shutil.copy(path, os.path.join(work, base))
            header_path = os.path.join(work, base)
            if base.endswith(".hdr"):
                # A header without its data file: the header is read, the
                # load stops at the missing data.
                data_name = base[:-4] + ".img"
                e = ve.expect(header_path, base)
                rc, out, err = ve.run_tool(["dump", data_name], work)
                lines = out.replace("\r", "\n").split("\n")
                if "refused" in e:
                    ve.check(rc == 1 and all(l in lines for l in e["refused"]), "%s: %r" % (base, out))
                    what = "refused: " + e["refused"][-1]
                    refused += 1
                else:
                    ve.check(rc == 1 and "Error: cannot open file %s." % data_name in lines,
                             "%s: %r" % (base, out))
                    rc, out, err = ve.run_tool(["-H", data_name], work)
                    ve.check(rc == 0, "%s: header not read: %s" % (base, out))
                    got = dict((l.split(" ", 1) + [""])[:2] for l in out.splitlines())
                    ve.check(got["dim"].split() == [str(v) for v in e["dim"]], "%s: dim" % base)
                    ve.check(int(got["nt"]) == e["nt"], "%s: nt" % base)
                    m = ve.floats(got["ijk_to_xyz"].split()).reshape(4, 4)
                    ve.check((m == e["matrix"]).all() if e["method"] != 2 else
                             abs(m - e["matrix"]).max() < 1e-5, "%s: matrix" % base)
                    what = "header only, data file missing, method %d" % e["method"]
            else:
                img = nib.load(header_path)
                use = img if isinstance(img, nib.Nifti1Image) else None
                what = ve.check_file(header_path, base, work, use)
                if what.startswith("refused"):
                    refused += 1
                else:
                    loaded += 1
            print("ok   %s: %s" % (os.path.basename(path), what))
        except ve.Failure as f:
            failures.append(str(f))
            print("FAIL %s: %s" % (os.path.basename(path), f))
        finally:
            shutil.rmtree(work, ignore_errors=True)
        count += 1
    print("%d files, %d loaded, %d refused, %d failures" % (count, loaded, refused, len(failures)))
    if count < 15 or loaded < 10 or refused < 2:
        print("FAIL: the reference data set is smaller than expected")
        return 1
    return 1 if failures else 0


if __name__ == "__main__":
    sys.exit(main())

// zormaps: the maps of a whole study, for the viewer to open.
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "zor_exit.h"
#include "zor_maps.h"

namespace {

const char *help_text =
    "Usage: zormaps CONTROL_FILE [options]\n"
    "\n"
    "Fits the model of a control file (first line 'time-model ...': glm, rem,\n"
    "srtm or DV, or a fit type such as DTI-WLS or T2) at every voxel of its study,\n"
    "with the same engine code as zorview, and writes the maps that zorview opens\n"
    "with the same control file. File names are read from the working folder,\n"
    "as the viewer reads them, and the maps are written into it, where the viewer\n"
    "opens them: run zormaps in the folder you run zorview in (usually the\n"
    "control file's). Maps are NIfTI-1 files with the geometry (dimensions,\n"
    "voxel size, qform and sform) of the study's first data file; a control file\n"
    "with 'output-format zor' gets native maps (.bfloat beside a .hdr) instead.\n"
    "Every file is written beside its name and renamed over it only when whole.\n"
    "\n"
    "Maps, by model (one per condition C of the control file's 'conditions'):\n"
    "  glm   P-C.nii   -log10(p) of the test, negative for a negative contrast\n"
    "        T-C.nii   contrast-to-noise ratio (signed square root of F)\n"
    "        S-C.nii   effect size, then its standard error (2 volumes)\n"
    "        average.nii  the mean of every voxel over all runs\n"
    "  rem   sigma2.nii  3 volumes: mean within-file variance (error squared),\n"
    "                  between-file share of the total, and the between-file\n"
    "                  variance sigma2_RE by restricted maximum likelihood\n"
    "        P-C.nii, T-C.nii, S-C.nii  the tests with that variance\n"
    "  srtm  P-C.nii, T-C.nii, S-C.nii  as for glm\n"
    "        BP-C.nii  binding potential, for conditions on k2a events\n"
    "  fit   one map per output parameter (e.g. S0.nii, MD.nii, FA.nii, T2.nii)\n"
    "        chi2_dof.nii  mean square of the data less the fit\n"
    "Voxels left out by a mask hold 0 in every map.\n"
    "\n"
    "Options:\n"
    "  --mask FILE     fit only the voxels of FILE: a volume (.nii, .nii.gz,\n"
    "                  .img, .bfloat, ...) of the study's dimensions, whose\n"
    "                  non-zero voxels are fitted, or a region list of\n"
    "                  'x y z [weight]' lines (a .ovl file)\n"
    "  --threads N     fit on N threads (default: every processor); every\n"
    "                  voxel's values are the same whatever N is\n"
    "  --progress      show the progress line even when the output is no terminal\n"
    "  --quiet         never show it (by default it shows on a terminal only)\n"
    "  -h, --help      this text\n"
    "\n"
    "Input volumes may be gzip-compressed (.nii.gz). The exit status is 0, or 1\n"
    "after a message.\n";

void usage_error(const char *message, const char *argument) {
  printf("Error: %s%s\n", message, argument ? argument : "");
  puts("Usage: zormaps CONTROL_FILE [--mask FILE] [--threads N] [--progress | --quiet]  (zormaps --help)");
  zor_exit(1);
}

}  // namespace

int main(int argc, char **argv) {
  maps_options options;
  for (int i = 1; i < argc; i++) {
    const char *a = argv[i];
    if (!strcmp(a, "-h") || !strcmp(a, "--help")) {
      fputs(help_text, stdout);
      zor_exit(0);
    } else if (!strcmp(a, "--mask")) {
      if (i + 1 >= argc) usage_error("--mask needs a file name", nullptr);
      options.mask = argv[++i];
    } else if (!strcmp(a, "--threads")) {
      char *end = nullptr;
      const long n = i + 1 < argc ? strtol(argv[i + 1], &end, 10) : 0;
      if (i + 1 >= argc || !end || *end || n < 1 || n > 1024) usage_error("--threads needs a number from 1 to 1024", nullptr);
      options.nthreads = (int)n;
      i++;
    } else if (!strcmp(a, "--progress")) {
      options.progress = 1;
    } else if (!strcmp(a, "--quiet")) {
      options.progress = 0;
    } else if (a[0] == '-' && a[1] != '\0') {
      usage_error("unknown option ", a);
    } else if (options.control.empty()) {
      options.control = a;
    } else {
      usage_error("more than one control file: ", a);
    }
  }
  if (options.control.empty()) usage_error("no control file given", nullptr);
  zor_exit(maps_run(&options));
}

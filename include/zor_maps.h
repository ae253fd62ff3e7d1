// Maps of a whole study, computed in one batch with the engines the viewer
// fits single curves with, and written as NIfTI-1 volumes under the names
// the viewer's model views open: the program zormaps.
#ifndef ZOR_MAPS_H
#define ZOR_MAPS_H

#include <string>
#include <vector>

#include "zor_header.h"
#include "zor_stack.h"
#include "zor_types.h"

// ---- Writing NIfTI-1 volumes -------------------------------------------

// The geometry written maps take from the study's first data file:
// dimensions, voxel sizes, units, and the qform and sform as they stand.
struct nifti_geometry {
  IPOINT3D dim;
  float pixdim[8];
  int xyzt_units;
  int qform_code, sform_code;
  float quatern_b, quatern_c, quatern_d;
  float qoffset_x, qoffset_y, qoffset_z;
  float srow_x[4], srow_y[4], srow_z[4];
};

// From a NIfTI-1 file (".nii", ".nii.gz", ".img" with its ".hdr") its own
// fields; from any other volume the voxel sizes and its voxel-to-space
// matrix, as both forms. Returns 0, or 1 after a message.
int nifti_geometry_from_file(const char *file_name, nifti_geometry *geometry);

// Writes `nt` float volumes (volume after volume, x fastest) as one
// NIfTI-1 file, replaced whole or left as it was. A positive `lDOF` is
// stored as the degrees-of-freedom extension (code 20) that the volume
// readers take it from. Returns 0, or 1 after a message.
int write_nifti_volumes(const char *file_name, const nifti_geometry *geometry, int nt, const float *volumes,
                        int lDOF);

// The same in the native format, for control files that ask for it
// ("output-format zor"): FILE.bfloat and its keyword header FILE.hdr, with
// the voxel sizes, origin and axis directions of `geometry` (the format
// has no rotation). Returns 0, or 1 after a message.
int write_native_volumes(const char *file_name, const XD_HEADER *geometry, int nt, const float *volumes, int lDOF);

// ---- Between-file variance of the group model ----------------------------

// The group model's design reduced to columns that add to the span of the
// ones before them (an event with no files adds nothing), in double.
struct reml_design {
  int ntime = 0, ncoeff = 0;
  std::vector<double> X;  // [t * ncoeff + c]
};
void reml_design_from_rem(reml_design *design);

// Restricted (residual) log-likelihood, without its constant, of the model
// y = X b + e, e ~ N(0, diag(se^2) + sigma2_RE I), at `sigma2_RE`.
double reml_log_likelihood(const reml_design *design, const float *signal, const float *sigfe, double sigma2_RE);

// The sigma2_RE >= 0 that maximises reml_log_likelihood: Fisher scoring
// from a moment estimate, each step halved until the likelihood rises, and
// held at 0 when the likelihood falls from there. Files without an error
// (all se 0) give the residual variance of the ordinary fit. `iterations`
// (when not null) receives the number of steps taken.
double reml_between_variance(const reml_design *design, const float *signal, const float *sigfe, int *iterations);

// ---- The batch ---------------------------------------------------------

// One output file: its name without extension, and nt volumes of n3d
// values each.
struct map_output {
  std::string name;
  int nt = 1;
  int lDOF = 0;
  std::vector<float> values;
};

struct maps_options {
  std::string control;    // the model control file
  std::string mask;       // volume or region list limiting the fit; empty for all voxels
  int nthreads = 0;       // 0: every processor
  int progress = -1;      // -1: when standard output is a terminal
};

// A study in memory: its volumes as the viewer loads them, the voxels to
// fit, and the geometry its maps take.
struct maps_study {
  data_stack stack{};
  IPOINT3D dim{};
  int n3d = 0, ntime = 0;
  std::vector<int> file_nt;  // volumes of each file, in order
  std::vector<int> voxels;   // the voxels to fit, in increasing order
  nifti_geometry geometry{};
  XD_HEADER first_header{};  // the first file's header, for native maps
  int nthreads = 1;          // threads that copy series
};

// Loads the listed files into one stack as the viewer loads its images and
// takes the geometry of the first. Returns 0, or 1 after a message.
int maps_load_study(const std::vector<std::string> &files, int ntime_expected, const char *what,
                    maps_study *study);
// The voxels to fit: all, or those of a mask (a volume whose first volume
// is non-zero there, or a list of "x y z [weight]" lines with a weight
// above 0). Returns 0, or 1 after a message.
int maps_apply_mask(const std::string &mask, maps_study *study);
void maps_release_study(maps_study *study);
// The series of the fitted voxels voxels[first] .. voxels[first + count - 1],
// voxel after voxel, each over all time points.
void maps_copy_series(const maps_study *study, int first, int count, float *series);
// Stores one value per fitted voxel (first .. first + count - 1) into
// volume `volume` of a map.
void maps_store(const maps_study *study, map_output *map, int volume, int first, int count, const float *values,
                int stride);
// Adds a map of nt volumes, all 0; returns its index in `outputs`.
int maps_add_output(std::vector<map_output> *outputs, const maps_study *study, const std::string &name,
                            int nt, int lDOF);

// The progress line: a percentage that rewrites itself, on a terminal only.
void maps_progress(const char *what, long long done, long long total);
void maps_progress_reset(void);
// 1 always, 0 never, -1 when standard output is a terminal.
void maps_set_progress(int on);

// Per model: fits every voxel and fills `outputs` with the maps its view
// opens. Each returns 0, or 1 after a message.
int maps_glm(const maps_options *options, std::vector<map_output> *outputs, maps_study *study);
int maps_rem(const maps_options *options, std::vector<map_output> *outputs, maps_study *study);
int maps_srtm(const maps_options *options, std::vector<map_output> *outputs, maps_study *study);
int maps_fit(const maps_options *options, std::vector<map_output> *outputs, maps_study *study);

// The whole batch: reads the control file, fits, writes every map into the
// working folder. Returns the exit status: 0, or 1 after a message.
int maps_run(const maps_options *options);
// The threads a run uses.
int maps_thread_count(const maps_options *options);
// Forgets the per-run state of the batch (progress line), for tests.
void maps_reset(void);

#endif

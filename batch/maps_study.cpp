// The study a batch fits: its files loaded as the viewer loads them, the
// voxels a mask leaves, voxel series in blocks, the maps' storage and the
// progress line.
#include <unistd.h>

#include <cmath>
#include <cstdlib>
#include <cstdio>
#include <cstring>
#include <thread>

#include "zor_exit.h"
#include "zor_maps.h"
#include "zor_srtm.h"
#include "zor_stack.h"
#include "zor_volume_source.h"

namespace {

int last_percent = -1;
int progress_on = -1;

bool same_dim(IPOINT3D a, IPOINT3D b) { return a.x == b.x && a.y == b.y && a.z == b.z; }

// Names whose extension is a volume format; anything else is a region list.
bool names_a_volume(const std::string &name) {
  if (is_gzip_nifti_name(name.c_str())) return true;
  char copy[ZOR_LINE];
  snprintf(copy, sizeof copy, "%s", name.c_str());
  if (!strrchr(copy, '.')) return false;
  int file_type = -1;
  if (get_extension(copy, &file_type, 0)) return false;
  return file_type >= 0;
}

// A list of files as the loader takes them, kept in a vector so that it
// frees itself: node i links to node i + 1.
struct FileChain {
  std::vector<file_list> nodes;
  explicit FileChain(const std::vector<std::string> &names) : nodes(names.size()) {
    for (size_t i = 0; i < names.size(); i++) {
      memset(&nodes[i], 0, sizeof nodes[i]);
      snprintf(nodes[i].file_name, sizeof nodes[i].file_name, "%s", names[i].c_str());
      nodes[i].next = i + 1 < names.size() ? &nodes[i + 1] : nullptr;
    }
  }
};

bool name_fits(const std::string &name) {
  if (name.size() < sizeof(((file_list *)nullptr)->file_name)) return true;
  printf("Error: the file name %s is too long.\n", name.c_str());
  return false;
}


// While a load runs with its output held back: where standard output went,
// the file that holds it meanwhile, and the exit hook that was in place.
struct HeldOutput {
  int saved_fd = -1;
  FILE *held = nullptr;
  zor_exit_hook previous = nullptr;
};
HeldOutput held_output;

// The loader's progress pieces ("\rNAME: NN %", with the line end of the
// last one) taken out of what it printed; everything else stays.
std::string without_progress(const std::string &text) {
  std::string out;
  size_t i = 0;
  while (i < text.size()) {
    if (text[i] == '\r') {
      size_t j = text.find_first_of("\r\n", i + 1);
      if (j == std::string::npos) j = text.size();
      const std::string piece = text.substr(i + 1, j - i - 1);
      if (piece.size() >= 2 && piece.compare(piece.size() - 2, 2, " %") == 0) {
        i = j < text.size() && text[j] == '\n' ? j + 1 : j;
        continue;
      }
    }
    out += text[i++];
  }
  return out;
}

// Puts standard output back and prints what was held, less the progress.
void release_output() {
  if (!held_output.held) return;
  fflush(stdout);
  dup2(held_output.saved_fd, STDOUT_FILENO);
  close(held_output.saved_fd);
  std::string text;
  rewind(held_output.held);
  char buffer[4096];
  size_t n;
  while ((n = fread(buffer, 1, sizeof buffer, held_output.held)) > 0) text.append(buffer, n);
  fclose(held_output.held);
  held_output.held = nullptr;
  zor_set_exit_hook(held_output.previous);
  fputs(without_progress(text).c_str(), stdout);
  fflush(stdout);
}

// A load that ends the run still shows its messages.
[[noreturn]] void release_and_exit(int status) {
  zor_exit_hook previous = held_output.previous;
  release_output();
  if (previous) previous(status);
  exit(status);
}

// Runs `load` with the loader's progress lines left out of the output
// when the batch shows no progress of its own (not on a terminal).
template <typename F>
int load_quietly(F load) {
  if (progress_on < 0) progress_on = isatty(STDOUT_FILENO) ? 1 : 0;
  if (progress_on) return load();
  fflush(stdout);
  FILE *held = tmpfile();
  const int saved = held ? dup(STDOUT_FILENO) : -1;
  if (!held || saved < 0 || dup2(fileno(held), STDOUT_FILENO) < 0) {
    if (held) fclose(held);
    if (saved >= 0) close(saved);
    return load();
  }
  held_output.saved_fd = saved;
  held_output.held = held;
  held_output.previous = zor_set_exit_hook(release_and_exit);
  const int result = load();
  release_output();
  return result;
}

}  // namespace

void maps_set_progress(int on) { progress_on = on; }

void maps_progress(const char *what, long long done, long long total) {
  if (progress_on < 0) progress_on = isatty(STDOUT_FILENO) ? 1 : 0;
  if (!progress_on || total <= 0) return;
  int percent = (int)(100.0 * (double)done / (double)total);
  if (percent > 100) percent = 100;
  if (percent == last_percent) return;
  last_percent = percent;
  printf("\r%s: %3d %%", what, percent);
  if (done >= total) {
    printf("\n");
    last_percent = -1;
  }
  fflush(stdout);
}

void maps_progress_reset(void) {
  last_percent = -1;
  progress_on = -1;
}

int maps_load_study(const std::vector<std::string> &files, int ntime_expected, const char *what,
                    maps_study *study) {
  if (files.empty()) {
    printf("Error: the model lists no %s.\n", what);
    return 1;
  }
  for (const std::string &f : files)
    if (!name_fits(f)) return 1;
  FileChain list(files);
  read_SpaceTime_data_reset();
  memset(&study->stack, 0, sizeof study->stack);
  int nfiles = 0;
  if (load_quietly([&] { return read_SpaceTime_data(0, 1, &study->stack, list.nodes.data(), &nfiles); })) return 1;
  study->file_nt.clear();
  for (const file_list &node : list.nodes) study->file_nt.push_back(node.nt);
  if (study->stack.data_type != DATA_MAGNITUDE) {
    printf("Error: the %s hold complex or vector values; maps are fitted to real values.\n", what);
    return 1;
  }
  if (ntime_expected >= 0 && study->stack.nt != ntime_expected) {
    printf("Error: the %s hold %d time points, the model %d.\n", what, study->stack.nt, ntime_expected);
    return 1;
  }
  study->dim = study->stack.dim;
  study->n3d = study->stack.n3d;
  study->ntime = study->stack.nt;
  study->voxels.resize(study->n3d);
  for (int v = 0; v < study->n3d; v++) study->voxels[v] = v;
  if (read_volume_header(0, files[0].c_str(), &study->first_header)) return 1;
  return nifti_geometry_from_file(files[0].c_str(), &study->geometry);
}

int maps_apply_mask(const std::string &mask, maps_study *study) {
  if (mask.empty()) return 0;
  std::vector<float> weight(study->n3d, 0.0f);
  if (names_a_volume(mask)) {
    XD_HEADER header;
    if (read_volume_header(0, mask.c_str(), &header)) return 1;
    if (!same_dim(header.dim, study->dim)) {
      printf("Error: the mask %s has %d x %d x %d voxels, the study %d x %d x %d.\n", mask.c_str(), header.dim.x,
             header.dim.y, header.dim.z, study->dim.x, study->dim.y, study->dim.z);
      return 1;
    }
    if (!name_fits(mask)) return 1;
    FileChain list({mask});
    data_stack stack;
    memset(&stack, 0, sizeof stack);
    int nfiles = 0;
    // The mask is loaded on its own: its dimensions were compared above.
    if (load_quietly([&] { return read_SpaceTime_data(0, 0, &stack, list.nodes.data(), &nfiles); })) return 1;
    for (int v = 0; v < study->n3d; v++) weight[v] = stack_data_4d(&stack, 0, v, 0);
    free_stack_data(stack.nt, &stack);
  } else {
    std::vector<char> name(mask.begin(), mask.end());
    name.push_back('\0');
    if (read_overlay_mask(name.data(), study->dim, weight.data())) return 1;
  }
  study->voxels.clear();
  for (int v = 0; v < study->n3d; v++)
    if (weight[v] != 0.0f && weight[v] == weight[v]) study->voxels.push_back(v);
  printf("Mask %s: %zu of %d voxels.\n", mask.c_str(), study->voxels.size(), study->n3d);
  return 0;
}

void maps_release_study(maps_study *study) {
  if (study->stack.Volume || study->stack.fcVolume || study->stack.v3Volume)
    free_stack_data(study->stack.nt, &study->stack);
  memset(&study->stack, 0, sizeof study->stack);
}

namespace {

void copy_tiles(const maps_study *study, int first, int begin, int end, float *series) {
  const int count = end;
  const int nt = study->ntime;
  float **volume = study->stack.Volume;
  const int *voxels = study->voxels.data() + first;
  // In tiles of 32 voxels: each volume is read 32 values at a time and the
  // tile's 32 series stay in cache while they are filled.
  const int tile = 32;
  for (int i0 = begin; i0 < count; i0 += tile) {
    const int n = count - i0 < tile ? count - i0 : tile;
    const bool contiguous = voxels[i0 + n - 1] - voxels[i0] == n - 1;
    float *out = series + (size_t)i0 * nt;
    for (int t = 0; t < nt; t++) {
      const float *in = volume[t];
      if (contiguous) {
        const float *row = in + voxels[i0];
        for (int i = 0; i < n; i++) out[(size_t)i * nt + t] = row[i];
      } else {
        for (int i = 0; i < n; i++) out[(size_t)i * nt + t] = in[voxels[i0 + i]];
      }
    }
  }
}

}  // namespace

void maps_copy_series(const maps_study *study, int first, int count, float *series) {
  // Two halves side by side, each a whole number of tiles.
  const int half = count / 64 * 32;
  if (half == 0 || study->nthreads < 2) {
    copy_tiles(study, first, 0, count, series);
    return;
  }
  std::thread other(copy_tiles, study, first, half, count, series);
  copy_tiles(study, first, 0, half, series);
  other.join();
}

int maps_add_output(std::vector<map_output> *outputs, const maps_study *study, const std::string &name, int nt,
                    int lDOF) {
  map_output m;
  m.name = name;
  m.nt = nt;
  m.lDOF = lDOF;
  m.values.assign((size_t)study->n3d * nt, 0.0f);
  outputs->push_back(std::move(m));
  return (int)outputs->size() - 1;
}

void maps_store(const maps_study *study, map_output *map, int volume, int first, int count, const float *values,
                int stride) {
  float *out = map->values.data() + (size_t)volume * study->n3d;
  for (int i = 0; i < count; i++) out[study->voxels[first + i]] = values[(size_t)i * stride];
}

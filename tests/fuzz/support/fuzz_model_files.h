// A small run in the native format for the model readers: "run.hdr" and
// "run.bfloat", 2 x 2 x 1 voxels and 10 time points.
#ifndef ZOR_FUZZ_MODEL_FILES_H
#define ZOR_FUZZ_MODEL_FILES_H

#include <vector>

#include "fuzz_support.h"

inline void fuzz_write_run() {
  fuzz_write("run.hdr", "x 2\ny 2\nz 1\nt 10\nstorage-type float\n");
  std::vector<float> v(40);
  for (size_t i = 0; i < v.size(); i++) v[i] = static_cast<float>(100 + i % 9);
  fuzz_write("run.bfloat", v.data(), v.size() * sizeof(float));
}

// A name a reader may keep and write into.
struct FuzzName {
  char text[1024];
  explicit FuzzName(const char *name) { snprintf(text, sizeof text, "%s", name); }
};

#endif

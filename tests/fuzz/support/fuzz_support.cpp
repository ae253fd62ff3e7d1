#include "fuzz_support.h"

#include <sys/mman.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>

#include "zor.h"
#include "zor_x11.h"
#include "zorview_main.h"

namespace {

struct FuzzExit {
  int status;
};

[[noreturn]] void throwing_exit(int status) { throw FuzzExit{status}; }

std::string &private_dir() {
  static std::string dir;
  return dir;
}

void remove_private_dir() {
  std::error_code ec;
  if (!private_dir().empty()) std::filesystem::remove_all(private_dir(), ec);
}

// One memory file for standard output, emptied before each call.
int capture_fd() {
  static int fd = memfd_create("zorfuzz-output", 0);
  return fd;
}

void put16(std::vector<char> &h, size_t at, int16_t v) { memcpy(h.data() + at, &v, 2); }
void put32(std::vector<char> &h, size_t at, int32_t v) { memcpy(h.data() + at, &v, 4); }
void putf(std::vector<char> &h, size_t at, float v) { memcpy(h.data() + at, &v, 4); }

}  // namespace

void fuzz_fresh_dir() {
  std::string &dir = private_dir();
  if (dir.empty()) {
    std::string pattern = (std::filesystem::temp_directory_path() / "zorfuzz.XXXXXX").string();
    std::vector<char> buf(pattern.begin(), pattern.end());
    buf.push_back('\0');
    if (!mkdtemp(buf.data())) abort();
    dir = buf.data();
    atexit(remove_private_dir);
  }
  std::error_code ec;
  for (const auto &entry : std::filesystem::directory_iterator(dir, ec))
    std::filesystem::remove_all(entry.path(), ec);
  // A reader may have left another working folder behind.
  if (std::filesystem::current_path(ec) != dir && chdir(dir.c_str()) != 0) abort();
}

void fuzz_write(const std::string &name, const void *data, size_t size) {
  std::ofstream f(name, std::ios::binary);
  f.write(static_cast<const char *>(data), static_cast<std::streamsize>(size));
}

void fuzz_write(const std::string &name, const std::string &content) {
  fuzz_write(name, content.data(), content.size());
}

void fuzz_write_volume(const std::string &name, int nt) {
  std::vector<char> h(352, 0);
  put32(h, 0, 348);
  const int16_t dim[8] = {4, 4, 3, 2, static_cast<int16_t>(nt), 1, 1, 1};
  for (int i = 0; i < 8; i++) put16(h, 40 + 2 * i, dim[i]);
  put16(h, 70, 16);  // float
  put16(h, 72, 32);
  const float pixdim[8] = {1, 2, 2, 3, 2, 1, 1, 1};
  for (int i = 0; i < 8; i++) putf(h, 76 + 4 * i, pixdim[i]);
  putf(h, 108, 352);
  put16(h, 252, 0);
  put16(h, 254, 0);
  memcpy(h.data() + 344, "n+1", 4);
  for (int i = 0; i < 24 * nt; i++) {
    float v = static_cast<float>(i % 7) + 0.5f * static_cast<float>(i / 24);
    const char *p = reinterpret_cast<const char *>(&v);
    h.insert(h.end(), p, p + 4);
  }
  fuzz_write(name, h.data(), h.size());
}

std::vector<std::string> fuzz_parts(const uint8_t *data, size_t size, size_t n) {
  std::string all(reinterpret_cast<const char *>(data), size);
  std::vector<std::string> parts;
  size_t start = 0;
  while (parts.size() + 1 < n) {
    size_t at = all.find("\n@@\n", start);
    if (at == std::string::npos) break;
    parts.push_back(all.substr(start, at + 1 - start));
    start = at + 4;
  }
  parts.push_back(all.substr(std::min(start, all.size())));
  while (parts.size() < n) parts.emplace_back();
  return parts;
}

std::string fuzz_text(const uint8_t *data, size_t size) {
  std::string s(reinterpret_cast<const char *>(data), size);
  return s.substr(0, s.find('\0'));
}

void fuzz_reset(int which) {
  my_getopt_reset();
  if (which & FUZZ_RESET_PROGRAM) {
    zorview_startup_reset();
    overlay_map_reset();
    ovl_root_reset();
    wire_root_reset();
    DTI_tracts_reset();
    mosaic.stack = nullptr;
    atomic_file_reset();
    x_windows_reset();
    event_handlers_reset();
  }
  if (which & (FUZZ_RESET_GLM | FUZZ_RESET_SRTM)) {
    GLM_engine_reset();
    GLM_read_hrf_file_reset();
    GLM_define_basis_functions_reset();
    GLM_define_conditions_reset();
    GLM_FrequencyFilter_reset();
    GLMInternal_whiten_model_reset();
    PolyGLM_reset();
    GeneralGLM_reset();
  }
  if (which & FUZZ_RESET_REM) REM_engine_reset();
  if (which & FUZZ_RESET_SRTM) SRTM_engine_reset();
  if (which & FUZZ_RESET_FIT) {
    FIT_reset();
    Alignment_reset();
  }
}

void fuzz_shown_stack() {
  image_stack = data_stack{};
  image_stack.dim = IPOINT3D{4, 3, 2};
  image_stack.resolution = POINT3D{2.0f, 2.0f, 3.0f};
  image_stack.n2d = 12;
  image_stack.n3d = 24;
  image_stack.npts_volume = 24;
  image_stack.nt = 0;
  mosaic.stack = &image_stack;
  initialize_overlay_records();
}

FuzzRun fuzz_call(const std::function<int()> &body) {
  FuzzRun run{-99, -1, ""};
  const int fd = capture_fd();
  fflush(nullptr);
  if (ftruncate(fd, 0) != 0 || lseek(fd, 0, SEEK_SET) != 0) abort();
  // Standard error stays where it is: the sanitizers and libFuzzer report there.
  const int saved_out = dup(1);
  dup2(fd, 1);
  zor_exit_hook previous = zor_set_exit_hook(throwing_exit);
  try {
    run.result = body();
  } catch (const FuzzExit &e) {
    run.exit_status = e.status;
  }
  zor_set_exit_hook(previous);
  fflush(nullptr);
  dup2(saved_out, 1);
  close(saved_out);
  const off_t length = lseek(fd, 0, SEEK_END);
  run.output.resize(static_cast<size_t>(length));
  if (length > 0 && pread(fd, run.output.data(), static_cast<size_t>(length), 0) != length) abort();
  return run;
}

void fuzz_check(const std::function<void()> &prepare, const std::function<int()> &body,
                std::initializer_list<int> results, int resets) {
  FuzzRun runs[2];
  for (FuzzRun &run : runs) {
    fuzz_reset(resets);
    fuzz_fresh_dir();
    prepare();
    run = fuzz_call(body);
    if (run.exit_status == -1) {
      bool known = false;
      for (int r : results) known = known || r == run.result;
      if (!known) {
        fprintf(stderr, "fuzz: result %d is not one the reader documents\n%s", run.result,
                run.output.c_str());
        abort();
      }
    } else if (run.exit_status != 0 && run.exit_status != 1) {
      fprintf(stderr, "fuzz: exit status %d\n%s", run.exit_status, run.output.c_str());
      abort();
    }
  }
  if (runs[0].result != runs[1].result || runs[0].exit_status != runs[1].exit_status ||
      runs[0].output != runs[1].output) {
    fprintf(stderr, "fuzz: a second run after a reset differs\n--- first (%d, %d)\n%s--- second (%d, %d)\n%s",
            runs[0].result, runs[0].exit_status, runs[0].output.c_str(), runs[1].result,
            runs[1].exit_status, runs[1].output.c_str());
    abort();
  }
  fuzz_reset(resets);
}

int fuzz_program(const std::vector<std::string> &args) {
  unsetenv("DISPLAY");
  std::vector<std::string> words{"zorview"};
  words.insert(words.end(), args.begin(), args.end());
  std::vector<char *> argv;
  for (std::string &w : words) argv.push_back(w.data());
  argv.push_back(nullptr);
  return zorview_main(static_cast<int>(words.size()), argv.data());
}

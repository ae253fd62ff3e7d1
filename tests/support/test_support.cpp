#include "test_support.h"

#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <vector>

#include "zor_exit.h"

namespace {

[[noreturn]] void throwing_exit(int status) { throw ZorExit{status}; }

std::vector<std::string> &temp_dirs() {
  static std::vector<std::string> dirs;
  return dirs;
}

void remove_temp_dirs() {
  for (const auto &d : temp_dirs()) {
    std::error_code ec;
    std::filesystem::remove_all(d, ec);
  }
}

// Points a standard stream's file descriptor at a temporary file.
struct Redirect {
  int fd;
  int saved;
  FILE *file;
  explicit Redirect(int which) : fd(which) {
    fflush(nullptr);
    file = tmpfile();
    saved = dup(fd);
    dup2(fileno(file), fd);
  }
  std::string finish() {
    fflush(nullptr);
    dup2(saved, fd);
    close(saved);
    std::string text;
    rewind(file);
    char buf[4096];
    size_t n;
    while ((n = fread(buf, 1, sizeof buf, file)) > 0) text.append(buf, n);
    fclose(file);
    return text;
  }
};

}  // namespace

int run_catching_exit(const std::function<void()> &body) {
  zor_exit_hook previous = zor_set_exit_hook(throwing_exit);
  int status = -1;
  try {
    body();
  } catch (const ZorExit &e) {
    status = e.status;
  }
  zor_set_exit_hook(previous);
  return status;
}

Captured capture_output(const std::function<void()> &body) {
  Redirect out(1), err(2);
  int status = run_catching_exit(body);
  Captured c;
  c.err = err.finish();
  c.out = out.finish();
  c.exit_status = status;
  return c;
}

std::string make_temp_dir() {
  std::string pattern = (std::filesystem::temp_directory_path() / "zortest.XXXXXX").string();
  std::vector<char> buf(pattern.begin(), pattern.end());
  buf.push_back('\0');
  if (!mkdtemp(buf.data())) abort();
  if (temp_dirs().empty()) atexit(remove_temp_dirs);
  temp_dirs().push_back(buf.data());
  return buf.data();
}

std::string write_text_file(const std::string &dir, const std::string &name,
                            const std::string &content) {
  return write_binary_file(dir, name, content.data(), content.size());
}

std::string write_binary_file(const std::string &dir, const std::string &name, const void *data,
                              size_t size) {
  std::string path = dir + "/" + name;
  std::ofstream f(path, std::ios::binary);
  f.write(static_cast<const char *>(data), static_cast<std::streamsize>(size));
  return path;
}

Captured capture_until_windows(const std::function<void()> &body) {
  const char *display = getenv("DISPLAY");
  std::string saved = display ? display : "";
  unsetenv("DISPLAY");
  Captured c = capture_output(body);
  if (display) setenv("DISPLAY", saved.c_str(), 1);
  const std::string no_display =
      "Error trying to open the display.\n"
      "If you are using ssh to connect from another system, try 'ssh -X'\n";
  if (c.exit_status == 1 && c.out.size() >= no_display.size() &&
      c.out.compare(c.out.size() - no_display.size(), no_display.size(), no_display) == 0) {
    c.out.erase(c.out.size() - no_display.size());
    c.exit_status = -1;
  }
  return c;
}

ChildRun run_in_child(const std::function<int()> &body, int seconds, size_t memory_limit) {
  ChildRun run{false, -99, -1, ""};
  int fds[2];
  if (pipe(fds) != 0) return run;
  fflush(nullptr);
  const pid_t pid = fork();
  if (pid < 0) {
    close(fds[0]);
    close(fds[1]);
    return run;
  }
  if (pid == 0) {
    close(fds[0]);
    alarm(static_cast<unsigned>(seconds));
#if !defined(__SANITIZE_ADDRESS__)
    if (memory_limit > 0) {
      struct rlimit limit = {memory_limit, memory_limit};
      setrlimit(RLIMIT_AS, &limit);
    }
#endif
    int result = -99;
    Captured c = capture_output([&] { result = body(); });
    std::string message = std::to_string(result) + " " + std::to_string(c.exit_status) + "\n" + c.out;
    for (size_t done = 0; done < message.size();) {
      const ssize_t n = write(fds[1], message.data() + done, message.size() - done);
      if (n <= 0) break;
      done += static_cast<size_t>(n);
    }
    _exit(0);
  }
  close(fds[1]);
  std::string text;
  char buf[4096];
  ssize_t n;
  while ((n = read(fds[0], buf, sizeof buf)) > 0) text.append(buf, static_cast<size_t>(n));
  close(fds[0]);
  int status = 0;
  waitpid(pid, &status, 0);
  const size_t line_end = text.find('\n');
  if (!WIFEXITED(status) || WEXITSTATUS(status) != 0 || line_end == std::string::npos) return run;
  run.finished = true;
  sscanf(text.c_str(), "%d %d", &run.result, &run.exit_status);
  run.out = text.substr(line_end + 1);
  return run;
}

Decoded decode_keyword_line(int (*decoder)(char *line), const std::string &line) {
  std::string copy = line;
  Decoded d{};
  Captured c = capture_output([&] { d.result = decoder(copy.data()); });
  d.out = c.out;
  return d;
}

#include "xvfb_server.h"

#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <string>

namespace {

pid_t server_pid = 0;
std::string display_name;

void stop_server() {
  if (server_pid > 0) {
    kill(server_pid, SIGTERM);
    waitpid(server_pid, nullptr, 0);
    server_pid = 0;
  }
}

}  // namespace

std::string start_test_x_server() {
  if (!display_name.empty()) return display_name;
  int fds[2];
  if (pipe(fds) != 0) return "";
  pid_t pid = fork();
  if (pid < 0) return "";
  if (pid == 0) {
    close(fds[0]);
    std::string fd = std::to_string(fds[1]);
    execlp("Xvfb", "Xvfb", "-displayfd", fd.c_str(), "-screen", "0", "2560x1600x24",
           "-nolisten", "tcp", "-noreset", (char *)nullptr);
    _exit(127);
  }
  close(fds[1]);
  server_pid = pid;
  atexit(stop_server);
  // The server writes its display number once it accepts connections.
  std::string number;
  char c;
  while (read(fds[0], &c, 1) == 1 && c != '\n') number.push_back(c);
  close(fds[0]);
  if (number.empty()) return "";
  display_name = ":" + number;
  setenv("DISPLAY", display_name.c_str(), 1);
  return display_name;
}

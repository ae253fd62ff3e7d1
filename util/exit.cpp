#include "zor_exit.h"

#include <cstdio>
#include <cstdlib>

const char CNULL = '\0';

namespace {
zor_exit_hook g_exit_hook = nullptr;
}

zor_exit_hook zor_set_exit_hook(zor_exit_hook hook) {
  zor_exit_hook previous = g_exit_hook;
  g_exit_hook = hook;
  return previous;
}

void zor_exit(int status) {
  fflush(stdout);
  fflush(stderr);
  if (g_exit_hook) g_exit_hook(status);  // a test hook throws or jumps away
  exit(status);
}

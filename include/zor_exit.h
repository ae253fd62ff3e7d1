// The one way out of the program. Every fatal path and every normal end
// calls zor_exit; tests install a hook that turns the exit into something
// they can catch.
#ifndef ZOR_EXIT_H
#define ZOR_EXIT_H

typedef void (*zor_exit_hook)(int status);

// Flushes standard output and error, then ends the run with `status`
// (or hands it to the installed hook, which must not return).
[[noreturn]] void zor_exit(int status);

// Installs a hook (null restores the plain exit). Returns the previous one.
zor_exit_hook zor_set_exit_hook(zor_exit_hook hook);

#endif

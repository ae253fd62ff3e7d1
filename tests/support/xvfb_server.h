// A private X server for tests that need one: Xvfb at the fixed screen size
// of all viewer tests, started on first use and stopped at exit. DISPLAY is
// set to it.
#ifndef ZOR_XVFB_SERVER_H
#define ZOR_XVFB_SERVER_H

#include <string>

// Starts the server once per process (later calls return the same name).
// Returns the display name, e.g. ":7", or an empty string on failure.
std::string start_test_x_server();

#endif

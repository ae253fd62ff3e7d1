// Opening a file for reading only when it is a regular file. A pipe, a
// device or a directory given as an input could block the opening, feed
// data for ever or fail half way: the readers treat them as files that
// cannot be opened.
#ifndef ZOR_REGULAR_FILE_H
#define ZOR_REGULAR_FILE_H

#include <cstdio>

// Opens `name` with `mode` ("r" or "rb") without ever waiting on a pipe.
// Returns null when the file cannot be opened or is not a regular file.
FILE *fopen_regular(const char *name, const char *mode);

#endif

// What the engine drivers share: their command lines and the voxel series
// files the oracle scripts hand them.
#ifndef ZOR_DRIVER_SUPPORT_H
#define ZOR_DRIVER_SUPPORT_H

#include <functional>
#include <initializer_list>
#include <string>
#include <vector>

// A flag of a driver's command line, set to 1 when given.
struct DriverFlag {
  const char *name;
  int *flag;
};

// The first argument into *first, then options: each name of with_value
// followed by its value goes to take(name, value), each flag is set. Returns
// 1 when there is no first argument or an argument is none of these.
int parse_driver_arguments(int argc, char **argv, std::string *first, std::initializer_list<const char *> with_value,
                           const std::function<void(const std::string &, const char *)> &take,
                           std::initializer_list<DriverFlag> flags);

// Voxel series of ntime float32 points each, voxel after voxel: the values
// and their count, or 1 after a message when the file cannot be read or does
// not hold whole series.
int read_series_file(const std::string &name, int ntime, std::vector<float> &values, int *nvoxels);

#endif

#include "driver_support.h"

#include <cstdio>

int parse_driver_arguments(int argc, char **argv, std::string *first, std::initializer_list<const char *> with_value,
                           const std::function<void(const std::string &, const char *)> &take,
                           std::initializer_list<DriverFlag> flags) {
  if (argc < 2) return 1;
  *first = argv[1];
  for (int i = 2; i < argc; i++) {
    const std::string a = argv[i];
    bool known = false;
    for (const char *name : with_value)
      if (a == name && i + 1 < argc) {
        take(a, argv[++i]);
        known = true;
        break;
      }
    for (const DriverFlag &f : flags)
      if (!known && a == f.name) {
        *f.flag = 1;
        known = true;
      }
    if (!known) return 1;
  }
  return 0;
}

int read_series_file(const std::string &name, int ntime, std::vector<float> &values, int *nvoxels) {
  FILE *fp = fopen(name.c_str(), "rb");
  if (!fp) {
    printf("Error: cannot open the series file %s.\n", name.c_str());
    return 1;
  }
  fseek(fp, 0, SEEK_END);
  long bytes = ftell(fp);
  rewind(fp);
  if (ntime < 1 || bytes % ((long)sizeof(float) * ntime) != 0) {
    printf("Error: the series file %s does not hold whole series of %d points.\n", name.c_str(), ntime);
    fclose(fp);
    return 1;
  }
  *nvoxels = (int)(bytes / ((long)sizeof(float) * ntime));
  values.resize((size_t)*nvoxels * ntime);
  size_t n = fread(values.data(), sizeof(float), values.size(), fp);
  fclose(fp);
  return n == values.size() ? 0 : 1;
}

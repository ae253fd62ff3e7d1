// Loads volumes the way the viewer does and writes down what it got, for
// scripts that compare with other readers.
//
//   stack_dump [-v] [-a] [-D xy z] OUT file [-T type] [file ...]
//   stack_dump -H file
//
// OUT.txt receives "key value..." lines describing the stack and each file;
// OUT.bin receives every stored value of the stack as 32-bit floats, time
// point after time point (pairs for complex data, triples for vectors).
// -a loads into the activation stack, -T gives the map type of the file
// before it, -D downsamples the loaded stack, -H only reads one header and
// prints it. The exit status is 1 when loading fails.
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "zor.h"

namespace {

void print_matrix(FILE *fp, const char *key, const mat44 &m) {
  fprintf(fp, "%s", key);
  for (int i = 0; i < 4; i++)
    for (int j = 0; j < 4; j++) fprintf(fp, " %.9g", m.m[i][j]);
  fprintf(fp, "\n");
}

void print_header(FILE *fp, const XD_HEADER &h) {
  fprintf(fp, "dim %d %d %d\n", h.dim.x, h.dim.y, h.dim.z);
  fprintf(fp, "nt %d\n", h.nt);
  fprintf(fp, "resolution %.9g %.9g %.9g %.9g\n", h.resolution.x, h.resolution.y, h.resolution.z,
          h.resolution_t);
  fprintf(fp, "origin %.9g %.9g %.9g\n", h.origin.x, h.origin.y, h.origin.z);
  fprintf(fp, "direction %g %g %g\n", h.direction.x, h.direction.y, h.direction.z);
  print_matrix(fp, "ijk_to_xyz", h.ijk_to_xyz);
  fprintf(fp, "off_diagonal %d\n", h.off_diagonal);
  fprintf(fp, "file_type %d\nstorage_type %d\ndata_type %d\n", h.file_type, h.storage_type,
          h.data_type);
  fprintf(fp, "byte_order %d\nlDOF %d\n", h.byte_order, h.lDOF);
  fprintf(fp, "voxel_offset %.9g\nscale_slope %.9g\nscale_offset %.9g\nqfac %.9g\n",
          h.voxel_offset, h.scale_slope, h.scale_offset, h.qfac);
}

int write_stack(const std::string &out, const data_stack &s, const file_list *files) {
  FILE *fp = fopen((out + ".txt").c_str(), "w");
  if (!fp) return 1;
  fprintf(fp, "stack_dim %d %d %d\n", s.dim.x, s.dim.y, s.dim.z);
  fprintf(fp, "stack_nt %d\nstack_n3d %d\nstack_npts_volume %d\nstack_n4d %ld\n", s.nt, s.n3d,
          s.npts_volume, s.n4d);
  fprintf(fp, "stack_resolution %.9g %.9g %.9g %.9g\n", s.resolution.x, s.resolution.y,
          s.resolution.z, s.resolution_t);
  fprintf(fp, "stack_origin %.9g %.9g %.9g\n", s.origin.x, s.origin.y, s.origin.z);
  fprintf(fp, "stack_direction %g %g %g\n", s.direction.x, s.direction.y, s.direction.z);
  print_matrix(fp, "stack_ijk_to_xyz", s.ijk_to_xyz);
  print_matrix(fp, "stack_xyz_to_ijk", s.xyz_to_ijk);
  fprintf(fp, "stack_off_diagonal %d\nstack_data_type %d\n", s.off_diagonal, s.data_type);
  for (const file_list *f = files; f; f = f->next) {
    fprintf(fp, "file %s\n", f->file_name);
    fprintf(fp, "file_nt %d\nstart_image %d\nend_image %d\ntime_step %.9g\n", f->nt,
            f->start_image, f->end_image, f->time_step);
    print_header(fp, f->header);
  }
  fclose(fp);

  fp = fopen((out + ".bin").c_str(), "wb");
  if (!fp) return 1;
  for (int t = 0; t < s.nt; t++) {
    if (s.data_type == DATA_MAGNITUDE)
      fwrite(s.Volume[t], sizeof(float), s.n3d, fp);
    else if (s.data_type == DATA_VECTOR)
      fwrite(s.v3Volume[t], sizeof(POINT3D), s.n3d, fp);
    else
      fwrite(s.fcVolume[t], sizeof(FCOMPLEX), s.n3d, fp);
  }
  fclose(fp);
  return 0;
}

file_list *append_file(file_list *head, const char *name) {
  if (!head->file_name[0]) {
    snprintf(head->file_name, sizeof head->file_name, "%s", name);
    return head;
  }
  file_list *last = head;
  while (last->next) last = last->next;
  last->next = static_cast<file_list *>(calloc(1, sizeof(file_list)));
  snprintf(last->next->file_name, sizeof last->next->file_name, "%s", name);
  return last->next;
}

}  // namespace

int main(int argc, char **argv) {
  int verbose = 0, activation = 0, downsample = 0, new_xy = 0, new_z = 0;
  int i = 1;
  for (; i < argc && argv[i][0] == '-'; i++) {
    if (!strcmp(argv[i], "-v")) {
      verbose = 1;
    } else if (!strcmp(argv[i], "-a")) {
      activation = 1;
    } else if (!strcmp(argv[i], "-D") && i + 2 < argc) {
      downsample = 1;
      new_xy = atoi(argv[++i]);
      new_z = atoi(argv[++i]);
    } else if (!strcmp(argv[i], "-H") && i + 1 < argc) {
      XD_HEADER header;
      if (read_volume_header(verbose, argv[i + 1], &header)) zor_exit(1);
      print_header(stdout, header);
      zor_exit(0);
    } else {
      fprintf(stderr, "stack_dump: unknown option %s\n", argv[i]);
      return 2;
    }
  }
  if (i + 1 >= argc) {
    fprintf(stderr, "usage: stack_dump [-v] [-a] [-D xy z] OUT file [-T type] [file ...]\n");
    return 2;
  }
  const std::string out = argv[i++];
  data_stack *stack = activation ? &activation_stack : &image_stack;
  file_list *files = activation ? &activation_files : &image_files;
  file_list *last = nullptr;
  for (; i < argc; i++) {
    if (!strcmp(argv[i], "-T") && i + 1 < argc && last) {
      last->type = atoi(argv[++i]);
    } else {
      last = append_file(files, argv[i]);
    }
  }
  int nfiles = 0;
  if (read_SpaceTime_data(verbose, 1, stack, files, &nfiles)) zor_exit(1);
  snprintf(stack->name, sizeof stack->name, "%s", files->file_name);
  if (downsample && downsample_stack(stack, new_xy, new_z)) zor_exit(1);
  if (write_stack(out, *stack, files)) {
    fprintf(stderr, "stack_dump: cannot write %s\n", out.c_str());
    zor_exit(2);
  }
  zor_exit(0);
}

// Small NIfTI-1 files built byte by byte for tests, in either byte order.
#ifndef ZOR_NIFTI_TEST_FILES_H
#define ZOR_NIFTI_TEST_FILES_H

#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

struct NiftiFields {
  int16_t dim[8] = {3, 2, 2, 2, 1, 1, 1, 1};
  int16_t datatype = 16;
  float pixdim[8] = {1, 1, 1, 1, 0, 0, 0, 0};
  float vox_offset = 352;
  float scl_slope = 0, scl_inter = 0;
  int16_t qform_code = 0, sform_code = 0;
  float quatern[3] = {0, 0, 0};
  float qoffset[3] = {0, 0, 0};
  float srow[3][4] = {{0, 0, 0, 0}, {0, 0, 0, 0}, {0, 0, 0, 0}};
  bool other_byte_order = false;  // header fields written byte-reversed
  // Bytes after the 348-byte header: the extender and any extension.
  std::vector<unsigned char> after_header = {0, 0, 0, 0};
};

inline void put_bytes(std::vector<unsigned char> &out, size_t at, const void *value, size_t n,
                      bool reverse) {
  const unsigned char *b = static_cast<const unsigned char *>(value);
  for (size_t i = 0; i < n; i++) out[at + i] = reverse ? b[n - 1 - i] : b[i];
}

// The header, its tail, padding up to vox_offset, then `data` as given.
inline std::string nifti_file_bytes(const NiftiFields &s, const void *data, size_t data_bytes) {
  std::vector<unsigned char> h(348, 0);
  const bool r = s.other_byte_order;
  const int32_t size = 348;
  put_bytes(h, 0, &size, 4, r);
  for (int i = 0; i < 8; i++) put_bytes(h, 40 + 2 * i, &s.dim[i], 2, r);
  put_bytes(h, 70, &s.datatype, 2, r);
  const int16_t bitpix = 0;
  put_bytes(h, 72, &bitpix, 2, r);
  for (int i = 0; i < 8; i++) put_bytes(h, 76 + 4 * i, &s.pixdim[i], 4, r);
  put_bytes(h, 108, &s.vox_offset, 4, r);
  put_bytes(h, 112, &s.scl_slope, 4, r);
  put_bytes(h, 116, &s.scl_inter, 4, r);
  put_bytes(h, 252, &s.qform_code, 2, r);
  put_bytes(h, 254, &s.sform_code, 2, r);
  for (int i = 0; i < 3; i++) put_bytes(h, 256 + 4 * i, &s.quatern[i], 4, r);
  for (int i = 0; i < 3; i++) put_bytes(h, 268 + 4 * i, &s.qoffset[i], 4, r);
  for (int row = 0; row < 3; row++)
    for (int i = 0; i < 4; i++) put_bytes(h, 280 + 16 * row + 4 * i, &s.srow[row][i], 4, r);
  memcpy(&h[344], "n+1\0", 4);
  std::string bytes(h.begin(), h.end());
  bytes.append(s.after_header.begin(), s.after_header.end());
  // Offsets beyond a few megabytes are left pointing past the end.
  if (s.vox_offset > 0 && s.vox_offset < 1.0e6f && bytes.size() < s.vox_offset)
    bytes.resize(static_cast<size_t>(s.vox_offset), '\0');
  bytes.append(static_cast<const char *>(data), data_bytes);
  return bytes;
}

// An extension block: extender 1 0 0 0, then esize, ecode and content.
inline std::vector<unsigned char> nifti_extension(int32_t esize, int32_t ecode,
                                                  const std::vector<unsigned char> &content) {
  std::vector<unsigned char> out = {1, 0, 0, 0};
  out.resize(12);
  memcpy(&out[4], &esize, 4);
  memcpy(&out[8], &ecode, 4);
  out.insert(out.end(), content.begin(), content.end());
  return out;
}

#endif

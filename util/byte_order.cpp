// Byte order of this machine and in-place byte reversal of 16- and 32-bit
// values, for data files written on a machine of the other order.
#include <cstdint>
#include <cstring>

#include "zor_header.h"

int machine_byte_order(void) {
  const uint16_t probe = 1;
  unsigned char first;
  memcpy(&first, &probe, 1);
  return first == 1 ? 1 : 0;
}

void swap_16(void *pointer) {
  unsigned char *b = static_cast<unsigned char *>(pointer);
  const unsigned char t = b[0];
  b[0] = b[1];
  b[1] = t;
}

void swap_32(void *pointer) {
  unsigned char *b = static_cast<unsigned char *>(pointer);
  unsigned char t = b[0];
  b[0] = b[3];
  b[3] = t;
  t = b[1];
  b[1] = b[2];
  b[2] = t;
}

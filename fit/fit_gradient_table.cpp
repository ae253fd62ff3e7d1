// Gradient tables: one per data file, four numbers a record (direction x, y,
// z and b-value), read regardless of line breaks. Directions are normalised,
// reversed on the flagged axes and rotated by the registration's inverse.
#include <cfloat>
#include <cmath>
#include <cstdio>

#include "zor_align.h"
#include "zor_fit.h"

int FIT_read_DTI_description_file(int iFile, char *file_name) {
  if (iFile < 0 || iFile >= FIT.nfiles || iFile >= FIT_MAX_FILES || !FIT.xVector || FIT.dim_x < 4) {
    printf("Programming error: file %d has no place in the gradient table.\n", iFile);
    return 1;
  }
  FILE *fp = fopen(file_name, "r");
  if (!fp) {
    printf("Error: cannot open the file %s.\n", file_name);
    return 1;
  }
  // A table shorter than its data repeats its last values: a failed scan
  // leaves them as they were. A table without one whole record has no
  // values to repeat.
  float x = 0.0f, y = 0.0f, z = 0.0f, b = 0.0f;
  for (int record = 0; record < FIT.nt[iFile]; record++) {
    const int nread = fscanf(fp, "%g %g %g %g", &x, &y, &z, &b);
    if (record == 0 && nread != 4) {
      printf("Error: the gradient table %s does not hold one whole record.\n", file_name);
      fclose(fp);
      return 1;
    }
    const float squares = x * x + y * y + z * z;
    float magnitude = std::sqrt(squares);
    float direction[3];
    if (b != 0.0f && !(squares >= FLT_MIN && squares <= FLT_MAX) && (x != 0.0f || y != 0.0f || z != 0.0f) &&
        !std::isnan(squares)) {
      // Components so large or so small that their squares leave the float
      // range still give a direction: their length is taken in double.
      const double length = std::sqrt((double)x * x + (double)y * y + (double)z * z);
      direction[0] = (float)(x / length);
      direction[1] = (float)(y / length);
      direction[2] = (float)(z / length);
    } else {
      if (b == 0.0f) {
        magnitude = 1.0f;
      } else if (magnitude == 0.0f) {
        printf("Error: Zero direction vector with Non-zero bvalue on line %d of file %s\n", record, file_name);
        fclose(fp);
        return 1;
      }
      direction[0] = x / magnitude;
      direction[1] = y / magnitude;
      direction[2] = z / magnitude;
    }
    if (ReverseBDirection.x) direction[0] = -direction[0];
    if (ReverseBDirection.y) direction[1] = -direction[1];
    if (ReverseBDirection.z) direction[2] = -direction[2];
    const int j = FIT.file_start[iFile] + record;
    for (int i = 0; i < 3; i++) {
      float sum = 0.0f;
      for (int k = 0; k < 3; k++) sum += Alignment.AffineI[i][k] * direction[k];
      FIT.xVector[i][j] = sum;
    }
    FIT.xVector[3][j] = b;
  }
  fclose(fp);
  return 0;
}

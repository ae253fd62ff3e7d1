// Tract files: binary 32-bit words in the machine's byte order. Three
// dimensions, then per tract its length L and L flat voxel indices, x
// fastest. The file ends with the last tract.
//
// The count runs one tract past the end of the file: the failed read of the
// next length keeps the previous length, and that phantom tract is counted
// with it. The stored array is that much longer than the file and the words
// behind the file are zero, so a walk over the array meets empty tracts
// there.
#include <algorithm>
#include <climits>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <sys/stat.h>

#include "zor_alloc.h"
#include "zor_display_state.h"
#include "zor_overlay.h"
#include "zor_regular_file.h"

namespace {

// Words in the file, from its real size; a trailing partial word is not a
// word. -1 when the size cannot be known.
int64_t words_in_file(FILE *fp) {
  struct stat info;
  if (fstat(fileno(fp), &info) != 0) return -1;
  return static_cast<int64_t>(info.st_size) / static_cast<int64_t>(sizeof(int32_t));
}

// Indices must address a voxel of the tract volume, and of the shown stack
// as well, since the tract walk marks voxels of the shown image.
int64_t index_limit(const int32_t *dims) {
  // Indices are 32-bit words: past 2^31 the bound no longer matters, and
  // the product of junk dimensions must not overflow.
  const int64_t beyond_any_index = INT64_C(1) << 31;
  int64_t volume = 1;
  for (int i = 0; i < 3; i++)
    volume = dims[i] > 0 ? std::min<int64_t>(volume * dims[i], beyond_any_index) : 0;
  if (mosaic.stack) volume = std::min<int64_t>(volume, mosaic.stack->n3d);
  return volume;
}

}  // namespace

int read_DTI_tract_file(const char *file_name) {
  FILE *fp = fopen_regular(file_name, "rb");
  if (!fp) {
    printf("Error: cannot open the DTI tract file %s\n", file_name);
    return 1;
  }
  int32_t dims[3];
  if (fread(dims, sizeof(int32_t), 3, fp) != 3) {
    printf("Error on 1st read from file %s\n", file_name);
    fclose(fp);
    return 1;
  }
  printf("volume dimensions: %d x %d x %d\n", dims[0], dims[1], dims[2]);
  // The stored array holds every word of the file and at least one more:
  // a file whose words cannot all be counted in an int is refused before
  // anything else is read.
  const int64_t file_words = words_in_file(fp);
  if (file_words < 3 || file_words >= INT_MAX) {
    printf("Error: the DTI tract file %s is too large\n", file_name);
    fclose(fp);
    return 1;
  }
  int32_t *words = int_vector(static_cast<int>(file_words));
  memcpy(words, dims, sizeof dims);
  const size_t nwords = 3 + fread(words + 3, sizeof(int32_t), static_cast<size_t>(file_words - 3), fp);
  fclose(fp);

  const int64_t limit = index_limit(dims);
  size_t pos = 3;
  int64_t length_array = 3;
  int ntracts = 0;
  int32_t length = 0;  // stays from the tract before when the file has ended
  bool at_end = false;
  do {
    if (pos < nwords)
      length = words[pos++];
    else
      at_end = true;
    if (length >= DTI_MAX_TRACT_LENGTH) {
      printf("Error: increase the dimension for the tract length to > %d\n", length);
      free_int_vector(words);
      return 1;
    }
    if (length < 0) {
      printf("Error: tract %d in file %s has a negative length (%d)\n", ntracts, file_name,
             length);
      free_int_vector(words);
      return 1;
    }
    if (!at_end) {
      size_t present = std::min<size_t>(static_cast<size_t>(length), nwords - pos);
      for (size_t k = 0; k < present; k++) {
        int32_t index = words[pos + k];
        if (index < 0 || index >= limit) {
          printf("\nError: voxel index %d in tract %d is out of bounds\n", index, ntracts);
          free_int_vector(words);
          return 1;
        }
      }
      pos += present;
      if (present < static_cast<size_t>(length)) at_end = true;
    }
    ntracts++;
    length_array += 1 + static_cast<int64_t>(length);
    if (length_array > INT_MAX) {
      printf("Error: the DTI tract file %s is too large\n", file_name);
      free_int_vector(words);
      return 1;
    }
  } while (!at_end);

  printf("tracts = %d, words = %d\n", ntracts, static_cast<int>(length_array));

  int *array = int_vector(static_cast<int>(length_array));
  memset(array, 0, sizeof(int) * static_cast<size_t>(length_array));
  memcpy(array, words, sizeof(int32_t) * std::min<size_t>(nwords, length_array));
  free_int_vector(words);
  free_int_vector(DTI_tracts.array);
  DTI_tracts.dim = IPOINT3D{dims[0], dims[1], dims[2]};
  DTI_tracts.ntracts = ntracts;
  DTI_tracts.length_array = static_cast<int>(length_array);
  DTI_tracts.array = array;
  return 0;
}

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
#include <vector>

#include "zor_alloc.h"
#include "zor_display_state.h"
#include "zor_overlay.h"
#include "zor_regular_file.h"

namespace {

void read_remaining_words(FILE *fp, std::vector<int32_t> *words) {
  int32_t chunk[16384];
  size_t n;
  // A trailing partial word is not a word.
  while ((n = fread(chunk, sizeof(int32_t), 16384, fp)) > 0)
    words->insert(words->end(), chunk, chunk + n);
}

// Indices must address a voxel of the tract volume, and of the shown stack
// as well, since the tract walk marks voxels of the shown image.
int64_t index_limit(const int32_t *dims) {
  int64_t volume = 1;
  for (int i = 0; i < 3; i++) volume = dims[i] > 0 ? volume * dims[i] : 0;
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
  std::vector<int32_t> words(dims, dims + 3);
  read_remaining_words(fp, &words);
  fclose(fp);

  const int64_t limit = index_limit(dims);
  const size_t nwords = words.size();
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
      return 1;
    }
    if (length < 0) {
      printf("Error: tract %d in file %s has a negative length (%d)\n", ntracts, file_name,
             length);
      return 1;
    }
    if (!at_end) {
      size_t present = std::min<size_t>(static_cast<size_t>(length), nwords - pos);
      for (size_t k = 0; k < present; k++) {
        int32_t index = words[pos + k];
        if (index < 0 || index >= limit) {
          printf("\nError: voxel index %d in tract %d is out of bounds\n", index, ntracts);
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
      return 1;
    }
  } while (!at_end);

  printf("tracts = %d, words = %d\n", ntracts, static_cast<int>(length_array));

  int *array = int_vector(static_cast<int>(length_array));
  memset(array, 0, sizeof(int) * static_cast<size_t>(length_array));
  memcpy(array, words.data(), sizeof(int32_t) * std::min<size_t>(nwords, length_array));
  free_int_vector(DTI_tracts.array);
  DTI_tracts.dim = IPOINT3D{dims[0], dims[1], dims[2]};
  DTI_tracts.ntracts = ntracts;
  DTI_tracts.length_array = static_cast<int>(length_array);
  DTI_tracts.array = array;
  return 0;
}

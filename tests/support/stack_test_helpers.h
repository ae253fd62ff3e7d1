// Fresh stacks and file lists for loader tests, and the loader run with its
// output captured.
#ifndef ZOR_STACK_TEST_HELPERS_H
#define ZOR_STACK_TEST_HELPERS_H

#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "test_support.h"
#include "zor.h"

// A list of files; the first node is the caller's record, as in the program.
struct TestFileList {
  file_list head;
  std::vector<file_list *> extra;
  TestFileList() { memset(&head, 0, sizeof head); }
  ~TestFileList() {
    for (file_list *f : extra) free(f);
  }
  TestFileList(const TestFileList &) = delete;
  TestFileList &operator=(const TestFileList &) = delete;
  file_list *add(const std::string &name, int type = 0) {
    file_list *node = &head;
    if (head.file_name[0]) {
      node = static_cast<file_list *>(calloc(1, sizeof(file_list)));
      extra.push_back(node);
      file_list *last = &head;
      while (last->next) last = last->next;
      last->next = node;
    }
    snprintf(node->file_name, sizeof node->file_name, "%s", name.c_str());
    node->type = type;
    return node;
  }
};

inline void clear_stack(data_stack *stack) {
  memset(stack, 0, sizeof *stack);
}

struct LoadResult {
  int result = -1;
  int nfiles = -1;
  Captured printed;
};

inline LoadResult load_stack(data_stack *stack, file_list *files, int verbose = 0,
                             int common_dimensions = 1) {
  LoadResult r;
  r.printed = capture_output([&] {
    r.result = read_SpaceTime_data(verbose, common_dimensions, stack, files, &r.nfiles);
  });
  return r;
}

#endif

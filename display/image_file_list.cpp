// The lists of files that make up a stack. The head lives in static storage
// and counts as empty while its name is empty; further nodes are allocated.
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "zor_exit.h"
#include "zor_startup.h"

namespace {
file_list *allocate_node() { return static_cast<file_list *>(calloc(1, sizeof(file_list))); }
}  // namespace

file_list *(*file_list_node_allocator)(void) = allocate_node;

int file_list_is_empty(const file_list *list_head) { return list_head->file_name[0] == '\0'; }

int add_image_file(file_list *list_head, const char *file_name, int scale_log, int type) {
  // Names are kept in 1024-character records; a longer one cannot be kept
  // whole, and a cut name would open a different file.
  if (strlen(file_name) >= sizeof list_head->file_name) {
    printf("Error: the file name %s is too long.\n", file_name);
    zor_exit(1);
  }
  file_list *node = list_head;
  if (!file_list_is_empty(list_head)) {
    file_list *last = list_head;
    while (last->next) last = last->next;
    node = file_list_node_allocator();
    if (!node) {
      puts("Error: memory problem creating a new file structure in the list.");
      zor_exit(1);
    }
    memset(node, 0, sizeof *node);
    last->next = node;
  }
  snprintf(node->file_name, sizeof node->file_name, "%s", file_name);
  node->scale_log = scale_log;
  node->type = type;
  node->next = nullptr;
  return 0;
}

void clear_file_list(file_list *list_head) {
  file_list *node = list_head->next;
  while (node) {
    file_list *next = node->next;
    free(node);
    node = next;
  }
  memset(list_head, 0, sizeof *list_head);
}

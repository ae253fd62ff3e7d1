// List files name a collection of regions or wires, one entry a line:
// "name file [colour]". Each member file is read into a node appended
// behind the working record; a member that fails to read leaves a short or
// empty node and the list goes on.
#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "zor_alloc.h"
#include "zor_display_state.h"
#include "zor_exit.h"
#include "zor_overlay.h"
#include "zor_regular_file.h"
#include "zor_text.h"

namespace {

struct color_word {
  const char *word;
  int color;
};

// Regions know two colours more than wires do.
const color_word overlay_words[] = {
    {"cyan", COLOR_CYAN},     {"red", COLOR_RED},       {"green", COLOR_GREEN},
    {"blue", COLOR_BLUE},     {"white", COLOR_WHITE},   {"purple", COLOR_PURPLE},
    {"magenta", COLOR_MAGENTA}, {"sky", COLOR_SKY},     {"yellow", COLOR_YELLOW},
    {"orange", COLOR_ORANGE}};

const color_word wire_words[] = {
    {"cyan", COLOR_CYAN},     {"red", COLOR_RED},         {"green", COLOR_GREEN},
    {"blue", COLOR_BLUE},     {"white", COLOR_WHITE},     {"purple", COLOR_PURPLE},
    {"yellow", COLOR_YELLOW}, {"orange", COLOR_ORANGE}};

template <size_t N>
int look_up(const color_word (&table)[N], const char *word) {
  for (const color_word &c : table)
    if (strcmp(c.word, word) == 0) return c.color;
  return COLOR_CYAN;
}

// The next white-space separated word from *p, moving *p behind it.
bool next_word(const char **p, std::string *word) {
  const char *s = *p;
  while (*s && isspace(static_cast<unsigned char>(*s))) s++;
  if (!*s) {
    *p = s;
    return false;
  }
  const char *e = s;
  while (*e && !isspace(static_cast<unsigned char>(*e))) e++;
  word->assign(s, e);
  *p = e;
  return true;
}

// One entry of a list line. Returns 0, or 1 after printing which field was
// missing.
struct list_entry {
  std::string name, file_name, color_name;
};

enum list_kind { LIST_OVERLAY, LIST_WIRE };

int parse_entry(const char *line, int entry, list_kind kind, list_entry *e) {
  const char *p = line;
  if (!next_word(&p, &e->name)) {
    if (kind == LIST_OVERLAY)
      printf("Error reading the overlay name for overay %d.\n", entry);
    else
      printf("Error reading the wire name for overay %d.\n", entry);
    return 1;
  }
  if (!next_word(&p, &e->file_name)) {
    if (kind == LIST_OVERLAY)
      printf("Error reading the file name for overlay %d.\n", entry);
    else
      printf("Error reading the file name for wire %d.\n", entry);
    return 1;
  }
  // A single remaining character (often just the newline) is no colour.
  e->color_name.clear();
  const char *rest = next_non_white(p);
  if (strlen(rest) > 1) next_word(&rest, &e->color_name);
  return 0;
}

void copy_name(char *destination, const std::string &name) {
  snprintf(destination, ZOR_LINE, "%s", name.c_str());
}

// Walks a list file and hands every entry to `add`. Returns 0 or 1.
template <typename Add>
int read_list(const char *list_file_name, list_kind kind, Add add) {
  FILE *fp = fopen_regular(list_file_name, "r");
  if (!fp) {
    printf("Error: cannot open the file %s.\n", list_file_name);
    return 1;
  }
  char line[ZOR_LINE];
  int entry = 0;
  while (get_line_with_comment(fp, line, ZOR_LINE)) {
    if (is_blank_line(line)) continue;
    entry++;
    list_entry e;
    if (parse_entry(line, entry, kind, &e)) {
      fclose(fp);
      return 1;
    }
    add(e);
  }
  fclose(fp);
  return 0;
}

}  // namespace

int overlay_list_color(const char *word) { return look_up(overlay_words, word); }

int wire_list_color(const char *word) { return look_up(wire_words, word); }

int read_overlay_list(const char *list_file_name) {
  return read_list(list_file_name, LIST_OVERLAY, [](const list_entry &e) {
    ovl_list *node = static_cast<ovl_list *>(calloc(1, sizeof(ovl_list)));
    if (!node) {
      puts("Error: memory problem creating a new ovl structure in the list.");
      zor_exit(1);
    }
    ovl_list *last = &ovl_root;
    while (last->next) last = last->next;
    last->next = node;

    copy_name(node->name, e.name);
    node->npts = 0;
    node->active = 0;
    node->color = static_cast<int16_t>(overlay_list_color(e.color_name.c_str()));
    // The reader gives the node storage for exactly what it reads.
    node->voxel = nullptr;
    node->weight = nullptr;
    node->next = nullptr;
    read_overlay_file(e.file_name.c_str(), node);
  });
}

int read_wire_list(const char *list_file_name) {
  return read_list(list_file_name, LIST_WIRE, [](const list_entry &e) {
    wire_list *node = static_cast<wire_list *>(calloc(1, sizeof(wire_list)));
    if (!node) {
      puts("Error: memory problem creating a new wire structure in the list.");
      zor_exit(1);
    }
    wire_list *last = &wire_root;
    while (last->next) last = last->next;
    last->next = node;

    copy_name(node->name, e.name);
    node->npts = 0;
    node->active = 0;
    node->control = nullptr;
    node->next = nullptr;
    read_wire_file(e.file_name.c_str(), node, wire_list_color(e.color_name.c_str()));
  });
}

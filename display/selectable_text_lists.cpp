// The two lists of menu items and the hit tests over them. The first node
// of each list lives in the window's record; later nodes are appended behind
// a tail pointer and kept for the life of the program.
#include <cstdio>
#include <cstring>
#include <new>

#include "zor_exit.h"
#include "zor_panels.h"

namespace {

struct ListTail {
  SelectableText *tail = nullptr;  // null: the list has no node yet
};
ListTail image_list, graph_list;

void fill_node(SelectableText *node, int yloc, int IDTag) {
  memset(node, 0, sizeof *node);
  node->YLocation = yloc;
  node->FieldID = IDTag;
  node->visible = 1;
  node->selected = 0;
  node->next = nullptr;
}

void append(SelectableText *head, ListTail &list, int yloc, int IDTag, const char *who) {
  if (!list.tail) {
    fill_node(head, yloc, IDTag);
    list.tail = head;
    return;
  }
  SelectableText *node = new (std::nothrow) SelectableText;
  if (!node) {
    printf("Allocation error in %s()\n", who);
    zor_exit(1);
  }
  fill_node(node, yloc, IDTag);
  list.tail->next = node;
  list.tail = node;
}

void release(SelectableText *head) {
  SelectableText *node = head->next;
  while (node) {
    SelectableText *next = node->next;
    delete node;
    node = next;
  }
  memset(head, 0, sizeof *head);
}

// Rows 2, 3, 4 of a lower strip, y counted from the strip's top.
bool on_lower_row(int row, int y) {
  switch (row) {
    case 2: return y >= 1 && y <= 14;
    case 3: return y >= 16 && y <= 29;
    case 4: return y >= 31 && y <= 44;
    default: return false;
  }
}

int hit_lower_rows(SelectableText *head, int x, int y) {
  int hit = 0;
  for (SelectableText *t = head; t; t = t->next) {
    if (!t->visible || t->YLocation < 2 || t->YLocation > 4) continue;
    if (t->XSelectStart <= x && x < t->XSelectEnd && on_lower_row(t->YLocation, y)) {
      t->selected = 1;
      hit = t->FieldID;
    } else {
      t->selected = 0;
    }
  }
  return hit;
}

}  // namespace

void new_selectable_image_text(int yloc, int IDTag) {
  append(&mosaic.SelectText, image_list, yloc, IDTag, "new_selectable_image_text");
}

void new_selectable_graph_text(int yloc, int IDTag) {
  append(&graph.SelectText, graph_list, yloc, IDTag, "new_selectable_graph_text");
}

void selectable_text_reset(void) {
  release(&mosaic.SelectText);
  release(&graph.SelectText);
  image_list = ListTail{};
  graph_list = ListTail{};
}

SelectableText *find_selectable_text(SelectableText *list, int FieldID) {
  for (SelectableText *t = list; t; t = t->next)
    if (t->FieldID == FieldID) return t;
  return nullptr;
}

int CursorOnSelectableText_AboveImageWindow(int ix_pos, int iy_pos) {
  if (!image_list.tail) return 0;
  int hit = 0;
  for (SelectableText *t = &mosaic.SelectText; t; t = t->next) {
    if (!t->visible || t->YLocation > 1) continue;
    const bool row_hit = t->YLocation == 0 ? (iy_pos >= 1 && iy_pos < 15) : (iy_pos >= 16 && iy_pos <= 29);
    if (t->XSelectStart <= ix_pos && ix_pos < t->XSelectEnd && row_hit) {
      t->selected = 1;
      hit = t->FieldID;
    } else {
      t->selected = 0;
    }
  }
  return hit;
}

int CursorOnSelectableText_BelowImageWindow(int ix_pos, int iy_pos) {
  if (!image_list.tail) return 0;
  return hit_lower_rows(&mosaic.SelectText, ix_pos, iy_pos);
}

int CursorOnSelectableText_AboveGraphWindow(int ix_pos) {
  if (!graph_list.tail) return 0;
  int hit = 0;
  for (SelectableText *t = &graph.SelectText; t; t = t->next) {
    if (!t->visible || t->YLocation != 1) continue;
    if (t->XSelectStart <= ix_pos && ix_pos <= t->XSelectEnd) {
      t->selected = 1;
      hit = t->FieldID;
    } else {
      t->selected = 0;
    }
  }
  return hit;
}

int CursorOnSelectableText_BelowGraphWindow(int ix_pos, int iy_pos) {
  if (!graph_list.tail) return 0;
  return hit_lower_rows(&graph.SelectText, ix_pos, iy_pos);
}

void set_panel_field(SelectableText *t, int color, bool visible, int x, int width, const char *m1, const char *m2,
                     const char *m3) {
  t->color = color;
  t->visible = visible ? 1 : 0;
  t->XPosition = t->XSelectStart = x;
  t->XSelectEnd = x + width;
  snprintf(t->message1, sizeof t->message1, "%s", m1);
  snprintf(t->message2, sizeof t->message2, "%s", m2);
  snprintf(t->message3, sizeof t->message3, "%s", m3);
}

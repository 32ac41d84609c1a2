#include "formats/picinfo.h"

#include <cstdlib>
#include <new>

namespace {

void free_one(XLINE* l) {
  for (int k = 0; k < XLINE_MAXCHAN; k++) delete[] l->line[k];
  delete[] l->line_hdr;
  delete[] l->olmask;
  delete[] l->pos;
  delete l;
}

}  // namespace

XLINE* Create_Xline(XLINE** head, int nrchan, int width, XLINE* tail) {
  if (nrchan < 0) nrchan = 0;
  if (nrchan > XLINE_MAXCHAN) nrchan = XLINE_MAXCHAN;
  if (width < 0) width = 0;
  XLINE* l = new XLINE();
  for (int k = 0; k < nrchan; k++) l->line[k] = new uint16_t[width]();
  l->line_hdr = new uint16_t[XLINE_HDRWORDS]();
  l->olmask = new uint8_t[width]();
  l->width = width;
  l->nrchan = nrchan;
  if (!*head) {
    *head = l;
    return l;
  }
  if (!tail) {
    tail = *head;
    while (tail->next) tail = tail->next;
  }
  tail->next = l;
  l->prev = tail;
  return l;
}

GEOPOS* xline_alloc_pos(XLINE* line) {
  if (!line->pos && line->width > 0) line->pos = new (std::nothrow) GEOPOS[size_t(line->width)]();
  return line->pos;
}

void Remove_Xline(XLINE** head) {
  XLINE* l = *head;
  while (l) {
    XLINE* next = l->next;
    free_one(l);
    l = next;
  }
  *head = nullptr;
}

void pic_reindex(PICINFO* pic) {
  pic->line_index.clear();
  for (XLINE* l = pic->xline; l; l = l->next) pic->line_index.push_back(l);
}

void pic_set_lines(PICINFO* pic, XLINE* head) {
  if (pic->xline != head) Remove_Xline(&pic->xline);
  pic->xline = head;
  pic_reindex(pic);
}

void pic_free_lines(PICINFO* pic) {
  Remove_Xline(&pic->xline);
  pic->line_index.clear();
}

XLINE* pic_line(const PICINFO* pic, int n) {
  if (n < 0) return nullptr;
  if (pic->line_index.empty() && pic->xline) pic_reindex(const_cast<PICINFO*>(pic));
  if (size_t(n) >= pic->line_index.size()) return nullptr;
  return pic->line_index[size_t(n)];
}

int pic_line_count(const PICINFO* pic) {
  if (pic->line_index.empty() && pic->xline) pic_reindex(const_cast<PICINFO*>(pic));
  return int(pic->line_index.size());
}

double** alloc_lines(int count, int size) {
  if (count < 0 || size < 0) return nullptr;
  auto** lines =
      static_cast<double**>(std::calloc(size_t(size) ? size_t(size) : 1, sizeof(double*)));
  if (!lines) return nullptr;
  for (int i = 0; i < size; i++) {
    lines[i] = static_cast<double*>(std::calloc(size_t(count) ? size_t(count) : 1, 8));
    if (!lines[i]) {
      free_lines(lines, i);
      return nullptr;
    }
  }
  return lines;
}

void free_lines(double** lines, int size) {
  if (!lines) return;
  for (int i = 0; i < size; i++) std::free(lines[i]);
  std::free(lines);
}

PICINFO* pic_new() { return new PICINFO(); }

void pic_delete(PICINFO* pic) {
  if (!pic) return;
  pic_free_lines(pic);
  delete pic;
}

#include "app/core/mapctl.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

namespace {

enum Kind { K_NONE, K_ON, K_RED, K_GREEN, K_BLUE, K_GAMMA, K_RO, K_GO, K_BO };

// Kind and channel of a control name; channel 0 for the map-wide controls.
Kind parse(const char* name, int* ch) {
  *ch = 0;
  if (!name) return K_NONE;
  if (!std::strcmp(name, "gamma")) return K_GAMMA;
  if (!std::strcmp(name, "ro")) return K_RO;
  if (!std::strcmp(name, "go")) return K_GO;
  if (!std::strcmp(name, "bo")) return K_BO;
  Kind k;
  const char* num;
  if (!std::strncmp(name, "Ch", 2)) {
    k = K_ON;
    num = name + 2;
  } else if (name[0] == 'r' || name[0] == 'g' || name[0] == 'b') {
    k = name[0] == 'r' ? K_RED : name[0] == 'g' ? K_GREEN : K_BLUE;
    num = name + 1;
  } else {
    return K_NONE;
  }
  int n = 0, used = 0;
  if (std::sscanf(num, "%d%n", &n, &used) != 1 || num[used] != '\0' || n < 1 || n > 25)
    return K_NONE;
  *ch = n;
  return k;
}

}  // namespace

int mapctl_range(const char* name, MAPCTL_RANGE* range) {
  int ch;
  switch (parse(name, &ch)) {
    case K_NONE:
      return -1;
    case K_ON:
      *range = {0, 1, 1, 0};
      break;
    case K_RED:
    case K_GREEN:
    case K_BLUE:
      *range = {-2, 2, 0.05, 2};
      break;
    case K_GAMMA:
      *range = {0.2, 5, 0.1, 1};
      break;
    case K_RO:
    case K_GO:
    case K_BO:
      *range = {-256, 256, 1, 0};
      break;
  }
  return 0;
}

int mapctl_set(CLRMAPCHAN* map, const char* name, double value) {
  int ch;
  Kind k = parse(name, &ch);
  MAPCTL_RANGE r;
  if (k == K_NONE || mapctl_range(name, &r) != 0) return -1;
  if (!(value >= r.min)) value = r.min;  // also NaN
  value = std::min(value, r.max);
  switch (k) {
    case K_ON:
      map->on[ch] = value >= 0.5 ? 1 : 0;
      break;
    case K_RED:
      map->red[ch] = float(value);
      break;
    case K_GREEN:
      map->green[ch] = float(value);
      break;
    case K_BLUE:
      map->blue[ch] = float(value);
      break;
    case K_GAMMA:
      map->gamma = float(value);
      break;
    case K_RO:
      map->red_offset = int(value < 0 ? value - 0.5 : value + 0.5);
      break;
    case K_GO:
      map->green_offset = int(value < 0 ? value - 0.5 : value + 0.5);
      break;
    case K_BO:
      map->blue_offset = int(value < 0 ? value - 0.5 : value + 0.5);
      break;
    case K_NONE:
      return -1;
  }
  return 0;
}

double mapctl_get(const CLRMAPCHAN& map, const char* name) {
  int ch;
  switch (parse(name, &ch)) {
    case K_ON:
      return map.on[ch];
    case K_RED:
      return map.red[ch];
    case K_GREEN:
      return map.green[ch];
    case K_BLUE:
      return map.blue[ch];
    case K_GAMMA:
      return map.gamma;
    case K_RO:
      return map.red_offset;
    case K_GO:
      return map.green_offset;
    case K_BO:
      return map.blue_offset;
    case K_NONE:
      break;
  }
  return 0;
}

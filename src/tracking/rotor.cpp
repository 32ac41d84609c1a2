#include "tracking/rotor.h"

#include <cctype>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "tracking/rs232.h"

DISEQC val2diseqc(float val, int deg2step, int inv, int limit) {
  DISEQC d{};
  if (val > 180.f) val = 180.f;
  if (val < 0.f) val = 0.f;
  int per_degree = deg2step ? deg2step : 8;
  int steps = int(float(per_degree) * (90.f - val));
  if (inv) steps = -steps;
  if (limit) {
    if (steps > limit) steps = limit;
    if (steps < -limit) steps = -limit;
  }
  int m = std::abs(steps);
  d.addr = 0x31;
  d.cmd = 0x6E;
  d.data[0] = (steps >= 0 ? 0xE0 : 0xD0) + (m >> 8);
  d.data[1] = m & 0xFF;
  d.invert = inv;
  d.val = val;
  return d;
}

namespace {

// One printf conversion of the template: its text span and its parts.
struct Conv {
  size_t start, end;  // [start, end) in the template
  std::string flags, width, prec;
  char letter;
};

// Parses "%[flags][width][.prec][length]letter" at s[i] == '%'.
bool parse_conv(const std::string& s, size_t i, Conv* c) {
  size_t j = i + 1;
  c->start = i;
  while (j < s.size() && std::strchr("-+ #0", s[j])) c->flags += s[j++];
  while (j < s.size() && std::isdigit(static_cast<unsigned char>(s[j])) && c->width.size() < 2)
    c->width += s[j++];
  if (j < s.size() && s[j] == '.') {
    j++;
    while (j < s.size() && std::isdigit(static_cast<unsigned char>(s[j])) && c->prec.size() < 2)
      c->prec += s[j++];
    if (c->prec.empty()) c->prec = "0";
  }
  while (j < s.size() && std::strchr("hlLqjzt", s[j])) j++;
  if (j >= s.size()) return false;
  c->letter = s[j];
  c->end = j + 1;
  return c->letter == 'd' || c->letter == 'f';
}

}  // namespace

void load_cmd(char* dst, size_t size, const char* format, int id, float a, float b) {
  if (!dst || size == 0) return;
  dst[0] = '\0';
  std::string t = format ? format : "";
  bool floats = t.find('f') != std::string::npos;
  char letter = floats ? 'f' : 'd';
  // Every d or f from the first '%' on becomes the chosen letter.
  size_t first = t.find('%');
  if (first != std::string::npos) {
    for (size_t i = first; i < t.size(); i++)
      if (t[i] == 'd' || t[i] == 'f') t[i] = letter;
  }
  // Find the conversions ("%%" is a percent sign).
  std::vector<Conv> convs;
  for (size_t i = 0; i < t.size(); i++) {
    if (t[i] != '%') continue;
    if (i + 1 < t.size() && t[i + 1] == '%') {
      i++;
      continue;
    }
    Conv c{};
    if (parse_conv(t, i, &c)) {
      convs.push_back(c);
      i = c.end - 1;
    }
  }
  if (convs.size() >= 3) convs[0].letter = 'd';
  // Values in order: with three conversions id, a, b; else a, b.
  double values[3];
  int nv = 0;
  if (convs.size() >= 3) values[nv++] = id;
  values[nv++] = a;
  values[nv++] = b;

  std::string out;
  size_t pos = 0;
  int vi = 0;
  for (const Conv& c : convs) {
    // Literal text before the conversion ("%%" printed as '%').
    for (size_t i = pos; i < c.start; i++) {
      out += t[i];
      if (t[i] == '%' && i + 1 < c.start && t[i + 1] == '%') i++;
    }
    char conv_fmt[32];
    std::snprintf(conv_fmt, sizeof conv_fmt, "%%%s%s%s%s%c", c.flags.c_str(), c.width.c_str(),
                  c.prec.empty() ? "" : ".", c.prec.c_str(), c.letter);
    char num[64];
    double v = vi < nv ? values[vi] : 0.0;
    vi++;
    if (c.letter == 'd') {
      int iv = (&c == &convs[0] && convs.size() >= 3) ? int(v) : int(v + 0.5);
      std::snprintf(num, sizeof num, conv_fmt, iv);
    } else {
      std::snprintf(num, sizeof num, conv_fmt, v);
    }
    out += num;
    pos = c.end;
  }
  for (size_t i = pos; i < t.size(); i++) {
    out += t[i];
    if (t[i] == '%' && i + 1 < t.size() && t[i + 1] == '%') i++;
  }
  if (size >= 2 && out.size() > size - 2) out.resize(size - 2);
  // The end of the command: an escaped \r or \n becomes the character itself.
  size_t n = out.size();
  if (n >= 2 && out[n - 2] == '\\' && out[n - 1] == 'r') {
    out.resize(n - 2);
    out += '\r';
  } else if (n >= 2 && out[n - 2] == '\\' && out[n - 1] == 'n') {
    out.resize(n - 2);
    out += '\n';
  } else {
    out += '\n';
  }
  std::snprintf(dst, size, "%s", out.c_str());
}

int pos2uart(const UART_ITEMS* uart, const char* text) {
  if (!uart || !RS232_Open_Close(-1, uart->portnr, uart->speed)) return 1;
  RS232_SendBuf(uart->portnr, reinterpret_cast<const unsigned char*>(text), int(std::strlen(text)));
  return 0;
}

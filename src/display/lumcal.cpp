#include "display/lumcal.h"

#include <algorithm>
#include <cctype>
#include <cmath>
#include <cstdlib>

#include "app/ui_ops.h"
#include "common/text.h"

namespace {

// Planck constants of the NOAA KLM calibration: c1 in mW/(m^2 sr cm^-4), c2 in
// cm K.
constexpr float kC1 = 1.1910427e-5f;
constexpr float kC2 = 1.4387752f;
constexpr double kE = 2.7182817;  // e, as the black-body radiance takes it

// Coefficients of one satellite, per PRT (index 0..3) and per channel 3..5
// (index 0..2).
struct CalSet {
  float d0[4], d1[4], d2[4], d3[4], d4[4];
  float nuc[3], a[3], b[3], ns[3], b0[3], b1[3], b2[3];
};

const CalSet kNoaa14 = {{276.597f, 276.597f, 276.597f, 276.597f},
                        {0.051275f, 0.051275f, 0.051275f, 0.051275f},
                        {1.363e-6f, 1.363e-6f, 1.363e-6f, 1.363e-6f},
                        {0, 0, 0, 0},
                        {0, 0, 0, 0},
                        {2642.807f, 928.8284f, 834.8066f},
                        {0, 0, 0},
                        {1, 1, 1},
                        {0.0069f, -4.05f, -2.29f},
                        {-0.0031f, 3.72f, 2.0f},
                        {1.00359f, 0.92378f, 0.96194f},
                        {0, 0.0003822f, 0.0001742f}};

const CalSet kNoaa15 = {{276.60156f, 276.6253f, 276.67413f, 276.5926f},
                        {0.051045f, 0.050909f, 0.050907f, 0.050966f},
                        {1.36328e-6f, 1.47266e-6f, 1.47656e-6f, 1.47656e-6f},
                        {0, 0, 0, 0},
                        {0, 0, 0, 0},
                        {2695.9744f, 925.4075f, 839.8979f},
                        {1.621256f, 0.33781f, 0.304558f},
                        {0.998015f, 0.998719f, 0.999024f},
                        {0, -4.5f, -3.61f},
                        {0, 4.76f, 3.83f},
                        {1, -0.0932f, -0.0659f},
                        {0, 0.0004524f, 0.0002811f}};

const CalSet kNoaa16 = {{276.355f, 276.142f, 275.996f, 276.132f},
                        {0.05562f, 0.05605f, 0.05486f, 0.05494f},
                        {-1.59e-5f, -1.707e-5f, -1.223e-5f, -1.344e-5f},
                        {2.486e-8f, 2.595e-8f, 1.862e-8f, 2.112e-8f},
                        {-1.199e-11f, -1.224e-11f, -8.53e-12f, -1.001e-11f},
                        {2700.1147f, 917.2289f, 838.1255f},
                        {1.592459f, 0.33238f, 0.674623f},
                        {0.998147f, 0.998522f, 0.998363f},
                        {0, -2.467f, -2.009f},
                        {0, 2.96f, 2.25f},
                        {1, -0.05411f, -0.03665f},
                        {0, 0.00024532f, 0.00014854f}};

bool g_cal_warned = false;

// HRPT frame header words (0-based) used by the calibration.
constexpr int kPrtWord = 17;    // 17, 18, 19: three readings of the line's PRT
constexpr int kBbWord = 19;     // black body of channel ch, sample i: 19 + ch + 3i
constexpr int kSpaceWord = 51;  // space view of channel ch, sample i: 51 + ch + 5i
constexpr int kPrtMarker = 5;   // all three PRT words below this: the reset line

double prt_temp(const NOAACAL& c, int k, double cnt) {
  return c.d0[k] + cnt * (c.d1[k] + cnt * (c.d2[k] + cnt * (c.d3[k] + cnt * c.d4[k])));
}

// Feeds one line's PRT words into the state (k-th reading after the reset
// line is PRT k).
void prt_feed(const NOAACAL& cal, const XLINE* l, int ch, PRTSTATE* st) {
  const uint16_t* h = l->line_hdr;
  if (!h) return;
  if (h[kPrtWord] < kPrtMarker && h[kPrtWord + 1] < kPrtMarker && h[kPrtWord + 2] < kPrtMarker) {
    st->next_prt = 1;
    return;
  }
  if (st->next_prt >= 1 && st->next_prt <= 4) {
    st->t[st->next_prt] = float(prt_temp(cal, st->next_prt, h[ch + 14]));
    st->have |= 1 << st->next_prt;
    st->next_prt++;
  } else if (st->next_prt > 4) {
    st->next_prt++;  // a fifth reading without a reset line: not a PRT we know
  }
}

}  // namespace

void calc_lum_thresholds(const long* lumstat, int n, int* lum_min, int* lum_max) {
  long mx = 0;
  for (int i = 1; i < n; i++) mx = std::max(mx, lumstat[i]);
  long thr = mx / 50;
  int lo = -1, hi = -1;
  for (int i = 1; i < n; i++)
    if (lumstat[i] > thr) {
      lo = i;
      break;
    }
  for (int i = n - 1; i >= 1; i--)
    if (lumstat[i] > thr) {
      hi = i;
      break;
    }
  if (lo < 0 || hi < 0) return;
  *lum_min = lo;
  *lum_max = hi;
}

int map_z(int lum_min, int lum_max, float g, int invert, int n, int m, std::vector<int>* table) {
  if (m <= 0 || n <= 0) return 3;
  try {
    table->assign(size_t(m), 0);
  } catch (...) {
    return 3;
  }
  if (lum_max == lum_min) lum_max++;
  const bool use_gamma = g != 0 && g != 1;
  const double ig = use_gamma ? 1.0 / g : 1.0;
  const double pmin = use_gamma ? std::pow(double(lum_min), ig) : 0;
  const double pmax = use_gamma ? std::pow(double(lum_max), ig) : 0;
  for (int i = 0; i < m; i++) {
    long v;
    if (i < lum_min)
      v = 0;
    else if (i > lum_max)
      v = n - 1;
    else if (use_gamma)
      v = long((std::pow(double(i), ig) - pmin) * n / (pmax - pmin));
    else
      v = long(i - lum_min) * n / (lum_max - lum_min);
    v = std::clamp(v, 0L, long(n - 1));
    // Inverted values run 1..n: kept so, the palette clamps the top.
    (*table)[size_t(i)] = int(invert ? n - v : v);
  }
  return 0;
}

int get_pix(const uint16_t* up, const uint16_t* cur, const uint16_t* down, int x, int width,
            int sur_ulim, int dsp_llim) {
  int p = cur[x];
  if (!up || !down || x <= 0 || x >= width - 1) return p;
  int u = up[x], d = down[x], l = cur[x - 1], r = cur[x + 1];
  int du = std::abs(p - u), dd = std::abs(p - d), dl = std::abs(p - l), dr = std::abs(p - r);
  // A speckle differs from all four neighbours by about the same large amount.
  bool speckle = std::abs(du - dd) < sur_ulim && std::abs(dl - dr) < sur_ulim &&
                 std::abs(du - dl) < sur_ulim && du > dsp_llim;
  return speckle ? (u + d + l + r) / 4 : p;
}

int load_cal(const char* sat_name, NOAACAL* cal) {
  const char* p = sat_name ? sat_name : "";
  while (*p && !std::isdigit(static_cast<unsigned char>(*p))) p++;
  int num = std::atoi(p);
  const CalSet* s = &kNoaa15;
  if (num == 14)
    s = &kNoaa14;
  else if (num == 16)
    s = &kNoaa16;
  else if (num != 15 && !g_cal_warned) {
    g_cal_warned = true;
    std::string msg = pava::strprintf(
        "No temperature mapping\n for %s available!\n Assume NOAA15...\n(message give one time)",
        sat_name ? sat_name : "");
    ui().message("Error", msg.c_str());
  }
  *cal = NOAACAL{};
  for (int k = 0; k < 4; k++) {
    cal->d0[k + 1] = s->d0[k];
    cal->d1[k + 1] = s->d1[k];
    cal->d2[k + 1] = s->d2[k];
    cal->d3[k + 1] = s->d3[k];
    cal->d4[k + 1] = s->d4[k];
  }
  for (int c = 0; c < 3; c++) {
    cal->nuc[c + 3] = s->nuc[c];
    cal->a[c + 3] = s->a[c];
    cal->b[c + 3] = s->b[c];
    cal->Ns[c + 3] = s->ns[c];
    cal->b0[c + 3] = s->b0[c];
    cal->b1[c + 3] = s->b1[c];
    cal->b2[c + 3] = s->b2[c];
  }
  cal->c1 = kC1;
  cal->c2 = kC2;
  return num;
}

void load_cal_reset_message() { g_cal_warned = false; }

double noaa_radiance(const NOAACAL& cal, int ch, double t) {
  double ts = cal.a[ch] + cal.b[ch] * t;
  double nu = cal.nuc[ch];
  return cal.c1 * nu * nu * nu / (std::pow(kE, cal.c2 * nu / ts) - 1.0);
}

double noaa_temperature(const NOAACAL& cal, int ch, double n) {
  double nu = cal.nuc[ch];
  double ts = cal.c2 * nu / std::log(1.0 + cal.c1 * nu * nu * nu / n);
  return (ts - cal.a[ch]) / cal.b[ch];
}

double noaa_count_radiance(const NOAACAL& cal, int ch, double nbb, double csp, double cbb,
                           double ce) {
  double g = (nbb - cal.Ns[ch]) / (csp - cbb);
  double nlin = cal.Ns[ch] + g * (csp - ce);
  // The sets give the linear term in two conventions: the whole factor (about
  // 1: NOAA 14, channel 3) or, as the KLM guide does, its excess over 1 (NOAA
  // 15 and 16 channels 4 and 5: N + b0 + b1 N + b2 N^2).
  double f = cal.b1[ch] > 0.5f ? cal.b1[ch] : 1.0 + cal.b1[ch];
  return cal.b0[ch] + f * nlin + cal.b2[ch] * nlin * nlin;
}

int map_noaatemp(const PICINFO* pic, const XLINE* line, int ch, std::vector<int>* out) {
  if (ch < 3 || ch > 5 || !line || !line->line_hdr) return -1;
  const NOAACAL& cal = pic->noaacal;
  int slot = -1;
  {
    bool any = false;
    for (int c = 1; c <= 25; c++) any = any || pic->channels_recorded[c];
    if (!any) {
      slot = ch <= pic->nr_chan ? ch - 1 : -1;
    } else if (pic->channels_recorded[ch]) {
      slot = 0;
      for (int c = 1; c < ch; c++) slot += pic->channels_recorded[c] ? 1 : 0;
    }
  }
  if (slot < 0 || slot >= line->nrchan || !line->line[slot]) return -1;

  // The PRT readings of the lines up to this one: walk back to a reset line
  // (at most two cycles of five) and feed forward from there.
  const XLINE* start = line;
  for (int k = 0; k < 10 && start->prev; k++) start = start->prev;
  PRTSTATE st{};
  for (const XLINE* l = start;; l = l->next) {
    prt_feed(cal, l, ch, &st);
    if (l == line) break;
  }
  if (st.have != 0x1e) return -1;
  double tbb = (st.t[1] + st.t[2] + st.t[3] + st.t[4]) / 4.0;
  double nbb = noaa_radiance(cal, ch, tbb);

  // Black body and space counts from the next line's header (else this one).
  const uint16_t* h = line->next && line->next->line_hdr ? line->next->line_hdr : line->line_hdr;
  int sbb = 0, ssp = 0;
  for (int i = 0; i < 10; i++) {
    sbb += h[kBbWord + ch + 3 * i];
    ssp += h[kSpaceWord + ch + 5 * i];
  }
  int cbb = sbb / 10, csp = ssp / 10;
  if (csp == cbb) return -1;

  out->resize(size_t(line->width));
  const uint16_t* v = line->line[slot];
  for (int x = 0; x < line->width; x++) {
    double n = noaa_count_radiance(cal, ch, nbb, csp, cbb, v[x]);
    double t = n > 0 ? noaa_temperature(cal, ch, n) : 0.0;
    (*out)[size_t(x)] = int(10 * t);
  }
  return 0;
}

float temp_hue(int index) {
  index = std::clamp(index, 0, 1023);
  // -30 degrees: blue at its peak; 90: green; 210: red.
  return float(-30.0 + 240.0 * index / 1023.0);
}

int map_temp(int tenth_k, int* r, int* g, int* b) {
  int t = std::clamp(tenth_k / 10, 203, 343);
  int index = std::min(1023, (t - 203) * 1023 / 140);
  double h = temp_hue(index) * M_PI / 180.0;
  *r = int(127 * (1 + std::sin(h + 240 * M_PI / 180)));
  *g = int(127 * (1 + std::sin(h)));
  *b = int(127 * (1 + std::sin(h + 120 * M_PI / 180)));
  return index;
}

int inv_maptemp(int r, int g, int b, int lum_min, int lum_max, int n) {
  // sin h = g/127 - 1 and sin(h+120) - sin(h+240) = sqrt(3) cos h give h on
  // its whole circle.
  double sr = r / 127.0 - 1, sg = g / 127.0 - 1, sb = b / 127.0 - 1;
  double hdeg = std::atan2(sg, (sb - sr) / std::sqrt(3.0)) * 180.0 / M_PI;
  if (hdeg < -90) hdeg += 360;
  double index = (hdeg + 30.0) * 1023.0 / 240.0;
  double p = std::clamp(index, 0.0, 1023.0) * (n - 1) / 1023.0;  // palette entry
  double v = lum_min + (lum_max - lum_min) * p / n;
  return int(std::floor(v * 140 / 1000 - 70));
}

// Pass prediction by stepping: 30 s steps between passes, 1 s steps around
// the rise, through the culmination and down to the set.
#include "orbit/passes.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "common/timeutil.h"
#include "config/prefs.h"
#include "orbit/satpos.h"

namespace {

constexpr int kSearchLimit = 86399;  // seconds of stepping before a search gives up
constexpr int kTrials = 100;         // passes tried by predict

void copy_track(TRACK* dst, const TRACK& src, SAT* sat) {
  TRACK* prev = dst->prev;
  *dst = src;
  dst->prev = prev;
  dst->next = nullptr;
  dst->sat = sat;
  dst->done = 0;
}

}  // namespace

int search_horizon(SAT* sat, int sec_incr, SEARCH_MODE search_mode, struct tm* start_tm,
                   EPOINT* pos_subsat, const ROTOR* rot, float* mom_elev, const EPOINT* refpos,
                   float elev_hor) {
  float prev = -10.0f;
  long stepped = 0;
  // A zero step still counts one second, so that every search ends.
  const int step_count = sec_incr == 0 ? 1 : std::abs(sec_incr);
  EPOINT sub = pos_subsat ? *pos_subsat : EPOINT{};
  for (;;) {
    if (stepped > kSearchLimit) return 0;
    pava::mktime_utc(start_tm);
    const tm_s moment{*start_tm, 0};
    DIRECTION dir{};
    dir.elev = -1.570796325f;  // a satellite without a model never rises
    calc_satrelpos(&sub, &dir, refpos, sat, &moment, rot);
    if (pos_subsat) *pos_subsat = sub;
    if (mom_elev) *mom_elev = dir.elev;
    bool done = false;
    switch (search_mode) {
      case search_up:
        done = dir.elev >= elev_hor;
        break;
      case search_down:
        done = dir.elev < elev_hor;
        break;
      case search_maxelev:
        if (mom_elev) {
          if (dir.elev < prev)
            done = true;
          else
            prev = dir.elev;
        }
        if (dir.elev < elev_hor) done = true;
        break;
      case mode_unk:
        break;
    }
    if (done) return 1;
    start_tm->tm_sec += sec_incr;
    stepped += step_count;
  }
}

bool predict(SAT* sat, const struct tm* start_tm, struct tm* stop_tm, TRACK* tr,
             const EPOINT* refpos, const ROTOR* rot, float elev_hor, float elev_det, bool forward) {
  sat->maxelev_firstpass = elev_hor;
  struct tm t = *start_tm;
  EPOINT pos{};
  for (int trials = kTrials; trials > 0; trials--) {
    // 1. Out of any pass (backwards: to before the rise of a pass in progress).
    if (!search_horizon(sat, forward ? 30 : -30, search_down, &t, &pos, rot, nullptr, refpos,
                        elev_hor))
      return false;
    // 2. Coarse rise, 30 s steps.
    if (!search_horizon(sat, 30, search_up, &t, &pos, rot, nullptr, refpos, elev_hor)) return false;
    // 3. Back 59 s, then the rise to the second.
    t.tm_min -= 1;
    t.tm_sec += 1;
    if (!search_horizon(sat, 1, search_up, &t, &tr->up_pos, rot, nullptr, refpos, elev_hor))
      return false;
    tr->up_time = t;
    sat->up_time = t;
    if (!stop_tm) return true;

    // 5. Culmination: the first sample lower than its predecessor, so one
    //    second after the highest sample.
    struct tm m = t;
    if (!search_horizon(sat, 1, search_maxelev, &m, &tr->maxelev_pos, rot, &tr->max_elev, refpos,
                        elev_hor))
      return false;
    tr->maxelev_time = m;
    tr->pass_e1_w0 = refpos->lon < tr->maxelev_pos.lon;
    tr->going_south = tr->maxelev_pos.lat < tr->up_pos.lat;

    // 6. Set: the first second below the horizon.
    struct tm d = m;
    if (!search_horizon(sat, 1, search_down, &d, &tr->down_pos, rot, nullptr, refpos, elev_hor))
      return false;
    tr->down_time = d;
    *stop_tm = d;

    // 7. What the satellite remembers of the pass.
    sat->max_elev = tr->max_elev;
    if (sat->maxelev_firstpass <= elev_hor) sat->maxelev_firstpass = tr->max_elev;
    sat->maxelev_time = tr->maxelev_time;
    sat->pass_e1_w0 = tr->pass_e1_w0;

    // 8. High enough (the moon always is), else the next pass.
    if (tr->max_elev >= elev_det || sat->type == moon) return true;
    t = d;
    t.tm_min += 1;
    forward = true;
  }
  return false;
}

TRACK* first_passes(SAT* sat_list, int nr, int offset_min, int elev_det) {
  const float det = elev_det * 3.14159265f / 180.0f;
  for (SAT* s = sat_list; s; s = s->next) {
    Remove_Tracks(s->track);
    s->track = nullptr;
    tm_s now;
    mom_tmms(&now, prefs.tm_off.tz_offset + offset_min / 60.0f, &prefs.tm_off);
    struct tm t = now.tm;
    TRACK* tail = nullptr;
    for (int i = 0; i < nr; i++) {
      TRACK tr{};
      struct tm stop;
      if (!predict(s, &t, &stop, &tr, &prefs.refpos, nullptr, prefs.elev_horiz, det, false)) break;
      TRACK* c = Create_Track(tail ? &tail : &s->track);
      copy_track(c, tr, s);
      tail = c;
      t = stop;
      t.tm_min += 1;
    }
  }

  // Merge: nr times the earliest rise not yet taken (first met wins a tie).
  TRACK* merged = nullptr;
  TRACK* merged_tail = nullptr;
  for (int i = 0; i < nr; i++) {
    TRACK* best = nullptr;
    time_t best_t = 0;
    for (SAT* s = sat_list; s; s = s->next) {
      for (TRACK* t = s->track; t; t = t->next) {
        if (t->done) continue;
        struct tm up = t->up_time;
        const time_t ut = pava::mktime_utc(&up);
        if (!best || ut < best_t) {
          best = t;
          best_t = ut;
        }
      }
    }
    if (!best) break;
    TRACK* c = Create_Track(merged_tail ? &merged_tail : &merged);
    copy_track(c, *best, best->sat);
    merged_tail = c;
    best->done = 1;
  }
  return merged;
}

TRACK* Create_Track(TRACK** list) {
  TRACK* t = static_cast<TRACK*>(std::calloc(1, sizeof(TRACK)));
  if (!t) {
    std::printf("OUT OF MEM!\n");
    std::exit(1);
  }
  if (!*list) {
    *list = t;
    return t;
  }
  TRACK* tail = *list;
  while (tail->next) tail = tail->next;
  tail->next = t;
  t->prev = tail;
  return t;
}

void Remove_Tracks(TRACK* track) {
  if (!track) return;
  if (track->prev) track->prev->next = nullptr;
  while (track) {
    TRACK* next = track->next;
    std::free(track);
    track = next;
  }
}

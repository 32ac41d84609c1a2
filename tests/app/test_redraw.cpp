// Redraw scheduling: deferral to idle time and coalescing of requests that
// arrive while a drawing runs.
#include <gtest/gtest.h>

#include <deque>
#include <functional>

#include "app/core/redraw.h"
#include "display/display_types.h"
#include "formats/picinfo.h"

namespace {

// A minimal main loop: a queue of idle callbacks.
std::deque<std::pair<int (*)(void*), void*>> g_idle;
void fake_add_idle(int (*fn)(void*), void* data) { g_idle.emplace_back(fn, data); }
void run_idle() {
  while (!g_idle.empty()) {
    auto cb = g_idle.front();
    g_idle.pop_front();
    cb.first(cb.second);
  }
}

struct Fixture {
  PICINFO pic{};
  VIEWINFO view{};
  REDRAW_CTX ctx{};
  int draws = 0;
  std::function<void()> during_draw;
  Fixture() {
    pic.fp = stdin;  // an open picture
    ctx.pic = &pic;
    ctx.view = &view;
    ctx.enable_update = 1;
    ctx.add_idle = fake_add_idle;
    ctx.user = this;
    ctx.draw = [](REDRAW_CTX* c) {
      auto* f = static_cast<Fixture*>(c->user);
      f->draws++;
      if (f->during_draw) f->during_draw();
      return 0;
    };
    g_idle.clear();
  }
};

TEST(Redraw, TwoRequestsDuringOneDrawGiveOneMoreDraw) {
  // Requests processed inside the drawing (it lets pending events run).
  Fixture f;
  int nested = 0;
  f.during_draw = [&] {
    if (nested++) return;
    Update_Main(&f.ctx);
    Update_Main(&f.ctx);
    run_idle();
  };
  Update_Main(&f.ctx);
  EXPECT_EQ(f.draws, 0) << "a request is deferred to idle time";
  run_idle();
  EXPECT_EQ(f.draws, 2);

  // Requests that are only processed after the drawing.
  Fixture g;
  int first = 0;
  g.during_draw = [&] {
    if (first++) return;
    Update_Main(&g.ctx);
    Update_Main(&g.ctx);
  };
  Update_Main(&g.ctx);
  run_idle();
  EXPECT_EQ(g.draws, 2);
}

TEST(Redraw, NoPictureNoDraw) {
  Fixture f;
  f.pic.fp = nullptr;
  Update_Main(&f.ctx);
  run_idle();
  EXPECT_EQ(f.draws, 0);
  EXPECT_EQ(f.view.redraw, 1);
}

}  // namespace

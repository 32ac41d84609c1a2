#include "app/core/redraw.h"

#include "display/display_types.h"
#include "formats/picinfo.h"

void Update_Main(REDRAW_CTX* ctx) {
  if (!ctx || !ctx->add_idle) return;
  // One queued idle serves every request made before it runs.
  if (ctx->idle_pending) return;
  ctx->idle_pending = 1;
  ctx->add_idle(sched_update, ctx);
}

int sched_update(void* data) {
  auto* ctx = static_cast<REDRAW_CTX*>(data);
  ctx->idle_pending = 0;
  Update_Main_Wait(ctx);
  return 0;
}

void Update_Main_Wait(REDRAW_CTX* ctx) {
  if (!ctx || !ctx->view) return;
  if (ctx->correct_zoom) ctx->correct_zoom(ctx);
  ctx->view->redraw = 1;
  if (ctx->pic && ctx->pic->fp) {
    if (ctx->enable_update) {
      ctx->view->redraw = 0;
      ctx->enable_update = 0;
      int failed = ctx->draw ? ctx->draw(ctx) : 0;
      if (failed && !ctx->pic->orbit.valid && ctx->draw_failed) ctx->draw_failed(ctx);
      ctx->enable_update = 1;
      if (ctx->view->redraw) {
        ctx->view->redraw = 0;
        Update_Main(ctx);
      }
    }
    // Otherwise a drawing is running: redraw stays set and it repeats itself.
  }
  if (ctx->update_lum) ctx->update_lum(ctx);
}

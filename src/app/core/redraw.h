// Redraw scheduling of the main picture: requests are deferred to the main
// loop's idle time and coalesce, so that requests that arrive while a drawing
// runs (it lets pending events run between rows) yield exactly one more drawing.
#pragma once

struct PICINFO;
struct VIEWINFO;

// The redraw state of one main window and the toolkit services it needs.
struct REDRAW_CTX {
  PICINFO* pic;
  VIEWINFO* view;
  int enable_update;  // the window's update flag ("Is_Canvas2")
  int idle_pending;   // an idle redraw is queued
  // Queues fn(data) to run once when the main loop is idle (g_idle_add).
  void (*add_idle)(int (*fn)(void*), void* data);
  // Fits the zoom values to the drawing area (may be null).
  void (*correct_zoom)(REDRAW_CTX* ctx);
  // Draws the picture; returns 0 on success.
  int (*draw)(REDRAW_CTX* ctx);
  // Called when drawing failed for a picture without a valid orbit: the
  // grid and coast items are switched off (may be null).
  void (*draw_failed)(REDRAW_CTX* ctx);
  // Updates the luminance display (may be null).
  void (*update_lum)(REDRAW_CTX* ctx);
  void* user;  // the window
};

// Requests a redraw; returns at once.
void Update_Main(REDRAW_CTX* ctx);
// Redraws now (what the idle callback runs).
void Update_Main_Wait(REDRAW_CTX* ctx);
// The idle callback: runs Update_Main_Wait; returns 0 so that it runs once.
int sched_update(void* ctx);

#include "display/render.h"

#include "display/chanmap.h"
#include "display/georef.h"
#include "display/lumcal.h"

int render_picture(PICINFO* pic, const RENDEROPTS& o, VIEWINFO* view, RGBIMAGE* out) {
  *view = VIEWINFO{};
  view->zval.zx = view->zval.zy = 1;
  view->gamma = o.gamma;
  view->invert = o.invert;
  view->linearize = o.linearize;
  view->despeckle = o.despeckle;
  view->sur_ulim = 50;
  view->dsp_llim = 100;
  view->grid = o.grid;
  view->boundaries = o.coast;
  auto clr = [](int rgb) {
    return RGBCLR{uint16_t(((rgb >> 16) & 0xff) * 257), uint16_t(((rgb >> 8) & 0xff) * 257),
                  uint16_t((rgb & 0xff) * 257)};
  };
  view->grid_clr = clr(o.grid_rgb);
  view->cont_clr = clr(o.coast_rgb);
  view->scan_hor = o.north_up && pic->scan_hor == E_W ? E_W : W_E;
  view->scan_ver = o.north_up && pic->scan_ver == S_N ? S_N : N_S;
  view->chan_selected = o.channel > 0 ? o.channel : 1;
  if (chan_slot(pic, view->chan_selected) < 0) return DRAW_NO_PICTURE;
  view->channel_selected[view->chan_selected] = 1;
  set_falseclr(pic, view);
  view->process_data = o.false_colour;
  if (o.temperature) {
    load_cal(pic->sat_name, &pic->noaacal);
    view->map_temp = 1;
  }
  if (pic->orbit.offset_sec != o.offset_sec || pic->orbit.offset_lon != o.offset_lon) {
    pic->orbit.offset_sec = o.offset_sec;
    pic->orbit.offset_lon = o.offset_lon;
    if (pic->orbit.valid) add_subsatpos(pic);
  }
  const int w = o.width > 0 ? o.width : pic->width;
  const int h = o.height > 0 ? o.height : pic->height;
  DRAWOPTS d;
  d.coast_file = o.coast_file;
  view->lum_min = o.lum_min;
  view->lum_max = o.lum_max;
  if (o.lum_auto) {
    // The window follows the histogram of the view as drawn with the full one.
    view->lum_min = 0;
    view->lum_max = 1023;
    int st = draw_pic(pic, view, w, h, out, &d);
    if (st == DRAW_NO_PICTURE || st == DRAW_NO_LUMTABLE) return st;
    calc_lum_thresholds(view->lumstat, 1024, &view->lum_min, &view->lum_max);
  }
  return draw_pic(pic, view, w, h, out, &d);
}

// Zoom out after zoom in (and in after out) returns to the same view on every
// drawing area size, unless a zoom limit or a picture edge clamped the step.
#include <gtest/gtest.h>

#include <string>

#include "app/core/viewctl.h"
#include "display/display_types.h"
#include "formats/picinfo.h"

namespace {

struct Case {
  int pw, ph;      // picture
  int keep_xyrel;  // equal scales
  float step;      // fix_zoomfactor (0: the default 2)
};

TEST(ZoomKeys, InverseStepRestoresTheView) {
  const Case cases[] = {
      {2048, 30, 1, 0},       // short recording, equal scales: x follows y (the viewer test)
      {2048, 600, 0, 0},      // factors on their own
      {2048, 1000, 1, 1.5f},  // a zoom step that is not a power of two
      {400, 300, 0, 3},
  };
  for (const Case& c : cases) {
    PICINFO* pic = pic_new();
    pic->width = c.pw;
    pic->height = c.ph;
    int tried = 0;
    for (int sw = 400; sw <= 1280; sw += 3)
      for (int sh = 300; sh <= 700; sh += 11)
        for (const char* seq : {"io", "oi"}) {
          VIEWINFO v{};
          v.keep_xyrel = c.keep_xyrel;
          v.fix_zoomfactor = c.step;
          zoom_key(&v, pic, sw, sh, 'f');
          if (seq[0] == 'o') zoom_key(&v, pic, sw, sh, 'i');  // something to zoom out of
          const ZOOMVAL a = v.zval;
          zoom_key(&v, pic, sw, sh, seq[0]);
          const ZOOMVAL mid = v.zval;
          zoom_key(&v, pic, sw, sh, seq[1]);
          // A clamped middle step can't be undone: skip those.
          float f = zoom_step(&v), ux = seq[0] == 'i' ? mid.zx / a.zx : a.zx / mid.zx;
          float uy = seq[0] == 'i' ? mid.zy / a.zy : a.zy / mid.zy;
          if (std::abs(ux - f) > 1e-3f * f || std::abs(uy - f) > 1e-3f * f) continue;
          if (mid.ox == 0 || mid.oy == 0) continue;  // may sit at the picture's edge
          tried++;
          SCOPED_TRACE(std::to_string(c.pw) + "x" + std::to_string(c.ph) + " on " +
                       std::to_string(sw) + "x" + std::to_string(sh) + " " + seq);
          ASSERT_EQ(v.zval.ox, a.ox);
          ASSERT_EQ(v.zval.oy, a.oy);
          ASSERT_NEAR(v.zval.zx, a.zx, 1e-5f * a.zx);
          ASSERT_NEAR(v.zval.zy, a.zy, 1e-5f * a.zy);
        }
    EXPECT_GT(tried, 100) << c.pw << "x" << c.ph;
    pic_delete(pic);
  }
}

}  // namespace

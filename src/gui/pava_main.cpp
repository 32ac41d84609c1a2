// pava: the GTK 2 program.
#include <gtk/gtk.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>

#include "app/core/options.h"
#include "app/log.h"
#include "app/ui_ops.h"
#include "common/text.h"
#include "config/prefs_file.h"
#include "display/orbitbind.h"
#include "formats/openfile.h"
#include "formats/picinfo.h"
#include "gui/mainwnd.h"
#include "gui/recpanel.h"
#include "gui/sgtk.h"
#include "gui/ui_gtk.h"
#include "reception/recordinfo.h"

namespace {

// The command line's recording, once the main loop runs: the recorder panel
// records the type and channels of the "-record"/"-crecord" text.
int sched_recordnow(gpointer window) {
  GtkWidget* win = GTK_WIDGET(window);
  if (RECORDINFO* rec = Get_Recordinfo_db(win)) {
    char spec[sizeof rec->rec_chan + 1];
    pava::copy_text(spec, rec->rec_chan);
    rec_start_from_spec(win, spec);
  }
  return FALSE;
}

// The messages live with the file opener, shared with pava-cli.
void report_open_error(const char* name, int code) {
  std::fputs(open_error_cmdline(code, name).c_str(), stderr);
}

}  // namespace

int main(int argc, char** argv) {
  main_mark_start();
  // 1. The three long-lived records, zero-filled.
  PICINFO* pic = pic_new();
  auto view = std::make_unique<VIEWINFO>();
  auto rec = std::make_unique<RECORDINFO>();
  g_recordinfo = rec.get();

  // 2. Keep the POSIX locale: numbers in files and texts use a decimal point.
  // A missing display is not fatal until a window is really needed.
  gtk_disable_setlocale();
  bool have_display = gtk_init_check(&argc, &argv);
  if (have_display) gdk_rgb_init();

  // 3.-4. No recording requested yet; preferences read and copied in.
  rec->rec_chan[0] = '\0';
  Read_Prefs(argv[0]);
  Load_Prefs(rec.get(), view.get(), pic);
  // The log and the GUI-settings file live in the home directory.
  if (!prefs.home_dir[0] && std::getenv("HOME"))
    pava::copy_text(prefs.home_dir, std::getenv("HOME"));

  // 6. Command line (help, version and option errors end the process here).
  do_options(argc, argv, pic, view.get(), rec.get());
  log_configure(prefs.home_dir, prefs.log);

  // 7. Batch options: no window, nothing recorded.
  if (rec->batch_mode) {
    pic_delete(pic);
    return 0;
  }

  // 8. A trailing file name.
  if (pic->file_name[0] == '\0' && argc >= 2 && argv[argc - 1][0] != '-' &&
      argv[argc - 2][0] != '-') {
    if (std::strlen(argv[argc - 1]) >= sizeof pic->file_name) {
      std::fprintf(stderr, "Error: Option %s: value too long (at most %d characters).\n", "<file>",
                   int(sizeof pic->file_name) - 1);
      pic_delete(pic);
      return 1;
    }
    std::snprintf(pic->file_name, sizeof pic->file_name, "%s", argv[argc - 1]);
  }

  // 9. Open the picture named on the command line.
  if (pic->file_name[0]) {
    prefs.sep_track_wnd = 0;
    gint64 t0 = g_get_monotonic_time();
    int r = open_file(pic, view.get(), nullptr, pic->file_type);
    if (!r) bind_picture_orbit(pic);
    if (prefs.log)
      log_message("Picture read (%d lines) in %.0f ms", pic_line_count(pic),
                  double(g_get_monotonic_time() - t0) / 1000);
    if (r) {
      report_open_error(pic->file_name, r);
      close_picfile(pic);
      pic_delete(pic);
      return 1;
    }
  }

  if (!have_display) {
    std::fputs("Error: can't open display.\n", stderr);
    close_picfile(pic);
    pic_delete(pic);
    return 1;
  }

  // 10. The main window; from now on the core reports into it.
  sgtk_state_load(prefs.home_dir);
  GtkWidget* window = make_gui(pic, view.get(), rec.get());
  ui_gtk_install();
  Set_Enable_Update(window, 1);
  gtk_widget_show_all(window);

  // 11. A command-line recording starts once the main loop runs.
  if (rec->rec_chan[0]) g_idle_add(sched_recordnow, window);

  // 12. Both skip items on.
  Set_Button(window, "View/Set skip/Use Pre sync", 1);
  Set_Button(window, "View/Set skip/Use Post sync", 1);
  gtk_widget_show(window);

  // 14. Main loop.
  Update_Main(window);
  gtk_main();
  sgtk_state_save();
  ui_install(nullptr);

  // 15. Shutdown.
  close_picfile(pic);
  pic_delete(pic);
  return 0;
}

// Finding "pava.ini" at start and copying the preferences into the picture,
// view and recording records.
#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <string>

#include "common/text.h"
#include "config/prefs_file.h"
#include "config/prefs_items.h"
#include "display/display_types.h"
#include "formats/picinfo.h"
#include "reception/recordinfo.h"

namespace {

bool is_file(const std::string& path) {
  struct stat st;
  return stat(path.c_str(), &st) == 0 && S_ISREG(st.st_mode);
}

// Directory of the program: the part of argv0 before its last "/", or the
// PATH entry that holds an executable of that name.
std::string program_dir(const char* argv0) {
  if (!argv0 || !*argv0) return "";
  const char* slash = std::strrchr(argv0, '/');
  if (slash) return slash == argv0 ? std::string("/") : std::string(argv0, slash);
  const char* path = std::getenv("PATH");
  if (!path) return "";
  std::string p = path;
  std::size_t start = 0;
  while (start <= p.size()) {
    std::size_t end = p.find(':', start);
    if (end == std::string::npos) end = p.size();
    std::string dir = p.substr(start, end - start);
    if (!dir.empty() && access((dir + "/" + argv0).c_str(), X_OK) == 0) return dir;
    start = end + 1;
  }
  return "";
}

// Notes the current, home and program directories in p.
void get_dirs(PREFS* p, const char* argv0) {
  char buf[4096];
  if (getcwd(buf, sizeof buf))
    pava::copy_text(p->cur_dir, buf);
  else
    p->cur_dir[0] = 0;
  const char* home = std::getenv("HOME");
  if (!home || !*home) {
    const struct passwd* pw = getpwuid(getuid());
    home = pw ? pw->pw_dir : "";
  }
  pava::copy_text(p->home_dir, home);
  pava::copy_text(p->prog_dir, program_dir(argv0));
}

// First of the noted directories holding name; empty when none does.
std::string search_file(const PREFS* p, const char* name) {
  const char* dirs[] = {p->cur_dir, p->home_dir, p->prog_dir};
  for (const char* d : dirs) {
    if (!*d) continue;
    std::string f = pava::strprintf("%s%c%s", d, '/', name);
    if (is_file(f)) return f;
  }
  return "";
}

}  // namespace

int Read_Prefs(const char* argv0) {
  get_dirs(&prefs, argv0);
  std::string f = search_file(&prefs, "pava.ini");
  // A path too long for the field is as good as no file: defaults stand.
  if (!pava::copy_text(prefs.prefs_file, f)) prefs.prefs_file[0] = 0;
  return Read_Pref(&prefs);
}

void Load_Prefs(RECORDINFO* rec, VIEWINFO* view, PICINFO* pic) {
  const PREFS& p = prefs;
  if (rec) {
    pava::copy_text(rec->work_location, p.working_dir);
    pava::copy_text(rec->dir_hrpt, p.dir_hrpt);
    pava::copy_text(rec->file_hrptbase, p.file_hrptbase);
    pava::copy_text(rec->file_hrptext, p.file_hrptext);
    // CHRPT recordings share the HRPT directory and extension.
    pava::copy_text(rec->dir_chrpt, p.dir_hrpt);
    pava::copy_text(rec->file_chrptbase, "chrpt");
    pava::copy_text(rec->file_chrptext, p.file_hrptext);
    pava::copy_text(rec->dir_mhrpt, p.dir_mhrpt);
    pava::copy_text(rec->file_mhrptbase, p.file_mhrptbase);
    pava::copy_text(rec->file_mhrptext, p.file_mhrptext);
    pava::copy_text(rec->dir_qnoaa20, p.dir_qnoaa20);
    pava::copy_text(rec->file_qnoaa20base, p.file_qnoaa20base);
    pava::copy_text(rec->file_qnoaa20ext, p.file_qnoaa20ext);
    pava::copy_text(rec->dir_qnoaa21, p.dir_qnoaa21);
    pava::copy_text(rec->file_qnoaa21base, p.file_qnoaa21base);
    pava::copy_text(rec->file_qnoaa21ext, p.file_qnoaa21ext);
    pava::copy_text(rec->dir_aqua, p.dir_aqua);
    pava::copy_text(rec->file_aquabase, p.file_aquabase);
    pava::copy_text(rec->file_aquaext, p.file_aquaext);
    pava::copy_text(rec->dir_metop, p.dir_metop);
    pava::copy_text(rec->file_metopbase, p.file_metopbase);
    pava::copy_text(rec->file_metopext, p.file_metopext);
    pava::copy_text(rec->dir_fy3, p.dir_fy3);
    pava::copy_text(rec->file_fy3base, p.file_fy3base);
    pava::copy_text(rec->file_fy3ext, p.file_fy3ext);
    pava::copy_text(rec->file_hribase, "hri");
    pava::copy_text(rec->file_hriext, p.file_hrptext);
    rec->file_loc = rec->dir_hrpt;
    rec->file_prefix = rec->file_hrptbase;
    rec->file_suffix = rec->file_hrptext;

    rec->hrpt_start_after_in_sync = p.hrpt_start_after_in_sync;
    rec->hrpt_stop_after_out_sync = p.hrpt_stop_after_out_sync;
    rec->hri_start_after_in_sync = p.hri_start_after_in_sync;
    rec->hri_stop_after_out_sync = p.hri_stop_after_out_sync;
    // CCSDS streams use the HRPT thresholds.
    rec->metop_start_after_in_sync = p.hrpt_start_after_in_sync;
    rec->metop_stop_after_out_sync = p.hrpt_stop_after_out_sync;
    rec->line_insync_thr = p.rec_line_insync_thr;
    rec->reczoom = p.rec_auto_zoom;
    rec->recshift = p.rec_auto_shift;
    rec->reczoomaspect = p.rec_auto_zoom_keep_aspect;
    rec->recclear_at_start = p.rec_clear_wnd_at_start;
    rec->show_skipy = p.rec_show_skipy;
    rec->do_live = p.rec_do_live;
    rec->sh_recchan = p.hrpt_showchan < 0 ? 0 : p.hrpt_showchan > 25 ? 25 : p.hrpt_showchan;
    rec->save_flag = p.hrptrec_save_rec;
    rec->auto_get_kepler = p.hrptrec_auto_getkepler;
    rec->use_satname = p.file_use_satname;
    rec->scan_ver = static_cast<SCANDIR>(p.hrpt_scandir);
    rec->plot_track = p.plot_track;
    pava::copy_text(rec->plottrack_file, p.plottrack_file);
    rec->nrplotf = p.nr_trplotfiles;
    rec->show_nrsats = p.nrsat_satwindow;
    rec->freq_offset = p.freq_offset;
    rec->hwsel_type = p.hwsel_type;

    rec->port_type = static_cast<PORT_TYPE>(p.port_type);
    rec->parport_base = p.parport_base;
    rec->fast_parportaccess = p.fast_parportaccess;
    rec->usb.ena = (p.port_type == usb);
    rec->usb.usb_use_id = p.use_usbid;
    pava::copy_text(rec->usb.usbport_id, p.usb_id);
    rec->usb.fast_ftd = p.usb_fast_ftd;
    rec->uart = p.uart;
    int sock = rec->eth.sock;  // a link that is open stays open
    rec->eth = p.eth;
    rec->eth.sock = sock;
  }
  if (view) {
    view->linearize = p.linearize;
    view->keep_xyrel = p.keep_xyrel;
    view->sur_ulim = p.sur_ulim;
    view->dsp_llim = p.dsp_llim;
    view->fix_zoomfactor = p.fix_zoomfactor;
    view->grid_clr = p.grid_clr;
    view->cont_clr = p.boundary_clr;
  }
  if (pic) pava::copy_text(pic->work_location, p.working_dir);
}

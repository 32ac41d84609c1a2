#include "app/core/options.h"

#include <sys/stat.h>

#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <new>

#include "ccsds/qpsk_files.h"
#include "common/text.h"
#include "config/prefs.h"
#include "formats/picinfo.h"
#include "reception/recordinfo.h"

const char* const PAVA_RELEASE = "2023.3";

namespace {

[[noreturn]] void out_of_memory() {
  std::fputs("FATAL ERROR: Out of memory! \n", stderr);
  std::exit(-1);
}

template <class T>
T* new_record() {
  T* r = new (std::nothrow) T();
  if (!r) out_of_memory();
  return r;
}

bool starts_with_dash(const char* w) { return w && w[0] == '-'; }

// Copies an option's text argument into a fixed field; too long: message, -2.
template <size_t N>
int copy_arg(char (&field)[N], const char* word, const char* arg) {
  if (!pava::copy_text(field, arg)) {
    std::fprintf(stderr, "Error: Option %s: value too long (at most %d characters).\n", word,
                 int(N) - 1);
    return -2;
  }
  return 1;
}

bool file_exists(const char* path) {
  struct stat st;
  return stat(path, &st) == 0;
}

}  // namespace

SETARG* Create_SetArg(SETARG** groups, const char* name) {
  SETARG* g = new_record<SETARG>();
  g->name = name ? name : "";
  if (!*groups) {
    *groups = g;
  } else {
    SETARG* t = *groups;
    while (t->next) t = t->next;
    t->next = g;
    g->prev = t;
  }
  return g;
}

ARG* Create_Arg(ARG** args, const char* name, const char* opt, const char* frmt1, const char* frmt2,
                argcode code, const char* help, ...) {
  ARG* a = new_record<ARG>();
  a->name = name ? name : "";
  a->opt = opt ? opt : "";
  a->has_frmt1 = frmt1 != nullptr;
  a->frmt1 = frmt1 ? frmt1 : "";
  a->has_frmt2 = frmt2 != nullptr;
  a->frmt2 = frmt2 ? frmt2 : "";
  a->code = code;
  if (help) {
    va_list ap;
    va_start(ap, help);
    char buf[1000];
    std::vsnprintf(buf, sizeof buf, help, ap);
    va_end(ap);
    a->help = buf;
  }
  if (!*args) {
    *args = a;
  } else {
    ARG* t = *args;
    while (t->next) t = t->next;
    t->next = a;
    a->prev = t;
  }
  return a;
}

void Remove_SetArgs(SETARG** groups) {
  SETARG* g = *groups;
  while (g) {
    ARG* a = g->arg;
    while (a) {
      ARG* n = a->next;
      delete a;
      a = n;
    }
    SETARG* n = g->next;
    delete g;
    g = n;
  }
  *groups = nullptr;
}

SETARG* options_set() {
  SETARG* groups = nullptr;
  SETARG* g = Create_SetArg(&groups, "\n  options for selecting (wild-cards allowed)s:");
  ARG** a = &g->arg;
  Create_Arg(a, "-H", nullptr, nullptr, nullptr, opt_help, "print help");
  Create_Arg(a, "--help", nullptr, nullptr, nullptr, opt_help, "print help");
  Create_Arg(a, "-V", nullptr, nullptr, nullptr, opt_vers, "print version");
  Create_Arg(a, "-i", " <file>", nullptr, "%s", opt_ifile, "read-in file");
  Create_Arg(a, "-w", " <width>", nullptr, "%d", opt_wnd_width, "width window");
  Create_Arg(a, "-h", " <height>", nullptr, "%d", opt_wnd_height, "height window");
  Create_Arg(a, "-sn", nullptr, nullptr, nullptr, opt_bound, "north bound");
  Create_Arg(a, "-t", " <type>", nullptr, "%s", opt_type, "type: m1, m2, mp, fy3, qnoaa");
  Create_Arg(a, "-record", " <chan>", nullptr, "%s", opt_rec, "record one time ");
  Create_Arg(a, "-crecord", " <chan>", nullptr, "%s", opt_crec, "continuous recording");
  Create_Arg(a, "-batch", " <chan>", nullptr, "%s", opt_bat, "batch mode, record one time");
  Create_Arg(a, "-cbatch", " <chan>", nullptr, "%s", opt_cbat, "batch mode, continuous recording");
  Create_Arg(a, "-log", nullptr, nullptr, nullptr, opt_log, "create log file");
  Create_Arg(a, "-pr_vcid", " <ofile>", nullptr, "%s", opt_pr_vcid, "print vcid's");
  Create_Arg(a, "-ts", nullptr, nullptr, nullptr, opt_ts, "separate track window");
  Create_Arg(a, "-plottrack", nullptr, nullptr, nullptr, opt_plottr, "plot track");
  Create_Arg(a, "-sim", " <ifile>", nullptr, "%s", opt_sim2, "simulate path using recorded file");
  Create_Arg(a, "-log_rs", " <logfile>", nullptr, "%s", opt_logrs, "log rs-errors");
  return groups;
}

int do_options1(argcode code, const char* word, const char* arg, PICINFO* pic, VIEWINFO* view,
                RECORDINFO* rec) {
  switch (code) {
    case opt_help:
    case opt_vers:
      return 1;  // handled by the parser, which owns the table
    case opt_ifile:
      return copy_arg(pic->file_name, word, arg);
    case opt_wnd_width:
      prefs.main_wnd_w = std::atoi(arg);
      return 1;
    case opt_wnd_height:
      prefs.main_wnd_h = std::atoi(arg);
      return 1;
    case opt_bound:
      view->scan_ver = S_N;
      return 1;
    case opt_type: {
      static const struct {
        const char* word;
        FILE_TYPE type;
      } kTypes[] = {{"m1", FT_MHRPT1},      {"m2", FT_MHRPT2}, {"mp", FT_METOP},
                    {"aqua", FT_AQUA},      {"fy3", FT_FY3},   {"qnoaa20", FT_QNOAA20},
                    {"qnoaa21", FT_QNOAA21}};
      for (const auto& t : kTypes) {
        if (std::strcmp(arg, t.word) == 0) {
          pic->file_type = t.type;
          return 1;
        }
      }
      return 0;
    }
    case opt_rec:
    case opt_crec:
    case opt_bat:
    case opt_cbat: {
      int r = copy_arg(rec->rec_chan, word, arg);
      if (r != 1) return r;
      rec->one_record = (code == opt_rec || code == opt_bat);
      if (code == opt_bat || code == opt_cbat) rec->batch_mode = 1;
      return 1;
    }
    case opt_log:
      prefs.log = 1;
      return 1;
    case opt_pr_vcid: {
      FILE* fp = std::fopen(arg, "rb");
      if (!fp) {
        std::printf("No file %s\n", arg);
        return -1;
      }
      pri_vcid(fp);
      std::fclose(fp);
      return 0;  // printing is the whole job: the parser then reports the option
    }
    case opt_ts:
      prefs.sep_track_wnd = 1;
      return 1;
    case opt_plottr:
      rec->plot_track = 1;
      return 1;
    case opt_sim2: {
      int r = copy_arg(rec->sim_file, word, arg);
      if (r != 1) return r;
      if (!file_exists(arg)) {
        std::printf("'%s' doesn't exist.\n", arg);
        return -1;
      }
      rec->port_type = from_file;
      return 1;
    }
    case opt_logrs:
      std::snprintf(rec->fndrs, 50, "%s", arg);
      return 1;
    default:
      return 0;
  }
}

void usage(SETARG* groups, const char* prefix) {
  std::string stars(62, '*');
  std::fprintf(stderr, "%s\n", stars.c_str());
  std::fprintf(stderr, "* Weather satellite program for HRPT/CHRPT/HRI.\n");
  std::fprintf(stderr, "* Release: %s\n", PAVA_RELEASE);
  std::fprintf(stderr, "\u00a9 the Pava developers\n");
  std::fprintf(stderr, "*%s\n", std::string(61, '-').c_str());
  std::fflush(stderr);
  std::printf("  Options:\n");
  for (SETARG* g = groups; g; g = g->next) {
    if (!prefix) {
      std::printf("  %s\n", g->name.c_str());
      std::fflush(stdout);
    }
    for (ARG* a = g->arg; a; a = a->next) {
      if (!a->help.empty() && a->help[0] == '!') continue;
      if (prefix && std::strncmp(a->name.c_str(), prefix, a->name.size()) != 0) continue;
      char head[99];
      std::snprintf(head, sizeof head, "%s%s", a->name.c_str(), a->opt.c_str());
      const char* first = head;
      size_t pos = 0;
      do {
        size_t nl = a->help.find('\n', pos);
        std::string line =
            a->help.substr(pos, nl == std::string::npos ? std::string::npos : nl - pos);
        std::fprintf(stderr, "    %-35s %s\n", first, line.c_str());
        first = "";
        pos = nl == std::string::npos ? std::string::npos : nl + 1;
      } while (pos != std::string::npos);
    }
  }
  std::fprintf(stderr, "\nExamples:\n");
  std::fprintf(stderr, "         pava                     start pava\n");
  std::fprintf(stderr, "         pava ned.gif             show pic in file 'ned.gif'\n");
  std::fprintf(stderr, "         pava -record hrpt:124    record HRPT channels 1/2/4\n");
  std::fprintf(stderr, "         pava -record hrpt:a      record HRPT, all channels\n");
  std::exit(0);
}

void parse_cmdopt(SETARG* groups, int argc, char** argv, PICINFO* pic, VIEWINFO* view,
                  RECORDINFO* rec) {
  for (int i = 1; i < argc; i++) {
    const char* word = argv[i];
    if (!starts_with_dash(word)) continue;
    const char* next = i + 1 < argc ? argv[i + 1] : nullptr;
    int result = 0;
    bool searching = true;
    for (SETARG* g = groups; g && searching; g = g->next) {
      for (ARG* a = g->arg; a && searching; a = a->next) {
        if (a->name != word) continue;
        const char* arg = nullptr;
        if (a->has_frmt2) {
          if (!next || starts_with_dash(next)) {
            result = -1;
            searching = false;
            break;
          }
          arg = next;
        } else if (next && !starts_with_dash(next)) {
          continue;  // an option without argument followed by a word: not this one
        }
        if (a->code == opt_help) usage(groups, nullptr);
        if (a->code == opt_vers) {
          std::fprintf(stderr, "* Version: %s\n", PAVA_RELEASE);
          std::exit(0);
        }
        result = do_options1(a->code, word, arg, pic, view, rec);
        searching = false;
      }
    }
    if (result == -2) std::exit(1);
    if (result == 0) {
      std::fprintf(stderr, "Error: Wrong or incomplete option '%s' \n", word);
      std::exit(0);
    }
    if (result == -1) {
      std::fprintf(stderr, "Error: Missing option for %s \n", word);
      std::exit(0);
    }
  }
}

void do_options(int argc, char** argv, PICINFO* pic, VIEWINFO* view, RECORDINFO* rec) {
  SETARG* groups = options_set();
  parse_cmdopt(groups, argc, argv, pic, view, rec);
  Remove_SetArgs(&groups);
}

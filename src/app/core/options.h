// The command line of pava: option table, parser and help listing.
#pragma once
#include <string>

struct PICINFO;
struct VIEWINFO;
struct RECORDINFO;

extern const char* const PAVA_RELEASE;  // "2023.3"

enum argcode {
  opt_unk = 0,
  opt_help = 1,
  opt_vers = 2,
  opt_ifile = 3,
  opt_wnd_width = 4,
  opt_wnd_height = 5,
  opt_bound = 6,
  opt_type = 7,
  opt_rec = 8,
  opt_crec = 9,
  opt_bat = 10,
  opt_cbat = 11,
  opt_log = 12,
  opt_pr_vcid = 13,
  opt_ts = 14,
  opt_plottr = 15,
  opt_sim1 = 16,
  opt_sim2 = 17,
  opt_dbg = 18,
  opt_logrs = 19
};

// One option.
struct ARG {
  std::string name;   // option word with its dash
  std::string opt;    // argument text shown in the help (" <file>")
  std::string frmt1;  // prefix matching (unused by this program)
  std::string frmt2;  // non-empty: the option takes the next word as argument
  bool has_frmt1, has_frmt2;
  argcode code;
  std::string help;  // a help text beginning with '!' hides the option
  int refcount;
  ARG* prev;
  ARG* next;
};

// A group of options with its heading.
struct SETARG {
  std::string name;
  int refcount;
  ARG* arg;
  SETARG* prev;
  SETARG* next;
};

SETARG* Create_SetArg(SETARG** groups, const char* name);
ARG* Create_Arg(ARG** args, const char* name, const char* opt, const char* frmt1, const char* frmt2,
                argcode code, const char* help, ...) __attribute__((format(printf, 7, 8)));
void Remove_SetArgs(SETARG** groups);

// The option table of the program.
SETARG* options_set();

// Carries out one option; arg is its argument or null. Returns 1 done, 0 not
// accepted, -1 failed, -2 argument too long for its field (after the message).
int do_options1(argcode code, const char* word, const char* arg, PICINFO* pic, VIEWINFO* view,
                RECORDINFO* rec);

// Parses argv. Help and version listings, option errors and arguments that do
// not fit their field end the process here (see the exit statuses of pava).
void parse_cmdopt(SETARG* groups, int argc, char** argv, PICINFO* pic, VIEWINFO* view,
                  RECORDINFO* rec);

// Prints the help listing and ends the process with status 0.
[[noreturn]] void usage(SETARG* groups, const char* prefix);

// Builds the table, parses, frees the table.
void do_options(int argc, char** argv, PICINFO* pic, VIEWINFO* view, RECORDINFO* rec);

// The preference items: one record per key of "pava.ini", tying the key to its
// field(s) in PREFS, its default and the way the value is written and parsed.
// The list is built once by Load_Defaults, in the order of the file.
#pragma once
#include <cstddef>
#include <cstdio>
#include <string>
#include <vector>

#include "config/prefs.h"

// Names of an enumeration key: value i[k] is written as s[k]. Up to 8 pairs
// are searched; an empty name ends the table.
struct ENUMTBL {
  int i[20];
  char s[10][21];
};

// One key. Exactly one kind of target is set: bval (boolean), ival (integer,
// enumeration or hexadecimal), fval (float), sval (text), pval (one character,
// type 'c'). A second target with sep != 0 makes a pair "a<sep>b".
struct PREFITEMS {
  PREFITEMS *prev, *next;
  int hex_nrdig;  // non-zero: integer written as hexadecimal with this many digits
  char type;      // 't' title line, 'c' one character, else from the target
  int bdef[2];
  int idef[2];
  float fdef[2];
  char sdef[41];  // default text (at most 20 characters from the constructor,
                  // 40 for the satellite names)
  char pdef[2];   // default character(s)
  char sep;       // separator of a pair, 0 for a single value
  int* bval[2];
  int* ival[2];
  float* fval[2];
  char* sval[2];
  char* pval[2];
  std::size_t slen[2];  // sizes of the text targets (bounded copies)
  char name[41];        // the key, or the text of a title line
  const ENUMTBL* enumtbl;
};

// The list built by Load_Defaults (null before).
extern PREFITEMS* pref_items;

// Constructors: each appends a record to *list (starting the list when it is
// null), stores the default in the target(s) at once and returns the record.
// Allocation failure prints "FATAL ERROR: Out of memory! (Trying allocating %ld
// bytes...)\n" and ends the process with status -1.
PREFITEMS* Create_BPref(PREFITEMS** list, const char* name, int* val, int def);
PREFITEMS* Create_IPref(PREFITEMS** list, const char* name, int* val, int def);
PREFITEMS* Create_EPref(PREFITEMS** list, const char* name, int* val, int def, const ENUMTBL* tbl);
PREFITEMS* Create_2IPref(PREFITEMS** list, const char* name, int* val1, int def1, int* val2,
                         int def2, char sep);
// A float, or a pair of floats when val2 is given (with sep).
PREFITEMS* Create_FPref(PREFITEMS** list, const char* name, float* val1, float def1,
                        float* val2 = nullptr, float def2 = 0.0f, char sep = 0);
PREFITEMS* Create_XPref(PREFITEMS** list, const char* name, int* val, int def, int nrdig);
// A text of field size size; the default is copied with at most 20 characters.
// A second target (val2, size2, def2) is used by the Satellite items.
PREFITEMS* Create_SPref(PREFITEMS** list, const char* name, char* val, std::size_t size,
                        const char* def, char* val2 = nullptr, std::size_t size2 = 0,
                        const char* def2 = nullptr);
// A one-character value (type 'c').
PREFITEMS* Create_CPref(PREFITEMS** list, const char* name, char* val, char def);
// A title line: text written on a line of its own.
PREFITEMS* Create_TPref(PREFITEMS** list, const char* text);
// Frees a list.
void Remove_Prefs(PREFITEMS* list);

// Frees the old item list, clears p and builds the items with all defaults into
// pref_items. Returns pref_items.
PREFITEMS* Load_Defaults(PREFS* p);

// Stores one value (already stripped of comment and blanks) under key.
// Returns 1 when the key belongs to an item, 0 when it was ignored.
int Set_Pref(PREFITEMS* items, const char* key, const char* value);

// One line of a preferences file: comment, "=", blanks as the file rules say.
void Pref_Line(PREFITEMS* items, PREFS* p, const char* line);
// Parses the text of a whole preferences file (any bytes, any length).
void Pref_Text(PREFITEMS* items, PREFS* p, const char* data, std::size_t len);
// After parsing: Shadow_fact at most 1.0, satellite selections to booleans,
// packed colours to RGBCLR, the load-time copy of the colour maps.
void Pref_Finish(PREFS* p);

// Load_Defaults, then parses p->prefs_file if it names an existing file.
// Returns 1.
int Read_Pref(PREFS* p);

// Writes every item to fp in list order, keys aligned to the longest key.
void Write_Pref(PREFITEMS* items, FILE* fp);
// Formats the value of one item as Write_Pref writes it (without key and
// newline; a title item gives its text).
void Format_Pref(const PREFITEMS* item, char* buf, std::size_t size);

// Colour-map lines (key "ClrMap").
int parse_extra(const char* key, const char* value, PREFS* p);
void save_extra(FILE* fp, const PREFS* p);
// One "ClrMap" value text per stored map that has a channel on, in file order.
std::vector<std::string> clrmap_values(const PREFS* p);

// Writes the preferences to fname through a temporary file in the same
// directory renamed over the old file on success. Failure shows "Can't open
// pref-file %s." (title "Error") and leaves an old file untouched; returns 'o'
// then, else 0.
int Save_Pref(PREFS* p, const char* fname);

// Packed 0xRRGGBB to 16-bit components (each byte repeated).
RGBCLR int2gdkclr(int packed);

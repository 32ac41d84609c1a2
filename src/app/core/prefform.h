// The "Preferences" window generated from the preference item list: every
// item a field on a tab chosen by its key, its value as the file writes it,
// and the way an edited field goes back into the preferences.
#pragma once
#include <string>
#include <vector>

#include "config/prefs_items.h"

struct PREF_FIELD {
  std::string tab;   // notebook tab
  std::string key;   // the item's key (the control's label)
  std::string text;  // value as written in the file (not for switches)
  int is_switch;     // a yes/no item: a check button
  int on;            // its state
  const PREFITEMS* item;
};

// Tabs in window order.
const std::vector<std::string>& pref_tabs();
// Tab of a key.
std::string pref_tab_of(const char* key);

// Fields of every item of the list (title lines left out), in list order.
std::vector<PREF_FIELD> pref_form(const PREFITEMS* items);

// Stores an edited field: a switch takes on, any other item its text as the
// file would give it. Returns 1 when the item took the value, 0 otherwise.
int pref_form_apply(PREFITEMS* items, const PREF_FIELD& field, const std::string& text, int on);

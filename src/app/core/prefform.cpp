#include "app/core/prefform.h"

#include <cstring>

namespace {

// Tab of a key: the first rule whose prefix the key starts with (a rule ending
// in '*' is a prefix, else the whole key must match).
struct Rule {
  const char* pattern;
  const char* tab;
};
const Rule kRules[] = {
    {"record.*", "Recording"},
    {"Hrpt*", "Recording"},
    {"Hri_*", "Recording"},
    {"set_channel_at_start", "Recording"},
    {"METFY3X_format", "Recording"},
    {"file_use_satname", "Recording"},
    {"Working_Dir", "Files"},
    {"*_File_name", "Files"},  // suffix rule, see matches()
    {"*_File_Dir", "Files"},
    {"*_File_Base", "Files"},
    {"*_File_Extension", "Files"},
    {"plottrack_file", "Files"},
    {"uart.*", "Receiver"},
    {"eth.*", "Receiver"},
    {"Port_type", "Receiver"},
    {"Parallel_port*", "Receiver"},
    {"Fast_Parportaccess", "Receiver"},
    {"use_usbid", "Receiver"},
    {"usb_id", "Receiver"},
    {"usb_fast_ftd", "Receiver"},
    {"Hwtype_select", "Receiver"},
    {"get_decodermode", "Receiver"},
    {"auto_decoder", "Receiver"},
    {"auto_tuner", "Receiver"},
    {"freq_offset", "Receiver"},
    {"Observer_*", "Observer"},
    {"Localtime_UTCOffset", "Observer"},
    {"Hour_Offset", "Observer"},
    {"Sec_Offset", "Observer"},
    {"track.*", "Tracking"},
    {"Elev_*", "Tracking"},
    {"Rot_Rep_time", "Tracking"},
    {"Radio_horizon", "Tracking"},
    {"Rotortype", "Tracking"},
    {"X_*", "Tracking"},
    {"Y_*", "Tracking"},
    {"Storm_*", "Tracking"},
    {"Flip_*", "Tracking"},
    {"DiSEqC_*", "Tracking"},
    {"plot_track", "Tracking"},
    {"nr_trplotfiles", "Tracking"},
    {"usb_tracktofpga", "Tracking"},
    {"sep_track_wnd", "Tracking"},
    {"zoom_satwindow", "Tracking"},
    {"nrsat_satwindow", "Tracking"},
    {"Sunshadow", "Tracking"},
    {"Shadow_fact", "Tracking"},
    {"Satellite", "Satellites"},
    {"*_window_*", "Display"},
    {"Font_size", "Display"},
    {"Grid_color", "Display"},
    {"boundary_color", "Display"},
    {"Linearize", "Display"},
    {"Keep_xy_relation", "Display"},
    {"Despeckle_limits", "Display"},
    {"Fixed_zoomfactor", "Display"},
};

bool matches(const char* pattern, const char* key) {
  size_t n = std::strlen(pattern), k = std::strlen(key);
  if (pattern[0] == '*' && pattern[n - 1] == '*') {  // contains
    std::string mid(pattern + 1, n - 2);
    return std::strstr(key, mid.c_str()) != nullptr;
  }
  if (pattern[0] == '*')  // suffix
    return k >= n - 1 && !std::strcmp(key + k - (n - 1), pattern + 1);
  if (pattern[n - 1] == '*') return !std::strncmp(key, pattern, n - 1);
  return !std::strcmp(key, pattern);
}

}  // namespace

const std::vector<std::string>& pref_tabs() {
  static const std::vector<std::string> tabs = {"General",  "Display",  "Recording", "Files",
                                                "Receiver", "Observer", "Tracking",  "Satellites"};
  return tabs;
}

std::string pref_tab_of(const char* key) {
  if (key)
    for (const Rule& r : kRules)
      if (matches(r.pattern, key)) return r.tab;
  return "General";
}

std::vector<PREF_FIELD> pref_form(const PREFITEMS* items) {
  std::vector<PREF_FIELD> out;
  for (const PREFITEMS* it = items; it; it = it->next) {
    if (it->type == 't') continue;
    PREF_FIELD f;
    f.tab = pref_tab_of(it->name);
    f.key = it->name;
    f.is_switch = it->bval[0] && !it->bval[1] ? 1 : 0;
    f.on = f.is_switch ? *it->bval[0] : 0;
    char buf[128];
    Format_Pref(it, buf, sizeof buf);
    f.text = buf;
    f.item = it;
    out.push_back(f);
  }
  return out;
}

int pref_form_apply(PREFITEMS* items, const PREF_FIELD& field, const std::string& text, int on) {
  if (field.is_switch) {
    for (PREFITEMS* it = items; it; it = it->next)
      if (it == field.item && it->bval[0]) {
        *it->bval[0] = on ? 1 : 0;
        return 1;
      }
    return 0;
  }
  if (field.key == "Satellite") return 0;  // the list is kept with the satellite names
  return Set_Pref(items, field.key.c_str(), text.c_str());
}

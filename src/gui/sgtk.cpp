#include "gui/sgtk.h"

#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>

#include "app/core/guistate.h"
#include "app/log.h"
#include "config/prefs.h"

namespace {

// Object data keys.
constexpr const char* kMenuTable = "sgtk_menu";   // window: GHashTable path -> item
constexpr const char* kOwner = "sgtk_window";     // menu item: its window
constexpr const char* kPersist = "sgtk_persist";  // widget: state kept
constexpr const char* kLedColour = "sgtk_led";    // LED: colour 0xRGB + 1

GUISTATE g_state;
std::string g_state_path;

std::string vformat(const char* fmt, va_list ap) {
  char buf[2048];
  std::vsnprintf(buf, sizeof buf, fmt, ap);
  return buf;
}

// Text shown for a name: without its "!" / "^" marker.
const char* shown(const char* name) {
  if (!name) return "";
  return (name[0] == '!' || name[0] == '^') ? name + 1 : name;
}

SGTK_ITEM make(SGTK_KIND kind, const char* name, GCallback cb, gpointer data) {
  SGTK_ITEM it{};
  it.kind = kind;
  it.name = name;
  it.cb = cb;
  it.data = data;
  return it;
}

GdkColor colour(int rgb24) {
  GdkColor c{};
  c.red = guint16(((rgb24 >> 16) & 0xff) * 257);
  c.green = guint16(((rgb24 >> 8) & 0xff) * 257);
  c.blue = guint16((rgb24 & 0xff) * 257);
  return c;
}

// 0xRGB (4 bits each) to 0xRRGGBB.
int rgb12_to_24(int rgb12) {
  int r = (rgb12 >> 8) & 0xf, g = (rgb12 >> 4) & 0xf, b = rgb12 & 0xf;
  return (r * 17) << 16 | (g * 17) << 8 | (b * 17);
}

struct FindCtx {
  const char* name;
  GtkWidget* found;
};

void find_in(GtkWidget* w, gpointer data) {
  auto* ctx = static_cast<FindCtx*>(data);
  if (ctx->found) return;
  const char* n = gtk_widget_get_name(w);
  if (n && std::strcmp(n, ctx->name) == 0) {
    ctx->found = w;
    return;
  }
  if (GTK_IS_CONTAINER(w)) gtk_container_forall(GTK_CONTAINER(w), find_in, data);
}

GtkWidget* find_exact(GtkWidget* window, const char* name) {
  if (auto* table = static_cast<GHashTable*>(g_object_get_data(G_OBJECT(window), kMenuTable)))
    if (auto* item = static_cast<GtkWidget*>(g_hash_table_lookup(table, name))) return item;
  FindCtx ctx{name, nullptr};
  find_in(window, &ctx);
  return ctx.found;
}

void on_message_ok(GtkWidget*, gpointer box) { gtk_widget_destroy(GTK_WIDGET(box)); }

std::string window_key_name(GtkWidget* window) {
  const char* n = gtk_widget_get_name(window);
  return n ? n : "";
}

using Visit = void (*)(GtkWidget* w, gpointer data);
struct Walk {
  Visit fn;
  gpointer data;
};
void walk_in(GtkWidget* w, gpointer data) {
  auto* walk = static_cast<Walk*>(data);
  walk->fn(w, walk->data);
  if (GTK_IS_CONTAINER(w)) gtk_container_forall(GTK_CONTAINER(w), walk_in, data);
}
void walk(GtkWidget* root, Visit fn, gpointer data) {
  Walk wk{fn, data};
  walk_in(root, &wk);
}

// State of a persistent widget as text, and back.
std::string widget_state(GtkWidget* w) {
  char buf[64];
  if (GTK_IS_TOGGLE_BUTTON(w))
    return gtk_toggle_button_get_active(GTK_TOGGLE_BUTTON(w)) ? "1" : "0";
  if (GTK_IS_SPIN_BUTTON(w)) {
    g_ascii_dtostr(buf, sizeof buf, gtk_spin_button_get_value(GTK_SPIN_BUTTON(w)));
    return buf;
  }
  if (GTK_IS_ENTRY(w)) return gtk_entry_get_text(GTK_ENTRY(w));
  if (GTK_IS_COMBO_BOX(w)) return std::to_string(gtk_combo_box_get_active(GTK_COMBO_BOX(w)));
  if (GTK_IS_NOTEBOOK(w)) return std::to_string(gtk_notebook_get_current_page(GTK_NOTEBOOK(w)));
  return std::string();
}

void set_widget_state(GtkWidget* w, const std::string& v) {
  if (GTK_IS_TOGGLE_BUTTON(w)) {
    gtk_toggle_button_set_active(GTK_TOGGLE_BUTTON(w), v == "1");
  } else if (GTK_IS_SPIN_BUTTON(w)) {
    gtk_spin_button_set_value(GTK_SPIN_BUTTON(w), g_ascii_strtod(v.c_str(), nullptr));
  } else if (GTK_IS_ENTRY(w)) {
    gtk_entry_set_text(GTK_ENTRY(w), v.c_str());
  } else if (GTK_IS_COMBO_BOX(w)) {
    gtk_combo_box_set_active(GTK_COMBO_BOX(w), std::atoi(v.c_str()));
  } else if (GTK_IS_NOTEBOOK(w)) {
    int n = std::atoi(v.c_str());
    if (n >= 0 && n < gtk_notebook_get_n_pages(GTK_NOTEBOOK(w)))
      gtk_notebook_set_current_page(GTK_NOTEBOOK(w), n);
  }
}

void store_one(GtkWidget* w, gpointer data) {
  if (!g_object_get_data(G_OBJECT(w), kPersist)) return;
  auto* win = static_cast<std::string*>(data);
  guistate_set(&g_state, guistate_key(*win, gtk_widget_get_name(w)), widget_state(w));
}

void restore_one(GtkWidget* w, gpointer data) {
  if (!g_object_get_data(G_OBJECT(w), kPersist)) return;
  auto* win = static_cast<std::string*>(data);
  if (const std::string* v = guistate_get(g_state, guistate_key(*win, gtk_widget_get_name(w))))
    set_widget_state(w, *v);
}

gboolean on_window_delete(GtkWidget* w, GdkEvent*, gpointer) {
  sgtk_state_store(w);
  return FALSE;  // goes on to destroy
}

GtkWidget* labelled(const char* name, GtkWidget* w) {
  GtkWidget* box = gtk_hbox_new(FALSE, 2);
  gtk_box_pack_start(GTK_BOX(box), gtk_label_new(shown(name)), FALSE, FALSE, 0);
  gtk_box_pack_start(GTK_BOX(box), w, TRUE, TRUE, 0);
  return box;
}

void connect(GtkWidget* w, const char* signal, const SGTK_ITEM& it) {
  if (it.cb) g_signal_connect(w, signal, it.cb, it.data);
}

}  // namespace

// ---- Descriptions ----

SGTK_ITEM sg_button(const char* name, GCallback cb, gpointer data) {
  return make(SGK_BUTTON, name, cb, data);
}
SGTK_ITEM sg_toggle(const char* name, GCallback cb, gpointer data) {
  return make(SGK_TOGGLE, name, cb, data);
}
SGTK_ITEM sg_check(const char* name, GCallback cb, gpointer data) {
  return make(SGK_CHECK, name, cb, data);
}
SGTK_ITEM sg_radio(const char* name, GCallback cb, gpointer data) {
  return make(SGK_RADIO, name, cb, data);
}
SGTK_ITEM sg_entry(const char* name, int width_chars, GCallback cb, gpointer data) {
  SGTK_ITEM it = make(SGK_ENTRY, name, cb, data);
  it.val = width_chars;
  return it;
}
SGTK_ITEM sg_spin(const char* name, double val, double min, double max, double step, int digits,
                  GCallback cb, gpointer data) {
  SGTK_ITEM it = make(SGK_SPIN, name, cb, data);
  it.val = val;
  it.min = min;
  it.max = max;
  it.step = step;
  it.digits = digits;
  return it;
}
SGTK_ITEM sg_option(const char* name, const char* choices, GCallback cb, gpointer data) {
  SGTK_ITEM it = make(SGK_OPTION, name, cb, data);
  it.choices = choices;
  return it;
}
SGTK_ITEM sg_label(const char* name) { return make(SGK_LABEL, name, nullptr, nullptr); }
SGTK_ITEM sg_led(const char* name, int rgb12) {
  SGTK_ITEM it = make(SGK_LED, name, nullptr, nullptr);
  it.val = rgb12;
  return it;
}
SGTK_ITEM sg_progress(const char* name) { return make(SGK_PROGRESS, name, nullptr, nullptr); }
SGTK_ITEM sg_list(const char* name, const char* titles) {
  SGTK_ITEM it = make(SGK_LIST, name, nullptr, nullptr);
  it.choices = titles;
  return it;
}
SGTK_ITEM sg_drawing(const char* name, int width, int height) {
  SGTK_ITEM it = make(SGK_DRAWING, name, nullptr, nullptr);
  it.val = width;
  it.digits = height;
  return it;
}
SGTK_ITEM sg_separator() { return make(SGK_SEPARATOR, "", nullptr, nullptr); }
SGTK_ITEM sg_persist(SGTK_ITEM item) {
  item.persist = 1;
  return item;
}

GtkWidget* sgtk_item(const SGTK_ITEM& it) {
  GtkWidget* w = nullptr;
  GtkWidget* outer = nullptr;  // what is packed, when not w itself
  switch (it.kind) {
    case SGK_BUTTON:
      w = gtk_button_new_with_label(shown(it.name));
      connect(w, "clicked", it);
      break;
    case SGK_TOGGLE:
      w = gtk_toggle_button_new_with_label(shown(it.name));
      connect(w, "toggled", it);
      break;
    case SGK_CHECK:
      w = gtk_check_button_new_with_label(shown(it.name));
      connect(w, "toggled", it);
      break;
    case SGK_RADIO:
      w = gtk_radio_button_new_with_label(nullptr, shown(it.name));
      connect(w, "toggled", it);
      break;
    case SGK_ENTRY:
      w = gtk_entry_new();
      if (it.val > 0) gtk_entry_set_width_chars(GTK_ENTRY(w), int(it.val));
      if (it.name && it.name[0] == '!') gtk_editable_set_editable(GTK_EDITABLE(w), FALSE);
      connect(w, "activate", it);
      outer = labelled(it.name, w);
      break;
    case SGK_SPIN: {
      w = gtk_spin_button_new_with_range(it.min, it.max, it.step > 0 ? it.step : 1);
      gtk_spin_button_set_digits(GTK_SPIN_BUTTON(w), guint(it.digits));
      gtk_spin_button_set_value(GTK_SPIN_BUTTON(w), it.val);
      connect(w, "value-changed", it);
      outer = labelled(it.name, w);
      break;
    }
    case SGK_OPTION: {
      w = gtk_combo_box_new_text();
      std::string all = it.choices ? it.choices : "";
      size_t start = 0;
      while (start <= all.size()) {
        size_t bar = all.find('|', start);
        if (bar == std::string::npos) bar = all.size();
        gtk_combo_box_append_text(GTK_COMBO_BOX(w), all.substr(start, bar - start).c_str());
        start = bar + 1;
      }
      gtk_combo_box_set_active(GTK_COMBO_BOX(w), 0);
      connect(w, "changed", it);
      outer = it.name && it.name[0] == '^' ? labelled(it.name, w) : nullptr;
      break;
    }
    case SGK_LABEL:
      w = gtk_label_new(shown(it.name));
      break;
    case SGK_LED:
      w = gtk_drawing_area_new();
      gtk_widget_set_size_request(w, 12, 12);
      outer = gtk_alignment_new(0.5f, 0.5f, 0, 0);
      gtk_container_add(GTK_CONTAINER(outer), w);
      break;
    case SGK_PROGRESS:
      w = gtk_progress_bar_new();
      break;
    case SGK_LIST: {
      std::vector<std::string> titles;
      std::string all = it.choices ? it.choices : "";
      size_t start = 0;
      while (start <= all.size()) {
        size_t bar = all.find('|', start);
        if (bar == std::string::npos) bar = all.size();
        titles.push_back(all.substr(start, bar - start));
        start = bar + 1;
      }
      std::vector<GType> types(titles.size(), G_TYPE_STRING);
      GtkListStore* store = gtk_list_store_newv(gint(types.size()), types.data());
      w = gtk_tree_view_new_with_model(GTK_TREE_MODEL(store));
      g_object_unref(store);
      for (size_t i = 0; i < titles.size(); i++) {
        GtkCellRenderer* r = gtk_cell_renderer_text_new();
        gtk_tree_view_insert_column_with_attributes(GTK_TREE_VIEW(w), -1, titles[i].c_str(), r,
                                                    "text", gint(i), nullptr);
      }
      outer = gtk_scrolled_window_new(nullptr, nullptr);
      gtk_scrolled_window_set_policy(GTK_SCROLLED_WINDOW(outer), GTK_POLICY_AUTOMATIC,
                                     GTK_POLICY_AUTOMATIC);
      gtk_container_add(GTK_CONTAINER(outer), w);
      break;
    }
    case SGK_DRAWING:
      w = gtk_drawing_area_new();
      gtk_widget_set_size_request(w, int(it.val), it.digits);
      break;
    case SGK_SEPARATOR:
      w = gtk_vseparator_new();
      break;
  }
  if (it.name && it.name[0]) gtk_widget_set_name(w, it.name);
  if (it.persist) g_object_set_data(G_OBJECT(w), kPersist, GINT_TO_POINTER(1));
  if (it.kind == SGK_LED) Set_Led(w, nullptr, int(it.val));
  return outer ? outer : w;
}

GtkWidget* sgtk_row(const std::vector<SGTK_ITEM>& items, bool vertical) {
  GtkWidget* box = vertical ? gtk_vbox_new(FALSE, 2) : gtk_hbox_new(FALSE, 2);
  GSList* group = nullptr;
  for (const auto& it : items) {
    GtkWidget* w = sgtk_item(it);
    if (it.kind == SGK_RADIO) {
      gtk_radio_button_set_group(GTK_RADIO_BUTTON(w), group);
      group = gtk_radio_button_get_group(GTK_RADIO_BUTTON(w));
    } else {
      group = nullptr;
    }
    bool grow = it.kind == SGK_LIST || it.kind == SGK_DRAWING || it.kind == SGK_PROGRESS;
    gtk_box_pack_start(GTK_BOX(box), w, grow, grow, 0);
  }
  return box;
}

GtkWidget* sgtk_box(bool vertical, const std::vector<GtkWidget*>& children, bool expand_last) {
  GtkWidget* box = vertical ? gtk_vbox_new(FALSE, 2) : gtk_hbox_new(FALSE, 2);
  for (size_t i = 0; i < children.size(); i++) {
    bool grow = expand_last && i + 1 == children.size();
    gtk_box_pack_start(GTK_BOX(box), children[i], grow, grow, 0);
  }
  return box;
}

GtkWidget* sgtk_window(const char* name, GtkWidget* content) {
  GtkWidget* w = gtk_window_new(GTK_WINDOW_TOPLEVEL);
  gtk_widget_set_name(w, name);
  gtk_window_set_title(GTK_WINDOW(w), name);
  if (content) gtk_container_add(GTK_CONTAINER(w), content);
  g_signal_connect(w, "delete-event", G_CALLBACK(on_window_delete), nullptr);
  sgtk_state_restore(w);
  return w;
}

// ---- Menus ----

namespace {

struct MenuBuild {
  GtkWidget* window;
  GtkWidget* bar;
  GtkAccelGroup* accel;
  GHashTable* items;                        // path -> item
  std::map<std::string, GtkWidget*> menus;  // "View/Set skip" -> its menu
  std::map<std::string, GSList*> radio;     // menu path -> radio group in progress
};

GtkWidget* menu_for(MenuBuild* mb, const std::string& path) {
  auto it = mb->menus.find(path);
  if (it != mb->menus.end()) return it->second;
  size_t slash = path.rfind('/');
  GtkWidget* parent = slash == std::string::npos ? mb->bar : menu_for(mb, path.substr(0, slash));
  std::string label = slash == std::string::npos ? path : path.substr(slash + 1);
  GtkWidget* head = gtk_menu_item_new_with_label(label.c_str());
  gtk_widget_set_name(head, path.c_str());
  g_object_set_data(G_OBJECT(head), kOwner, mb->window);
  GtkWidget* menu = gtk_menu_new();
  gtk_menu_set_accel_group(GTK_MENU(menu), mb->accel);
  gtk_menu_item_set_submenu(GTK_MENU_ITEM(head), menu);
  gtk_menu_shell_append(GTK_MENU_SHELL(parent), head);
  mb->menus[path] = menu;
  return menu;
}

void on_menu_item(GtkWidget* item, gpointer data) {
  auto cb = reinterpret_cast<SgtkMenuCb>(g_object_get_data(G_OBJECT(item), "sgtk_menu_cb"));
  if (cb) cb(item, static_cast<const char*>(data));
}

}  // namespace

GtkWidget* sgtk_menubar(GtkWidget* window, const SGTK_MENU* items, int n) {
  MenuBuild mb{};
  mb.window = window;
  mb.bar = gtk_menu_bar_new();
  mb.accel = gtk_accel_group_new();
  gtk_window_add_accel_group(GTK_WINDOW(window), mb.accel);
  g_object_unref(mb.accel);
  mb.items = g_hash_table_new_full(g_str_hash, g_str_equal, g_free, nullptr);
  g_object_set_data_full(G_OBJECT(window), kMenuTable, mb.items,
                         reinterpret_cast<GDestroyNotify>(g_hash_table_destroy));
  for (int i = 0; i < n; i++) {
    const SGTK_MENU& e = items[i];
    std::string path = e.path;
    size_t slash = path.rfind('/');
    if (slash == std::string::npos) continue;
    std::string parent_path = path.substr(0, slash);
    std::string label = path.substr(slash + 1);
    GtkWidget* menu = menu_for(&mb, parent_path);
    GtkWidget* item = nullptr;
    const char* signal = "activate";
    switch (e.kind) {
      case SGM_SEPARATOR:
        item = gtk_separator_menu_item_new();
        break;
      case SGM_ITEM:
        item = gtk_menu_item_new_with_label(label.c_str());
        break;
      case SGM_CHECK:
        item = gtk_check_menu_item_new_with_label(label.c_str());
        signal = "toggled";
        break;
      case SGM_RADIO:
        item = gtk_radio_menu_item_new_with_label(mb.radio[parent_path], label.c_str());
        mb.radio[parent_path] = gtk_radio_menu_item_get_group(GTK_RADIO_MENU_ITEM(item));
        signal = "toggled";
        break;
    }
    if (e.kind != SGM_RADIO) mb.radio.erase(parent_path);
    gtk_menu_shell_append(GTK_MENU_SHELL(menu), item);
    if (e.kind == SGM_SEPARATOR) continue;
    gtk_widget_set_name(item, e.path);
    g_object_set_data(G_OBJECT(item), kOwner, window);
    g_hash_table_insert(mb.items, g_strdup(e.path), item);
    if (e.cb) {
      g_object_set_data(G_OBJECT(item), "sgtk_menu_cb", reinterpret_cast<gpointer>(e.cb));
      g_signal_connect(item, signal, G_CALLBACK(on_menu_item), const_cast<char*>(e.path));
    }
    if (e.accel) {
      guint key = 0;
      GdkModifierType mods{};
      gtk_accelerator_parse(e.accel, &key, &mods);
      if (key) gtk_widget_add_accelerator(item, "activate", mb.accel, key, mods, GTK_ACCEL_VISIBLE);
    }
  }
  return mb.bar;
}

// ---- Finding and setting ----

GtkWidget* sgtk_window_of(GtkWidget* widget) {
  if (!widget) return nullptr;
  if (auto* owner = static_cast<GtkWidget*>(g_object_get_data(G_OBJECT(widget), kOwner)))
    return owner;
  GtkWidget* top = gtk_widget_get_toplevel(widget);
  // A widget inside a menu: its attach widget leads to the window.
  if (GTK_IS_MENU(widget) ||
      (top && GTK_IS_WINDOW(top) && GTK_WINDOW(top)->type == GTK_WINDOW_POPUP)) {
    GtkWidget* menu = widget;
    while (menu && !GTK_IS_MENU(menu)) menu = gtk_widget_get_parent(menu);
    if (menu) {
      GtkWidget* attach = gtk_menu_get_attach_widget(GTK_MENU(menu));
      if (attach) return sgtk_window_of(attach);
    }
  }
  return top;
}

GtkWidget* Find_Window(const char* name) {
  if (!name) return nullptr;
  GList* all = gtk_window_list_toplevels();
  GtkWidget* found = nullptr;
  for (GList* l = all; l && !found; l = l->next) {
    GtkWidget* w = GTK_WIDGET(l->data);
    const char* n = gtk_widget_get_name(w);
    const char* t = gtk_window_get_title(GTK_WINDOW(w));
    if ((n && std::strcmp(n, name) == 0) || (t && std::strcmp(t, name) == 0)) found = w;
  }
  g_list_free(all);
  return found;
}

GtkWidget* Find_Widget(GtkWidget* any, const char* name) {
  GtkWidget* window = sgtk_window_of(any);
  if (!window || !name) return nullptr;
  if (GtkWidget* w = find_exact(window, name)) return w;
  if (name[0] == '!' || name[0] == '^') return nullptr;
  for (const char* prefix : {"!", "^"}) {
    std::string n = std::string(prefix) + name;
    if (GtkWidget* w = find_exact(window, n.c_str())) return w;
  }
  return nullptr;
}

int Set_Button(GtkWidget* any, const char* name, int on) {
  GtkWidget* w = name ? Find_Widget(any, name) : any;
  if (w && GTK_IS_TOGGLE_BUTTON(w)) {
    gtk_toggle_button_set_active(GTK_TOGGLE_BUTTON(w), on != 0);
    return 0;
  }
  if (w && GTK_IS_CHECK_MENU_ITEM(w)) {
    gtk_check_menu_item_set_active(GTK_CHECK_MENU_ITEM(w), on != 0);
    return 0;
  }
  return -1;
}

int Get_Button(GtkWidget* any, const char* name) {
  GtkWidget* w = name ? Find_Widget(any, name) : any;
  if (w && GTK_IS_TOGGLE_BUTTON(w)) return gtk_toggle_button_get_active(GTK_TOGGLE_BUTTON(w));
  if (w && GTK_IS_CHECK_MENU_ITEM(w)) return gtk_check_menu_item_get_active(GTK_CHECK_MENU_ITEM(w));
  return -1;
}

int Set_Entry(GtkWidget* any, const char* name, const char* fmt, ...) {
  GtkWidget* w = name ? Find_Widget(any, name) : any;
  if (!w) return -1;
  va_list ap;
  va_start(ap, fmt);
  std::string text = vformat(fmt, ap);
  va_end(ap);
  if (GTK_IS_ENTRY(w))
    gtk_entry_set_text(GTK_ENTRY(w), text.c_str());
  else if (GTK_IS_LABEL(w))
    gtk_label_set_text(GTK_LABEL(w), text.c_str());
  else if (GTK_IS_PROGRESS_BAR(w))
    gtk_progress_bar_set_text(GTK_PROGRESS_BAR(w), text.c_str());
  else if (GTK_IS_BUTTON(w))
    gtk_button_set_label(GTK_BUTTON(w), text.c_str());
  else
    return -1;
  return 0;
}

int Set_Led(GtkWidget* any, const char* name, int rgb12) {
  GtkWidget* w = name ? Find_Widget(any, name) : any;
  if (!w) return -1;
  g_object_set_data(G_OBJECT(w), kLedColour, GINT_TO_POINTER((rgb12 & 0xfff) + 1));
  sgtk_set_colour(w, rgb12_to_24(rgb12));
  return 0;
}

std::string sgtk_get_text(GtkWidget* any, const char* name) {
  GtkWidget* w = name ? Find_Widget(any, name) : any;
  if (w && GTK_IS_ENTRY(w)) return gtk_entry_get_text(GTK_ENTRY(w));
  if (w && GTK_IS_LABEL(w)) return gtk_label_get_text(GTK_LABEL(w));
  return std::string();
}

double sgtk_get_value(GtkWidget* any, const char* name) {
  GtkWidget* w = name ? Find_Widget(any, name) : any;
  return (w && GTK_IS_SPIN_BUTTON(w)) ? gtk_spin_button_get_value(GTK_SPIN_BUTTON(w)) : 0.0;
}

void sgtk_set_value(GtkWidget* any, const char* name, double value) {
  GtkWidget* w = name ? Find_Widget(any, name) : any;
  if (w && GTK_IS_SPIN_BUTTON(w)) gtk_spin_button_set_value(GTK_SPIN_BUTTON(w), value);
}

void sgtk_set_colour(GtkWidget* w, int rgb24) {
  if (!w) return;
  GdkColor c = colour(rgb24);
  for (GtkStateType s : {GTK_STATE_NORMAL, GTK_STATE_ACTIVE, GTK_STATE_PRELIGHT})
    gtk_widget_modify_bg(w, s, &c);
}

void sgtk_set_sensitive(GtkWidget* any, const char* name, int on) {
  if (GtkWidget* w = Find_Widget(any, name)) gtk_widget_set_sensitive(w, on != 0);
}

void sgtk_set_shown(GtkWidget* any, const char* name, int on) {
  GtkWidget* w = Find_Widget(any, name);
  if (!w) return;
  if (on)
    gtk_widget_show(w);
  else
    gtk_widget_hide(w);
}

void sgtk_progress_set(GtkWidget* bar, double fraction, const char* text) {
  if (!bar || !GTK_IS_PROGRESS_BAR(bar)) return;
  gtk_progress_bar_set_fraction(GTK_PROGRESS_BAR(bar), CLAMP(fraction, 0.0, 1.0));
  if (text) gtk_progress_bar_set_text(GTK_PROGRESS_BAR(bar), text);
}

void sgtk_list_append(GtkWidget* list, const std::vector<std::string>& cells) {
  if (!list || !GTK_IS_TREE_VIEW(list)) return;
  GtkListStore* store = GTK_LIST_STORE(gtk_tree_view_get_model(GTK_TREE_VIEW(list)));
  int ncol = gtk_tree_model_get_n_columns(GTK_TREE_MODEL(store));
  GtkTreeIter iter;
  gtk_list_store_append(store, &iter);
  for (int i = 0; i < ncol && size_t(i) < cells.size(); i++)
    gtk_list_store_set(store, &iter, i, cells[size_t(i)].c_str(), -1);
}

void sgtk_list_clear(GtkWidget* list) {
  if (list && GTK_IS_TREE_VIEW(list))
    gtk_list_store_clear(GTK_LIST_STORE(gtk_tree_view_get_model(GTK_TREE_VIEW(list))));
}

GtkWidget* Create_Message(GtkWidget* parent, const char* title, const char* fmt, ...) {
  va_list ap;
  va_start(ap, fmt);
  std::string text = vformat(fmt, ap);
  va_end(ap);
  // With logging on, every message box is also a log line.
  if (prefs.log) log_message("%s: %s", title, text.c_str());
  GtkWidget* label = gtk_label_new(text.c_str());
  gtk_misc_set_padding(GTK_MISC(label), 12, 12);
  GtkWidget* ok = gtk_button_new_with_label("OK");
  gtk_widget_set_name(ok, "OK");
  GtkWidget* box = sgtk_box(true, {label, ok});
  GtkWidget* w = gtk_window_new(GTK_WINDOW_TOPLEVEL);
  gtk_widget_set_name(w, title);
  gtk_window_set_title(GTK_WINDOW(w), title);
  gtk_container_add(GTK_CONTAINER(w), box);
  GtkWidget* top = sgtk_window_of(parent);
  if (top && GTK_IS_WINDOW(top)) {
    gtk_window_set_transient_for(GTK_WINDOW(w), GTK_WINDOW(top));
    gtk_window_set_position(GTK_WINDOW(w), GTK_WIN_POS_CENTER_ON_PARENT);
  }
  g_signal_connect(ok, "clicked", G_CALLBACK(on_message_ok), w);
  gtk_widget_show_all(w);
  gtk_widget_grab_focus(ok);
  return w;
}

int sgtk_ask(GtkWidget* parent, const char* title, const char* question) {
  GtkWidget* top = sgtk_window_of(parent);
  GtkWidget* d = gtk_message_dialog_new(top && GTK_IS_WINDOW(top) ? GTK_WINDOW(top) : nullptr,
                                        GTK_DIALOG_MODAL, GTK_MESSAGE_QUESTION, GTK_BUTTONS_YES_NO,
                                        "%s", question);
  gtk_window_set_title(GTK_WINDOW(d), title);
  gtk_widget_set_name(d, title);
  int r = gtk_dialog_run(GTK_DIALOG(d));
  gtk_widget_destroy(d);
  return r == GTK_RESPONSE_YES ? 1 : 0;
}

// ---- GUI-settings file ----

void sgtk_state_load(const char* home) {
  g_state_path = guistate_path(home ? home : "");
  guistate_read(&g_state, g_state_path);
}

void sgtk_state_store(GtkWidget* window) {
  if (!window) return;
  std::string win = window_key_name(window);
  walk(window, store_one, &win);
  if (GTK_IS_WINDOW(window) && gtk_widget_get_visible(window)) {
    int x = 0, y = 0;
    gtk_window_get_position(GTK_WINDOW(window), &x, &y);
    guistate_set(&g_state, guistate_key(win, "position"),
                 std::to_string(x) + "," + std::to_string(y));
  }
}

void sgtk_state_restore(GtkWidget* window) {
  if (!window) return;
  std::string win = window_key_name(window);
  walk(window, restore_one, &win);
  if (const std::string* pos = guistate_get(g_state, guistate_key(win, "position"))) {
    int x = 0, y = 0;
    if (std::sscanf(pos->c_str(), "%d,%d", &x, &y) == 2 && x >= 0 && y >= 0)
      gtk_window_move(GTK_WINDOW(window), x, y);
  }
}

void sgtk_state_save() {
  if (!g_state_path.empty()) guistate_write(g_state, g_state_path);
}

std::string sgtk_state_get(const char* key) {
  const std::string* v = guistate_get(g_state, key);
  return v ? *v : std::string();
}

void sgtk_state_set(const char* key, const std::string& value) {
  guistate_set(&g_state, key, value);
}

void sgtk_drain_events() {
  while (g_main_context_iteration(nullptr, FALSE)) {
  }
}

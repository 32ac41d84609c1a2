#include "gui/prefwnd.h"

#include <deque>
#include <string>
#include <vector>

#include "app/core/prefform.h"
#include "config/prefs.h"
#include "config/prefs_file.h"
#include "gui/mainwnd.h"
#include "gui/sgtk.h"

namespace {

constexpr const char* kWnd = "Preferences";

// Labels of the controls ("^key"): the toolkit keeps pointers to them.
const char* label_of(const std::string& key) {
  static std::deque<std::string> labels;
  for (const std::string& l : labels)
    if (l.compare(1, std::string::npos, key) == 0) return l.c_str();
  labels.push_back("^" + key);
  return labels.back().c_str();
}

// Fields of the open window, widget by widget (same order as the form).
std::vector<std::pair<PREF_FIELD, GtkWidget*>>& fields() {
  static std::vector<std::pair<PREF_FIELD, GtkWidget*>> f;
  return f;
}

void apply(GtkWidget*) {
  for (auto& [field, widget] : fields()) {
    if (field.is_switch)
      pref_form_apply(pref_items, field, "",
                      gtk_toggle_button_get_active(GTK_TOGGLE_BUTTON(widget)));
    else
      pref_form_apply(pref_items, field, gtk_entry_get_text(GTK_ENTRY(widget)), 0);
  }
  if (GtkWidget* win = Find_Window("Pava")) {
    Load_Prefs(Get_Recordinfo_db(win), Get_Viewinfo_db(win), Get_Picinfo_db(win));
    Update_Main(win);
  }
}

void on_apply(GtkWidget* w, gpointer) { apply(w); }
void on_save(GtkWidget* w, gpointer) {
  apply(w);
  if (Save_Prefs() == 0) Create_Message(w, "Info", "Saved in %s", prefs.prefs_file);
}
void on_close(GtkWidget* w, gpointer) { gtk_widget_destroy(sgtk_window_of(w)); }
void on_destroy(GtkWidget*, gpointer) { fields().clear(); }

}  // namespace

void preferences_open(GtkWidget* main_window) {
  if (GtkWidget* old = Find_Window(kWnd)) {
    gtk_window_present(GTK_WINDOW(old));
    return;
  }
  fields().clear();
  std::vector<PREF_FIELD> form = pref_form(pref_items);
  GtkWidget* notebook = gtk_notebook_new();
  gtk_notebook_set_scrollable(GTK_NOTEBOOK(notebook), TRUE);
  std::vector<std::pair<const PREF_FIELD*, GtkWidget*>> rows;
  for (const std::string& tab : pref_tabs()) {
    GtkWidget* box = gtk_vbox_new(FALSE, 1);
    for (const PREF_FIELD& f : form) {
      if (f.tab != tab) continue;
      GtkWidget* row = f.is_switch ? sgtk_item(sg_check(label_of(f.key) + 1))
                                   : sgtk_item(sg_entry(label_of(f.key), 28));
      gtk_box_pack_start(GTK_BOX(box), row, FALSE, FALSE, 0);
      rows.emplace_back(&f, row);
    }
    GtkWidget* scroll = gtk_scrolled_window_new(nullptr, nullptr);
    gtk_scrolled_window_set_policy(GTK_SCROLLED_WINDOW(scroll), GTK_POLICY_NEVER,
                                   GTK_POLICY_AUTOMATIC);
    gtk_scrolled_window_add_with_viewport(GTK_SCROLLED_WINDOW(scroll), box);
    gtk_notebook_append_page(GTK_NOTEBOOK(notebook), scroll, gtk_label_new(tab.c_str()));
  }
  GtkWidget* buttons =
      sgtk_row({sg_button("Apply", G_CALLBACK(on_apply)), sg_button("Save", G_CALLBACK(on_save)),
                sg_button("Close", G_CALLBACK(on_close))});
  GtkWidget* dlg = sgtk_window(kWnd, sgtk_box(true, {buttons, notebook}, true));
  g_signal_connect(dlg, "destroy", G_CALLBACK(on_destroy), nullptr);
  // The widgets and their values (several "Satellite" items share a name:
  // each row is matched by its own widget, not by name).
  for (auto& [f, row] : rows) {
    GtkWidget* w = row;
    if (!f->is_switch) {
      // An entry row: the label and the entry in a box; the entry is last.
      GList* kids = gtk_container_get_children(GTK_CONTAINER(row));
      w = GTK_WIDGET(g_list_last(kids)->data);
      g_list_free(kids);
      gtk_entry_set_text(GTK_ENTRY(w), f->text.c_str());
      if (f->key == "Satellite") gtk_widget_set_sensitive(w, FALSE);
    } else {
      gtk_toggle_button_set_active(GTK_TOGGLE_BUTTON(w), f->on);
    }
    fields().emplace_back(*f, w);
  }
  gtk_window_set_default_size(GTK_WINDOW(dlg), 480, 520);
  gtk_window_set_transient_for(GTK_WINDOW(dlg), GTK_WINDOW(main_window));
  gtk_widget_show_all(dlg);
}

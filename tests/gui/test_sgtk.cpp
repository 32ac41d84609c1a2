// The toolkit layer against real GTK widgets (under Xvfb, run_xvfb.sh):
// widgets from descriptions named by their labels, finding and setting them,
// menus from a table, states kept in the GUI-settings file.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "app/core/guistate.h"
#include "gui/sgtk.h"
#include "support/testutil.h"

namespace {

struct Window {
  GtkWidget* w;
  explicit Window(GtkWidget* content, const char* name = "Test") {
    w = sgtk_window(name, content);
    gtk_widget_show_all(w);
    sgtk_drain_events();
  }
  ~Window() {
    gtk_widget_destroy(w);
    sgtk_drain_events();
  }
};

TEST(Toolkit, WidgetsNamedByTheirLabelsListsProgress) {
  GtkWidget* row = sgtk_row({
      sg_button("Start"),
      sg_toggle("Add "),
      sg_check("Auto"),
      sg_entry("!Status", 10),
      sg_entry("^Name", 10),
      sg_spin("^Gain", 1.5, 0, 10, 0.5, 1),
      sg_option("^Mode", "HRPT|Metop|FY3"),
      sg_label("Hello"),
      sg_led("Sync", 0x0f0),
      sg_progress("!Saving"),
      sg_list("Passes", "Satellite|Time"),
  });
  Window win(row);
  // Exact names and names without their marker both find the widget.
  for (const char* n : {"Start", "Add ", "Auto", "!Status", "Status", "^Name", "Name", "Gain",
                        "^Mode", "Hello", "Sync", "Saving", "Passes"})
    EXPECT_NE(Find_Widget(win.w, n), nullptr) << n;
  EXPECT_EQ(Find_Widget(win.w, "Add"), nullptr);  // the trailing blank is part of the name
  EXPECT_EQ(Find_Widget(win.w, "Missing"), nullptr);
  EXPECT_TRUE(GTK_IS_ENTRY(Find_Widget(win.w, "Status")));
  EXPECT_TRUE(GTK_IS_SPIN_BUTTON(Find_Widget(win.w, "Gain")));
  EXPECT_TRUE(GTK_IS_TREE_VIEW(Find_Widget(win.w, "Passes")));
  // An indicator ("!") can't be edited, a labelled input can.
  EXPECT_FALSE(gtk_editable_get_editable(GTK_EDITABLE(Find_Widget(win.w, "!Status"))));
  EXPECT_TRUE(gtk_editable_get_editable(GTK_EDITABLE(Find_Widget(win.w, "^Name"))));
  EXPECT_EQ(Find_Window("Test"), win.w);
  EXPECT_EQ(Find_Window("Nothing"), nullptr);

  // Lists take rows of cells; a progress bar clamps its fraction.
  GtkWidget* list = Find_Widget(win.w, "Passes");
  sgtk_list_append(list, {"NOAA 19", "12:00"});
  sgtk_list_append(list, {"METOP-B"});  // missing cells stay empty
  GtkTreeModel* m = gtk_tree_view_get_model(GTK_TREE_VIEW(list));
  EXPECT_EQ(gtk_tree_model_iter_n_children(m, nullptr), 2);
  GtkTreeIter it;
  ASSERT_TRUE(gtk_tree_model_get_iter_first(m, &it));
  gchar* cell = nullptr;
  gtk_tree_model_get(m, &it, 1, &cell, -1);
  EXPECT_STREQ(cell, "12:00");
  g_free(cell);
  sgtk_list_clear(list);
  EXPECT_EQ(gtk_tree_model_iter_n_children(m, nullptr), 0);

  GtkWidget* bar = Find_Widget(win.w, "Saving");
  sgtk_progress_set(bar, 1.7, "Saving...");  // clamped
  EXPECT_DOUBLE_EQ(gtk_progress_bar_get_fraction(GTK_PROGRESS_BAR(bar)), 1.0);
  EXPECT_STREQ(gtk_progress_bar_get_text(GTK_PROGRESS_BAR(bar)), "Saving...");
}

TEST(Toolkit, SetAndGet) {
  GtkWidget* row = sgtk_row({sg_toggle("On"), sg_radio("A"), sg_radio("B"), sg_entry("!Out", 8),
                             sg_spin("^Val", 2, 0, 5, 1, 0), sg_led("Led", 0)});
  Window win(row);
  EXPECT_EQ(Get_Button(win.w, "On"), 0);
  EXPECT_EQ(Set_Button(win.w, "On", 1), 0);
  EXPECT_EQ(Get_Button(win.w, "On"), 1);
  // Radios of one row are one group.
  EXPECT_EQ(Get_Button(win.w, "A"), 1);
  Set_Button(win.w, "B", 1);
  EXPECT_EQ(Get_Button(win.w, "A"), 0);
  EXPECT_EQ(Set_Button(win.w, "None", 1), -1);
  EXPECT_EQ(Get_Button(win.w, "Out"), -1);  // not a button

  EXPECT_EQ(Set_Entry(win.w, "Out", "%5.2f", 3.14159), 0);
  EXPECT_EQ(sgtk_get_text(win.w, "Out"), " 3.14");
  EXPECT_EQ(Set_Entry(win.w, "None", "x"), -1);
  sgtk_set_value(win.w, "Val", 9);  // clamped by the range
  EXPECT_DOUBLE_EQ(sgtk_get_value(win.w, "Val"), 5);

  // A LED takes its 0xRGB colour (4 bits a component).
  GtkWidget* led = Find_Widget(win.w, "Led");
  EXPECT_EQ(Set_Led(win.w, "Led", 0xf80), 0);
  GdkColor c = gtk_widget_get_style(led)->bg[GTK_STATE_NORMAL];
  EXPECT_EQ(std::vector<int>({c.red, c.green, c.blue}), std::vector<int>({0xffff, 0x8888, 0}));
  EXPECT_EQ(Set_Led(win.w, "None", 0), -1);
}

const char* g_last_path = nullptr;
void on_menu(GtkWidget*, const char* path) { g_last_path = path; }

TEST(Toolkit, MenusFromATable) {
  GtkWidget* w = sgtk_window("Menus", nullptr);
  const SGTK_MENU menu[] = {
      {"File/Open...", SGM_ITEM, on_menu, "<control>o"},
      {"File/separator", SGM_SEPARATOR, nullptr, nullptr},
      {"View/Grid", SGM_CHECK, on_menu, nullptr},
      {"View/Set skip/Use Pre sync", SGM_CHECK, on_menu, nullptr},
      {"View/Palette/Load_Palette", SGM_RADIO, on_menu, nullptr},
      {"View/Palette/Grey_Palette", SGM_RADIO, on_menu, nullptr},
  };
  gtk_container_add(GTK_CONTAINER(w), sgtk_menubar(w, menu, int(G_N_ELEMENTS(menu))));
  gtk_widget_show_all(w);
  sgtk_drain_events();
  GtkWidget* open = Find_Widget(w, "File/Open...");
  ASSERT_NE(open, nullptr);
  // A menu item leads back to its window (menus live in windows of their own).
  EXPECT_EQ(sgtk_window_of(open), w);
  gtk_menu_item_activate(GTK_MENU_ITEM(open));
  EXPECT_STREQ(g_last_path, "File/Open...");
  // Submenus are made on demand; a check item reports its changes.
  g_last_path = nullptr;
  EXPECT_EQ(Set_Button(w, "View/Set skip/Use Pre sync", 1), 0);
  EXPECT_STREQ(g_last_path, "View/Set skip/Use Pre sync");
  EXPECT_EQ(Get_Button(w, "View/Set skip/Use Pre sync"), 1);
  // Consecutive radio items are one group; the first is active.
  EXPECT_EQ(Get_Button(w, "View/Palette/Load_Palette"), 1);
  Set_Button(w, "View/Palette/Grey_Palette", 1);
  EXPECT_EQ(Get_Button(w, "View/Palette/Load_Palette"), 0);
  // The label is the last part of the path.
  GtkWidget* label = gtk_bin_get_child(GTK_BIN(Find_Widget(w, "View/Grid")));
  EXPECT_STREQ(gtk_label_get_text(GTK_LABEL(label)), "Grid");
  gtk_widget_destroy(w);
  sgtk_drain_events();
}

TEST(Toolkit, StatesKeptInTheSettingsFile) {
  testutil::TempDir home;
  sgtk_state_load(home.path().c_str());
  // Three kept states and one that is not.
  auto settings = [] {
    return sgtk_row({sg_persist(sg_toggle("Keep")), sg_persist(sg_spin("^Level", 1, 0, 9, 1, 0)),
                     sg_persist(sg_entry("^Dir", 10)), sg_toggle("Forget")});
  };
  {
    Window win(settings(), "Settings");
    Set_Button(win.w, "Keep", 1);
    Set_Button(win.w, "Forget", 1);
    sgtk_set_value(win.w, "Level", 7);
    Set_Entry(win.w, "^Dir", "/data/with=sign");
    sgtk_state_store(win.w);
  }
  sgtk_state_set("Open/folder", "/passes");
  sgtk_state_save();
  GUISTATE st;
  ASSERT_EQ(guistate_read(&st, home.file("pava_gui.ini")), 0);
  for (auto [key, value] : {std::pair("Keep", "1"), {"^Level", "7"}, {"^Dir", "/data/with=sign"}})
    EXPECT_EQ(st.values[std::string("Settings/") + key], value) << key;
  EXPECT_EQ(st.values.count("Settings/Forget"), 0u);

  // The next run: read back into a new window of that name.
  sgtk_state_load(home.path().c_str());
  Window again(settings(), "Settings");
  EXPECT_EQ(Get_Button(again.w, "Keep"), 1);
  EXPECT_EQ(Get_Button(again.w, "Forget"), 0);
  EXPECT_DOUBLE_EQ(sgtk_get_value(again.w, "Level"), 7);
  EXPECT_EQ(sgtk_get_text(again.w, "Dir"), "/data/with=sign");
  EXPECT_EQ(sgtk_state_get("Open/folder"), "/passes");
}

}  // namespace

int main(int argc, char** argv) {
  gtk_disable_setlocale();
  if (!gtk_init_check(&argc, &argv)) {
    std::fputs("no display: skipped\n", stderr);
    return 77;
  }
  ::testing::InitGoogleTest(&argc, argv);
  return RUN_ALL_TESTS();
}

// The GTK user-interface operations: what the core's reports turn into.
#include <gtest/gtest.h>

#include "app/ui_ops.h"
#include "gui/sgtk.h"
#include "gui/ui_gtk.h"

namespace {

struct Installed {
  Installed() { ui_gtk_install(); }
  ~Installed() { ui_install(nullptr); }
};

TEST(UiGtk, MessagesEntriesLedsProgress) {
  Installed guard;
  GtkWidget* w = sgtk_window("Pava", sgtk_row({sg_entry("!Status", 20), sg_led("Sync", 0)}));
  gtk_widget_show_all(w);
  sgtk_drain_events();

  ui().message("Warning", "Disk almost full.");
  GtkWidget* box = Find_Window("Warning");
  ASSERT_NE(box, nullptr);
  gtk_widget_destroy(box);

  // Entries and LEDs by window name; null is the main window.
  ui().set_entry(nullptr, "Status", "In sync");
  EXPECT_EQ(sgtk_get_text(w, "Status"), "In sync");
  ui().set_entry("Pava", "!Status", "Lost");
  EXPECT_EQ(sgtk_get_text(w, "Status"), "Lost");
  ui().set_entry("No window", "Status", "x");  // nothing happens
  ui().set_led(nullptr, "Sync", 0x0f0);
  EXPECT_EQ(gtk_widget_get_style(Find_Widget(w, "Sync"))->bg[GTK_STATE_NORMAL].green, 0xffff);

  // Progress: a "Status" window while it runs, "Cancel" reported, gone at 1.
  EXPECT_EQ(ui().progress(0.25, "Saving..."), 0);
  GtkWidget* pw = Find_Window("Status");
  ASSERT_NE(pw, nullptr);
  GtkWidget* bar = Find_Widget(pw, "Progress");
  EXPECT_DOUBLE_EQ(gtk_progress_bar_get_fraction(GTK_PROGRESS_BAR(bar)), 0.25);
  gtk_button_clicked(GTK_BUTTON(Find_Widget(pw, "Cancel")));
  EXPECT_EQ(ui().progress(0.5, "Saving..."), 1);
  EXPECT_EQ(ui().progress(1.0, nullptr), 1);
  sgtk_drain_events();
  EXPECT_EQ(Find_Window("Status"), nullptr);
  // A new run starts without the old cancel.
  EXPECT_EQ(ui().progress(0.1, "Again"), 0);
  EXPECT_EQ(ui().progress(1.0, nullptr), 0);
  ui().drain_events();
  gtk_widget_destroy(w);
  sgtk_drain_events();
}

}  // namespace

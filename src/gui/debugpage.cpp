#include "gui/debugpage.h"

#include <string>

#include "app/log.h"
#include "gui/sgtk.h"

namespace {

constexpr const char* kText = "Debug text";
// Lines kept in the text; older ones are dropped so that a long run does not
// slow the page down.
constexpr int kMaxLines = 5000;

GtkTextView* text_view(GtkWidget* any) {
  GtkWidget* w = Find_Widget(any, kText);
  return w ? GTK_TEXT_VIEW(w) : nullptr;
}

void append(GtkTextView* tv, const char* text) {
  GtkTextBuffer* buf = gtk_text_view_get_buffer(tv);
  GtkTextIter end;
  gtk_text_buffer_get_end_iter(buf, &end);
  gtk_text_buffer_insert(buf, &end, text, -1);
  int lines = gtk_text_buffer_get_line_count(buf);
  if (lines > kMaxLines) {
    GtkTextIter a, b;
    gtk_text_buffer_get_start_iter(buf, &a);
    gtk_text_buffer_get_iter_at_line(buf, &b, lines - kMaxLines);
    gtk_text_buffer_delete(buf, &a, &b);
  }
  // Far past the end: the newest line is in view.
  GtkWidget* sw = gtk_widget_get_parent(GTK_WIDGET(tv));
  if (sw && GTK_IS_SCROLLED_WINDOW(sw)) {
    GtkAdjustment* adj = gtk_scrolled_window_get_vadjustment(GTK_SCROLLED_WINDOW(sw));
    gtk_adjustment_set_value(adj, 1e6);
  }
  gtk_text_buffer_get_end_iter(buf, &end);
  GtkTextMark* mark = gtk_text_buffer_get_insert(buf);
  gtk_text_buffer_place_cursor(buf, &end);
  gtk_text_view_scroll_mark_onscreen(tv, mark);
}

void sink(const char* text, void* data) { append(GTK_TEXT_VIEW(data), text); }

void on_enable(GtkWidget* w, gpointer) {
  int on = gtk_toggle_button_get_active(GTK_TOGGLE_BUTTON(w));
  sgtk_set_colour(w, on ? 0x00ff00 : 0xff0000);
  enable_debug(on ? 1 : -1);
}

void on_clear(GtkWidget* w, gpointer) {
  if (GtkTextView* tv = text_view(w)) gtk_text_buffer_set_text(gtk_text_view_get_buffer(tv), "", 0);
}

void on_save(GtkWidget* w, gpointer) {
  GtkTextView* tv = text_view(w);
  if (!tv) return;
  GtkTextBuffer* buf = gtk_text_view_get_buffer(tv);
  GtkTextIter a, b;
  gtk_text_buffer_get_bounds(buf, &a, &b);
  gchar* text = gtk_text_buffer_get_text(buf, &a, &b, FALSE);
  std::string name = debug_save(text ? text : "");
  g_free(text);
  if (name.empty()) {
    Create_Message(w, "Error", "Can't save the debug text.");
    return;
  }
  std::string msg = "Saved in " + name + "\n";
  append(tv, msg.c_str());
  append(tv, "---------------------------\n");
}

void on_page_destroy(GtkWidget*, gpointer) { debug_set_sink(nullptr, nullptr); }

}  // namespace

GtkWidget* nb_debug() {
  GtkWidget* tv = gtk_text_view_new();
  gtk_widget_set_name(tv, kText);
  gtk_text_view_set_editable(GTK_TEXT_VIEW(tv), FALSE);
  PangoFontDescription* font = pango_font_description_from_string("Courier 10");
  gtk_widget_modify_font(tv, font);
  pango_font_description_free(font);
  GtkWidget* sw = gtk_scrolled_window_new(nullptr, nullptr);
  gtk_scrolled_window_set_policy(GTK_SCROLLED_WINDOW(sw), GTK_POLICY_AUTOMATIC,
                                 GTK_POLICY_AUTOMATIC);
  gtk_container_add(GTK_CONTAINER(sw), tv);
  GtkWidget* buttons = sgtk_row({sg_toggle("disabled/enabled", G_CALLBACK(on_enable)),
                                 sg_button("clear", G_CALLBACK(on_clear)),
                                 sg_button("Save this", G_CALLBACK(on_save))});
  GtkWidget* page = gtk_vbox_new(FALSE, 2);
  gtk_box_pack_start(GTK_BOX(page), sw, TRUE, TRUE, 0);
  gtk_box_pack_start(GTK_BOX(page), buttons, FALSE, FALSE, 0);
  // On from the start; the toggle's handler colours it and switches output on.
  GList* kids = gtk_container_get_children(GTK_CONTAINER(buttons));
  GtkWidget* toggle = GTK_WIDGET(kids->data);
  g_list_free(kids);
  gtk_toggle_button_set_active(GTK_TOGGLE_BUTTON(toggle), TRUE);
  // Texts written before the page existed come first.
  if (!debug_text().empty()) append(GTK_TEXT_VIEW(tv), debug_text().c_str());
  debug_clear();
  debug_set_sink(sink, tv);
  g_signal_connect(page, "destroy", G_CALLBACK(on_page_destroy), nullptr);
  return page;
}

void debug_page_append(GtkWidget* page, const char* text) {
  if (GtkTextView* tv = text_view(page)) append(tv, text);
}

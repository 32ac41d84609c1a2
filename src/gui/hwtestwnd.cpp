#include "gui/hwtestwnd.h"

#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "common/text.h"
#include "gui/sgtk.h"
#include "reception/boardregs.h"
#include "reception/emuboard.h"
#include "reception/hwpanel.h"
#include "reception/usblink.h"
#include "tracking/rotor.h"
#include "tracking/rotor_board.h"
#include "tracking/rs232.h"

namespace {

constexpr const char* kWnd = "Test interface";
constexpr int kRegRows = 11;       // registers per column of the register page
constexpr guint kContMs = 300;     // "send cont" period
constexpr int kStormRounds = 5;    // "Storm": presses of each DiSEqC button
constexpr int kDiseqcAddr = 0x31;  // positioner

// DiSEqC positioner commands.
constexpr int kCmdHalt = 0x60, kCmdLimitsOff = 0x63, kCmdEast = 0x68, kCmdWest = 0x69;
constexpr int kCmdGoto = 0x6E;

guint g_cont = 0;  // the "send cont" timeout, 0 when off

RECORDINFO* rdi() { return g_recordinfo; }

usb_items* link() {
  emulator_board_ensure();
  return &rdi()->usb;
}

void show_led(GtkWidget* any) { Set_Led(any, "!ocu", hwtest_led(&rdi()->usb)); }

int reg_index(const char* value_name) {
  unsigned reg = 0;
  if (std::sscanf(value_name, "D_%x", &reg) != 1) return -1;
  for (int i = 0; i < hwtest_nregs; i++)
    if (hwtest_regs[i] == int(reg)) return i;
  return -1;
}

int entry_byte(GtkWidget* any, const char* name) {
  return hwpanel_byte(sgtk_get_text(any, name).c_str());
}

// Entries of the panel whose names mark them as values shown to the user are
// edited here all the same.
void make_editable(GtkWidget* any, const char* name) {
  if (GtkWidget* w = Find_Widget(any, name)) gtk_editable_set_editable(GTK_EDITABLE(w), TRUE);
}

gboolean deqcont_tick(gpointer) {
  if (!rdi()) return FALSE;
  return deqcont(rdi()) ? TRUE : FALSE;
}

// One DiSEqC command from the entries of an output (a: X, b: Y).
DISEQC diseqc_from_entries(GtkWidget* any, char side, int cmd) {
  DISEQC d{};
  std::string s(1, side);
  d.addr = entry_byte(any, ("!deqcaddr" + s).c_str());
  d.cmd = cmd;
  d.data[0] = entry_byte(any, ("!deqcdat0" + s).c_str());
  d.data[1] = entry_byte(any, ("!deqcdat1" + s).c_str());
  d.nr = side == 'a' ? 0 : 1;
  return d;
}

void show_diseqc(GtkWidget* any, char side, const DISEQC& d) {
  std::string s(1, side);
  Set_Entry(any, ("!deqcaddr" + s).c_str(), "0x%02x", d.addr);
  Set_Entry(any, ("!deqcdat0" + s).c_str(), "0x%02x", d.data[0]);
  Set_Entry(any, ("!deqcdat1" + s).c_str(), "0x%02x", d.data[1]);
}

// The same positioner command on both outputs, without data.
void diseqc_both(int cmd) {
  for (int nr = 0; nr < 2; nr++) {
    DISEQC d{};
    d.addr = kDiseqcAddr;
    d.cmd = cmd;
    d.nr = nr;
    do_dqc(link(), &d, 0);
  }
}

void diseqc_commands(GtkWidget* w, gpointer) {
  const char* name = gtk_widget_get_name(w);
  if (!std::strcmp(name, "Test diseqc")) {
    // Both positioners to the angles of "deqcpos": commands shown, then sent.
    for (char side : {'a', 'b'}) {
      std::string pos = sgtk_get_text(w, side == 'a' ? "!deqcposa" : "!deqcposb");
      DISEQC d = val2diseqc(float(std::atof(pos.c_str())), 0, 0, 0);
      d.nr = side == 'a' ? 0 : 1;
      show_diseqc(w, side, d);
      do_dqc(link(), &d, 1);
    }
  } else if (!std::strcmp(name, "Send diseqc 1") || !std::strcmp(name, "Send diseqc 2")) {
    DISEQC d = diseqc_from_entries(w, name[12] == '1' ? 'a' : 'b', kCmdGoto);
    do_dqc(link(), &d, 0);
  } else if (!std::strcmp(name, "Storm")) {
    for (int i = 0; i < kStormRounds; i++) {
      flick_but(w, "Send diseqc 1");
      flick_but(w, "Send diseqc 2");
    }
  } else if (!std::strcmp(name, "send cont")) {
    if (g_cont) {
      g_source_remove(g_cont);
      g_cont = 0;
    } else {
      link();
      g_cont = g_timeout_add(kContMs, deqcont_tick, nullptr);
    }
  } else if (!std::strcmp(name, "Drive East")) {
    diseqc_both(kCmdEast);
  } else if (!std::strcmp(name, "Drive West")) {
    diseqc_both(kCmdWest);
  } else if (!std::strcmp(name, "NOODStop")) {
    diseqc_both(kCmdHalt);
  } else if (!std::strcmp(name, "Disable limits")) {
    diseqc_both(kCmdLimitsOff);
  }
}

void i2c_commands(GtkWidget* w, gpointer) {
  I2C_TESTMSG& m = i2c_testmsg();
  m.addr = entry_byte(w, "!i2caddr");
  for (int i = 0; i < 4; i++) {
    char name[16];
    std::snprintf(name, sizeof name, "!i2cbyte%d", i + 1);
    m.data[i] = entry_byte(w, name);
  }
  link();
  do_i2c(rdi());
  show_led(w);
}

void uart_commands(GtkWidget* w, gpointer) {
  const char* name = gtk_widget_get_name(w);
  const bool fpga = Get_Button(w, "FPGA UART") == 1;
  UART_SET& u = rdi()->uart;
  auto send = [&](const uint8_t* b, int n) {
    if (fpga)
      fpga_uart_send(link(), b, n);
    else if (RS232_Open_Close(-1, u.portnr, u.speed))
      RS232_SendBuf(u.portnr, b, n);
  };
  if (!std::strcmp(name, "Send UART")) {
    uint8_t b[3] = {uint8_t(entry_byte(w, "!address")), uint8_t(entry_byte(w, "!commanda")),
                    uint8_t(entry_byte(w, "!commandb"))};
    send(b, 3);
  } else if (!std::strcmp(name, "Byte UART")) {
    uint8_t b = uint8_t(entry_byte(w, "!data out"));
    send(&b, 1);
  } else if (!std::strcmp(name, "Open UART/Close UART")) {
    int on = gtk_toggle_button_get_active(GTK_TOGGLE_BUTTON(w));
    int open = RS232_Open_Close(on, u.portnr, u.speed > 0 ? u.speed : 9600);
    if (on && !open) Set_Button(w, "Open UART/Close UART", 0);
  } else if (!std::strcmp(name, "<-- Test UART state")) {
    if (fpga) {
      int st = fpga_uart_state(link());
      Set_Entry(w, "!data in", st < 0 ? "-" : "0x%x", st);
    } else {
      unsigned char buf[64];
      int n = RS232_Open_Close(-1, u.portnr, u.speed) ? RS232_PollComport(u.portnr, buf, 64) : 0;
      std::string text;
      for (int i = 0; i < n; i++) text += pava::strprintf("%02x ", buf[i]);
      Set_Entry(w, "!data in", "%s", text.c_str());
    }
  }
  show_led(w);
}

void on_destroy(GtkWidget*, gpointer) {
  if (g_cont) g_source_remove(g_cont);
  g_cont = 0;
}

GtkWidget* regmap_page() {
  GCallback cb = G_CALLBACK(test2_usbcommands);
  // Address labels "A_xx" and value entries "D_xx" in columns of kRegRows.
  const int ncols = (hwtest_nregs + kRegRows - 1) / kRegRows;
  GtkWidget* table = gtk_table_new(guint(kRegRows), guint(2 * ncols), FALSE);
  gtk_table_set_col_spacings(GTK_TABLE(table), 4);
  for (int i = 0; i < hwtest_nregs; i++) {
    char a[8], d[8], text[8];
    std::snprintf(a, sizeof a, "A_%02x", hwtest_regs[i]);
    std::snprintf(d, sizeof d, "D_%02x", hwtest_regs[i]);
    std::snprintf(text, sizeof text, "0x%02x", hwtest_regs[i]);
    GtkWidget* label = gtk_label_new(text);
    gtk_widget_set_name(label, a);
    GtkWidget* value = gtk_entry_new();
    gtk_entry_set_width_chars(GTK_ENTRY(value), 6);
    gtk_widget_set_name(value, d);
    g_signal_connect(value, "activate", cb, nullptr);
    const guint col = guint(2 * (i / kRegRows)), row = guint(i % kRegRows);
    gtk_table_attach(GTK_TABLE(table), label, col, col + 1, row, row + 1, GTK_FILL, GTK_FILL, 0, 0);
    gtk_table_attach(GTK_TABLE(table), value, col + 1, col + 2, row, row + 1, GTK_FILL, GTK_FILL, 0,
                     0);
  }
  return sgtk_box(true, {sgtk_row({sg_button("Open USB", cb), sg_button("Close USB", cb),
                                   sg_button("Read ", cb), sg_led("!ocu", 0xF00)}),
                         table});
}

GtkWidget* i2c_page() {
  return sgtk_box(
      true, {sgtk_row({sg_entry("!i2caddr", 5), sg_entry("!i2cbyte1", 5), sg_entry("!i2cbyte2", 5),
                       sg_entry("!i2cbyte3", 5), sg_entry("!i2cbyte4", 5)}),
             sgtk_row({sg_button("Send i2c", G_CALLBACK(i2c_commands))})});
}

GtkWidget* diseqc_page() {
  GCallback cb = G_CALLBACK(diseqc_commands);
  auto side = [&](char s) {
    std::string x(1, s);
    std::string addr = "!deqcaddr" + x, d0 = "!deqcdat0" + x, d1 = "!deqcdat1" + x,
                pos = "!deqcpos" + x;
    return sgtk_row({sg_entry(addr.c_str(), 5), sg_entry(d0.c_str(), 5), sg_entry(d1.c_str(), 5),
                     sg_entry(pos.c_str(), 6),
                     sg_button(s == 'a' ? "Send diseqc 1" : "Send diseqc 2", cb)});
  };
  return sgtk_box(
      true,
      {side('a'), side('b'),
       sgtk_row({sg_button("Test diseqc", cb), sg_button("Storm", cb), sg_toggle("send cont", cb)}),
       sgtk_row({sg_button("Drive East", cb), sg_button("Drive West", cb),
                 sg_button("NOODStop", cb), sg_button("Disable limits", cb)})});
}

GtkWidget* uart_page() {
  GCallback cb = G_CALLBACK(uart_commands);
  return sgtk_box(
      true, {sgtk_row({sg_check("FPGA UART"), sg_toggle("Open UART/Close UART", cb)}),
             sgtk_row({sg_entry("!address", 5), sg_entry("!commanda", 5), sg_entry("!commandb", 5),
                       sg_button("Send UART", cb)}),
             sgtk_row({sg_entry("!data out", 5), sg_button("Byte UART", cb)}),
             sgtk_row({sg_button("<-- Test UART state", cb), sg_entry("!data in", 20)})});
}

}  // namespace

void flick_but(GtkWidget* any, const char* name) {
  GtkWidget* b = Find_Widget(any, name);
  if (!b) return;
  gtk_button_clicked(GTK_BUTTON(b));
  sgtk_set_colour(b, 0xFF0000);
  sgtk_drain_events();
  g_usleep(50000);
  sgtk_set_colour(b, 0xDDDDDD);
  sgtk_drain_events();
}

void test2_usbcommands(GtkWidget* w, gpointer) {
  if (!rdi()) return;
  const char* name = gtk_widget_get_name(w);
  if (!std::strcmp(name, "Open USB")) {
    usb_init_connect(link());
  } else if (!std::strcmp(name, "Close USB")) {
    usb_close_connect(&rdi()->usb);
  } else if (!std::strcmp(name, "Read ")) {
    char texts[32][8];  // room for every listed register
    hwtest_read_all(link(), texts);
    for (int i = 0; i < hwtest_nregs; i++) {
      char d[8];
      std::snprintf(d, sizeof d, "D_%02x", hwtest_regs[i]);
      Set_Entry(w, d, "%s", texts[i]);
    }
  } else if (int i = reg_index(name); i >= 0) {
    hwtest_write_entry(link(), i, gtk_entry_get_text(GTK_ENTRY(w)));
    std::fflush(stdout);
  }
  show_led(w);
}

void Menu_Test2(GtkWidget*, const char*) {
  if (GtkWidget* old = Find_Window(kWnd)) {
    gtk_window_present(GTK_WINDOW(old));
    return;
  }
  GtkWidget* notebook = gtk_notebook_new();
  gtk_widget_set_name(notebook, "Notebook");
  struct Page {
    const char* title;
    GtkWidget* page;
  } pages[] = {{"Test regmap", regmap_page()},
               {"Test i2c", i2c_page()},
               {"Test diseqc", diseqc_page()},
               {"Test uart via FPGA", uart_page()}};
  for (const Page& p : pages)
    gtk_notebook_append_page(GTK_NOTEBOOK(notebook), p.page, gtk_label_new(p.title));
  GtkWidget* wnd = sgtk_window(kWnd, notebook);
  g_signal_connect(wnd, "destroy", G_CALLBACK(on_destroy), nullptr);
  for (const char* n :
       {"!i2caddr", "!i2cbyte1", "!i2cbyte2", "!i2cbyte3", "!i2cbyte4", "!deqcaddra", "!deqcaddrb",
        "!deqcdat0a", "!deqcdat0b", "!deqcdat1a", "!deqcdat1b", "!deqcposa", "!deqcposb",
        "!address", "!commanda", "!commandb", "!data out"})
    make_editable(wnd, n);
  const I2C_TESTMSG& m = i2c_testmsg();
  Set_Entry(wnd, "!i2caddr", "%d", m.addr);
  for (int i = 0; i < 4; i++) {
    char n[16];
    std::snprintf(n, sizeof n, "!i2cbyte%d", i + 1);
    Set_Entry(wnd, n, "%d", m.data[i]);
  }
  for (const char* n : {"!deqcposa", "!deqcposb"}) Set_Entry(wnd, n, "90");
  show_diseqc(wnd, 'a', val2diseqc(90, 0, 0, 0));
  show_diseqc(wnd, 'b', val2diseqc(90, 0, 0, 0));
  Set_Button(wnd, "FPGA UART", 1);  // the page's own port first
  gtk_widget_show_all(wnd);
  show_led(wnd);
}

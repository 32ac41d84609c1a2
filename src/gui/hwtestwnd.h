// The hardware test panel "Test interface": the decoder board's registers by
// hand, the I2C test message, the DiSEqC outputs and the FPGA's serial port.
#pragma once
#include <gtk/gtk.h>

// Opens (or raises) the panel.
void Menu_Test2(GtkWidget* item, const char* path);
// Command handler of the panel's link and register controls.
void test2_usbcommands(GtkWidget* widget, gpointer data);
// Presses the named button of the panel with a short red flash.
void flick_but(GtkWidget* any, const char* name);

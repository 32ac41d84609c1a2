// The GTK implementation of UI_OPS: message boxes, status entries and LEDs by
// window and widget name, a progress window with "Cancel", yes/no questions,
// and running pending events.
#pragma once

// Installs the operations (after the main window exists: messages without a
// window name go to "Pava").
void ui_gtk_install();

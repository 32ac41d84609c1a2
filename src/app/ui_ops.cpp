#include "app/ui_ops.h"

#include <cstdio>

namespace {

void def_message(const char* title, const char* text) {
  std::fprintf(stderr, "%s: %s\n", title ? title : "", text ? text : "");
}
void def_set_entry(const char*, const char*, const char*) {}
void def_set_led(const char*, const char*, int) {}
int def_progress(double, const char*) { return 0; }
int def_ask(const char*, const char*) { return 0; }
void def_drain() {}

const UI_OPS kDefaults = {def_message,  def_set_entry, def_set_led,
                          def_progress, def_ask,       def_drain};
UI_OPS g_ops = kDefaults;

}  // namespace

const UI_OPS& ui() { return g_ops; }

void ui_install(const UI_OPS* ops) {
  g_ops = kDefaults;
  if (!ops) return;
  if (ops->message) g_ops.message = ops->message;
  if (ops->set_entry) g_ops.set_entry = ops->set_entry;
  if (ops->set_led) g_ops.set_led = ops->set_led;
  if (ops->progress) g_ops.progress = ops->progress;
  if (ops->ask) g_ops.ask = ops->ask;
  if (ops->drain_events) g_ops.drain_events = ops->drain_events;
}

// The generated Preferences form: every item once; a field written back
// unchanged leaves the preferences as they were, an edited one reaches its item.
#include <gtest/gtest.h>

#include <string>

#include "app/core/prefform.h"
#include "config/prefs.h"

namespace {

TEST(PrefForm, WrittenBackUnchangedAndEdited) {
  Load_Defaults(&prefs);
  std::vector<PREF_FIELD> form = pref_form(pref_items);
  int items = 0;  // every item once
  for (const PREFITEMS* it = pref_items; it; it = it->next) items += it->type != 't';
  ASSERT_EQ(int(form.size()), items);
  for (const PREF_FIELD& f : form) pref_form_apply(pref_items, f, f.text, f.on);
  std::vector<PREF_FIELD> again = pref_form(pref_items);
  ASSERT_EQ(again.size(), form.size());
  for (size_t i = 0; i < form.size(); i++) {
    EXPECT_EQ(again[i].text, form[i].text) << form[i].key;
    EXPECT_EQ(again[i].on, form[i].on) << form[i].key;
  }
  for (const PREF_FIELD& f : form) {
    if (f.key == "Font_size") {
      EXPECT_EQ(pref_form_apply(pref_items, f, "14", 0), 1);
      EXPECT_EQ(prefs.font_size, 14);
    }
    if (f.key == "Linearize") {
      ASSERT_TRUE(f.is_switch);
      EXPECT_EQ(pref_form_apply(pref_items, f, "", !f.on), 1);
      EXPECT_EQ(prefs.linearize, !f.on);
    }
  }
  Load_Defaults(&prefs);
}

}  // namespace

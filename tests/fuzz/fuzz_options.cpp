// The option parser on arbitrary command lines that do not end the process.
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "app/core/options.h"
#include "formats/picinfo.h"
#include "reception/recordinfo.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  // Words separated by NUL bytes; only words that the parser carries out
  // without ending the process are kept (option errors exit by design).
  std::vector<std::string> words{"pava"};
  std::string cur;
  for (size_t i = 0; i < size; i++) {
    if (data[i] == 0) {
      words.push_back(cur);
      cur.clear();
    } else {
      cur.push_back(char(data[i]));
    }
  }
  words.push_back(cur);
  auto pic = std::make_unique<PICINFO>();
  auto view = std::make_unique<VIEWINFO>();
  auto rec = std::make_unique<RECORDINFO>();
  for (size_t i = 1; i < words.size(); i++) {
    const std::string& w = words[i];
    const char* arg = i + 1 < words.size() ? words[i + 1].c_str() : "";
    for (argcode c : {opt_ifile, opt_wnd_width, opt_type, opt_rec, opt_cbat, opt_logrs}) {
      do_options1(c, w.c_str(), arg, pic.get(), view.get(), rec.get());
    }
  }
  return 0;
}

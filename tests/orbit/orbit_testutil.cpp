#include "orbit_testutil.h"

#include <unistd.h>

#include "support/testutil.h"

namespace orbit_test {

static std::string python() {
  // The oracle modules are Debian packages: prefer the system interpreter over
  // any python3 earlier on the path.
  return access("/usr/bin/python3", X_OK) == 0 ? "/usr/bin/python3" : "python3";
}

std::string run_python(const std::vector<std::string>& args, bool* ok) {
  std::vector<std::string> argv{python()};
  argv.insert(argv.end(), args.begin(), args.end());
  testutil::RunResult r = testutil::run(argv);
  *ok = r.status == 0;
  if (!*ok) return r.err;
  return r.out;
}

bool python_has(const std::string& modules) {
  bool ok = false;
  run_python({"-c", "import " + modules}, &ok);
  return ok;
}

}  // namespace orbit_test

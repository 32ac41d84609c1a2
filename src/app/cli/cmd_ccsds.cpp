// pava-cli vcid / rs: statistics and Reed-Solomon scan of CADU files.
#include <cstdio>
#include <cstring>
#include <memory>
#include <string>

#include "app/cli/cli.h"
#include "ccsds/cadu.h"
#include "ccsds/qpsk_files.h"
#include "ccsds/rs.h"

namespace {

struct CcsdsOpts {
  std::string file;
  std::string basis = "dual";
  std::string derandomise = "auto";
};

int derand_mode(const std::string& s) {
  if (s == "yes") return CCSDS_DERAND_YES;
  if (s == "no") return CCSDS_DERAND_NO;
  return CCSDS_DERAND_AUTO;
}

void add_common(CLI::App* sub, CcsdsOpts& o) {
  sub->add_option("file", o.file, "CADU file (1024-byte units, optional record header)")
      ->required();
  sub->add_option("--basis", o.basis, "Reed-Solomon symbol basis")
      ->check(CLI::IsMember({"dual", "conventional"}));
  sub->add_option("--derandomise", o.derandomise, "remove the CCSDS pseudo-random sequence")
      ->check(CLI::IsMember({"auto", "yes", "no"}));
}

using FilePtr = std::unique_ptr<FILE, int (*)(FILE*)>;

FilePtr open_rb(const std::string& path) {
  return FilePtr(std::fopen(path.c_str(), "rb"), &std::fclose);
}

void run_vcid(const CcsdsOpts& o) {
  FilePtr fp = open_rb(o.file);
  if (!fp) return cli_fail("can't open file " + o.file);
  long rest =
      ccsds_vcid_stats(fp.get(), stdout, o.basis == "conventional", derand_mode(o.derandomise));
  std::fflush(stdout);
  if (rest > 0)
    std::fprintf(stderr, "pava-cli: %ld bytes after the last whole frame ignored\n", rest);
}

void run_rs(const CcsdsOpts& o) {
  FilePtr fp = open_rb(o.file);
  if (!fp) return cli_fail("can't open file " + o.file);
  FILE* f = fp.get();
  int conventional = o.basis == "conventional";
  uint8_t u[CADU_LEN];
  long start = 0;
  if (std::fread(u, 1, CADU_LEN, f) == size_t(CADU_LEN) && qpsk_is_hdr_block(u))
    start = QPSK_HDR_LEN;
  std::fseek(f, start, SEEK_SET);
  int mode = derand_mode(o.derandomise);
  bool derand = mode == CCSDS_DERAND_YES ||
                (mode == CCSDS_DERAND_AUTO && ccsds_probe_randomised(f, conventional));

  long frames = 0, corrected = 0, uncorrectable = 0, clean = 0, decodable = 0;
  long gaps = 0, missing = 0;
  long prev_cnt[64];
  for (long& p : prev_cnt) p = -1;
  size_t got;
  while ((got = std::fread(u, 1, CADU_LEN, f)) == size_t(CADU_LEN)) {
    if (derand) ccsds_derandomise(u + 4, CADU_LEN - 4);
    int r = Decode_RS(u, 4, conventional);
    VCDU v;
    read_vcduhdr(&v, u + 4);
    int corr = r & 255, fail = r >> 8;
    cli_emit(json{{"frame", frames},
                  {"vcid", v.vc_id},
                  {"counter", v.cnt},
                  {"corrected", corr},
                  {"uncorrectable", fail}});
    frames++;
    corrected += corr;
    uncorrectable += fail;
    if (r == 0) clean++;
    if (fail < 4) decodable++;
    // Counter continuity per virtual channel (24-bit counter).
    long& p = prev_cnt[v.vc_id];
    if (p >= 0) {
      long step = (v.cnt - p) & 0xFFFFFF;
      if (step != 1) {
        gaps++;
        if (step > 1 && step < 0x800000) missing += step - 1;
      }
    }
    p = v.cnt;
  }
  cli_emit(json{{"summary", true},
                {"frames", frames},
                {"corrected", corrected},
                {"uncorrectable", uncorrectable},
                {"clean_frames", clean},
                {"counter_gaps", gaps},
                {"missing_frames", missing},
                {"derandomised", derand},
                {"basis", o.basis},
                {"trailing_bytes", long(got)}});
  if (frames == 0) return cli_fail(o.file + ": no whole frame", 2);
  if (decodable == 0)
    return cli_fail(o.file + ": no frame passes Reed-Solomon (basis, interleave or randomisation?)",
                    2);
}

}  // namespace

void cli_add_ccsds(CLI::App& app) {
  auto vo = std::make_shared<CcsdsOpts>();
  CLI::App* vcid = app.add_subcommand("vcid", "frames per virtual channel of a CADU file");
  add_common(vcid, *vo);
  vcid->callback([vo] { run_vcid(*vo); });

  auto ro = std::make_shared<CcsdsOpts>();
  CLI::App* rs = app.add_subcommand("rs", "Reed-Solomon result of every frame, as JSON lines");
  add_common(rs, *ro);
  rs->callback([ro] { run_rs(*ro); });
}

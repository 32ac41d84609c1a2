// The IQ test recorder: records the board's raw demodulated symbol stream
// (board mode 7) without frame decoding, counts the I and Q bits of every
// frame and can show each frame as a raw grey line. It uses its own stream
// view (iqlink.h) and writes plain sample bytes, base name "qpsk", extension
// ".dat". Texts go to the entries of the window "Record IQ" through ui().
#pragma once
#include <cstdint>

#include "formats/picinfo.h"
#include "reception/recordinfo.h"

// Title of the recorder's window; its entries are addressed through ui().
constexpr const char* IQ_WINDOW = "Record IQ";
// Board mode of the IQ test.
constexpr int IQ_BOARD_MODE = 7;
// Samples of a frame when the frame geometry gives none.
constexpr int IQ_FRAME_WORDS = 1024;

// Draws one frame as a raw grey line at row (0 .. height-1) of the live
// picture; installed by the window, null without a display.
using IqDrawHook = void (*)(const uint16_t* frame, int n, int row);
void iq_set_draw_hook(IqDrawHook hook);

// Every command of the window starts with this: file type FT_IQTEST, type
// IQTEST, on USB board mode 7; only channel 1 recorded.
void iq_prepare_command(RECORDINFO* rdi);

// The board's mode on USB (get_sat): 7 gives type IQTEST and file type
// FT_IQTEST and returns "IQTEST"; anything else type sat_unk and "(other)".
// Other ports leave the type alone and return "(other)".
const char* get_sat_set_but_rawd(RECORDINFO* rdi);

// Picture record and file names for an IQ recording: type and file type,
// frame geometry (IQ_FRAME_WORDS samples when none is set), width 2048,
// height 500, directory of the HRPT files, "qpsk" / ".dat".
void set_rec_par_iq(RECORDINFO* rdi, PICINFO* pci);

// Counts the frame's bits (see collect_bits_counts) and shows them in the
// window's entry "IQc".
void collect_bits(PICINFO* pci, const uint16_t* frame);

// One recording: from the first frame until recording stops, the tracker
// aborts, or (types other than IQTEST) more than hrpt_stop_after_out_sync
// frames in a row were out of sync. Returns the frames recorded, -1 when the
// record file could not be opened.
long Recordpp_one_IQTest(RECORDINFO* rdi, PICINFO* pci);

// Runs recordings until recording is switched off (or after one with
// one_record): waits for sync, records. 0, or -1 when the port could not be
// opened (reported as "Can't open USB port %s", "Can't open USB port." or
// "Can't open Ethermet port.").
int Recordpp_IQTest(RECORDINFO* rdi, PICINFO* pci);

// Process-wide settings of the window: the "^VCO fr" value (20 or 40) and the
// generator and decoder dividers last written.
struct IQ_RATES {
  int vco = 20;
  int gen_div = 23;
  int dec_div = 10;
};
IQ_RATES& iq_rates();

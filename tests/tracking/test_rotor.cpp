// Rotor output formats and the serial layer's refusals (the serial port
// itself is exercised through a socat pseudo-terminal pair in test_outputs).
#include <gtest/gtest.h>

#include <string>

#include "tracking/rotor.h"
#include "tracking/rs232.h"

namespace {

TEST(Diseqc, AnglesToPositionerCommands) {
  // Each row: angle, steps per degree, inverted, limit, expected data bytes.
  const struct {
    float angle;
    int deg2step, inv, limit;
    int d0, d1;
  } rows[] = {
      {90.f, 8, 0, 0, 0xE0, 0x00},    // centre
      {100.f, 8, 0, 0, 0xD0, 0x50},   // -80 steps
      {100.f, 8, 1, 0, 0xE0, 0x50},   // inverted: +80
      {100.f, 0, 0, 0, 0xD0, 0x50},   // 0 steps per degree means 8
      {200.f, 8, 0, 0, 0xD2, 0xD0},   // above 180 sent as 180: -720 steps
      {-5.f, 8, 0, 0, 0xE2, 0xD0},    // below 0 sent as 0: +720 steps
      {45.f, 8, 0, 100, 0xE0, 0x64},  // 360 steps limited to 100
      {135.f, 8, 0, 100, 0xD0, 0x64},
  };
  for (const auto& r : rows) {
    DISEQC d = val2diseqc(r.angle, r.deg2step, r.inv, r.limit);
    EXPECT_EQ(std::vector<int>({d.addr, d.cmd, d.data[0], d.data[1]}),
              std::vector<int>({0x31, 0x6E, r.d0, r.d1}))
        << r.angle;
  }
  EXPECT_FLOAT_EQ(val2diseqc(200.f, 8, 0, 0).val, 180.f);
}

TEST(SerialCommand, Templates) {
  // Each row: template, id, a, b, expected text.
  const struct {
    const char* tmpl;
    int id;
    float a, b;
    const char* expect;
  } rows[] = {
      {"P%d %d\\r", 0, 12.4f, 33.6f, "P12 34\r"},
      {"P%d %d\\n", 0, 12.4f, 33.6f, "P12 34\n"},
      {"P%d %d", 0, 12.4f, 33.6f, "P12 34\n"},
      {"%d AZ%.1f EL%.1f", 7, 12.44f, 33.66f, "7 AZ12.4 EL33.7\n"},  // id stays an integer
      {"%d AZ%d EL%f", 7, 12.5f, 33.5f, "7 AZ12.500000 EL33.500000\n"},
      {"AZ%5.1f", 0, 1.25f, 0.f, "AZ  1.2\n"},
      {"%d%% %d", 0, 12.4f, 33.6f, "12% 34\n"},
      {"%s %n %d", 0, 12.4f, 33.6f, "%s %n 12\n"},  // only d and f are conversions
  };
  for (const auto& r : rows) {
    char out[100];
    load_cmd(out, sizeof out, r.tmpl, r.id, r.a, r.b);
    EXPECT_EQ(std::string(out), r.expect) << r.tmpl;
  }
  // Cut at size - 2 characters before the line end is added.
  char small[8];
  load_cmd(small, sizeof small, "ABCDEFGHIJ %d %d", 0, 1.f, 2.f);
  EXPECT_EQ(std::string(small), "ABCDEF\n");
}

TEST(Serial, RejectedPortsAndRates) {
  EXPECT_TRUE(RS232_OpenComport(30, 9600) == 1 && RS232_OpenComport(-1, 9600) == 1 &&
              RS232_OpenComport(0, 9601) == 1);
  EXPECT_STREQ(RS232_DeviceName(29), "/dev/ircomm1");
  EXPECT_STREQ(RS232_DeviceName(16), "/dev/ttyUSB0");
  RS232_SetDeviceName(3, "/nonexistent/tty");
  EXPECT_EQ(RS232_OpenComport(3, 9600), 1);
  RS232_SetDeviceName(3, nullptr);
}

}  // namespace

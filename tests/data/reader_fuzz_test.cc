// Deterministic pseudo-random formats and records: the fast conversion of a
// record by its layout against the plain read of the same record (the
// sanitizer build runs this too). Crashes and hangs of whole runs on broken
// inputs are the business of tests/badinput.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "data/record_reader.h"
#include "frame/console.h"

namespace vq {
namespace {

// std::mt19937 is defined to the bit, so these inputs are the same everywhere;
// only its raw output is used (distributions may differ between libraries).
struct Random {
  std::mt19937 engine{20240611u};
  std::uint32_t Below(std::uint32_t n) { return n == 0 ? 0 : engine() % n; }
  template <typename T>
  const T& Pick(const std::vector<T>& choices) {
    return choices[Below(static_cast<std::uint32_t>(choices.size()))];
  }
};

std::string Join(Random& random, const std::vector<std::string>& pieces, int count) {
  std::string text;
  for (int k = 0; k < count; ++k) text += random.Pick(pieces);
  return text;
}

// Formats of data records: fields of every kind, blank and scale modes,
// column moves, groups, and now and then a slash or a count that reverts.
const std::vector<std::string> kLayoutPieces = {
    "F3.0", "F1.0", "3F2.1", "F5.2",       "E6.1",  "G4.0", "D5.0",  "I2",   "L1", "Z2",
    "O2",   "B3",   "A2",    "A9",         "2X",    "TL2",  "T4",    "TR1",  "BZ", "BN",
    "2P",   "-1P",  "'ab'",  "2(F1.0,1X)", "3(I1)", "/",    "F25.0", "F0.0", ":"};

const std::vector<std::string> kDataPieces = {
    "1", "0", "23", " ", "  ", "-4", "+5",  ".",  "6.7",   "E2",
    "d", ",", "\t", "x", "T",  "F",  "9e9", "-0", "1E400", "123456789012345678"};

// A record converted by its layout gives what the plain read of the same
// record gives, to the bit, or the same error; a format gets a layout
// exactly when its statement takes one record.
TEST(ReaderFuzz, LayoutConversionAgreesWithThePlainRead) {
  Random random;
  int laid_out = 0;
  int converted_records = 0;
  for (int round = 0; round < 6000; ++round) {
    std::string format = "(";
    const int pieces = 1 + static_cast<int>(random.Below(6));
    for (int k = 0; k < pieces; ++k) format += (k > 0 ? "," : "") + random.Pick(kLayoutPieces);
    format += ")";
    std::string rest;
    CompiledFormatPtr compiled = CompileFormat(format, &rest);
    if (!compiled) continue;
    const std::size_t count = 1 + random.Below(10);
    RecordLayoutPtr layout = LayOutRecord(*compiled, count);
    for (int record_round = 0; record_round < 5; ++record_round) {
      const std::string record = Join(random, kDataPieces, random.Below(16));
      std::vector<double> plain(count, -7.0);
      RecordSource source;
      source.OpenText(10, "layout.dat", record + "\nnext record\nlast record\n");
      const int plain_status = TryReadRecord(source, *compiled, plain);
      if (!layout) continue;
      ++laid_out;
      // The plain read took exactly the one record too.
      std::string following;
      if (plain_status == 0) {
        ASSERT_TRUE(source.NextRecord(following));
        EXPECT_EQ(following, "next record") << format;
      }
      std::vector<double> converted(count, -7.0);
      ASSERT_EQ(ConvertRecord(*layout, record, converted), plain_status)
          << format << " on \"" << record << "\"";
      if (plain_status == 0) {
        ++converted_records;
        EXPECT_EQ(std::memcmp(plain.data(), converted.data(), count * sizeof(double)), 0)
            << format << " on \"" << record << "\"";
      }
    }
  }
  EXPECT_GT(laid_out, 5000);
  EXPECT_GT(converted_records, 1500);
}

}  // namespace
}  // namespace vq

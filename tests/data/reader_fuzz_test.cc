// Deterministic pseudo-random formats, records and list inputs: every read
// must end in a result or in a stop of the run, never in a crash, a hang or
// a read out of bounds (the sanitizer build runs these too).
#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <random>
#include <set>
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

const std::vector<std::string> kFormatPieces = {
    "(",       ")",    "F4.0", "F",   "3F1.0", "E8.2",    "EN9.2",
    "ES9.1E2", "D6.1", "G5.2", "A3",  "A",     "I2",      "L1",
    "Z2",      "O3",   "B4",   "Q",   "2X",    "X",       "TL3",
    "T5",      "TR2",  "/",    "2/",  ":",     "$",       "\\",
    "BN",      "BZ",   "2P",   "-1P", "S",     "SP",      "'ab'",
    "\"c\"",   "2Hxy", ",",    " ",   "3(",    "999999(", "2147483647F1.0",
    "0",       "F4",   "F4.",  ".",   "K",     "((((",    "))))"};

const std::vector<std::string> kRecordPieces = {
    "1", "23", "-4", "+5", ".",  "6.7", "E", "d",  "q",  "2",  " ",  "  ",  ",",     "\t",
    "x", "T",  "F",  "'",  "\"", "/",   "*", "3*", "\r", "\n", "\n", "9e9", "1E400", "-.5"};

const std::vector<std::string> kListPieces = {
    "1",     "-2",         "3.5",   "4e2",   "5+1",         ".6", "7*",  "2*8", "0*1",     "abc",
    "'q r'", "\"s\"\"t\"", "'open", "''",    ",",           ",,", "/",   " ",   "\t",      "\n",
    "\n\n",  "T",          "-",     "1e999", "99999999999", "+",  "x'y", "*",   "3*'a b'", "\r\n"};

std::string Join(Random& random, const std::vector<std::string>& pieces, int count) {
  std::string text;
  for (int k = 0; k < count; ++k) text += random.Pick(pieces);
  return text;
}

std::string Garbage(Random& random, int length) {
  std::string text;
  for (int k = 0; k < length; ++k) text.push_back(static_cast<char>(random.Below(256)));
  return text;
}

// Runs a read and records how it ended: 0 for a result, else the number of
// the severe error that stopped the run.
template <typename Read>
int Outcome(Read read) {
  ConsoleCapture capture;
  try {
    read();
    return 0;
  } catch (const RunStopped& stop) {
    EXPECT_EQ(stop.kind, RunStopped::Kind::kSevere);
    EXPECT_NE(capture.Err().find("severe ("), std::string::npos);
    return stop.exit_code;
  }
}

TEST(ReaderFuzz, RecordFormatsEndInAResultOrAStop) {
  Random random;
  const std::set<int> allowed = {0, 24, 60, 61, 62, 64};
  for (int round = 0; round < 4000; ++round) {
    std::string format = "(" + Join(random, kFormatPieces, 1 + random.Below(10));
    if (random.Below(3) != 0) format += ")";
    if (random.Below(10) == 0) format = Garbage(random, random.Below(30));
    std::string records = Join(random, kRecordPieces, random.Below(40));
    if (random.Below(10) == 0) records = Garbage(random, random.Below(200));
    const int count = static_cast<int>(random.Below(12));
    std::vector<double> items(static_cast<std::size_t>(count), 0.0);
    RecordSource source;
    source.OpenText(10, "fuzz.dat", records);
    const int outcome = Outcome([&] { ReadRecord(source, format, items); });
    EXPECT_TRUE(allowed.count(outcome)) << format << " gave " << outcome;
    // The Try form agrees with the stopping form.
    std::string rest;
    CompiledFormatPtr compiled = CompileFormat(format, &rest);
    EXPECT_EQ(compiled == nullptr, outcome == kSevereFormatSyntax) << format;
    if (compiled) {
      source.Rewind();
      EXPECT_EQ(TryReadRecord(source, *compiled, items), outcome) << format;
    }
  }
}

TEST(ReaderFuzz, ListReadsEndInAResultOrAStop) {
  Random random;
  const std::set<int> allowed = {0, 24, 59, 64};
  for (int round = 0; round < 4000; ++round) {
    std::string input = Join(random, kListPieces, random.Below(25));
    if (random.Below(10) == 0) input = Garbage(random, random.Below(300));
    const int count = static_cast<int>(random.Below(8));
    std::vector<std::string> texts(static_cast<std::size_t>(count), "untouched");
    std::vector<int> integers(static_cast<std::size_t>(count));
    std::vector<double> reals(static_cast<std::size_t>(count));
    std::vector<ListItem> items;
    for (int k = 0; k < count; ++k) {
      switch (random.Below(3)) {
        case 0:
          items.push_back(TextItem(texts[static_cast<std::size_t>(k)], 1 + random.Below(20)));
          break;
        case 1:
          items.push_back(IntegerItem(integers[static_cast<std::size_t>(k)]));
          break;
        default:
          items.push_back(RealItem(reals[static_cast<std::size_t>(k)]));
          break;
      }
    }
    RecordSource source;
    source.OpenText(12, "fuzz.in", input);
    const int outcome = Outcome([&] { ReadList(source, items); });
    EXPECT_TRUE(allowed.count(outcome)) << input << " gave " << outcome;
    source.Rewind();
    EXPECT_EQ(TryReadList(source, items), outcome);
    // A text item is left as it was or holds exactly its width.
    for (std::size_t k = 0; k < items.size(); ++k) {
      if (items[k].kind == ListItem::Kind::kText && texts[k] != "untouched") {
        EXPECT_EQ(static_cast<int>(texts[k].size()), items[k].width);
      }
    }
  }
}

// A group of column moves repeated r times moves the column exactly as the
// same moves written out r times.
struct Moves {
  std::string grouped;
  std::string expanded;
};

Moves RandomMoves(Random& random, int depth) {
  Moves moves;
  const int length = 1 + static_cast<int>(random.Below(4));
  for (int k = 0; k < length; ++k) {
    if (!moves.grouped.empty()) {
      moves.grouped += ",";
      moves.expanded += ",";
    }
    const std::string n = std::to_string(random.Below(7));
    std::string piece;
    switch (random.Below(depth < 3 ? 6 : 5)) {
      case 0:
        piece = n + "X";
        break;
      case 1:
        piece = "TL" + n;
        break;
      case 2:
        piece = "TR" + n;
        break;
      case 3:
        piece = "T" + std::to_string(1 + random.Below(30));
        break;
      case 4:
        piece = "'" + std::string(random.Below(4), 'z') + "'";
        break;
      default: {
        const Moves inner = RandomMoves(random, depth + 1);
        const int repeat = 1 + static_cast<int>(random.Below(4));
        moves.grouped += std::to_string(repeat) + "(" + inner.grouped + ")";
        for (int pass = 0; pass < repeat; ++pass) {
          moves.expanded += (pass > 0 ? "," : "") + inner.expanded;
        }
        continue;
      }
    }
    moves.grouped += piece;
    moves.expanded += piece;
  }
  return moves;
}

TEST(ReaderFuzz, FoldedGroupsAgreeWithWrittenOutMoves) {
  Random random;
  const std::string record = "0123456789abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ";
  for (int round = 0; round < 2000; ++round) {
    const Moves moves = RandomMoves(random, 1);
    const int repeat = 1 + static_cast<int>(random.Below(5));
    std::string expanded;
    for (int pass = 0; pass < repeat; ++pass) expanded += "," + moves.expanded;
    const std::string grouped = "(" + std::to_string(repeat) + "(" + moves.grouped + "),A1)";
    const std::string written = "(" + expanded.substr(1) + ",A1)";
    double a = 0, b = 0;
    RecordSource source;
    source.OpenText(10, "moves.dat", record + "\n" + record + "\n");
    ASSERT_EQ(TryReadRecord(source, *CompileFormat(grouped, nullptr), {&a, 1}), 0) << grouped;
    ASSERT_EQ(TryReadRecord(source, *CompileFormat(written, nullptr), {&b, 1}), 0) << written;
    EXPECT_EQ(std::memcmp(&a, &b, sizeof a), 0) << grouped << " against " << written;
  }
}

TEST(ReaderFuzz, HostileShapes) {
  std::string rest;
  EXPECT_FALSE(CompileFormat(std::string(80, '('), &rest));
  EXPECT_FALSE(CompileFormat("", &rest));
  EXPECT_EQ(rest, "");
  EXPECT_FALSE(CompileFormat(std::string(100000, ' '), &rest));
  // A record of 100,000 characters, read in many ways.
  const std::string longer(100000, '7');
  std::vector<double> items(5);
  RecordSource source;
  source.OpenText(10, "long.dat", longer + "\n");
  // 99,999 digits without a point are beyond any double.
  EXPECT_EQ(TryReadRecord(source, *CompileFormat("(F99999.0)", nullptr), items), kSevereConversion);
  source.Rewind();
  ASSERT_EQ(
      TryReadRecord(source, *CompileFormat("(F99999.99990,F1.0,T99999,3F2.0)", nullptr), items), 0);
  EXPECT_NEAR(items[0], 777777777.7777778, 1e-6);  // nine whole digits
  EXPECT_EQ(items[1], 7.0);
  EXPECT_EQ(items[2], 77.0);
  EXPECT_EQ(items[3], 0.0);
  EXPECT_EQ(items[4], 0.0);
}

}  // namespace
}  // namespace vq

namespace vq {
namespace {

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

TEST(ReaderFuzz, FormatsThatTakeMoreThanOneRecordHaveNoLayout) {
  for (const char* text : {"(F1.0/F1.0)", "(F1.0)", "(2F1.0,/)", "(F1.0,Q)", "('ab')"}) {
    CompiledFormatPtr format = CompileFormat(text, nullptr);
    ASSERT_TRUE(format) << text;
    EXPECT_EQ(LayOutRecord(*format, 2), nullptr) << text;
  }
  CompiledFormatPtr format = CompileFormat("(F1.0,:/)", nullptr);
  EXPECT_NE(LayOutRecord(*format, 1), nullptr);  // the colon ends it before the slash
  EXPECT_EQ(LayOutRecord(*format, 2), nullptr);
}

}  // namespace
}  // namespace vq

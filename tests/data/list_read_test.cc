// The list-directed and column reads of the command file and the list files:
// a table of inputs and what the items get, then reads that go on over more
// than one statement.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <string>
#include <vector>

#include "data/record_reader.h"
#include "frame/console.h"
#include "text/edit_descriptors.h"

namespace vq {
namespace {

RecordSource Text(const std::string& text, int unit = 12) {
  RecordSource source;
  source.OpenText(unit, "test.in", text);
  return source;
}

// One list read of `text` into the items of `kinds` ("I" an integer, "R" a
// real, "T<width>" a text, blank-separated), each set to -1 or "?" first, so
// that an item the read leaves alone shows. Gives the items as the read left
// them, "|"-separated, then "#" and the read's error number (0 for none).
std::string ListRead(const std::string& text, const std::string& kinds) {
  std::vector<std::string> words;
  for (std::size_t at = 0; at < kinds.size();) {
    const std::size_t end = std::min(kinds.find(' ', at), kinds.size());
    words.push_back(kinds.substr(at, end - at));
    at = end + 1;
  }
  std::vector<int> integers(words.size(), -1);
  std::vector<double> reals(words.size(), -1.0);
  std::vector<std::string> texts(words.size(), "?");
  std::vector<ListItem> items;
  for (std::size_t k = 0; k < words.size(); ++k) {
    if (words[k] == "I") items.push_back(IntegerItem(integers[k]));
    if (words[k] == "R") items.push_back(RealItem(reals[k]));
    if (words[k][0] == 'T') items.push_back(TextItem(texts[k], std::stoi(words[k].substr(1))));
  }
  RecordSource source = Text(text);
  const int error = TryReadList(source, items);
  std::string shown;
  for (std::size_t k = 0; k < words.size(); ++k) {
    char number[32];
    if (words[k] == "I") std::snprintf(number, sizeof number, "%d", integers[k]);
    if (words[k] == "R") std::snprintf(number, sizeof number, "%.15g", reals[k]);
    shown += (k ? "|" : "") + (words[k][0] == 'T' ? texts[k] : std::string(number));
  }
  return shown + "#" + std::to_string(error);
}

TEST(ListRead, Table) {
  const std::string x2049(2049, 'x');
  const struct {
    std::string text, kinds, expected;
  } rows[] = {
      // Fields of the data line; words cut or padded to their width.
      {">DATA: items.dat 8 250\n", "T6 T12 I I", ">DATA:|items.dat   |8|250#0"},
      {">METRIC: CONTINUOUS ORDINAL sm\n", "T8 T2 T4 T2", ">METRIC:|CO|ORDI|sm#0"},
      // Separators: blanks, tabs and one comma; two commas or a leading one
      // leave an item as it was; a record end counts as a blank.
      {"1\t2 , 3,4   ,\t5\n", "R R R R R", "1|2|3|4|5#0"},
      {"1,,3\n", "R R R", "1|-1|3#0"},
      {" ,2\n", "I I", "-1|2#0"},
      {"1\n,2\n", "R R", "1|2#0"},
      {"1,\n,2 3\n", "R R R", "1|-1|2#0"},
      // A slash ends the statement, and an unquoted file name.
      {"1 2/ 3\n4\n", "I I I", "1|2|-1#0"},
      {">DATA: dir/items.dat 8 250\n", "T6 T5 I I", ">DATA:|dir  |-1|-1#0"},
      // Quoted texts: doubled quotes, over record ends, blanks and
      // backslashes kept.
      {"'it''s a file' \"say \"\"hi\"\"\" 'two\nlines' 7\n",
       "T14 T10 T8 I",
       "it's a file   |say \"hi\"  |twolines|7#0"},
      {"'C:\\data\\my items.dat'\n", "T22", "C:\\data\\my items.dat  #0"},
      // Numbers: integers truncate real tokens toward zero; real forms;
      // repeat counts, of a quoted text too; the integer range's ends.
      {"10.7 -2.9 3.0 1e3 2E-1 +4\n", "I I I I I I", "10|-2|3|1000|0|4#0"},
      {"0.0001 -1.5D2 .5 7. 2.5e-1 1+2 3q1 42\n",
       "R R R R R R R R",
       "0.0001|-150|0.5|7|0.25|100|30|42#0"},
      {"3*0.5 2* 7\n", "R R R R R R", "0.5|0.5|0.5|-1|-1|7#0"},
      {"2*'a b' c\n", "T3 T3 T3", "a b|a b|c  #0"},
      {"-2147483648 2147483647\n", "I I", "-2147483648|2147483647#0"},
      // An unquoted text holds at most 2,049 characters.
      {x2049 + "yz\n", "T2049 T3", x2049 + "|yz #0"},
      // Faults; the items before one keep what they got.
      {">ROTATE: PROMAX x\n", "T8 T8 I", ">ROTATE:|PROMAX  |-1#59"},
      {"abc\n", "R", "-1#59"},
      {"T\n", "I", "-1#59"},
      {"'1.5'\n", "R", "-1#59"},
      {"0*5\n", "R", "-1#59"},
      {"'ab'cd\n", "T4", "?#59"},
      {"12x\n", "R", "-1#64"},
      {"1.2.3\n", "R", "-1#64"},
      {"-\n", "R", "-1#64"},
      {"1e400\n", "R", "-1#64"},
      {"3000000000\n", "I", "-1#64"},
      {"1 2\n", "R R R", "1|2|-1#24"},
      {"", "R", "-1#24"},
      {"'open\n", "T4", "?#24"},
  };
  for (const auto& row : rows) EXPECT_EQ(ListRead(row.text, row.kinds), row.expected) << row.text;
}

}  // namespace
}  // namespace vq

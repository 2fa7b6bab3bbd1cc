#include "cli/check.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

namespace vq {
namespace {

namespace fs = std::filesystem;

// A scratch folder that the test works in: names in a command file are
// taken relative to the working directory, as the run takes them.
class ScratchFolder {
 public:
  ScratchFolder() {
    folder_ = fs::temp_directory_path() / ("velquorin_check_" + std::to_string(getpid()));
    fs::remove_all(folder_);
    fs::create_directories(folder_ / "data");
    previous_ = fs::current_path();
    fs::current_path(folder_);
  }
  ~ScratchFolder() {
    fs::current_path(previous_);
    fs::remove_all(folder_);
  }
  ScratchFolder(const ScratchFolder&) = delete;
  ScratchFolder& operator=(const ScratchFolder&) = delete;

 private:
  fs::path folder_;
  fs::path previous_;
};

void Write(const std::string& name, const std::string& text) {
  std::ofstream out(name, std::ios::binary);
  out << text;
}

// Records of the bfi-like layout: a subject id right-aligned in 5 columns,
// then `p` one-column items with scores 1 to `categories` (0 to 9 for ten),
// drawn from a
// fixed sequence.
std::string PackedRecords(int n, int p, int categories, int id_width = 5) {
  std::string text;
  unsigned state = 12345;
  for (int i = 1; i <= n; ++i) {
    char id[16];
    std::snprintf(id, sizeof id, "%*d", id_width, i);
    text += id;
    for (int j = 0; j < p; ++j) {
      state = state * 1103515245u + 12345u;
      const char lowest = categories < 10 ? '1' : '0';
      text += static_cast<char>(lowest + (state >> 16) % static_cast<unsigned>(categories));
    }
    text += "\n";
  }
  return text;
}

// The command file every case starts from: it passes check on the data of
// `PackedRecords(40, 25, 5)`.
const std::vector<std::string> kCleanLines = {
    ">TITLE: twenty-five ordered items",
    ">DATA: 'data/bfi.dat' 25 40",
    ">OUTFILE: 'run.out' LONG",
    ">METRIC: OR RAW SM",
    ">MODEL: PFA 5 NOLABELS SORT",
    ">ROTATE: OBLIMIN 0",
    ">SCORE: NOSCORE",
    ">PLOT: NONE",
    ">TECHNICAL: 0.0001 200 0.0001 200 F 0.2 SMC 130 T",
    ">OUTPUT: 3 COR EIG FAC",
    ">FORMAT: (F5.0,25F1.0)",
};

struct CheckCase {
  const char* name;
  // Lines of the clean command file replaced: {index, new text}; an index
  // of -1 appends the text.
  std::vector<std::pair<int, std::string>> changes;
  std::string expected;  // the diagnostics, as `velquorin check` prints them
  int status;
  std::string command_file = "run.in";
  std::string data = PackedRecords(40, 25, 5);
  std::vector<std::pair<std::string, std::string>> other_files = {};
};

std::string CommandText(const CheckCase& c) {
  std::vector<std::string> lines = kCleanLines;
  for (const auto& [index, text] : c.changes) {
    if (index < 0) {
      lines.push_back(text);
    } else {
      lines[static_cast<std::size_t>(index)] = text;
    }
  }
  std::string text;
  for (const std::string& line : lines) text += line + "\n";
  return text;
}

class CheckTable : public ::testing::TestWithParam<CheckCase> {};

TEST_P(CheckTable, GivesTheExactDiagnostics) {
  const CheckCase& c = GetParam();
  ScratchFolder scratch;
  Write(c.command_file, CommandText(c));
  Write("data/bfi.dat", c.data);
  for (const auto& [name, text] : c.other_files) Write(name, text);
  const CheckResult result = CheckCommandFile(c.command_file, CheckSettings{});
  EXPECT_EQ(FormatDiagnostics(result.diagnostics), c.expected);
  EXPECT_EQ(result.ExitStatus(), c.status);
  // Nothing is created: the report, the saved files, a missing data file.
  if (c.other_files.empty()) {
    EXPECT_FALSE(fs::exists("run.out"));
  }
  EXPECT_FALSE(fs::exists("data/bfl.dat"));
  EXPECT_FALSE(fs::exists("data/bfi"));
}

// Items of two columns with scores 1 to `categories`, behind the id.
std::string WideRecords(int n, int p, int categories) {
  std::string text;
  for (int i = 1; i <= n; ++i) {
    char field[16];
    std::snprintf(field, sizeof field, "%5d", i);
    text += field;
    for (int j = 0; j < p; ++j) {
      std::snprintf(field, sizeof field, "%2d", 1 + (i * (j + 3)) % categories);
      text += field;
    }
    text += "\n";
  }
  return text;
}

std::vector<CheckCase> Cases() {
  const std::string kFewerFactors =
      "  hint: ask for fewer factors than items; the eigenvalues in the report show how many "
      "stand out\n";
  std::string constant = PackedRecords(40, 25, 5);
  for (std::size_t at = 5 + 2; at < constant.size(); at += 31) constant[at] = '3';
  return {
      {"Clean", {}, "", 0},
      // A word the run does not know.
      {"RotationWord",
       {{5, ">ROTATE: OBLIMN 0"}},
       "run.in:6:10: error: unknown rotation \"OBLIMN\"\n"
       "  hint: did you mean OBLIMIN? (known: VARIMAX, WVARIMAX, NONE, OBLIMIN, PROMAX, HK)\n",
       2},
      {"ModelWord",
       {{4, ">MODEL: PAF 5 NOLABELS SORT"}},
       "run.in:5:9: error: unknown model \"PAF\"\n"
       "  hint: did you mean PFA? (known: PCA, PFA, ROT, TRP, CMT)\n",
       2},
      {"ScoreWordCut",
       {{6, ">SCORE: REGRESSION"}},
       "run.in:7:9: error: unknown score method \"REGRESSION\"\n"
       "  hint: did you mean REG? (known: REG, BART, NOSCORE, NONE)\n",
       2},
      // A file name with a slash, unquoted.
      {"UnquotedSlash",
       {{1, ">DATA: data/bfi.dat 25 40"}},
       "run.in:2:8: error: unquoted file name \"data/bfi.dat\": the run reads \"data\" and "
       "nothing behind the slash\n"
       "  hint: put the path in quotes: 'data/bfi.dat'\n",
       2},
      {"UnquotedAbsolute",
       {{1, ">DATA: /home/me/bfi.dat 25 40"}},
       "run.in:2:8: error: unquoted file name \"/home/me/bfi.dat\": the run reads an empty name "
       "and nothing behind the slash\n"
       "  hint: put the path in quotes: '/home/me/bfi.dat'\n",
       2},
      // A misspelt data file name.
      {"MisspeltData",
       {{1, ">DATA: 'data/bfl.dat' 25 40"}},
       "run.in:2:8: error: data file \"data/bfl.dat\" does not exist\n"
       "  hint: names are taken relative to the working directory (" +
           (fs::temp_directory_path() / ("velquorin_check_" + std::to_string(getpid()))).string() +
           ")\n",
       2},
      // A record format out of step with the data.
      {"FormatShort",
       {{10, ">FORMAT: (F4.0,25F1.0)"}},
       "run.in:11:10: error: records are 30 columns wide, the format reads 29\n"
       "  hint: columns 30-30 are never read: is the id field as wide as the id (5 columns "
       "before one-column items)?\n",
       2},
      {"FormatWithoutId",
       {{10, ">FORMAT: (25F1.0)"}},
       "run.in:11:10: error: the format reads 25 values from a record, the run reads 26 per "
       "subject (the subject id, then 25 items): each subject takes 2 records\n"
       "  hint: give the id a field of its own: (Fw.0,25F1.0) for an id of w columns and items "
       "of one column\n"
       "run.in:2:26: error: the data file has 40 records, the run reads 80 (40 subjects, 2 "
       "records each)\n"
       "  hint: the run stops with severe (24): end-of-file during read; give the number of "
       "subjects the file holds\n",
       2},
      {"FormatReadsPastRecords",
       {{10, ">FORMAT: (F5.0,25F2.0)"}},
       "run.in:11:10: error: records are 30 columns wide, the format reads 55\n"
       "  hint: blank columns are read as scores of 0; count the columns of the id and the "
       "items\n",
       2},
      {"FormatSyntax",
       {{10, ">FORMAT: (F5.0,25G1.0"}},
       "run.in:11:22: error: the format ends before its closing parenthesis\n"
       "  hint: the run stops with severe (62); a record format such as (F5.0,25F1.0) reads the "
       "id, then the items\n",
       2},
      // A short >TECHNICAL: line.
      {"TechnicalEightValues",
       {{8, ">TECHNICAL: 0.0001 200 0.0001 200 F 0.2 SMC 130"}},
       "run.in:9:48: error: >TECHNICAL: line holds 8 values of 9: the read goes on into line 10 "
       "and takes \">OUTPUT:\" for value 9, the save word (T or F)\n"
       "  hint: give all 9 values, or end the line with a slash to keep the defaults of the "
       "rest\n",
       2},
      {"TechnicalSlashKeepsDefaults",
       {{8, ">TECHNICAL: 0.001 100 /"}, {9, ">FORMAT: (F5.0,25F1.0)"}, {10, ""}},
       "",
       0},
      {"ModelWithoutSortWord",
       {{4, ">MODEL: PFA 5 NOLABELS"}},
       "run.in:5:23: error: >MODEL: line holds 3 values of 4: the read goes on into line 6 and "
       "takes \">ROTATE:\" for the sort word\n"
       "  hint: give all 4 values, or end the line with a slash to keep the defaults of the "
       "rest\n",
       2},
      // Saved files that share a name; a report written over.
      {"LongStem",
       {},
       "abcdefghijklmn.in:1:1: warning: saved files share names and write over each other: "
       "abcdefghijklmn. (cor smo eig rsd fac phi fsc mvn frq ser dff)\n"
       "  hint: the command file's stem \"abcdefghijklmn\" has 14 characters; keep it at most "
       "11\n",
       1,
       "abcdefghijklmn.in"},
      {"StemOfTwelveIsSafe", {}, "", 0, "abcdefghijkl.in"},
      {"ReportOfAnotherFile",
       {},
       "copy.in:3:11: warning: the report \"run.out\" exists and will be written over\n"
       "  hint: a copied command file needs its own >OUTFILE: name, such as 'copy.out'\n",
       1,
       "copy.in",
       PackedRecords(40, 25, 5),
       {{"run.out", "an earlier report\n"}}},
      // Factor scores asked for, none computed.
      {"ScoresUnderOrdered",
       {{6, ">SCORE: REG"}},
       "run.in:7:9: warning: score method REG has no effect under coding OR: no factor scores "
       "are computed\n"
       "  hint: factor scores need continuous scores (CO or IP); write NOSCORE\n",
       1},
      // Too many factors.
      {"MoreFactorsThanItems",
       {{4, ">MODEL: PFA 30 NOLABELS SORT"}},
       "run.in:5:13: error: 30 factors of 25 items: the run stops after the correlations "
       "(TERMINAL ERROR 5 from DEVESF)\n" +
           kFewerFactors,
       2},
      {"ComponentsAsManyAsItems",
       {{4, ">MODEL: PCA 25 NOLABELS SORT"}},
       "run.in:5:13: error: 25 factors of 25 items: the run often stops on rounding (ERROR "
       "100)\n" +
           kFewerFactors,
       2},
      // The data through the format.
      {"IdReadAsItem",
       {{1, ">DATA: 'data/bfi.dat' 26 40"}, {10, ">FORMAT: (F1.0,T1,F5.0,25F1.0)"}},
       "run.in:11:10: error: item 1 takes 40 distinct values, rising record by record\n"
       "  hint: is it the subject id? the format reads the id first, then the items\n",
       2},
      {"TooManyCategories",
       {{1, ">DATA: 'data/bfi.dat' 3 40"},
        {4, ">MODEL: PFA 1 NOLABELS NOSORT"},
        {10, ">FORMAT: (F5.0,3F2.0)"}},
       "run.in:11:10: error: item 1 takes 20 distinct values; the run stops on more than 14 "
       "categories of an ordered item\n"
       "  hint: OR is for items of 2 to 14 categories; use CO for scores\n",
       2,
       "run.in",
       WideRecords(40, 3, 20)},
      {"ItemWithOneScore",
       {},
       "run.in:11:10: error: item 3 has the score 3 for every subject\n"
       "  hint: an item without variance has no correlations; leave it out\n",
       2,
       "run.in",
       constant},
      {"FewerRecordsThanSubjects",
       {{1, ">DATA: 'data/bfi.dat' 25 41"}},
       "run.in:2:26: error: the data file has 40 records, the run reads 41 (41 subjects)\n"
       "  hint: the run stops with severe (24): end-of-file during read; give the number of "
       "subjects the file holds\n",
       2},
      {"MoreRecordsThanSubjects",
       {{1, ">DATA: 'data/bfi.dat' 25 39"}},
       "run.in:2:26: warning: the data file has 40 records; the run reads the first 39\n"
       "  hint: give the number of subjects the file holds\n",
       1},
      {"LikelihoodFloor",
       {{1, ">DATA: 'data/bfi.dat' 25 250000"}, {10, ">FORMAT: (F6.0,25F1.0)"}},
       "run.in:2:26: warning: with 250000 subjects the log likelihood of a pair can fall below "
       "-999999 (items 11 and 25 of 10 and 10 categories: N(H11+H25) = 1147733)\n"
       "  hint: the polychoric search then leaves the pair's correlation at 0 without a "
       "warning; analyse a sample of the subjects\n",
       1,
       "run.in",
       PackedRecords(250000, 25, 10, 6)},
  };
}

std::string CaseName(const ::testing::TestParamInfo<CheckCase>& info) { return info.param.name; }

INSTANTIATE_TEST_SUITE_P(Traps, CheckTable, ::testing::ValuesIn(Cases()), CaseName);

TEST(EditDistance, CountsInsertionsDeletionsSubstitutionsAndSwaps) {
  EXPECT_EQ(EditDistance("OBLIMN", "OBLIMIN"), 1);
  EXPECT_EQ(EditDistance("PAF", "PFA"), 1);  // two letters swapped
  EXPECT_EQ(EditDistance("", "HK"), 2);
  EXPECT_EQ(EditDistance("VARIMAX", "VARIMAX"), 0);
  EXPECT_EQ(EditDistance("KITTEN", "SITTING"), 3);
}

}  // namespace
}  // namespace vq

#include "data/simulation.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <fstream>
#include <sstream>

namespace vq {
namespace {

TEST(Simulation, OrderedItemsReproduceTheirLatentCorrelationAndMargins) {
  ItemModel model = SimpleStructureModel(4, 2, 0.7, {-1.0, 0.5});
  model.factor_correlations(0, 1) = model.factor_correlations(1, 0) = 0.5;
  EXPECT_DOUBLE_EQ(LatentCorrelation(model, 0, 1), 0.49);
  EXPECT_DOUBLE_EQ(LatentCorrelation(model, 0, 3), 0.245);
  Matrix scores;
  ASSERT_TRUE(SimulateItemScores(model, 20000, 5, scores));
  EXPECT_EQ(scores.rows, 20000);
  int low = 0, high = 0;
  for (int s = 0; s < 20000; ++s) {
    low += scores(s, 0) == 0.0 ? 1 : 0;
    high += scores(s, 0) == 2.0 ? 1 : 0;
  }
  EXPECT_NEAR(low / 20000.0, 0.1587, 0.01);   // Phi(-1)
  EXPECT_NEAR(high / 20000.0, 0.3085, 0.01);  // 1 - Phi(0.5)
  Matrix again;
  SimulateItemScores(model, 20000, 5, again);
  EXPECT_EQ(again.values, scores.values);
}

TEST(Simulation, ImpossibleModelsAreRefused) {
  ItemModel model = SimpleStructureModel(2, 1, 1.2, {0.0});
  Matrix scores;
  EXPECT_FALSE(SimulateItemScores(model, 10, 1, scores));
  EXPECT_TRUE(scores.empty());
}

TEST(Simulation, ItemFileLayoutAndRecordFormat) {
  Matrix scores(2, 3);
  scores(0, 0) = 1;
  scores(0, 1) = 0;
  scores(0, 2) = 3;
  scores(1, 0) = 2;
  scores(1, 1) = 1;
  scores(1, 2) = 0;
  const std::string path = ::testing::TempDir() + "simulation_items.dat";
  std::string error;
  ASSERT_TRUE(WriteItemFile(path, scores, ItemFileLayout{}, error)) << error;
  std::ifstream in(path);
  std::stringstream text;
  text << in.rdbuf();
  EXPECT_EQ(text.str(), "     1  1  0  3\n     2  2  1  0\n");
  EXPECT_EQ(ItemRecordFormat(ItemFileLayout{}, 3), "(F6.0,3F3.0)");
  EXPECT_EQ(ItemRecordFormat(ItemFileLayout{4, 8, 3}, 20), "(F4.0,20F8.3)");
  std::remove(path.c_str());
  EXPECT_FALSE(WriteItemFile("/nonexistent-dir/x.dat", scores, ItemFileLayout{}, error));
  EXPECT_FALSE(error.empty());
}

TEST(Simulation, AValueThatDoesNotFitItsFieldIsRefused) {
  // Asterisks in the file would stop the run that reads it (a field that
  // is no number); the file is not written at all.
  Matrix scores(10, 1, 5.0);
  const std::string path = ::testing::TempDir() + "simulation_too_wide.dat";
  std::remove(path.c_str());
  std::string error;
  EXPECT_FALSE(WriteItemFile(path, scores, ItemFileLayout{1, 3, 0}, error));
  EXPECT_EQ(error, "subject 10 does not fit its field of 1 columns");
  EXPECT_FALSE(std::ifstream(path).good());
  EXPECT_FALSE(std::ifstream(path + ".partial").good());
  scores(3, 0) = -12.5;
  EXPECT_FALSE(WriteItemFile(path, scores, ItemFileLayout{6, 4, 2}, error));
  EXPECT_EQ(error, "score -12.5 of subject 4, item 1 does not fit its field of 4 columns");
  EXPECT_FALSE(std::ifstream(path).good());
}

}  // namespace
}  // namespace vq

#include "tests/host_bench/BenchFixture.h"

#include <algorithm>
#include <filesystem>

std::unique_ptr<BenchFixture::Suite> BenchFixture::suite_;

void BenchFixture::begin(bool shortForm) {
  suite_ = std::make_unique<Suite>(shortForm);
}

std::vector<std::string> BenchFixture::files(const std::string& directory) {
  std::vector<std::string> paths;
  for (const auto& entry : std::filesystem::directory_iterator(directory)) {
    paths.push_back(entry.path());
  }
  std::sort(paths.begin(), paths.end());
  return paths;
}

std::vector<std::uint64_t> BenchFixture::fileSizes(const std::string& directory) {
  std::vector<std::uint64_t> sizes;
  for (const std::string& path : files(directory)) {
    sizes.push_back(std::filesystem::file_size(path));
  }
  return sizes;
}

Measurement BenchFixture::run(Scenario& scenario) {
  scenario.prepare();
  const Measurement result = scenario.run();
  EXPECT_THAT(result.flaws, testing::IsEmpty());
  EXPECT_GT(result.seconds, 0);
  return result;
}

void BenchFixture::expectSoundRivals(Scenario& scenario, std::size_t least) {
  const auto rivals = scenario.rivals();
  EXPECT_GE(rivals.size(), least);
  for (const auto& rival : rivals) {
    const Measurement result = rival->run();
    EXPECT_THAT(result.flaws, testing::IsEmpty()) << rival->name();
    EXPECT_GT(result.operations, 0U) << rival->name();
  }
}

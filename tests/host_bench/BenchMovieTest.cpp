#include "host/bench/BenchMovie.h"

#include <filesystem>

#include "host/media/MediaInput.h"
#include "tests/host_bench/BenchFixture.h"

class BenchMovieTest : public BenchFixture {};

TEST_F(BenchMovieTest, HoldsThePicturesOfTheFootage) {
  BenchMovie movie(place(), 5);
  EXPECT_EQ(125U, movie.frames());
  MediaInput input(movie.path(), {.realtime = false});
  std::uint64_t read = 0;
  for (AccessUnit unit; input.read(unit); ++read) {
    EXPECT_EQ(BenchClip::isKey(read), unit.key);
    EXPECT_EQ(static_cast<std::int64_t>(read * BenchClip::FRAME_MS), unit.dtsMs());
  }
  EXPECT_EQ(movie.frames(), read);
  EXPECT_NEAR(static_cast<double>(movie.bytes()),
              static_cast<double>(std::filesystem::file_size(movie.path())), 5000);
}

TEST_F(BenchMovieTest, IsMadeOnce) {
  BenchMovie movie(place(), 1);
  const std::string path = movie.path();
  const auto made = std::filesystem::last_write_time(path);
  EXPECT_EQ(path, movie.path());
  EXPECT_EQ(made, std::filesystem::last_write_time(path));
}

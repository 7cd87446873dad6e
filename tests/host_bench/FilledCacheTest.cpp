#include "host/bench/FilledCache.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/mman.h>
#include <unistd.h>

#include <filesystem>
#include <vector>

#include "host/HostError.h"
#include "host/system/UniqueFd.h"
#include "tests/support/TempDir.h"

namespace {

constexpr std::uint64_t MIB = 1 << 20;

/** How much of a file the page cache holds. */
std::uint64_t cachedBytes(const std::string& path) {
  const UniqueFd file(open(path.c_str(), O_RDONLY | O_CLOEXEC));
  const std::size_t size = std::filesystem::file_size(path);
  void* const map = mmap(nullptr, size, PROT_READ, MAP_SHARED, file.get(), 0);
  std::vector<unsigned char> pages(size / 4096);
  EXPECT_EQ(0, mincore(map, size, pages.data()));
  munmap(map, size);
  std::uint64_t cached = 0;
  for (const unsigned char page : pages) cached += (page & 1) * 4096U;
  return cached;
}

}  // namespace

TEST(FilledCacheTest, ReadsOnEachTimeAndFromTheBeginningAgain) {
  const TempDir dir;
  FilledCache cache(dir.path(), 4 * MIB);
  ASSERT_GT(FilledCache::freeBytes(), FilledCache::memoryBytes() / 64);
  cache.fill();
  const std::uint64_t once = cachedBytes(dir.path() + "/hole");
  EXPECT_GE(once, 4 * MIB);
  cache.fill();
  EXPECT_EQ(8 * MIB, cachedBytes(dir.path() + "/hole"));
  EXPECT_NO_THROW(cache.fill());
}

TEST(FilledCacheTest, TakesNoRoomOnTheDiskAndLeavesNothing) {
  const TempDir dir;
  {
    FilledCache cache(dir.path(), 4 * MIB);
    cache.fill();
    struct stat status = {};
    ASSERT_EQ(0, stat((dir.path() + "/hole").c_str(), &status));
    EXPECT_EQ(0, status.st_blocks);
  }
  EXPECT_TRUE(std::filesystem::is_empty(dir.path()));
}

TEST(FilledCacheTest, DirectoryThatIsNotThereIsAnError) {
  EXPECT_THROW(FilledCache("/nowhere/at/all", MIB), HostError);
}

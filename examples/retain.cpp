// Deletes the oldest recordings until what a recorder stores fits into a budget.
//
//   retain RECORDER DIRECTORY BYTES
//
// Run it in the process that records, or while nothing is recorded: a recording process keeps rows
// in memory and would write them back.
#include <cstdio>
#include <cstdlib>
#include <filesystem>

#include "handles/KTR_DB_factory.h"

namespace {

namespace fs = std::filesystem;

std::uintmax_t storedBytes(const fs::path& directory) {
  std::uintmax_t bytes = 0;
  for (const fs::directory_entry& entry : fs::recursive_directory_iterator(directory)) {
    if (entry.is_regular_file()) bytes += entry.file_size();
  }
  return bytes;
}

// One slice a turn, so that no more goes than has to. A turn may find a session without a slice and
// remove that only, so that nothing is freed; two such turns in a row mean that nothing is left.
void makeRoom(KTR_DB_handle& database, const fs::path& directory, std::uintmax_t budget) {
  constexpr int patience = 2;
  std::uintmax_t stored = storedBytes(directory);
  for (int idle = 0; stored > budget && idle < patience;) {
    database.deleteOlderRecordSessionRow(0, 0);
    const std::uintmax_t left = storedBytes(directory);
    idle = left < stored ? 0 : idle + 1;
    stored = left;
  }
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 4) return std::fprintf(stderr, "usage: retain RECORDER DIRECTORY BYTES\n"), 2;
  const fs::path directory = argv[2];
  const std::uintmax_t budget = std::strtoull(argv[3], nullptr, 10);
  KTR_DB_factory factory;
  KTR_DB_handle* database = factory.db_instance(argv[1]);
  if (database == nullptr) return 1;

  const std::uintmax_t before = storedBytes(directory);
  makeRoom(*database, directory, budget);
  const std::uintmax_t after = storedBytes(directory);
  factory.destroy(database);
  std::printf("%ju bytes were stored, %ju are left\n", before, after);
  return after <= budget ? 0 : 1;
}

#pragma once

#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "host/check/SessionFiles.h"

/**
 * What lies in the day directories of a recorder, sorted into record sessions by the names of the
 * files. No file is opened.
 *
 * Threads: one thread at a time for each object.
 * Blocks: for the file system.
 * Errors: throws a HostError when a directory that is there cannot be read.
 */
class DiskCatalog {
 public:
  /** The files of a database below a recorder's directory; none when there is no directory. */
  DiskCatalog(const std::string& recorderDirectory, const std::string& database);

  /** Takes in one more directory in which a session is said to lie; harmless when it is known. */
  void addDirectory(const std::string& directory);
  /** By id; an id may be found in more than one directory. */
  [[nodiscard]] const std::map<unsigned int, std::vector<SessionFiles>>& sessions() const {
    return sessions_;
  }
  /** The files of a session in a directory, else in the first where there are any; or null. */
  [[nodiscard]] const SessionFiles* find(unsigned int id, const std::string& directory) const;
  /** 0 when there is no file. */
  [[nodiscard]] unsigned int highestId() const;
  [[nodiscard]] uint64_t files() const { return files_; }

  /** A directory with one "/" at its end and none twice. */
  [[nodiscard]] static std::string normal(const std::string& directory);

 private:
  void walk(const std::string& directory, int level);
  void addFile(const std::string& directory, const std::string& name, uint64_t bytes);

  std::string namePrefix_;  // "record_<database>_R"
  std::set<std::string> directories_;
  std::map<unsigned int, std::vector<SessionFiles>> sessions_;
  uint64_t files_ = 0;
};

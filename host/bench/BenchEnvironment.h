#pragma once

#include <string>
#include <utility>
#include <vector>

class BenchPlace;

/**
 * What figures depend on: build, processor, kernel, file system, database server and its settings;
 * and what makes them meaningless here and now. A value.
 *
 * Blocks: read() for the server.
 */
class BenchEnvironment {
 public:
  /** "kernel" and what it is, in the order in which they are shown. */
  using Lines = std::vector<std::pair<std::string, std::string>>;

  [[nodiscard]] static BenchEnvironment read(const BenchPlace& place);

  [[nodiscard]] const Lines& lines() const { return lines_; }
  /** One sentence each; empty when the figures mean something. */
  [[nodiscard]] const std::vector<std::string>& warnings() const { return warnings_; }

 private:
  void addBuild();
  void addMachine();
  void addFileSystem(const std::string& directory);
  void addServer(const BenchPlace& place);

  Lines lines_;
  std::vector<std::string> warnings_;
};

#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>

/// A folder of the test's own, empty at its start and gone at its end.
class Scratch {
 public:
  explicit Scratch(const std::filesystem::path& parent = std::filesystem::temp_directory_path()) {
    static int count = 0;
    const auto* test = ::testing::UnitTest::GetInstance()->current_test_info();
    do {
      path_ = parent /
              (std::string(test->test_suite_name()) + "-" + test->name() + "-" + std::to_string(++count));
    } while (!std::filesystem::create_directory(path_));
  }
  Scratch(const Scratch&) = delete;
  Scratch& operator=(const Scratch&) = delete;
  ~Scratch() { std::filesystem::remove_all(path_); }

  const std::filesystem::path& Path() const { return path_; }
  std::filesystem::path operator/(const std::filesystem::path& name) const { return path_ / name; }

 private:
  std::filesystem::path path_;
};

inline void WriteFile(const std::filesystem::path& path, const std::string& bytes) {
  std::ofstream(path, std::ios::binary) << bytes;
}

inline std::string ReadFile(const std::filesystem::path& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <functional>
#include <random>

#include "errors/runtime_error.h"
#include "platform/platform.h"

/// A test that runs in an empty scratch folder.
struct Files : testing::Test {
  const std::filesystem::path scratch =
      std::filesystem::temp_directory_path() / ("marrowvane-" + std::to_string(std::random_device()()));
  void SetUp() override {
    std::filesystem::create_directory(scratch);
    std::filesystem::current_path(scratch);
  }
  void TearDown() override {
    std::filesystem::current_path(scratch.parent_path());
    std::filesystem::remove_all(scratch);
  }
};

inline std::string ReadFile(const std::filesystem::path& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

/// Returns the number of the RuntimeError that `procedure` raises; 0 if it raises none.
inline int ErrorOf(const std::function<void()>& procedure) {
  try {
    procedure();
    return 0;
  } catch (const RuntimeError& error) {
    return error.Number;
  }
}

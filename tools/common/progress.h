#pragma once

#include <cstdint>
#include <iostream>
#include <mutex>

#include "common/failure.h"
#include "common/files.h"

namespace tools {

/// A line on the terminal, if there is one, with the part of `total` that is done. Several threads report to
/// it.
class Progress {
 public:
  explicit Progress(std::uint64_t total) : total_(total), shown_(StandardErrorIsTerminal()) {}

  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;
  ~Progress() {
    if (percent_ >= 0 && done_ < total_) std::cerr << '\n';  // the reason for it stands on a line of its own
  }

  void Add(std::uint64_t done) {
    if (!shown_) return;
    const std::lock_guard lock(mutex_);
    done_ += done;
    const auto percent = static_cast<int>(done_ * 100 / total_);
    if (percent == percent_) return;
    percent_ = percent;
    std::cerr << '\r' << Self.name << ": " << percent << " %" << (done_ == total_ ? "\n" : "") << std::flush;
  }

 private:
  std::uint64_t total_;
  bool shown_;
  std::mutex mutex_;
  std::uint64_t done_ = 0;
  int percent_ = -1;
};

}  // namespace tools

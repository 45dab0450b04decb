#pragma once

#include <cstdint>
#include <iostream>
#include <mutex>

#include "common/files.h"
#include "common/self.h"

namespace tools {

/// A line on the terminal that shows how much of `total` is done, in percent. Without a terminal, it shows
/// nothing. Several threads can report to it.
class Progress {
 public:
  explicit Progress(std::uint64_t total) : total_(total), shown_(StandardErrorIsTerminal()) {}

  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;
  ~Progress() {
    if (percent_ >= 0 && done_ < total_) std::cerr << '\n';  // the reason of the failure gets its own line
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

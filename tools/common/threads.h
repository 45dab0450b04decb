#pragma once

#include <functional>
#include <future>

namespace tools {

/// Does `work` on two threads at a time: one computes while the other one reads or writes. Throws what one of
/// them throws, when both have ended.
inline void OnTwoThreads(const std::function<void()>& work) {
  std::future<void> other = std::async(std::launch::async, work);
  work();
  other.get();
}

}  // namespace tools

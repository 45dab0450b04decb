#pragma once

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <cstdint>
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

/// What one thread works on at a time: little enough to stay in its cache.
inline constexpr std::uint64_t SectorsAtOnce = 64;

/// Calls `work` with the first sector and the number of each batch in front of `end`, each the next from
/// `next` on that no other thread has taken.
template <typename Work>
void ForEachBatch(std::atomic<std::uint64_t>& next, std::uint64_t end, Work work) {
  for (;;) {
    const std::uint64_t first = next.fetch_add(SectorsAtOnce);
    if (first >= end) return;
    work(first, static_cast<std::size_t>(std::min(SectorsAtOnce, end - first)));
  }
}

}  // namespace tools

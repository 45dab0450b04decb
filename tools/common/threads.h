#pragma once

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <future>

namespace tools {

/// Calls `work` on two threads at once, so that one can compute while the other one reads or writes. Throws
/// what one of them throws, after both have ended.
inline void OnTwoThreads(const std::function<void()>& work) {
  std::future<void> other = std::async(std::launch::async, work);
  work();
  other.get();
}

/// The sectors that a thread works on at once: few enough for its cache.
inline constexpr std::uint64_t SectorsAtOnce = 64;

/// Calls `work` with the first sector and the number of sectors of one batch after the other, up to `end`.
/// `next` is the first sector that no thread has taken yet.
template <typename Work>
void ForEachBatch(std::atomic<std::uint64_t>& next, std::uint64_t end, Work work) {
  for (;;) {
    const std::uint64_t first = next.fetch_add(SectorsAtOnce);
    if (first >= end) return;
    work(first, static_cast<std::size_t>(std::min(SectorsAtOnce, end - first)));
  }
}

}  // namespace tools

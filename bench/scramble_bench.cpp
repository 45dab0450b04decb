// Permutes a boot file of 16 MiB, and copies it for comparison.

#include <benchmark/benchmark.h>

#include <cstring>
#include <vector>

#include "scramble/permutation.h"

namespace {

constexpr std::size_t Size = 16 * 1024 * 1024;

void Run(benchmark::State& state, void (*convert)(std::span<const std::byte>, std::span<std::byte>)) {
  const std::vector<std::byte> in(Size, std::byte{1});
  std::vector<std::byte> out(Size);
  for (auto _ : state) {
    convert(in, out);
    benchmark::DoNotOptimize(out.data());
  }
  state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * Size));
}

void Copy(std::span<const std::byte> in, std::span<std::byte> out) {
  std::memcpy(out.data(), in.data(), in.size());
}

}  // namespace

BENCHMARK_CAPTURE(Run, copy, Copy);
BENCHMARK_CAPTURE(Run, scramble, scramble::Scramble);
BENCHMARK_CAPTURE(Run, unscramble, scramble::Unscramble);

BENCHMARK_MAIN();

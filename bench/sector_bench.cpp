// Each way to encode a sector that this processor knows, on one core and from the cache, by user data.

#include <benchmark/benchmark.h>

#include <array>

#include "cdi/sector.h"

namespace {

void Encode(benchmark::State& state, const cdi::SectorEncoder& encoder) {
  constexpr std::size_t sectors = 64;
  static std::array<std::byte, sectors * cdi::UserDataSize> userData{};
  static std::array<std::byte, sectors * cdi::StoredSectorSize> stored{};
  for (std::size_t i = 0; i < userData.size(); ++i) userData[i] = static_cast<std::byte>(i * 7 + i / 251);
  for (auto _ : state) {
    for (std::size_t i = 0; i < sectors; ++i) {
      encoder.encode(&userData[i * cdi::UserDataSize], &stored[i * cdi::StoredSectorSize]);
    }
    benchmark::ClobberMemory();
  }
  state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * userData.size()));
}

}  // namespace

int main(int argc, char** argv) {
  for (const cdi::SectorEncoder& encoder : cdi::SectorEncoders()) {
    benchmark::RegisterBenchmark((std::string("encode sector/") + encoder.name).c_str(), Encode, encoder);
  }
  benchmark::Initialize(&argc, argv);
  benchmark::RunSpecifiedBenchmarks();
}

// Encodes and verifies sectors with each codec, on one core and from the cache, by user data.

#include <benchmark/benchmark.h>

#include <array>

#include "cdi/sector_codec.h"

namespace {

void Encode(benchmark::State& state, const cdi::SectorCodec& codec) {
  constexpr std::size_t sectors = 64;
  static std::array<std::byte, sectors * cdi::UserDataSize> userData{};
  static std::array<std::byte, sectors * cdi::StoredSectorSize> stored{};
  for (std::size_t i = 0; i < userData.size(); ++i) userData[i] = static_cast<std::byte>(i * 7 + i / 251);
  for (auto _ : state) {
    for (std::size_t i = 0; i < sectors; ++i) {
      codec.encode(&userData[i * cdi::UserDataSize], &stored[i * cdi::StoredSectorSize]);
    }
    benchmark::ClobberMemory();
  }
  state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * userData.size()));
}

void Verify(benchmark::State& state, const cdi::SectorCodec& codec) {
  constexpr std::size_t sectors = 64;
  using Area = std::array<std::byte, cdi::PaddedAreaSize>;
  static std::array<Area, sectors> areas{};
  std::array<std::byte, cdi::UserDataSize> userData{};
  for (std::size_t i = 0; i < userData.size(); ++i) userData[i] = static_cast<std::byte>(i * 7 + i / 251);
  for (Area& area : areas) codec.encode(userData.data(), &area[cdi::HeaderSize]);
  for (auto _ : state) {
    for (const Area& area : areas) {
      benchmark::DoNotOptimize(codec.edc({&area[cdi::HeaderSize], cdi::EdcOffset}));
      if (!codec.hasParity(area.data())) state.SkipWithError("a good sector counts as damaged");
    }
  }
  state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * sectors * cdi::UserDataSize));
}

}  // namespace

int main(int argc, char** argv) {
  for (const cdi::SectorCodec& codec : cdi::SectorCodecs()) {
    benchmark::RegisterBenchmark((std::string("encode sector/") + codec.name).c_str(), Encode, codec);
    benchmark::RegisterBenchmark((std::string("verify sector/") + codec.name).c_str(), Verify, codec);
  }
  benchmark::Initialize(&argc, argv);
  benchmark::RunSpecifiedBenchmarks();
}

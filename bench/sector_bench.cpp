// Each way to encode and to verify a sector that this processor knows, on one core and from the cache, by
// user data.

#include <benchmark/benchmark.h>

#include <array>

#include "cdi/sector_codec.h"
#include "cdi/sector.h"

namespace {

void Encode(benchmark::State& state, const cdi::SectorCodec& encoder) {
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

void Verify(benchmark::State& state, const cdi::SectorCodec& encoder) {
  constexpr std::size_t sectors = 64;
  using Area = std::array<std::byte, cdi::PaddedAreaSize>;
  static std::array<Area, sectors> areas{};
  std::array<std::byte, cdi::UserDataSize> userData{};
  for (std::size_t i = 0; i < userData.size(); ++i) userData[i] = static_cast<std::byte>(i * 7 + i / 251);
  for (Area& area : areas) encoder.encode(userData.data(), &area[cdi::HeaderSize]);
  for (auto _ : state) {
    for (const Area& area : areas) {
      benchmark::DoNotOptimize(encoder.edc({&area[cdi::HeaderSize], cdi::EdcOffset}));
      if (!encoder.hasParity(area.data())) state.SkipWithError("a sound sector is called damaged");
    }
  }
  state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * sectors * cdi::UserDataSize));
}

}  // namespace

int main(int argc, char** argv) {
  for (const cdi::SectorCodec& encoder : cdi::SectorCodecs()) {
    benchmark::RegisterBenchmark((std::string("encode sector/") + encoder.name).c_str(), Encode, encoder);
    benchmark::RegisterBenchmark((std::string("verify sector/") + encoder.name).c_str(), Verify, encoder);
  }
  benchmark::Initialize(&argc, argv);
  benchmark::RunSpecifiedBenchmarks();
}

// ClassifyBootFile on 16 MiB of four kinds, each beside a plain memmem for each of the signatures.

#include <benchmark/benchmark.h>

#include <cstring>
#include <random>
#include <string>

#include "bootfile/classify.h"
#include "bootfile/signatures.h"

namespace {

constexpr std::size_t Size = 16 * 1024 * 1024;

std::string RandomBytes() {
  std::mt19937 random(1);
  std::string bytes(Size, '\0');
  for (char& byte : bytes) byte = static_cast<char>(random());
  return bytes;
}

std::string Zeros() {
  return std::string(Size, '\0');
}

/// Words by the frequencies of English letters, with capitals and punctuation.
std::string EnglishText() {
  const std::string letters =
      "eeeeeeeeeeeettttttttaaaaaaaooooooonnnnnnniiiiiisssssshhhhhhrrrrrddddlllluuucccmmffyywwggppbbvk";
  std::mt19937 random(2);
  std::string text;
  while (text.size() < Size) {
    std::string word(1 + random() % 9, ' ');
    for (char& c : word) c = letters[random() % letters.size()];
    if (random() % 12 == 0) word[0] = static_cast<char>(word[0] - 32);
    text += word + (random() % 9 == 0 ? (random() % 2 == 0 ? ". " : ", ") : random() % 12 == 0 ? "\n" : " ");
  }
  text.resize(Size);
  return text;
}

/// Instructions as a compiler mixes them: moves, loads and stores with small displacements, immediates,
/// branches, and here and there a pool of addresses.
std::string Sh4Code() {
  const std::uint16_t opcodes[] = {0x6003, 0x5000, 0x1000, 0xE000, 0x7000, 0x8900, 0x8B00, 0xA000,
                                   0xD000, 0x2002, 0x300C, 0x2008, 0x400B, 0x0009, 0x6002, 0x9000};
  std::mt19937 random(3);
  std::string code;
  while (code.size() < Size) {
    for (int i = 0; i < 60; ++i) {
      const auto word =
          static_cast<std::uint16_t>(opcodes[random() % 16] | (random() & 0x0FFF & (random() | 0x0F0)));
      code += {static_cast<char>(word), static_cast<char>(word >> 8)};
    }
    for (int i = 0; i < 6; ++i) {
      const std::uint32_t address = 0x8C010000 + (random() & 0x3FFFC);
      code.append(reinterpret_cast<const char*>(&address), sizeof address);
    }
  }
  code.resize(Size);
  return code;
}

void OurSearch(benchmark::State& state, const std::string& file) {
  for (auto _ : state) benchmark::DoNotOptimize(mMain::ClassifyBootFile(std::as_bytes(std::span(file))));
  state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * Size));
}

void ElevenMemmems(benchmark::State& state, const std::string& file) {
  for (auto _ : state) {
    for (const std::string_view signature : mMain::UnscrambledSignatures) {
      benchmark::DoNotOptimize(memmem(file.data(), file.size(), signature.data(), signature.size()));
    }
  }
  state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * Size));
}

}  // namespace

int main(int argc, char** argv) {
  const std::pair<const char*, std::string> kinds[] = {
      {"random", RandomBytes()}, {"zeros", Zeros()}, {"text", EnglishText()}, {"code", Sh4Code()}};
  for (const auto& [name, file] : kinds) {
    benchmark::RegisterBenchmark((std::string("classify/") + name).c_str(), OurSearch, file);
    benchmark::RegisterBenchmark((std::string("memmem x 11/") + name).c_str(), ElevenMemmems, file);
  }
  benchmark::Initialize(&argc, argv);
  benchmark::RunSpecifiedBenchmarks();
}

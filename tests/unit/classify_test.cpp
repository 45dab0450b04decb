#include "bootfile/classify.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>

using namespace mMain;
using namespace std::string_literals;

/// Written down once more, with their NUL bytes in place.
static const std::vector<std::string> Signatures = {
    "0123456789abcdefghijklmnopqrstuvwxyz",
    "abcdefghijklmnopqrstuvwxyz0123456789",
    "abcdefghijklmnopqrstuvwxyz1234567890",
    "1234567890abcdefghijklmnopqrstuvwxyz",
    "ABCDEFGHIJKLMNOPQRSTUVWXYZ.0123456789-",
    "$%&'()*+,-./0123456789:;<=>?@ABCDEFGHIJKLMNOPQRSTUVWXYZ[\\]^_`abcdefghijklmnopqrstuvwxyz{|}~",
    "abcdefghijklEFGHIJKLMNOPQRSTUVWXYZ!@#$%^&*()",
    "0123456789abcdef\0\0\0\0(null)\0\0"s + "0123456789ABCDEF",
    "0123456789ABCDEF\0\0\0\0Inf\0NaN\0"s + "0123456789abcdef\0\0\0\0(null)\0\0\0"s,
    "PORTDEV INFOENBLSTATRADRTOUTDRQCFUNCEND",
    [](std::string wide) {
      for (const char c : "#'*-/2479;=?ACEGIJLNOQRTUWXZ"s) wide += c + "\0\0\0"s;
      return wide;
    }(""),
};

static BootFileKind KindOf(const std::string& file) {
  return ClassifyBootFile(std::as_bytes(std::span(file)));
}

TEST(ClassifyBootFile, FindsTheElfMagicAtTheStartAndWholeSignaturesAnywhere) {
  EXPECT_EQ(KindOf("\177ELF" + Signatures[0]), BootFileKind::ElfFile);
  EXPECT_EQ(KindOf("\177EL"), BootFileKind::ScrambledBinary);
  EXPECT_EQ(KindOf(" \177ELF"), BootFileKind::ScrambledBinary);
  for (const std::string& signature : Signatures) {
    for (std::size_t position = 0; position <= 66; ++position) {
      const std::string before(position, '.');
      EXPECT_EQ(KindOf(before + signature), BootFileKind::UnscrambledBinary) << signature << position;
      EXPECT_EQ(KindOf(before + signature + before), BootFileKind::UnscrambledBinary)
          << signature << position;
      EXPECT_EQ(KindOf(before + signature.substr(1)), BootFileKind::ScrambledBinary) << signature;
      EXPECT_EQ(KindOf(before + signature.substr(0, signature.size() - 1)), BootFileKind::ScrambledBinary);
    }
  }
}

TEST(ClassifyBootFile, AgreesWithPlainSearchesOnTornSignatures) {
  std::mt19937 random(1);
  int found = 0;
  for (int round = 0; round < 3000; ++round) {
    std::string file;
    for (int piece = 0; piece < 20; ++piece) {
      const std::string& signature = Signatures[random() % Signatures.size()];
      file += signature.substr(random() % 36, random() % 2 == 0 ? 200 : random() % 60);
      if (random() % 4 == 0 && !file.empty()) file.back() ^= 0x20;
    }
    const bool holds =
        std::ranges::any_of(Signatures, [&](const auto& s) { return file.find(s) != file.npos; });
    ASSERT_EQ(KindOf(file), holds ? BootFileKind::UnscrambledBinary : BootFileKind::ScrambledBinary);
    found += holds ? 1 : 0;
  }
  EXPECT_NEAR(found, 1500, 1000);
}

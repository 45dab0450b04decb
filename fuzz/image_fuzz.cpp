// Calls the image checker with any bytes. After `cmake --preset fuzz && cmake --build --preset fuzz`:
//   cp -r fuzz/corpus /tmp/corpus && build/fuzz/fuzz/image_fuzz -max_len=200000 /tmp/corpus

#include <algorithm>

#include "cdicheck/check.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const auto bytes = std::as_bytes(std::span(data, size));
  const cdi::Source source{size, [&](std::uint64_t offset, std::span<std::byte> buffer) {
                             std::ranges::copy(bytes.subspan(offset, buffer.size()), buffer.begin());
                           }};
  try {
    cdicheck::Check(source);
  } catch (const cdi::FormatError&) {  // the only exception that may leave it
  }
  return 0;
}

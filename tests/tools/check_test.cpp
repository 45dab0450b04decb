#include "cdicheck/check.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "cdi/image.h"

namespace cdicheck {
namespace {

TEST(Check, TellsWhatFitsOnNoDiscAndReadsNothingThatIsNotThere) {
  for (const std::uint32_t length :
       {cdi::DiscCapacity - cdi::DataTrackStart, cdi::DiscCapacity - cdi::DataTrackStart + 1}) {
    const std::vector<std::byte> descriptor = cdi::MakeDescriptor("a.cdi", "", length);
    const std::uint64_t start = cdi::DataTrackOffset + std::uint64_t{length} * cdi::StoredSectorSize;
    const cdi::Source zerosAndDescriptor{
        start + descriptor.size(), [&](std::uint64_t offset, std::span<std::byte> buffer) {
          ASSERT_LE(offset + buffer.size(), start + descriptor.size());
          std::ranges::fill(buffer, std::byte{0});
          if (offset < start) return;
          std::ranges::copy(
              std::span(descriptor).subspan(static_cast<std::size_t>(offset - start), buffer.size()),
              buffer.begin());
        }};
    const Report report = Check(zerosAndDescriptor);
    const bool tooLong = std::ranges::any_of(report.problems, [](const Problem& problem) {
      return problem.severity == Severity::Warning &&
             problem.text.find("80-minute disc") != std::string::npos;
    });
    EXPECT_EQ(tooLong, length + cdi::DataTrackStart > cdi::DiscCapacity);
  }
}

}  // namespace
}  // namespace cdicheck

#pragma once

#include <cstddef>
#include <cstdint>
#include <exception>
#include <memory>
#include <span>
#include <string>

#include "common/files.h"
#include "common/progress.h"
#include "mkisofs/folder.h"

struct archive;

namespace mkisofs {

/// An ISO 9660 image with Joliet and Rock Ridge names. Every failure is an exception, and then there is none.
class Image {
 public:
  /// `sessionStart`: the sector of the disc that the image will stand at. `contentSize`: the sum of the sizes
  /// of all entries, for the progress.
  Image(const std::string& path, std::uint32_t sessionStart, std::uint64_t contentSize);

  /// A folder comes before what it holds.
  void Add(const Entry& entry);

  /// Brings the whole image to its place, with these first 16 sectors and this name of at most 32 bytes in
  /// UTF-8.
  void Finish(std::span<const std::byte> bootArea, const std::wstring& volumeName);

 private:
  struct PutAway {
    void operator()(archive* writer) const;
  };

  void SetOption(const char* name, const char* value);
  void Check(std::int64_t result);
  std::int64_t Write(std::span<const std::byte> bytes);

  tools::OutputFile file_;
  tools::Progress progress_;
  std::uint64_t size_ = 0;      ///< of what is written so far
  std::uint64_t contentLeft_;   ///< what the progress does not count yet of the contents that are written
  std::exception_ptr failure_;  ///< of a write, which the library called
  std::unique_ptr<archive, PutAway> writer_;
};

}  // namespace mkisofs

#include "bootsector/format.h"

#include <span>
#include <string>

#include "platform/platform.h"

namespace mMain {

Text ReadBootFileName(const Text& path) {
  std::string stored(BootFileName.width, '\0');
  platform::Open(path);
  platform::Seek(BootFileName.offset);
  platform::Read(std::as_writable_bytes(std::span(stored)));
  platform::Close();
  return TrimSpaces(platform::FromBytes(stored));
}

}  // namespace mMain

#include <optional>

#include "cdi/sector_codec.h"

namespace cdi {

std::optional<SectorCodec> VectorCodec() {
  return std::nullopt;
}

}  // namespace cdi

#include <optional>

#include "cdi/coded_area.h"

namespace cdi {

std::optional<SectorEncoder> VectorEncoder() {
  return std::nullopt;
}

}  // namespace cdi

#pragma once

#include "version.h"

namespace mMain {

inline constexpr const wchar_t* AppTitle = L"Marrowvane";

}  // namespace mMain

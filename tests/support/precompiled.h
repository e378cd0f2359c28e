// What nearly every test includes: compiled once for all programs that look inside the library.
// Tests still include what they use, since builds may do without it.
#ifndef PIXTOLA_TESTS_SUPPORT_PRECOMPILED_H_
#define PIXTOLA_TESTS_SUPPORT_PRECOMPILED_H_

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <random>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "Pixtola.h"

#endif  // PIXTOLA_TESTS_SUPPORT_PRECOMPILED_H_

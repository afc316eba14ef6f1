// What the dense and tridiagonal routines share in reading their arguments.
#pragma once

#include <cstdint>

namespace qor::core {

// Whether `letter` is the capital letter `capital` or its small form (ASCII).
constexpr bool is_letter(char letter, char capital) {
    return letter == capital || letter == static_cast<char>(capital + ('a' - 'A'));
}

// The smallest leading dimension of an array with `rows` rows.
constexpr std::int64_t smallest_leading_dimension(std::int64_t rows) { return rows > 1 ? rows : 1; }

} // namespace qor::core

// Gaussian variates for the generators that start from them.
#pragma once

#include "statistics/distributions/frame.h"

namespace qor::bex {

enum GaussianMethod : std::int32_t { box_muller = 0, box_muller_2 = 1, inverse_distribution = 2 };

// n variates of mean a and standard deviation sigma; the stream's status, status_no_memory, or
// status_bad_method.
template <class T>
std::int32_t gaussian(std::int32_t method, Stream &stream, std::int32_t n, T *r, T a, T sigma);

} // namespace qor::bex

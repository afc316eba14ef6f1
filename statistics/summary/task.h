// The record of a summary-statistics task: 93 words, most of them addresses that the caller attached.
#pragma once

#include "qor_bex_summary.h"

#include <bit>
#include <cstdint>

namespace qor::bex {

enum Precision : std::uint32_t { single_precision = 0, double_precision = 1 };

using CleanUp = void (*)(void *task);

// Words of the record that no parameter owns. Clean-up routines stand from first_clean_up on, so the
// second and third share their words with the sorted observations and their storage code, and a fourth
// would take the word of the private buffer.
enum Word : std::uint32_t {
    width_and_kind = 0, // low half: non-zero for 64-bit integers; high half: task_kind
    precision_word = 1, // low half
    clean_up_count = 88,
    first_clean_up = 89,
    private_buffer = 92,
    word_count = 93,
};

inline constexpr std::uint64_t task_kind = 2;
inline constexpr std::uint64_t task_alignment = 128;

struct SummaryTask {
    std::uint64_t words[word_count];

    void attach(std::uint32_t slot, const void *value) { words[slot] = std::bit_cast<std::uint64_t>(value); }
};
static_assert(sizeof(SummaryTask) == 744 && sizeof(void *) == sizeof(std::uint64_t));

} // namespace qor::bex

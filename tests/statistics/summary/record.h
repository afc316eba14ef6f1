// A task's record as a test looks at it: 93 words.
#pragma once

#include "qor_bex_summary.h"

#include <array>
#include <bit>
#include <cstdint>
#include <cstring>

namespace test {

using Record = std::array<std::uint64_t, 93>;

inline Record record_of(const void *task) {
    Record record;
    std::memcpy(record.data(), task, sizeof record);
    return record;
}

inline std::uint64_t word(const void *address) { return std::bit_cast<std::uint64_t>(address); }

// A task of one variable; nothing but the dimension is attached.
class Task {
  public:
    Task() { __bexdSSNewTask(&handle, &dimension, nullptr, nullptr, nullptr, nullptr, nullptr, 0); }
    Task(const Task &) = delete;
    Task &operator=(const Task &) = delete;
    ~Task() { __bexSSDeleteTask(&handle); }

    std::int32_t dimension = 1;
    void *handle = nullptr;
};

} // namespace test

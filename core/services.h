// The services behind the exported entries of the core library.
//
// entries.cpp gives each of them its exported name. They stand apart so that another core library (the
// one the tests put in this one's place, for instance) can wrap them in entries of its own.
#pragma once

#include <cstdint>

namespace qor::core {

constexpr std::int32_t lock_count = 16;

// Locks 0 .. lock_count - 1; other numbers are ignored.
void lock(std::int32_t number);
void unlock(std::int32_t number);

// The value of an environment variable: its length, 0 when missing or empty, -1 when it does not fit.
std::int32_t environment_value(const char *name, char *buffer, std::int32_t size);

// Aligned blocks; null when the alignment is no power of two or the memory is not there.
void *allocate(std::uint64_t bytes, std::uint64_t alignment);
void deallocate(void *block);

constexpr std::int32_t copy_null_pointer = 22;
constexpr std::int32_t copy_too_long = 34;
std::int32_t copy_checked(void *destination, std::uint64_t capacity, const void *source, std::uint64_t count);

// Composes catalogue message `number` and writes it as one line to a system file handle.
std::int32_t print_message(void *stream, std::int32_t number, const char *text, double value);

} // namespace qor::core

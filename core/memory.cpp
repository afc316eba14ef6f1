// Aligned memory and the checked copy.
//
// An aligned block lies inside a larger block of the C library; the word before it holds the address of
// the larger one.

#include "core/services.h"

#include <bit>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <limits>

namespace qor::core {

void *allocate(std::uint64_t bytes, std::uint64_t alignment) {
    constexpr std::uint64_t largest = static_cast<std::uint64_t>(std::numeric_limits<std::ptrdiff_t>::max());
    if (!std::has_single_bit(alignment))
        return nullptr;
    if (alignment < alignof(void *))
        alignment = alignof(void *);
    if (alignment > largest / 2)
        return nullptr;
    const std::uint64_t overhead = alignment + sizeof(void *);
    if (bytes > largest - overhead)
        return nullptr;
    void *const whole = std::malloc(bytes + overhead);
    if (whole == nullptr)
        return nullptr;
    char *const first = static_cast<char *>(whole) + sizeof(void *);
    const std::uint64_t past = reinterpret_cast<std::uintptr_t>(first) & (alignment - 1);
    char *const block = past == 0 ? first : first + (alignment - past);
    std::memcpy(block - sizeof(void *), &whole, sizeof whole);
    return block;
}

void deallocate(void *block) {
    if (block == nullptr)
        return;
    void *whole;
    std::memcpy(&whole, static_cast<char *>(block) - sizeof(void *), sizeof whole);
    std::free(whole);
}

std::int32_t copy_checked(void *destination, std::uint64_t capacity, const void *source,
                          std::uint64_t count) {
    if (destination == nullptr)
        return copy_null_pointer;
    if (source == nullptr || count > capacity) {
        std::memset(destination, 0, capacity);
        return source == nullptr ? copy_null_pointer : copy_too_long;
    }
    std::memcpy(destination, source, count);
    return 0;
}

} // namespace qor::core

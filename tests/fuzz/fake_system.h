// What the streams need of core library and system, kept in memory and failing when told to.
//
// Blocks are exactly as large as asked for, so that an address sanitizer sees every byte beside them.
#pragma once

#include <cstddef>
#include <cstdint>
#include <limits>
#include <string>

namespace test {

struct FakeSystem {
    std::string file;                                           // the one file there is
    std::size_t disk = std::numeric_limits<std::size_t>::max(); // bytes it can hold
    bool open_fails = false, close_fails = false;
    bool aes = true, hardware_random = true;
    int open_files = 0;
    std::uint64_t live_blocks = 0, largest_request = 0;
};
inline FakeSystem fake_system;

} // namespace test

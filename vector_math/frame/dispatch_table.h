// The dispatch table of a function with its cost table behind it. Both have public names of their own;
// the entries reach the table by a name that binds within the library.
#pragma once

#include <cstddef>
#include <cstdint>

namespace qor::fyn {

using Kernel = void (*)();

struct DispatchTable {
    Kernel kernels[3]; // LA, HA, EP
    float costs[3];    // relative cost per element
    std::uint32_t zero;
};
static_assert(offsetof(DispatchTable, costs) == 24 && sizeof(DispatchTable) == 40);

// A kernel's address as a constant of the table, filled at build time.
#define QOR_SLOT(...) reinterpret_cast<qor::fyn::Kernel>(&__VA_ARGS__)

} // namespace qor::fyn

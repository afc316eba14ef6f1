// The functions of vector math as data for tests, and one way to call any of them.
#pragma once

#include "support/library.h"

#include <cstdint>
#include <string>
#include <vector>

namespace test {

struct FunctionRow {
    const char *name;
    char type;
    const char *shape;
    bool strided;
    int kernels[3]; // the first slot that holds this slot's kernel
    const char *bound;

    std::string stem() const { return std::string(1, type) + name + (strided ? "I" : ""); }
    bool is(const char *other) const { return std::string(shape) == other; }
    bool is_pack() const { return is("pack") || is("unpack"); }
    bool is_complex() const { return type == 'c' || type == 'z'; }
    bool is_single() const { return type == 's' || type == 'c'; }
    std::size_t real_bytes() const { return is_single() ? 4 : 8; }
    // real numbers in an argument, in a result
    std::size_t argument_parts() const { return is_complex() && !is("r-c") ? 2 : 1; }
    std::size_t result_parts() const { return is_complex() && !is("c-r") ? 2 : 1; }
    int arguments() const { return is("2-1") || is("lin") || is("v-s") ? 2 : 1; }
    int results() const { return is("1-2") ? 2 : 1; }
};

const std::vector<FunctionRow> &function_rows();

// Entry suffixes by slot; slot 1 also has the plain name.
inline const char *slot_suffix(const FunctionRow &row, int slot) {
    static const char *const singles[] = {"_21", "_HA", "_11"}, *const doubles[] = {"_50", "_HA", "_26"};
    return (row.is_single() ? singles : doubles)[slot];
}

// Calls an entry of any shape but pack and lin; vectors as bytes, increments used by strided rows. For
// v-s, b points at the scalar.
void call(const FunctionRow &row, int slot, std::int32_t n, const void *a, std::int32_t inca, const void *b,
          std::int32_t incb, void *r1, std::int32_t incr1, void *r2, std::int32_t incr2);

} // namespace test

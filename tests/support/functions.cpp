#include "support/functions.h"

#include "qor_fyn.h"

#include <cstring>

namespace test {

const std::vector<FunctionRow> &function_rows() {
    static const std::vector<FunctionRow> rows = {
#include "function_rows.inc"
    };
    return rows;
}

namespace {

template <class T>
void call_scalar(void *address, const FunctionRow &row, std::int32_t n, const void *a, std::int32_t inca,
                 const void *b, void *r, std::int32_t incr) {
    T scalar;
    std::memcpy(&scalar, b, sizeof scalar);
    if (row.strided)
        reinterpret_cast<void (*)(std::int32_t, const void *, std::int32_t, T, void *, std::int32_t)>(
            address)(n, a, inca, scalar, r, incr);
    else
        reinterpret_cast<void (*)(std::int32_t, const void *, T, void *)>(address)(n, a, scalar, r);
}

} // namespace

void call(const FunctionRow &row, int slot, std::int32_t n, const void *a, std::int32_t inca, const void *b,
          std::int32_t incb, void *r1, std::int32_t incr1, void *r2, std::int32_t incr2) {
    void *address = find("_fyn" + row.stem() + slot_suffix(row, slot));
    using I = std::int32_t;
    if (row.is("v-s")) {
        switch (row.type) {
        case 's':
            return call_scalar<float>(address, row, n, a, inca, b, r1, incr1);
        case 'd':
            return call_scalar<double>(address, row, n, a, inca, b, r1, incr1);
        case 'c':
            return call_scalar<FynComplex8>(address, row, n, a, inca, b, r1, incr1);
        default:
            return call_scalar<FynComplex16>(address, row, n, a, inca, b, r1, incr1);
        }
    }
    if (row.is("2-1")) {
        if (row.strided)
            reinterpret_cast<void (*)(I, const void *, I, const void *, I, void *, I)>(address)(
                n, a, inca, b, incb, r1, incr1);
        else
            reinterpret_cast<void (*)(I, const void *, const void *, void *)>(address)(n, a, b, r1);
    } else if (row.is("1-2")) {
        if (row.strided)
            reinterpret_cast<void (*)(I, const void *, I, void *, I, void *, I)>(address)(n, a, inca, r1,
                                                                                          incr1, r2, incr2);
        else
            reinterpret_cast<void (*)(I, const void *, void *, void *)>(address)(n, a, r1, r2);
    } else if (row.strided) {
        reinterpret_cast<void (*)(I, const void *, I, void *, I)>(address)(n, a, inca, r1, incr1);
    } else {
        reinterpret_cast<void (*)(I, const void *, void *)>(address)(n, a, r1);
    }
}

} // namespace test

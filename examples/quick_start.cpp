// The library in one screen: a function over a vector, and what happens to an element it has no value for.
#include "qor_fyn.h"

#include <cstdio>

// Called for each exceptional element; returning 0 stores what it leaves in r1.
static int32_t use_zero(FynErrorContext *report) {
    std::printf("%s: element %d is %g, status %d\n", report->func_name, report->index, report->a1, report->code);
    report->r1 = 0;
    return 0;
}

int main() {
    const double a[] = {1, 2.718281828459045, 0, 1000};
    double r[4];
    _fynSetErrorCallBack(use_zero);
    _fyndLn(4, a, r);
    for (int i = 0; i < 4; ++i)
        std::printf("ln %-8g = %.16g\n", a[i], r[i]);
    std::printf("status %d\n", _fynClearErrStatus());
}

/* A program of somebody else's: an entry, a table, a stream and a task of the library. Exit status 0 when all
 * work. */
#include "qor_bex_distributions.h"
#include "qor_bex_streams.h"
#include "qor_bex_summary.h"
#include "qor_df.h"
#include "qor_fyn.h"

#include <stdio.h>

static int failures = 0;

static void expect(int right, const char *what) {
    if (!right) {
        printf("wrong: %s\n", what);
        ++failures;
    }
}

int main(void) {
    const double a[3] = {0, 1, 0}, x[2] = {0, 2}, y[2] = {1, 2};
    const uint32_t seed = 1;
    double r[3], u[2], coefficients[2];
    void *stream = NULL, *task = NULL;

    _fyndExp(3, a, r);
    expect(r[0] == 1 && r[1] > 2.718281828459044 && r[1] < 2.718281828459047 && r[2] == 1, "exponential");
    expect(qor_fyn_kernel_dCeil_ttab[0] && qor_fyn_kernel_dCeil_ttab[0] == qor_fyn_kernel_dCeil_ttab[2],
           "table");

    expect(__bexNewStreamEx(&stream, BEX_BRNG_MCG31M1, 1, &seed) == 0, "new stream");
    expect(_bexdRngUniform(0, stream, 2, u, 0, 0x7FFFFFFF) == 0 && u[0] == 1 && u[1] == 1132489760,
           "uniforms");
    expect(__bexDeleteStream(&stream) == 0, "delete stream");

    expect(qor_df_kernel_dNewTask1D(&task, 2, x, QOR_DF_NON_UNIFORM, 1, y, QOR_DF_NO_STORAGE_HINT, 1) == 0 &&
               qor_df_kernel_dEditPtr(task, QOR_DF_COEFFICIENTS, coefficients) == 0 &&
               qor_df_kernel_dDFLinearSpline1D(task, 0, NULL, 0) == 0 && coefficients[0] == 1 &&
               coefficients[1] == 0.5,
           "spline");
    expect(qor_df_kernel_DeleteTask(&task) == 0, "delete task");
    return failures;
}

/* The Windows libraries through a linker of the MSVC kind, without a C library: an entry and a table. */
#include "qor_fyn.h"

int _fltused = 0; /* such compilers ask for it where floating-point numbers are used */

/* Returns the exit status. */
int start(void) {
    const double a[2] = {0, -2.5};
    double r[2] = {7, 7};
    void (*kernel)(int32_t, const double *, double *);
    _fyndExp(1, a, r);
    if (r[0] != 1)
        return 1;
    *(void **)&kernel = qor_fyn_kernel_dCeil_ttab[qor_fyn_kernel_GetTTableIndexM(0, FYN_HA)];
    kernel(2, a, r);
    return r[0] == 0 && r[1] == -2 ? 0 : 2;
}

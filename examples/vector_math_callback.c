/* Vector math from C: a callback that counts exceptional elements by kind and replaces their results. */
#include "qor_fyn.h"

#include <stdio.h>

enum { LENGTH = 8 };

static int counts[5]; /* by status code */

/* Logarithms of nothing become -1000, of negative numbers 0. Returning 0 stores r1; any other value would
 * leave the result of the function as it is. */
static int32_t replace(FynErrorContext *report) {
    ++counts[report->code];
    printf("  %s: element %d is %g, status %d, result %g\n", report->func_name, (int)report->index,
           report->a1, (int)report->code, report->r1);
    report->r1 = report->code == FYN_STATUS_SINGULARITY ? -1000 : 0;
    return 0;
}

int main(void) {
    const double a[LENGTH] = {1, 10, 0, -4, 0.5, -0.0, 1e300, -1};
    double r[LENGTH];
    uint32_t old_mode;
    int i;

    /* Mode and callback belong to this thread. Setting a callback turns callback mode on; errno and standard
     * error stay out of it when nothing else is asked for. */
    old_mode = _fynSetMode(FYN_ERRMODE_IGNORE);
    _fynSetErrorCallBack(replace);
    _fyndLn(LENGTH, a, r);
    for (i = 0; i < LENGTH; ++i)
        printf("ln %-6g = %.17g\n", a[i], r[i]);
    printf("%d outside the domain, %d at the pole; last status %d\n", counts[FYN_STATUS_DOMAIN],
           counts[FYN_STATUS_SINGULARITY], (int)_fynClearErrStatus());

    /* Element i of a strided vector stands at v[increment * i]: every other element here, with low accuracy.
     */
    _fyndLnI_50(LENGTH / 2, a, 2, r, 2);
    printf("%d reports in all\n", counts[FYN_STATUS_DOMAIN] + counts[FYN_STATUS_SINGULARITY]);

    _fynClearErrorCallBack();
    _fynSetMode(old_mode);
    return counts[FYN_STATUS_DOMAIN] == 2 && counts[FYN_STATUS_SINGULARITY] == 3 ? 0 : 1;
}

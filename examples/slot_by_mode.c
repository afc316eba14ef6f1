/*
 * What a front end does: it finds the library's entries and tables by name at run time, lets the thread's
 * mode choose the slot of a table, and calls the kernel there.
 *
 * usage: slot_by_mode [LIBRARY]
 */
#include "qor_fyn.h"

#include <math.h>
#include <stdio.h>
#include <string.h>

#ifdef _WIN32
#define WIN32_LEAN_AND_MEAN
#include <windows.h>
#define LIBRARY "qor_fyn_def.dll"
static void *open_library(const char *path) { return (void *)LoadLibraryA(path); }
static void *find_data(void *library, const char *name) {
    void *address;
    const FARPROC found = GetProcAddress((HMODULE)library, name);
    memcpy(&address, &found, sizeof address);
    return address;
}
#else
#include <dlfcn.h>
#define LIBRARY "libqor_fyn_def.so"
static void *open_library(const char *path) { return dlopen(path, RTLD_NOW | RTLD_LOCAL); }
static void *find_data(void *library, const char *name) { return dlsym(library, name); }
#endif

typedef void (*Kernel)(int32_t n, const double *a, double *r);
typedef uint32_t (*SetMode)(uint32_t mode);
typedef uint32_t (*GetTTableIndex)(void);

/* C has no conversion from an object's address to a function's. */
static void find_function(void *library, const char *name, void *function) {
    void *const address = find_data(library, name);
    memcpy(function, &address, sizeof address);
}

int main(int argc, char **argv) {
    static const struct {
        const char *name;
        uint32_t mode;
        double bound; /* relative error allowed here */
    } rows[] = {{"LA", FYN_LA, 2e-15}, {"HA", FYN_HA, 3e-16}, {"EP", FYN_EP, 1e-7}};
    void *const library = open_library(argc > 1 ? argv[1] : LIBRARY);
    SetMode set_mode = NULL;
    GetTTableIndex table_index = NULL;
    void **table;
    const float *cost;
    size_t i;
    int failures = 0;

    if (!library) {
        fprintf(stderr, "cannot load the library\n");
        return 1;
    }
    find_function(library, "_fynSetMode", &set_mode);
    find_function(library, "qor_fyn_kernel_GetTTableIndex", &table_index);
    table = (void **)find_data(library, "qor_fyn_kernel_dErfInv_ttab");
    cost = (const float *)find_data(library, "qor_fyn_kernel_dErfInv_ctab");
    if (!set_mode || !table_index || !table || !cost) {
        fprintf(stderr, "the library lacks a name\n");
        return 1;
    }

    for (i = 0; i < sizeof rows / sizeof rows[0]; ++i) {
        /* erfinv(1/2), OEIS A069286. */
        const double a = 0.5, exact = 0.47693627620446987338;
        double r = 0, error;
        uint32_t slot;
        Kernel kernel;
        set_mode(rows[i].mode);
        slot = table_index();
        if (slot > 2)
            slot = 1; /* a mode without accuracy */
        memcpy(&kernel, &table[slot], sizeof kernel);
        kernel(1, &a, &r);
        error = fabs(r - exact) / exact;
        printf("%s: slot %u, cost %5.2f, erfinv(0.5) = %.17g, relative error %.1e\n", rows[i].name,
               (unsigned)slot, (double)cost[slot], r, error);
        failures += !(error <= rows[i].bound);
    }
    return failures == 0 ? 0 : 1;
}

// Measures the errors of the power function's kernels, and of the single-precision exponentials, in units of
// the last place of the result.
//   g++ -std=c++20 -O2 -ffp-contract=off -pthread -I. -Iinclude tools/measure_power.cpp -lmpfr -lgmp -o measure && ./measure
//   ./measure 4          a quarter of the power function's arguments
//
// Double: true values from MPFR at 120 bits where x87 arithmetic finds a large error. Single: x87 throughout.

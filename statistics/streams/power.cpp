#include "statistics/streams/power.h"

using namespace qor::bex;

std::uint32_t __bexiPowMod2P31M1(std::uint32_t base, std::uint64_t e) {
    return power(Modulus2P31M1::multiply(base, 1), e, Modulus2P31M1::multiply);
}

std::uint64_t __bexiPowMod2P59(std::uint64_t base, std::uint64_t e) {
    return power(base, e, Modulus2P59::multiply);
}

std::uint32_t __bexiPowMod(std::uint32_t base, std::uint64_t e, std::uint32_t modulus) {
    return power(base, e, [modulus](std::uint32_t a, std::uint32_t b) {
        return static_cast<std::uint32_t>(std::uint64_t{a} * b % modulus);
    });
}

// Products and powers of 3 x 3 matrices modulo m, for generators with a state of three words.
#pragma once

#include <cstddef>
#include <cstdint>

namespace qor::bex {

struct Vector3 {
    std::uint32_t v[3];
};

struct Matrix3 {
    Vector3 row[3];

    constexpr Vector3 column(std::size_t j) const { return {{row[0].v[j], row[1].v[j], row[2].v[j]}}; }
};

// Modulo m; nothing has to be reduced. The products' halves are added apart: high 2^32 = high (2^32 mod m).
constexpr std::uint32_t dot(const Vector3 &a, const Vector3 &b, std::uint32_t m) {
    std::uint64_t low = 0, high = 0; // both below 3 * 2^32
    for (std::size_t k = 0; k < 3; ++k) {
        const std::uint64_t product = std::uint64_t{a.v[k]} * b.v[k];
        low += product & 0xFFFFFFFF;
        high += product >> 32;
    }
    const std::uint64_t remainder = (std::uint64_t{1} << 32) % m;
    if (remainder >= 1 << 24) // the product would not stay in 64 bits
        high %= m;
    return static_cast<std::uint32_t>((high * remainder + low) % m);
}

constexpr Vector3 multiply(const Matrix3 &a, const Vector3 &x, std::uint32_t m) {
    return {{dot(a.row[0], x, m), dot(a.row[1], x, m), dot(a.row[2], x, m)}};
}

constexpr Matrix3 square(const Matrix3 &a, std::uint32_t m) {
    Matrix3 product{};
    for (std::size_t i = 0; i < 3; ++i)
        for (std::size_t j = 0; j < 3; ++j)
            product.row[i].v[j] = dot(a.row[i], a.column(j), m);
    return product;
}

// a^(2^k), k = 0 .. 63.
struct MatrixPowers {
    Matrix3 power[64];
};

constexpr MatrixPowers powers_of_two(Matrix3 a, std::uint32_t m) {
    MatrixPowers powers{};
    for (Matrix3 &power : powers.power) {
        power = a;
        a = square(a, m);
    }
    return powers;
}

// a^e x, where e has n words, the least significant first. Of the squares of a those in `powers` (or null)
// are not computed.
constexpr Vector3 multiply_by_power(Matrix3 a, const MatrixPowers *powers, std::size_t n,
                                    const std::uint64_t *e, Vector3 x, std::uint32_t m) {
    while (n > 0 && e[n - 1] == 0)
        --n;
    for (std::size_t bit = 0; bit < 64 * n; ++bit) {
        const std::uint64_t rest = e[bit / 64] >> bit % 64;
        if (rest == 0 && bit / 64 == n - 1)
            break;
        if (powers != nullptr && bit < 64)
            a = powers->power[bit];
        else if (bit > 0)
            a = square(a, m);
        if (rest & 1)
            x = multiply(a, x, m);
    }
    return x;
}

} // namespace qor::bex

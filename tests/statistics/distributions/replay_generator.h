// A generator that hands out what a test has written down: as uniform numbers u, as a + (b - a) u, or as raw
// words. It notes every request, and can refuse one.
#pragma once

#include "qor_bex_streams.h"

#include <cstdint>
#include <vector>

namespace test {

struct Replay {
    static inline std::vector<double> script;         // taken round and round
    static inline std::vector<std::int32_t> requests; // their lengths
    static inline std::size_t position = 0;
    static inline std::size_t refused = 0;                // this request (from 1) fails
    static inline std::int32_t refusal = -77, answer = 0; // statuses of the refused one and the others

    static void start(std::vector<double> uniforms, std::size_t refuse = 0) {
        script = std::move(uniforms);
        requests.clear();
        position = 0;
        refused = refuse;
    }
    static double next() { return script[position++ % script.size()]; }

    template <class T, class Map> static std::int32_t output(std::int32_t n, T *r, Map map) {
        requests.push_back(n);
        if (requests.size() == refused)
            return refusal;
        for (std::int32_t i = 0; i < n; ++i)
            r[i] = static_cast<T>(map(next()));
        return answer;
    }
    template <class T> static std::int32_t real(void *, std::int32_t n, T *r, T a, T b) {
        return output(n, r, [a, b](double u) { return a + (b - a) * static_cast<T>(u); });
    }
    static std::int32_t integer(void *, std::int32_t n, void *r) {
        return output(n, static_cast<std::uint32_t *>(r), [](double u) { return u; });
    }
    static std::int32_t init(std::int32_t, void *, std::int32_t, const void *) { return 0; }

    static std::uint32_t id() {
        static const BexBrngProperties row{16, 1, 1, 4, 32, init, real<float>, real<double>, integer};
        static const auto registered = static_cast<std::uint32_t>(__bexRegisterBrng(&row));
        return registered;
    }
};

// A stream that the test owns.
struct OwnedStream {
    void *handle = nullptr;
    explicit OwnedStream(std::uint32_t id, std::uint32_t seed = 1) {
        status = __bexNewStreamEx(&handle, id, 1, &seed);
    }
    OwnedStream(const OwnedStream &source) { status = __bexCopyStream(&handle, source.handle); }
    OwnedStream &operator=(const OwnedStream &) = delete;
    ~OwnedStream() { __bexDeleteStream(&handle); }
    operator void *() const { return handle; }
    std::int32_t status;
};

} // namespace test

// Process-wide spin locks.
//
// They guard rare and short work (creating a shared object once, reading a variable), so a waiting
// thread looks at the lock without writing to it and yields its processor after every look.

#include "core/services.h"
#include "core_interface/system.h"

#include <atomic>

namespace qor::core {
namespace {

// One cache line each: neighbours do not slow each other down.
struct alignas(64) SpinLock {
    std::atomic<bool> taken{false};
};

constinit SpinLock locks[lock_count];

bool known(std::int32_t number) { return number >= 0 && number < lock_count; }

} // namespace

void lock(std::int32_t number) {
    if (!known(number))
        return;
    std::atomic<bool> &taken = locks[number].taken;
    while (taken.exchange(true, std::memory_order_acquire)) {
        while (taken.load(std::memory_order_relaxed))
            qor::system::yield_thread();
    }
}

void unlock(std::int32_t number) {
    if (known(number))
        locks[number].taken.store(false, std::memory_order_release);
}

} // namespace qor::core

// The exported names of the core library's services.

#include "core/services.h"
#include "core_interface/core.h"
#include "core_interface/system.h"

void qor_serv_lock(std::int32_t lock) { qor::core::lock(lock); }

void qor_serv_unlock(std::int32_t lock) { qor::core::unlock(lock); }

std::int32_t qor_serv_getenv(const char *name, char *buffer, std::int32_t size) {
    return qor::core::environment_value(name, buffer, size);
}

void *qor_serv_allocate(std::uint64_t bytes, std::uint64_t alignment) {
    return qor::core::allocate(bytes, alignment);
}

void qor_serv_deallocate(void *block) { qor::core::deallocate(block); }

std::int32_t qor_serv_memcpy_s(void *destination, std::uint64_t capacity, const void *source,
                               std::uint64_t count) {
    return qor::core::copy_checked(destination, capacity, source, count);
}

std::int32_t qor_serv_print(void *stream, std::int32_t number, const char *text, double value) {
    return qor::core::print_message(stream, number, text, value);
}

void qor_serv_exit(std::int32_t code) { qor::system::exit_process(code); }

// The system services on POSIX systems that both libraries use.
#include "core_interface/system.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <sched.h>
#include <unistd.h>

namespace qor::system {

int environment_variable(const char *name, char *buffer, int size) {
    buffer[0] = '\0';
    const char *value = std::getenv(name);
    if (value == nullptr)
        return 0;
    const std::size_t length = std::strlen(value);
    if (length >= static_cast<std::size_t>(size))
        return -1;
    std::memcpy(buffer, value, length + 1);
    return static_cast<int>(length);
}

// A file descriptor in the clothes of a pointer.
void *standard_error() { return reinterpret_cast<void *>(std::intptr_t{STDERR_FILENO}); }

int write_bytes(void *stream, const char *text, unsigned long long count) {
    const int descriptor = static_cast<int>(reinterpret_cast<std::intptr_t>(stream));
    while (count > 0) {
        const ssize_t written = write(descriptor, text, count);
        if (written < 0 && errno == EINTR)
            continue;
        if (written <= 0)
            return -1;
        text += written;
        count -= static_cast<unsigned long long>(written);
    }
    return 0;
}

void exit_process(int code) { std::exit(code); }

void yield_thread() { sched_yield(); }

} // namespace qor::system

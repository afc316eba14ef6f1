// The system services on Windows that both libraries use.
#include "core_interface/system.h"

#define WIN32_LEAN_AND_MEAN
#include <windows.h>

namespace qor::system {

int environment_variable(const char *name, char *buffer, int size) {
    const DWORD length = GetEnvironmentVariableA(name, buffer, static_cast<DWORD>(size));
    if (length >= static_cast<DWORD>(size)) {
        buffer[0] = '\0';
        return -1;
    }
    if (length == 0)
        buffer[0] = '\0';
    return static_cast<int>(length);
}

void *standard_error() { return GetStdHandle(STD_ERROR_HANDLE); }

int write_bytes(void *stream, const char *text, unsigned long long count) {
    while (count > 0) {
        DWORD written = 0;
        const DWORD piece = count > 0x10000 ? 0x10000 : static_cast<DWORD>(count);
        if (!WriteFile(stream, text, piece, &written, nullptr) || written == 0)
            return -1;
        text += written;
        count -= written;
    }
    return 0;
}

void exit_process(int code) { ExitProcess(static_cast<UINT>(code)); }

void yield_thread() { SwitchToThread(); }

} // namespace qor::system

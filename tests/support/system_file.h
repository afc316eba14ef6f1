// What tests of system services need from the system itself, in one form for all systems.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#ifdef _WIN32
#ifndef NOMINMAX
#define NOMINMAX
#endif
#ifndef WIN32_LEAN_AND_MEAN
#define WIN32_LEAN_AND_MEAN
#endif
#include <windows.h>
#else
#include <cstdlib>
#include <unistd.h>
#endif

namespace qor::test {

// A pipe whose ends are handles as the library takes them. What is written waits in the pipe (room for
// at least 4096 bytes) until read_all().
class SystemPipe {
  public:
    SystemPipe() {
#ifdef _WIN32
        HANDLE ends[2];
        if (CreatePipe(&ends[0], &ends[1], nullptr, 65536)) {
            read_end_ = ends[0];
            write_end_ = ends[1];
            open_ = true;
        }
#else
        int ends[2];
        if (pipe(ends) == 0) {
            read_end_ = reinterpret_cast<void *>(static_cast<std::intptr_t>(ends[0]));
            write_end_ = reinterpret_cast<void *>(static_cast<std::intptr_t>(ends[1]));
            open_ = true;
        }
#endif
    }
    SystemPipe(const SystemPipe &) = delete;
    SystemPipe &operator=(const SystemPipe &) = delete;
    ~SystemPipe() {
        close_write_end();
        if (open_)
            close_end(read_end_);
    }

    bool open() const { return open_; }
    void *write_end() const { return write_end_; }
    // Open, but nothing can be written to it.
    void *read_end() const { return read_end_; }

    // Closes the end for writing and returns all that was written.
    std::string read_all() {
        close_write_end();
        std::string all;
        char part[256];
        for (std::size_t count; open_ && (count = read_some(part, sizeof part)) > 0;)
            all.append(part, count);
        return all;
    }

  private:
    static void close_end(void *end) {
#ifdef _WIN32
        CloseHandle(end);
#else
        close(static_cast<int>(reinterpret_cast<std::intptr_t>(end)));
#endif
    }

    std::size_t read_some(char *part, std::size_t size) {
#ifdef _WIN32
        DWORD count = 0;
        return ReadFile(read_end_, part, static_cast<DWORD>(size), &count, nullptr) ? count : 0;
#else
        const ssize_t count = read(static_cast<int>(reinterpret_cast<std::intptr_t>(read_end_)), part, size);
        return count > 0 ? static_cast<std::size_t>(count) : 0;
#endif
    }

    void close_write_end() {
        if (open_ && !write_end_closed_)
            close_end(write_end_);
        write_end_closed_ = true;
    }

    void *read_end_ = nullptr;
    void *write_end_ = nullptr;
    bool open_ = false;
    bool write_end_closed_ = false;
};

// Sets an environment variable of this process, or takes it away when `value` is null.
inline bool set_environment(const char *name, const char *value) {
#ifdef _WIN32
    return SetEnvironmentVariableA(name, value) != 0 ||
           (value == nullptr && GetLastError() == ERROR_ENVVAR_NOT_FOUND);
#else
    return (value != nullptr ? setenv(name, value, 1) : unsetenv(name)) == 0;
#endif
}

} // namespace qor::test

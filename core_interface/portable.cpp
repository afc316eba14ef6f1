// The system services that read the same on every system: files and processor features.
#include "core_interface/system.h"

#include <cpuid.h>
#include <cstdio>
#include <cstring>

namespace qor::system {

File *file_open(const char *name, int length, bool write) {
    char path[4096];
    if (length < 0 || static_cast<std::size_t>(length) >= sizeof path)
        return nullptr;
    std::memcpy(path, name, static_cast<std::size_t>(length));
    path[length] = '\0';
    return reinterpret_cast<File *>(std::fopen(path, write ? "wb" : "rb"));
}

std::size_t file_read(File *file, void *data, std::size_t bytes) {
    return std::fread(data, 1, bytes, reinterpret_cast<std::FILE *>(file));
}

std::size_t file_write(File *file, const void *data, std::size_t bytes) {
    return std::fwrite(data, 1, bytes, reinterpret_cast<std::FILE *>(file));
}

bool file_close(File *file) {
    auto *const stream = reinterpret_cast<std::FILE *>(file);
    const bool flushed = std::fflush(stream) == 0; // closing alone may forget a failure
    return std::fclose(stream) == 0 && flushed;
}

ProcessorFeatures processor_features() {
    unsigned a, b, c = 0, d;
    __get_cpuid(1, &a, &b, &c, &d);
    return {(c & bit_PCLMUL) != 0, (c & bit_AES) != 0, (c & bit_RDRND) != 0};
}

std::uint64_t time_stamp() { return __builtin_ia32_rdtsc(); }

} // namespace qor::system

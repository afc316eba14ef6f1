#include "fuzz/fake_system.h"

#include "core_interface/core.h"
#include "core_interface/system.h"

#include <algorithm>
#include <new>

using test::fake_system;

// Core library ---------------------------------------------------------------------------------------

void *qor_serv_allocate(std::uint64_t bytes, std::uint64_t alignment) {
    fake_system.largest_request = std::max(fake_system.largest_request, bytes);
    void *const block = operator new (bytes, std::align_val_t{alignment}, std::nothrow);
    fake_system.live_blocks += block != nullptr;
    return block;
}

void qor_serv_deallocate(void *block) {
    fake_system.live_blocks -= block != nullptr;
    operator delete (block, std::align_val_t{128}); // the streams' only alignment
}

// System ---------------------------------------------------------------------------------------------

namespace qor::system {

struct File {
    std::size_t read;
};

File *file_open(const char *, int, bool write) {
    if (fake_system.open_fails)
        return nullptr;
    if (write)
        fake_system.file.clear();
    ++fake_system.open_files;
    return new File{0};
}

std::size_t file_read(File *file, void *data, std::size_t bytes) {
    const std::size_t n = fake_system.file.copy(static_cast<char *>(data), bytes, file->read);
    file->read += n;
    return n;
}

std::size_t file_write(File *, const void *data, std::size_t bytes) {
    const std::size_t n = std::min(bytes, fake_system.disk - fake_system.file.size());
    fake_system.file.append(static_cast<const char *>(data), n);
    return n;
}

bool file_close(File *file) {
    delete file;
    --fake_system.open_files;
    return !fake_system.close_fails;
}

ProcessorFeatures processor_features() { return {false, fake_system.aes, fake_system.hardware_random}; }
std::uint64_t time_stamp() { return 0; }
void yield_thread() {}

} // namespace qor::system

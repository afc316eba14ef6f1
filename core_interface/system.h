// What the libraries need from the operating system, and what the system tells them.
// Defined once per system in windows/ and posix/ (in portable.cpp where the C library hides the
// difference); no other file knows which system it runs on.
#pragma once

#include <cstddef>
#include <cstdint>

namespace qor::system {

// Environment, output, process --------------------------------------------------------------------

// Copies the variable's value and NUL into `buffer`. Returns its length, 0 when it is missing or empty,
// -1 when it does not fit.
int environment_variable(const char *name, char *buffer, int size);

// The system's handle of standard error, for write_bytes.
void *standard_error();

// Writes all bytes to a file handle. Returns 0, or -1 when they could not all be written.
int write_bytes(void *stream, const char *text, unsigned long long count);

[[noreturn]] void exit_process(int code);
void yield_thread();

// Per-thread data ----------------------------------------------------------------------------------

using ThreadIndex = std::uint32_t;

// Takes a thread-local index. When a thread ends its non-null value is handed to thread_detached()
// (see below). Returns false when the process has none left.
bool thread_index_create(ThreadIndex *index);
void thread_index_free(ThreadIndex index);
void *thread_value(ThreadIndex index);
bool set_thread_value(ThreadIndex index, void *value);

// A private heap: blocks that end with it.
struct PrivateHeap;
PrivateHeap *heap_create(std::size_t initial_size);
void *heap_allocate(PrivateHeap *heap, std::size_t bytes);
void heap_free(PrivateHeap *heap, void *block);
void heap_destroy(PrivateHeap *heap);

// The C runtime ------------------------------------------------------------------------------------

// The errno accessor of the C runtime that the process uses, or null when there is none to be found.
using ErrnoAccessor = int *(*)();
ErrnoAccessor find_errno_accessor();

// Files --------------------------------------------------------------------------------------------

// A binary file, opened for reading or for writing anew. The name has `length` bytes and no NUL.
struct File;
File *file_open(const char *name, int length, bool write);
// Bytes moved; fewer than asked for at the end of the file or on failure.
std::size_t file_read(File *file, void *data, std::size_t bytes);
std::size_t file_write(File *file, const void *data, std::size_t bytes);
// Returns false when buffered data could not be written.
bool file_close(File *file);

// The processor ------------------------------------------------------------------------------------

struct ProcessorFeatures {
    bool carryless_multiply, aes, hardware_random;
};
ProcessorFeatures processor_features();
std::uint64_t time_stamp();

// Notifications: what the library defines, called by the system's side -----------------------------

// The library was loaded. Returning false makes the load fail where the system allows that (Windows).
bool library_attached();
// The calling thread ends; `value` is what it had stored under the library's thread index.
void thread_detached(void *value);
// The library is being unloaded while the process lives on. Not called at process exit.
void library_unloaded();

} // namespace qor::system
